// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/volumes/MacVolumeService.h>

#include <SentrelKit/platform/macos/volumes/MacDiskSession.h>
#include <SentrelKit/platform/macos/volumes/VolumeIcon.h>
#include <SentrelKit/platform/macos/volumes/VolumeNotices.h>
#include <SentrelKit/platform/support/Observer.h>

#include <sys/mount.h>
#include <sys/param.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

constexpr std::array<std::string_view, 10> shownTypes{"hfs",   "apfs", "nfs",    "ufs",    "msdos",
                                                      "exfat", "ntfs", "cd9660", "cddafs", "udf"};

FileSystemSpace spaceOf(const struct statfs& record) noexcept {
    return {.blockSize = record.f_bsize,
            .blocks = record.f_blocks,
            .freeBlocks = record.f_bfree,
            .inodes = record.f_files,
            .freeInodes = record.f_ffree};
}

} // namespace

std::int32_t MacVolumeService::countMountedFileSystems() {
    return ::getfsstat(nullptr, 0, MNT_NOWAIT);
}

std::int32_t MacVolumeService::listMountedFileSystems(std::span<MountedFileSystem> entries) {
    std::vector<struct statfs> records(entries.size());
    const int count = ::getfsstat(records.data(), static_cast<int>(records.size() * sizeof(struct statfs)), MNT_NOWAIT);
    if (count < 0)
        return -1;
    const std::size_t filled = std::min(static_cast<std::size_t>(count), records.size());
    for (std::size_t index = 0; index < filled; ++index) {
        const struct statfs& record = records[index];
        entries[index] = {.type = record.f_fstypename,
                          .from = record.f_mntfromname,
                          .on = record.f_mntonname,
                          .space = spaceOf(record),
                          .isRoot = (record.f_flags & MNT_ROOTFS) != 0,
                          .dontBrowse = (record.f_flags & MNT_DONTBROWSE) != 0};
    }
    return static_cast<std::int32_t>(filled);
}

AcceptedTypes MacVolumeService::acceptedTypes() const noexcept {
    return {.names = shownTypes, .anyRoot = false};
}

std::optional<FileSystemSpace> MacVolumeService::space(const char* path) {
    struct statfs record {};
    if (::statfs(path, &record) != 0)
        return std::nullopt;
    return spaceOf(record);
}

std::unique_ptr<DiskSession> MacVolumeService::openSession() {
    return MacDiskSession::open();
}

Observation MacVolumeService::observe(std::function<void(const VolumeNotification&)> observer) {
    // The notices hold the observers, not the registration: one that comes late finds nobody. An exception does not
    // pass through the notification centre.
    const auto observers = std::make_shared<Observers<VolumeNotification>>();
    return observers->add(std::move(observer),
                          VolumeNotices::add([observers](const VolumeNotification& notice) noexcept {
                              observers->post(notice);
                              observers->tell();
                          }));
}

std::optional<Icon> MacVolumeService::iconForPath(const std::string& path) {
    return volumeIcon(path);
}

} // namespace sentrel::platform
