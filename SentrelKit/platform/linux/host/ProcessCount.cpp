// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/ProcessCount.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace sentrel::platform {

namespace {

bool isFolder(int parent, const char* name, unsigned char type) noexcept {
    if (type != DT_UNKNOWN)
        return type == DT_DIR;
    struct stat status {};
    return ::fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
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
    for (;;) {
        // getdents64(2) itself: readdir would fill far more than the standing entries need, and allocate.
        alignas(dirent64) std::array<char, 4096> buffer;
        const long size = ::syscall(SYS_getdents64, folder_.get(), buffer.data(), buffer.size());
        if (size < 0)
            return false;
        if (size == 0)
            break;
        bool processes = false;
        for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
            std::uint16_t length;
            std::memcpy(&length, buffer.data() + at + offsetof(dirent64, d_reclen), sizeof length);
            const char* name = buffer.data() + at + offsetof(dirent64, d_name);
            const auto type = static_cast<unsigned char>(buffer[at + offsetof(dirent64, d_type)]);
            if (name[0] >= '1' && name[0] <= '9')
                processes = true;
            else if (name[0] != '.' && isFolder(folder_.get(), name, type))
                ++folders;
            at += length;
        }
        // The kernel lists the processes last; a folder of captured files is in no order.
        if (processes && root_.isReal())
            break;
    }
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
