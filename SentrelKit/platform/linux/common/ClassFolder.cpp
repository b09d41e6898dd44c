// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/ClassFolder.h>

#include <SentrelKit/platform/linux/common/File.h>
#include <SentrelKit/platform/linux/common/Folder.h>

#include <fcntl.h>
#include <functional>

namespace sentrel::platform {

bool ClassFolder::hasChanged() noexcept {
    if (!events_.anyNew())
        return false;
    // The sum does not depend on the order in which the kernel lists them.
    std::uint64_t devices = 0;
    if (const UniqueFd folder = openAt(AT_FDCWD, path_.c_str(), O_DIRECTORY)) {
        FolderReader entries(folder.get());
        while (const dirent64* entry = entries.next()) {
            constexpr std::uint64_t spread = 0x9E3779B97F4A7C15; // 2^64 divided by the golden ratio
            devices += (std::hash<std::string_view>()(entry->d_name) ^ (entry->d_ino * spread)) * spread;
        }
    }
    const bool changed = devices_ != devices;
    devices_ = devices;
    return changed;
}

} // namespace sentrel::platform
