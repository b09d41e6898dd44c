// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <SentrelKit/platform/linux/common/File.h>
#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

namespace sentrel::platform {

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
    return openAt(AT_FDCWD, path(absolute).c_str());
}

std::optional<std::string> readAll(const UniqueFd& file, std::size_t limit) {
    std::string content;
    while (content.size() < limit) {
        const std::size_t filled = content.size();
        content.resize(std::min(limit, filled + 4096));
        const std::optional<std::size_t> count =
            readAt(file.get(), std::span(content).subspan(filled), static_cast<off_t>(filled));
        if (!count)
            return std::nullopt;
        content.resize(filled + *count);
        if (*count == 0)
            break;
    }
    return content;
}

std::optional<std::string> SystemRoot::read(std::string_view absolute, std::size_t limit) const {
    const UniqueFd file = open(absolute);
    return file ? readAll(file, limit) : std::nullopt;
}

std::optional<std::string> SystemRoot::readLine(std::string_view absolute) const {
    const std::optional<std::string> content = read(absolute);
    return content ? std::optional<std::string>(trimmed(*content)) : std::nullopt;
}

KeptFile::KeptFile(const SystemRoot& root, std::string_view absolute) : path_(root.path(absolute)) {}

std::optional<std::string_view> KeptFile::readBy(Reading reading, std::span<char> buffer) noexcept {
    std::optional<std::size_t> count = file_ ? reading(file_.get(), buffer) : std::nullopt;
    if (!count) { // at first, and when another file took the name
        file_ = openAt(AT_FDCWD, path_.c_str());
        count = file_ ? reading(file_.get(), buffer) : std::nullopt;
    }
    if (count)
        return std::string_view(buffer.data(), *count);
    const int reason = errno;
    file_.reset();
    errno = reason;
    return std::nullopt;
}

std::optional<std::string_view> KeptFile::read(std::span<char> buffer) noexcept {
    return readBy(readOnce, buffer);
}

std::optional<std::string_view> KeptFile::readTable(std::span<char> buffer) noexcept {
    return readBy(readToEnd, buffer);
}

} // namespace sentrel::platform
