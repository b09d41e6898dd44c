// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cerrno>
#include <cstddef>
#include <dirent.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The names in a folder, "." and ".." left out, in byte order; absent, with errno set, if it cannot be read.
[[nodiscard]] std::optional<std::vector<std::string>> namesIn(const SystemRoot& root, std::string_view folder);

/// Calls back with each name in an open folder that was not read yet, "." and ".." left out, in the kernel's order.
/// Takes no memory. False, with errno set, if it cannot be read.
template <class Each>
bool forEachName(int folder, Each&& each) {
    alignas(dirent64) char buffer[4096];
    for (;;) {
        const ssize_t filled = ::getdents64(folder, buffer, sizeof buffer);
        if (filled < 0 && errno == EINTR)
            continue;
        if (filled <= 0)
            return filled == 0;
        for (std::size_t at = 0; at < static_cast<std::size_t>(filled);) {
            const auto* entry = reinterpret_cast<const dirent64*>(buffer + at);
            const std::string_view name = entry->d_name;
            if (name != "." && name != "..")
                each(name);
            at += entry->d_reclen;
        }
    }
}

} // namespace sentrel::platform
