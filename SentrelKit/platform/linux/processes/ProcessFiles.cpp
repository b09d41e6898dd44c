// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/processes/ProcessFiles.h>

#include <SentrelKit/platform/linux/common/File.h>
#include <SentrelKit/platform/linux/common/Folder.h>
#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace sentrel::platform {

namespace {

constexpr std::size_t bufferSize = 32768;

template <class Number>
bool takeNumber(std::string_view& text, Number& number) noexcept {
    const std::optional<Number> value = toNumber<Number>(takeWord(text));
    number = value.value_or(number);
    return value.has_value();
}

bool skipWords(std::string_view& text, int count) noexcept {
    while (count-- > 0) {
        if (takeWord(text).empty())
            return false;
    }
    return true;
}

bool isApplicationUnit(std::string_view name) noexcept {
    return name.starts_with("app-") && (name.ends_with(".scope") || name.ends_with(".service"));
}

// The innermost application unit of a control group's path.
std::string_view applicationUnit(std::string_view path) noexcept {
    while (!path.empty()) {
        const std::string_view name = lastPathComponent(path);
        if (isApplicationUnit(name))
            return name;
        path.remove_suffix(std::min(name.size() + 1, path.size()));
    }
    return {};
}

// "<id>/<name>" in the caller's buffer.
using ProcessPath = std::array<char, 40>;
const char* processPath(ProcessPath& path, std::int32_t id, const char* name) noexcept {
    std::snprintf(path.data(), path.size(), "%d/%s", id, name);
    return path.data();
}

} // namespace

std::optional<ProcessStat> parseProcessStat(std::string_view text) noexcept {
    // A command may hold blanks and parentheses itself: it ends at the last one.
    const std::size_t open = text.find('(');
    const std::size_t close = text.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open)
        return std::nullopt;
    ProcessStat stat;
    stat.command = text.substr(open + 1, close - open - 1);
    text.remove_prefix(close + 1);

    const std::string_view state = takeWord(text);
    if (state.size() != 1)
        return std::nullopt;
    stat.state = state.front();

    const bool complete =
        takeNumber(text, stat.parent) && skipWords(text, 1) /* pgrp */ && takeNumber(text, stat.session) &&
        takeNumber(text, stat.terminal) && skipWords(text, 1) /* tpgid */ && takeNumber(text, stat.flags) &&
        skipWords(text, 4) /* faults */ && takeNumber(text, stat.userTicks) && takeNumber(text, stat.systemTicks) &&
        skipWords(text, 4) /* times of collected children, priority, nice */ && takeNumber(text, stat.threads) &&
        skipWords(text, 1) /* itrealvalue */ && takeNumber(text, stat.startTicks);
    if (!complete)
        return std::nullopt;
    return stat;
}

std::optional<std::uint64_t> parseResidentPages(std::string_view text) noexcept {
    std::uint64_t pages = 0;
    if (!skipWords(text, 1) || !takeNumber(text, pages))
        return std::nullopt;
    return pages;
}

std::string_view parseUserName(std::string_view text, std::uint32_t user) noexcept {
    while (std::optional<std::string_view> line = takeLine(text)) {
        const std::string_view name = takeUpTo(*line, ':');
        takeUpTo(*line, ':'); // the password, which stands elsewhere
        if (!name.empty() && toNumber<std::uint32_t>(takeUpTo(*line, ':')) == user)
            return name;
    }
    return {};
}

std::optional<std::int32_t> parseLastId(std::string_view text) noexcept {
    std::int32_t id = 0;
    if (!skipWords(text, 4) || !takeNumber(text, id))
        return std::nullopt;
    return id;
}

std::optional<StorageBytes> parseProcessStorage(std::string_view text) noexcept {
    std::optional<std::uint64_t> read;
    std::optional<std::uint64_t> written;
    while (std::optional<std::string_view> line = takeLine(text)) {
        const std::string_view name = takeUpTo(*line, ':');
        if (name == "read_bytes")
            read = toNumber(trimmed(*line));
        else if (name == "write_bytes")
            written = toNumber(trimmed(*line));
    }
    if (!read || !written)
        return std::nullopt;
    return StorageBytes{*read, *written};
}

std::vector<std::string> parseCommandLine(std::string_view text) {
    std::vector<std::string> arguments;
    while (!text.empty())
        arguments.emplace_back(takeUpTo(text, '\0'));
    return arguments;
}

std::string_view applicationScope(std::string_view cgroups) noexcept {
    while (std::optional<std::string_view> path = takeLine(cgroups)) {
        // "<hierarchy>:<controllers>:<path>"
        takeUpTo(*path, ':');
        const std::string_view controllers = takeUpTo(*path, ':');
        if (!controllers.empty() && controllers != "name=systemd")
            continue;
        const std::string_view unit = applicationUnit(*path);
        if (!unit.empty())
            return unit;
    }
    return {};
}

std::string applicationIdentifier(std::string_view scope) {
    // The desktop environments' convention: app[-<launcher>]-<id>-<random>.scope,
    // app[-<launcher>]-<id>[@<random>].service
    if (!isApplicationUnit(scope))
        return {};
    const bool service = scope.ends_with(".service");
    scope.remove_prefix(std::strlen("app-"));
    scope.remove_suffix(std::strlen(service ? ".service" : ".scope"));
    if (service) {
        scope = scope.substr(0, scope.find('@'));
    } else {
        const std::size_t random = scope.rfind('-');
        if (random == std::string_view::npos)
            return {};
        scope = scope.substr(0, random);
    }
    const std::size_t launcher = scope.rfind('-');
    if (launcher != std::string_view::npos)
        scope.remove_prefix(launcher + 1);
    return withoutHexEscapes(scope);
}

