// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/VolumeIcon.h>

#include <SentrelKit/platform/linux/volumes/VolumeRules.h>

namespace sentrel::platform {

std::optional<Icon> volumeIcon(const BlockDevices& devices, const MountEntry& mount) {
    if (mount.device.empty()) {
        if (mount.type != "fuseblk" && mayNotAnswer(mount.type))
            return Icon::named("folder-remote");
        return std::nullopt;
    }
    const std::string disk = devices.bottomDisk(mount.device);
    if (disk.starts_with("sr"))
        return Icon::named("drive-optical");
    if (disk.starts_with("mmcblk"))
        return Icon::named("media-flash");
    if (devices.attribute(disk, "removable") == "1")
        return Icon::named("drive-removable-media");
    return Icon::named("drive-harddisk");
}

} // namespace sentrel::platform
