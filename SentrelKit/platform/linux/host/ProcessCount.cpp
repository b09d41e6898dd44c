// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/ProcessCount.h>

#include <SentrelKit/platform/linux/common/Folder.h>

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace sentrel::platform {

namespace {

bool isFolder(int parent, const dirent64& entry) noexcept {
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    struct stat status {};
    return ::fstatat(parent, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

bool ProcessCount::open() noexcept {
    if (!folder_)
        folder_ = root_.open("/proc");
    return static_cast<bool>(folder_);
}

bool ProcessCount::countStanding() noexcept {
    if (::lseek(folder_.get(), 0, SEEK_SET) != 0)
        return false;
    std::uint64_t folders = 0;
    FolderReader entries(folder_.get());
    while (const dirent64* entry = entries.next()) {
        if (entry->d_name[0] < '1' || entry->d_name[0] > '9')
            folders += isFolder(folder_.get(), *entry) ? 1 : 0;
        else if (root_.isReal()) // the kernel lists the processes last; a folder of captured files is in no order
            break;
    }
    if (entries.hasFailed())
        return false;
    standing_ = folders + 2;
    return true;
}

std::optional<std::uint32_t> ProcessCount::read() noexcept {
    struct stat status {};
    if (::fstat(folder_.get(), &status) != 0)
        return std::nullopt;
    if (samples_ == 0 && !countStanding())
        return std::nullopt;
    samples_ = (samples_ + 1) % samplesBetweenCounts;
    // Somebody runs this: a count without a single process is none.
    if (status.st_nlink <= standing_ || status.st_nlink - standing_ > std::numeric_limits<std::uint32_t>::max()) {
        errno = ENOTSUP;
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(status.st_nlink - standing_);
}

} // namespace sentrel::platform