ProcessFiles::ProcessFiles(const SystemRoot& root) : root_(root), loadavg_(root, "/proc/loadavg") {}

bool ProcessFiles::open() noexcept {
    if (folder_)
        return true;
    folder_ = openAt(AT_FDCWD, root_.path("/proc").c_str(), O_DIRECTORY);
    if (folder_ && buffer_.empty())
        buffer_.resize(bufferSize);
    return static_cast<bool>(folder_);
}

bool ProcessFiles::list(std::vector<std::int32_t>& ids) {
    ids.clear();
    if (!open() || ::lseek(folder_.get(), 0, SEEK_SET) != 0)
        return false;
    bool sorted = true;
    FolderReader entries(folder_.get());
    while (const dirent64* entry = entries.next()) {
        const std::optional<std::int32_t> id = toNumber<std::int32_t>(entry->d_name);
        if (!id || *id < 1)
            continue;
        sorted = sorted && (ids.empty() || ids.back() < *id);
        ids.push_back(*id);
    }
    if (entries.hasFailed())
        return false;
    if (!sorted) { // the kernel lists in rising order, folders of files do not
        std::sort(ids.begin(), ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    }
    return true;
}

std::optional<std::uint64_t> ProcessFiles::linkCount() noexcept {
    struct stat folder;
    if (!open() || ::fstat(folder_.get(), &folder) != 0)
        return std::nullopt;
    return folder.st_nlink;
}

std::optional<std::int32_t> ProcessFiles::lastId() noexcept {
    std::array<char, 128> text;
    const std::optional<std::string_view> content = loadavg_.read(text);
    return content ? parseLastId(*content) : std::nullopt;
}

std::optional<std::string_view> ProcessFiles::read(std::int32_t id, const char* name) noexcept {
    ProcessPath path;
    if (!open())
        return std::nullopt;
    return readFileAt(folder_.get(), processPath(path, id, name), buffer_);
}

std::optional<ProcessStat> ProcessFiles::stat(std::int32_t id) noexcept {
    const std::optional<std::string_view> text = read(id, "stat");
    return text ? parseProcessStat(*text) : std::nullopt;
}

std::optional<StorageBytes> ProcessFiles::storage(std::int32_t id) noexcept {
    const std::optional<std::string_view> text = read(id, "io");
    const std::optional<StorageBytes> bytes = text ? parseProcessStorage(*text) : std::nullopt;
    if (text && !bytes)
        errno = EINVAL;
    return bytes;
}

std::optional<std::uint64_t> ProcessFiles::openFiles(std::int32_t id) noexcept {
    ProcessPath path;
    struct stat folder;
    if (!open() || ::fstatat(folder_.get(), processPath(path, id, "fd"), &folder, 0) != 0)
        return std::nullopt;
    const UniqueFd files = openAt(folder_.get(), path.data(), O_DIRECTORY);
    if (!files)
        return std::nullopt;
    if (folder.st_size > 0) // the kernel's own count, since 6.2
        return static_cast<std::uint64_t>(folder.st_size);
    std::uint64_t count = 0;
    FolderReader entries(files.get());
    while (entries.next())
        ++count;
    if (entries.hasFailed())
        return std::nullopt;
    return count;
}

std::optional<std::uint64_t> ProcessFiles::residentPages(std::int32_t id) noexcept {
    const std::optional<std::string_view> text = read(id, "statm");
    return text ? parseResidentPages(*text) : std::nullopt;
}

std::optional<std::uint64_t> ProcessFiles::residentPagesOfOtherThreads(std::int32_t id) {
    ProcessPath path;
    const UniqueFd tasks = openAt(folder_.get(), processPath(path, id, "task"), O_DIRECTORY);
    if (!tasks)
        return std::nullopt;
    std::optional<std::uint64_t> pages;
    FolderReader entries(tasks.get());
    while (const dirent64* entry = entries.next()) {
        const std::optional<std::int32_t> thread = toNumber<std::int32_t>(entry->d_name);
        if (!thread || *thread == id)
            continue;
        pages = residentPages(*thread); // /proc answers for a thread's id too, without listing it
        if (pages && *pages > 0)
            break;
    }
    return pages;
}

std::optional<std::uint32_t> ProcessFiles::user(std::int32_t id) noexcept {
    ProcessPath path;
    struct stat folder;
    // The folder itself carries the effective user; files in it may be root's where a process is not to be traced.
    if (!open() || ::fstatat(folder_.get(), processPath(path, id, ""), &folder, 0) != 0)
        return std::nullopt;
    return folder.st_uid;
}

std::string_view ProcessFiles::program(std::int32_t id) noexcept {
    static_assert(bufferSize >= PATH_MAX);
    ProcessPath path;
    if (!open())
        return {};
    const ssize_t length = ::readlinkat(folder_.get(), processPath(path, id, "exe"), buffer_.data(), buffer_.size());
    if (length <= 0)
        return {};
    std::string_view program(buffer_.data(), static_cast<std::size_t>(length));
    constexpr std::string_view deleted = " (deleted)"; // replaced by an update while it ran
    if (program.ends_with(deleted))
        program.remove_suffix(deleted.size());
    return program;
}

std::string_view ProcessFiles::scope(std::int32_t id) noexcept {
    const std::optional<std::string_view> text = read(id, "cgroup");
    return text ? applicationScope(*text) : std::string_view();
}

std::vector<std::string> ProcessFiles::arguments(std::int32_t id) {
    constexpr std::size_t enough = 4;
    std::vector<std::string> arguments;
    std::string_view text = read(id, "cmdline").value_or(std::string_view());
    while (!text.empty() && arguments.size() < enough)
        arguments.emplace_back(takeUpTo(text, '\0'));
    return arguments;
}

} // namespace sentrel::platform
