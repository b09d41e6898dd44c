// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <array>
#include <cstddef>
#include <dirent.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// Lists an open folder from where its descriptor stands, in the kernel's order, "." and ".." left out. Takes no memory
/// from the heap.
class FolderReader {
public:
    /// The folder stays the caller's.
    explicit FolderReader(int folder) noexcept : folder_(folder) {}

    /// The next entry, good until the next call; null after the last one and, with errno set, when listing failed.
    [[nodiscard]] const dirent64* next() noexcept;

    /// Whether listing failed, once `next` gave null.
    [[nodiscard]] bool hasFailed() const noexcept { return hasFailed_; }

private:
    const int folder_;
    std::size_t at_ = 0;
    std::size_t filled_ = 0;
    bool hasFailed_ = false;
    alignas(dirent64) std::array<char, 32768> records_; // of getdents64(2): a thousand processes in one call
};

/// The names in a folder, "." and ".." left out, in byte order; absent, with errno set, if it cannot be read.
[[nodiscard]] std::optional<std::vector<std::string>> namesIn(const SystemRoot& root, std::string_view folder);

} // namespace sentrel::platform
