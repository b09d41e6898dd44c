// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/LinuxVolumeService.h>

#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>
#include <SentrelKit/platform/linux/volumes/VolumeIcon.h>
#include <SentrelKit/platform/linux/volumes/VolumeRules.h>
#include <SentrelKit/platform/linux/volumes/VolumeWatch.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

bool isVolume(const MountEntry& mount, const VolumeTraits& traits) {
    const std::span<const std::string_view> types = nativeVolumeTypes();
    return traits.isRoot || (!traits.dontBrowse && std::find(types.begin(), types.end(), mount.type) != types.end());
}

} // namespace

LinuxVolumeService::LinuxVolumeService(const SystemRoot& root, EventSource& dispatch, DeviceControl& control)
    : machine_(root, control), dispatch_(dispatch) {}

DeviceControl& LinuxVolumeService::systemControl() noexcept {
    static DeviceControl control;
    return control;
}

std::int32_t LinuxVolumeService::countMountedFileSystems() {
    const std::optional<std::vector<MountEntry>> mounts = readMountTable(machine_.devices.root());
    return mounts ? static_cast<std::int32_t>(mounts->size()) : -1;
}

std::int32_t LinuxVolumeService::listMountedFileSystems(std::span<MountedFileSystem> entries) {
    const std::optional<std::vector<MountEntry>> mounts = readMountTable(machine_.devices.root());
    if (!mounts)
        return -1;
    const std::vector<VolumeTraits> traits = volumeTraits(*mounts);
    // Only volumes are asked for their space: a question to another mount might trigger it (autofs).
    std::vector<bool> areVolumes(mounts->size());
    for (std::size_t i = 0; i < mounts->size(); ++i)
        areVolumes[i] = isVolume((*mounts)[i], traits[i]);
    space_.setMounts(*mounts, areVolumes);
    machine_.generation.fetch_add(1, std::memory_order_relaxed);

    const std::size_t count = std::min(mounts->size(), entries.size());
    for (std::size_t i = 0; i < count; ++i) {
        const MountEntry& mount = (*mounts)[i];
        MountedFileSystem& entry = entries[i];
        entry.type = mount.type;
        entry.from = mountSource(machine_.devices, mount);
        entry.on = mount.on;
        entry.isRoot = traits[i].isRoot;
        entry.dontBrowse = traits[i].dontBrowse;
        entry.space = {};
        if (areVolumes[i]) {
            bool known = false;
            entry.space = space_.ofVolume(mount.on, mount.on.c_str(), known).value_or(FileSystemSpace());
        }
    }
    return static_cast<std::int32_t>(count);
}

AcceptedTypes LinuxVolumeService::acceptedTypes() const noexcept {
    return {nativeVolumeTypes(), true};
}

std::optional<FileSystemSpace> LinuxVolumeService::space(const char* path) {
    bool known = false;
    const std::optional<FileSystemSpace> space = space_.ofVolume(path, path, known);
    if (known)
        return space;
    // A path inside a mount, or one that came after the last listing.
    const std::optional<std::vector<MountEntry>> mounts = readMountTable(machine_.devices.root());
    const MountEntry* mount = mounts ? mountOfPath(*mounts, path) : nullptr;
    return mount && mount->mayNotAnswer ? space_.ofMount(*mount) : askSpace(path);
}

std::unique_ptr<DiskSession> LinuxVolumeService::openSession() {
    return makeDiskSession(machine_);
}

Observation LinuxVolumeService::observe(std::function<void(const VolumeNotification&)> observer) {
    return watchVolumes(machine_.devices, dispatch_, std::move(observer));
}

std::optional<std::string> LinuxVolumeService::iconForPath(const std::string& path) {
    const std::optional<std::vector<MountEntry>> mounts = readMountTable(machine_.devices.root());
    const MountEntry* mount = mounts ? mountOfPath(*mounts, path) : nullptr;
    if (!mount)
        return std::nullopt;
    return volumeIcon(machine_.devices, *mount);
}

} // namespace sentrel::platform
