// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>

#include <SentrelKit/platform/linux/volumes/VolumeRules.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <linux/fs.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr std::string_view unknownRoot = "/dev/root"; // what boot loaders mount, which is no device

std::string_view lastPart(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

// The root of a process whose root folder is no mount point, as after chroot(2): the table tells only what is mounted
// below.
std::optional<MountEntry> unlistedRoot() {
    struct stat status {};
    if (::stat("/", &status) != 0)
        return std::nullopt;
    MountEntry entry;
    entry.deviceMajor = major(status.st_dev);
    entry.deviceMinor = minor(status.st_dev);
    entry.root = "/";
    entry.on = "/";
    entry.type = "rootfs";
    entry.from = unknownRoot;
    return entry;
}

} // namespace

std::optional<std::vector<MountEntry>> readMountTable(const SystemRoot& root) {
    const std::optional<std::string> table = root.read(mountTablePath, std::numeric_limits<std::size_t>::max());
    if (!table)
        return std::nullopt;
    std::vector<MountEntry> entries = parseMountTable(*table);
    const auto isOnRoot = [](const MountEntry& entry) { return entry.on == "/"; };
    if (root.isReal() && std::none_of(entries.begin(), entries.end(), isOnRoot)) {
        if (std::optional<MountEntry> entry = unlistedRoot())
            entries.insert(entries.begin(), std::move(*entry));
    }
    markWhatMayNotAnswer(entries);
    return entries;
}

std::optional<std::string> deviceOfMount(const BlockDevices& devices, const MountEntry& mount) {
    if (mount.deviceMajor != 0)
        return devices.nameOfNumber(mount.deviceMajor, mount.deviceMinor);
    // File systems that span devices (btrfs) have a number of their own and name one of their devices.
    if (!mount.from.starts_with("/dev/"))
        return std::nullopt;
    return devices.kernelName(lastPart(mount.from));
}

std::string mountSource(const BlockDevices& devices, const MountEntry& mount) {
    if (mount.from == unknownRoot) {
        if (const std::optional<std::string> name = deviceOfMount(devices, mount))
            return BlockDevices::node(*name);
    }
    return mount.from;
}

const MountEntry* mountOfDevice(const BlockDevices& devices, const std::vector<MountEntry>& mounts,
                                const std::string& kernelName) {
    const std::optional<std::string> number = devices.attribute(kernelName, "dev");
    const std::vector<bool> visible = visibleMounts(mounts);
    for (std::size_t i = 0; i < mounts.size(); ++i) {
        const MountEntry& mount = mounts[i];
        const bool isOnDevice = mount.deviceMajor != 0 ? number == std::to_string(mount.deviceMajor) + ':' +
                                                                       std::to_string(mount.deviceMinor)
                                                       : deviceOfMount(devices, mount) == kernelName;
        if (visible[i] && isOnDevice)
            return &mount;
    }
    return nullptr;
}

std::optional<std::string> labelOfMount(const SystemRoot& root, const MountEntry& mount) {
    if (!root.isReal() || mount.mayNotAnswer)
        return std::nullopt;
    const UniqueFd folder(::open(mount.on.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK));
    std::array<char, FSLABEL_MAX> label{};
    if (!folder || ::ioctl(folder.get(), FS_IOC_GETFSLABEL, label.data()) != 0)
        return std::nullopt;
    return std::string(label.data(), ::strnlen(label.data(), label.size()));
}

std::optional<std::string> labelOfDevice(const BlockDevices& devices, const std::vector<MountEntry>& mounts,
                                         const std::string& kernelName) {
    const auto file = devices.attribute(devices.wholeDisk(kernelName), "loop/backing_file");
    const MountEntry* const above = file ? mountOfPath(mounts, *file) : nullptr;
    return above && above->mayNotAnswer ? std::nullopt : devices.label(kernelName);
}

} // namespace sentrel::platform
