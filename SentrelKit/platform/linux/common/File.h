// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/UniqueFd.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace sentrel::platform {

/// Opens a path for reading, close-on-exec and without ever waiting: a file, or with O_DIRECTORY a folder. A relative
/// path counts from the open folder (AT_FDCWD: the working folder). Empty, with errno set, on failure.
[[nodiscard]] UniqueFd openAt(int folder, const char* path, int flags = 0) noexcept;

/// Reads what an open file has at that place, with one system call; the count, or nothing, with errno set, on failure.
[[nodiscard]] std::optional<std::size_t> readAt(int file, std::span<char> buffer, off_t at) noexcept;

/// One read from the file's start. A file of /sys, and one of /proc that is a single record, comes whole if the buffer
/// holds it.
[[nodiscard]] std::optional<std::size_t> readOnce(int file, std::span<char> buffer) noexcept;

/// Reads from the file's start until the buffer is full or the file ends: the tables of /proc come a page at a time.
[[nodiscard]] std::optional<std::size_t> readToEnd(int file, std::span<char> buffer) noexcept;

/// Opens a file and reads it once into the buffer, of which the result is a part. Takes no memory.
[[nodiscard]] std::optional<std::string_view> readFileAt(int folder, const char* path, std::span<char> buffer) noexcept;

/// Where a symbolic link leads, as it stands there; absent, with errno set, if it is none.
[[nodiscard]] std::optional<std::string> linkTarget(const std::string& path);

} // namespace sentrel::platform
