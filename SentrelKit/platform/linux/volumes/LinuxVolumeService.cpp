// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/LinuxVolumeService.h>

#include <SentrelKit/platform/linux/volumes/VolumeIcon.h>
#include <SentrelKit/platform/linux/volumes/VolumeRules.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace sentrel::platform {

LinuxVolumeService::LinuxVolumeService(BlockDevices devices, EventSource& dispatch, DeviceControl& control)
    : machine_(std::move(devices), control), watch_(machine_.mounts, dispatch), table_(machine_.devices.root()) {}

DeviceControl& LinuxVolumeService::systemControl() noexcept {
    static DeviceControl control;
    return control;
}

std::int32_t LinuxVolumeService::countMountedFileSystems() {
    const MountSnapshot mounts = machine_.mounts.current();
    return mounts ? static_cast<std::int32_t>(mounts->size()) : -1;
}

std::int32_t LinuxVolumeService::listMountedFileSystems(std::span<MountedFileSystem> entries) {
    const MountSnapshot mounts = machine_.mounts.current();
    if (!mounts)
        return -1;
    space_.setMounts(*mounts);
    machine_.generation.fetch_add(1, std::memory_order_relaxed);

    const std::size_t count = std::min(mounts->size(), entries.size());
    for (std::size_t i = 0; i < count; ++i) {
        const MountEntry& mount = (*mounts)[i];
        MountedFileSystem& entry = entries[i];
        entry.type = mount.type;
        entry.from = mountSource(mount);
        entry.on = mount.on;
        entry.isRoot = mount.isRoot;
        entry.dontBrowse = mount.dontBrowse;
        entry.space = {};
        // Only volumes are asked for their space: a question to another mount might trigger it (autofs).
        if (mount.isVolume) {
            bool known = false;
            entry.space =
                space_.ofVolume(mount.on, mount.on.c_str(), known).value_or(FileSystemSpace{.answers = false});
        }
    }
    return static_cast<std::int32_t>(count);
}

AcceptedTypes LinuxVolumeService::acceptedTypes() const noexcept {
    return nativeVolumeTypes();
}

std::optional<FileSystemSpace> LinuxVolumeService::space(const char* path) {
    bool known = false;
    const std::optional<FileSystemSpace> space = space_.ofVolume(path, path, known);
    if (known)
        return space;
    // A path inside a mount, or one that came after the last listing.
    const MountSnapshot mounts = machine_.mounts.current();
    const MountEntry* mount = mounts ? mountOfPath(*mounts, path) : nullptr;
    return mount && mount->mayNotAnswer ? space_.ofMount(*mount) : askSpace(path);
}

std::unique_ptr<DiskSession> LinuxVolumeService::openSession() {
    return makeDiskSession(machine_);
}

Observation LinuxVolumeService::observe(std::function<void(const VolumeNotification&)> observer) {
    return watch_.observe(std::move(observer));
}

void LinuxVolumeService::checkLabel(const std::string& path) {
    watch_.checkLabel(path);
}

std::optional<Icon> LinuxVolumeService::iconForPath(const std::string& path) {
    const MountSnapshot mounts = machine_.mounts.current();
    const MountEntry* mount = mounts ? mountOfPath(*mounts, path) : nullptr;
    if (!mount)
        return std::nullopt;
    return volumeIcon(machine_.devices, *mount);
}

Availability LinuxVolumeService::diskOperations(std::vector<DiskOperations>& disks) {
    const LockScope scope(tableLock_);
    return table_.read(disks) ? Availability::available : availabilityOf(errno);
}

Availability LinuxVolumeService::diskDevices(std::vector<DiskDevice>& devices) {
    std::vector<DiskOperations> disks;
    if (const Availability availability = diskOperations(disks); availability != Availability::available)
        return availability;
    devices.clear();
    for (const DiskOperations& disk : disks)
        devices.push_back(describeDevice(machine_.devices, disk.name));
    return Availability::available;
}

} // namespace sentrel::platform
