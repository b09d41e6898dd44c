// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Reading the kernel's files. Every path under /proc, /sys, /etc and /run is taken relative to one root, which tests
/// move to a folder of captured files.

#include <SentrelKit/platform/linux/common/UniqueFd.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace sentrel::platform {

/// The whole content of an open file from its start, at most `limit` bytes of it; absent, with errno set, if it cannot
/// be read.
[[nodiscard]] std::optional<std::string> readAll(const UniqueFd& file, std::size_t limit);

/// The folder under which the kernel's files are found: "/" unless moved. A plain value, shared by copying.
class SystemRoot {
public:
    SystemRoot() = default;
    explicit SystemRoot(std::string folder);

    /// The real path of an absolute path such as "/proc/stat".
    [[nodiscard]] std::string path(std::string_view absolute) const;

    /// Opens a file for reading, close-on-exec. Without one the result is empty and errno tells why.
    [[nodiscard]] UniqueFd open(std::string_view absolute) const;

    /// The whole content of a small file, at most `limit` bytes of it; absent, with errno set, if it cannot be read.
    [[nodiscard]] std::optional<std::string> read(std::string_view absolute, std::size_t limit = 65536) const;

    /// As `read`, without blanks and line ends around it. For the one-line files of /sys.
    [[nodiscard]] std::optional<std::string> readLine(std::string_view absolute) const;

    /// True for the real machine.
    [[nodiscard]] bool isReal() const noexcept { return prefix_.empty(); }

private:
    std::string prefix_;
};

/// A file that is opened once and read again from its start at each sample. One thread at a time.
class KeptFile {
public:
    KeptFile(const SystemRoot& root, std::string_view absolute);

    /// Reads the file's first bytes into the buffer, with one system call, and returns them; absent, with errno set, if
    /// it cannot be read. A descriptor that fails is closed and the file opened anew, at once. For files that come
    /// whole (`readOnce`).
    [[nodiscard]] std::optional<std::string_view> read(std::span<char> buffer) noexcept;

    /// The same for a table of /proc, which comes a page at a time.
    [[nodiscard]] std::optional<std::string_view> readTable(std::span<char> buffer) noexcept;

private:
    using Reading = std::optional<std::size_t> (*)(int file, std::span<char> buffer) noexcept;

    [[nodiscard]] std::optional<std::string_view> readBy(Reading reading, std::span<char> buffer) noexcept;

    std::string path_;
    UniqueFd file_;
};

} // namespace sentrel::platform
