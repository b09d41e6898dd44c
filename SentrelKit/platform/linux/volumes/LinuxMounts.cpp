// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>

#include <SentrelKit/platform/linux/volumes/VolumeRules.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <linux/fs.h>
#include <poll.h>
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
    entry.isVisible = true;
    return entry;
}

std::string deviceOf(const BlockDevices& devices, const MountEntry& mount) {
    std::optional<std::string> name;
    if (mount.deviceMajor != 0)
        name = devices.nameOfNumber(mount.deviceMajor, mount.deviceMinor);
    else if (mount.from.starts_with("/dev/")) // file systems that span devices (btrfs) name one of them
        name = devices.kernelName(lastPart(mount.from));
    return name.value_or(std::string());
}

// A disk stays the same as long as it is mounted, and asking for its model takes long.
std::optional<std::string> modelBehind(const BlockDevices& devices, const MountEntry& mount,
                                       const MountSnapshot& before) {
    for (std::size_t i = 0; before && i < before->size(); ++i) {
        const MountEntry& known = (*before)[i];
        if (known.isVolume && known.device == mount.device && isSameMount(known, mount))
            return known.model;
    }
    return devices.model(mount.device);
}

} // namespace

MountSnapshot Mounts::current() {
    const LockScope scope(lock_);
    const Owner owner = ownerNow();
    if (!isCurrent(owner))
        read(owner);
    return snapshot_;
}

MountSnapshot Mounts::latest() {
    {
        const LockScope scope(lock_);
        if (snapshot_)
            return snapshot_;
    }
    return current();
}

Mounts::Owner Mounts::ownerNow() const {
    Owner owner{ForkGate::generation()};
    struct stat space {};
    if (::stat(devices_.root().path("/proc/self/ns/mnt").c_str(), &space) == 0)
        owner.namespaceAndRoot = {space.st_dev, space.st_ino};
    struct stat root {};
    if (::stat(devices_.root().path("/proc/self/root").c_str(), &root) == 0) {
        owner.namespaceAndRoot[2] = root.st_dev;
        owner.namespaceAndRoot[3] = root.st_ino;
    }
    return owner;
}

bool Mounts::isCurrent(const Owner& owner) const {
    if (!snapshot_ || !(owner == owner_))
        return false;
    // A change shows as an urgent, erroneous state (proc(5)); the table cannot be written to, unlike all files that
    // tell of nothing.
    pollfd notice{table_.get(), POLLPRI | POLLOUT, 0};
    return ::poll(&notice, 1, 0) == 0;
}

// The file is open before it is read: a change meanwhile is told.
void Mounts::read(const Owner& owner) {
    const MountSnapshot before = std::exchange(snapshot_, nullptr);
    owner_ = owner;
    table_ = devices_.root().open(mountTablePath);
    const std::optional<std::string> text =
        table_ ? readAll(table_, std::numeric_limits<std::size_t>::max()) : std::nullopt;
    if (!text)
        return;
    std::vector<MountEntry> entries = mountsIn(devices_, *text);
    const auto isOnRoot = [](const MountEntry& entry) { return entry.on == "/"; };
    if (devices_.root().isReal() && std::none_of(entries.begin(), entries.end(), isOnRoot)) {
        if (std::optional<MountEntry> entry = unlistedRoot()) {
            entry->device = deviceOf(devices_, *entry);
            entries.insert(entries.begin(), std::move(*entry));
        }
    }
    judgeMounts(entries);
    for (MountEntry& entry : entries) {
        if (entry.isVolume && !entry.device.empty())
            entry.model = modelBehind(devices_, entry, before);
    }
    snapshot_ = std::make_shared<const std::vector<MountEntry>>(std::move(entries));
}

std::vector<MountEntry> mountsIn(const BlockDevices& devices, std::string_view table) {
    std::vector<MountEntry> entries = parseMountTable(table);
    for (MountEntry& entry : entries)
        entry.device = deviceOf(devices, entry);
    return entries;
}

std::string mountSource(const MountEntry& mount) {
    return mount.from == unknownRoot && !mount.device.empty() ? BlockDevices::node(mount.device) : mount.from;
}

const MountEntry* mountOfDevice(const std::vector<MountEntry>& mounts, const std::string& kernelName) {
    const auto mount = std::find_if(mounts.begin(), mounts.end(), [&](const MountEntry& entry) {
        return entry.isVisible && entry.device == kernelName;
    });
    return mount == mounts.end() ? nullptr : &*mount;
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
