#include <SentrelKit/platform/linux/LinuxMounts.h>

#include <limits>

namespace sentrel::platform {

std::optional<std::vector<MountEntry>> readMountTable(const SystemRoot& root) {
    const std::optional<std::string> table = root.read(mountTablePath, std::numeric_limits<std::size_t>::max());
    if (!table)
        return std::nullopt;
    return parseMountTable(*table);
}

std::optional<std::string> deviceOfMount(const BlockDevices& devices, const MountEntry& mount) {
    if (mount.deviceMajor != 0)
        return devices.nameOfNumber(mount.deviceMajor, mount.deviceMinor);
    // File systems that span devices (btrfs) have a number of their own and name one of their devices.
    if (!mount.from.starts_with("/dev/"))
        return std::nullopt;
    return devices.kernelName(mount.from.substr(mount.from.rfind('/') + 1));
}

std::string mountSource(const BlockDevices& devices, const MountEntry& mount) {
    if (mount.from == "/dev/root") {
        if (const std::optional<std::string> name = deviceOfMount(devices, mount))
            return BlockDevices::node(*name);
    }
    return mount.from;
}

} // namespace sentrel::platform
