// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/File.h>

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <unistd.h>

namespace sentrel::platform {

UniqueFd openAt(int folder, const char* path, int flags) noexcept {
    int fd;
    do
        fd = ::openat(folder, path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | flags);
    while (fd < 0 && errno == EINTR);
    return UniqueFd(fd);
}

std::optional<std::size_t> readAt(int file, std::span<char> buffer, off_t at) noexcept {
    ssize_t count;
    do
        count = ::pread(file, buffer.data(), buffer.size(), at);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        return std::nullopt;
    return static_cast<std::size_t>(count);
}

std::optional<std::size_t> readOnce(int file, std::span<char> buffer) noexcept {
    return readAt(file, buffer, 0);
}

std::optional<std::size_t> readToEnd(int file, std::span<char> buffer) noexcept {
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const std::optional<std::size_t> count = readAt(file, buffer.subspan(filled), static_cast<off_t>(filled));
        if (!count)
            return std::nullopt;
        if (*count == 0)
            break;
        filled += *count;
    }
    return filled;
}

std::optional<std::string_view> readFileAt(int folder, const char* path, std::span<char> buffer) noexcept {
    const UniqueFd file = openAt(folder, path);
    const std::optional<std::size_t> count = file ? readOnce(file.get(), buffer) : std::nullopt;
    if (!count)
        return std::nullopt;
    return std::string_view(buffer.data(), *count);
}

std::optional<std::string> linkTarget(const std::string& path) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length < 0)
        return std::nullopt;
    return std::string(target.data(), static_cast<std::size_t>(length));
}

} // namespace sentrel::platform
