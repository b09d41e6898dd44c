// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

namespace sentrel::platform {

namespace {

UniqueFd openForReading(const std::string& path) {
    int fd;
    do
        fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    while (fd < 0 && errno == EINTR);
    return UniqueFd(fd);
}

// Fills the buffer from the file's start; the count, or -1 with errno set.
ssize_t readFromStart(int fd, char* buffer, std::size_t size) noexcept {
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = ::pread(fd, buffer + filled, size - filled, static_cast<off_t>(filled));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return -1;
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(filled);
}

} // namespace

SystemRoot::SystemRoot(std::string folder) : prefix_(std::move(folder)) {
    while (!prefix_.empty() && prefix_.back() == '/')
        prefix_.pop_back();
}

std::string SystemRoot::path(std::string_view absolute) const {
    std::string path;
    path.reserve(prefix_.size() + absolute.size());
    path += prefix_;
    path += absolute;
    return path;
}

UniqueFd SystemRoot::open(std::string_view absolute) const {
    return openForReading(path(absolute));
}

std::optional<std::string> SystemRoot::read(std::string_view absolute, std::size_t limit) const {
    const UniqueFd file = open(absolute);
    if (!file)
        return std::nullopt;
    std::string content;
    while (content.size() < limit) {
        const std::size_t filled = content.size();
        content.resize(std::min(limit, filled + 4096));
        const ssize_t count =
            ::pread(file.get(), content.data() + filled, content.size() - filled, static_cast<off_t>(filled));
        if (count < 0 && errno == EINTR) {
            content.resize(filled);
            continue;
        }
        if (count < 0)
            return std::nullopt;
        content.resize(filled + static_cast<std::size_t>(count));
        if (count == 0)
            break;
    }
    return content;
}

std::optional<std::string> SystemRoot::readLine(std::string_view absolute) const {
    std::optional<std::string> content = read(absolute);
    if (content) {
        constexpr std::string_view blanks = " \t\r\n";
        const std::size_t end = content->find_last_not_of(blanks);
        content->erase(end == std::string::npos ? 0 : end + 1);
        content->erase(0, std::min(content->find_first_not_of(blanks), content->size()));
    }
    return content;
}

KeptFile::KeptFile(const SystemRoot& root, std::string_view absolute) : path_(root.path(absolute)) {}

std::optional<std::string_view> KeptFile::read(std::span<char> buffer) noexcept {
    if (!fd_)
        fd_ = openForReading(path_);
    if (!fd_)
        return std::nullopt;
    const ssize_t count = readFromStart(fd_.get(), buffer.data(), buffer.size());
    if (count < 0) {
        const int reason = errno;
        fd_.reset();
        errno = reason;
        return std::nullopt;
    }
    return std::string_view(buffer.data(), static_cast<std::size_t>(count));
}

} // namespace sentrel::platform
