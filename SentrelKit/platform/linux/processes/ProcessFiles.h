// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What /proc tells of one process and of all together. Reading and parsing are apart: the parsers take bytes and give
/// a record, absent if the bytes are not of the form that proc(5) describes.

#include <SentrelKit/platform/ProcessService.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The fields of /proc/<id>/stat that matter here.
struct ProcessStat {
    std::string_view command; ///< at most 15 bytes, as the process calls itself; part of the parsed text
    char state = 0;
    std::int32_t parent = 0;
    std::int32_t session = 0;
    std::int32_t terminal = 0; ///< device number of the controlling terminal, 0 without one
    std::uint32_t flags = 0;   ///< PF_ bits
    std::uint64_t userTicks = 0;
    std::uint64_t systemTicks = 0;
    std::int32_t threads = 0;
    std::uint64_t startTicks = 0; ///< since boot

    /// PF_KTHREAD of the kernel's linux/sched.h: a thread of the kernel itself.
    [[nodiscard]] bool isKernelThread() const noexcept { return (flags & 0x00200000U) != 0; }

    /// Ended and not yet collected by its parent. A process whose first thread ended before the others is not.
    [[nodiscard]] bool isZombie() const noexcept { return (state == 'Z' || state == 'X') && threads < 2; }

    /// The first thread ended and left the others running; the kernel then shows no memory in this file.
    [[nodiscard]] bool lostItsFirstThread() const noexcept { return (state == 'Z' || state == 'X') && threads >= 2; }
};

/// Parses the content of /proc/<id>/stat.
[[nodiscard]] std::optional<ProcessStat> parseProcessStat(std::string_view text) noexcept;

/// The resident pages in the content of /proc/<id>/statm.
[[nodiscard]] std::optional<std::uint64_t> parseResidentPages(std::string_view text) noexcept;

/// The bytes read and written in the content of /proc/<id>/io.
[[nodiscard]] std::optional<StorageBytes> parseProcessStorage(std::string_view text) noexcept;

/// The words in the content of /proc/<id>/cmdline: each ends with a zero byte, the last one may do without.
[[nodiscard]] std::vector<std::string> parseCommandLine(std::string_view text);

/// The name of the user of that number in the content of /etc/passwd (passwd(5)), a part of it; empty if there is none.
[[nodiscard]] std::string_view parseUserName(std::string_view text, std::uint32_t user) noexcept;

/// The last process id that was given out, as /proc/loadavg ends with.
[[nodiscard]] std::optional<std::int32_t> parseLastId(std::string_view text) noexcept;

/// The name of the desktop application scope or service ("app-*.scope", "app-*.service") that the content of
/// /proc/<id>/cgroup places a process in; empty without one. The unified hierarchy and systemd's own named one count.
[[nodiscard]] std::string_view applicationScope(std::string_view cgroups) noexcept;

/// The desktop entry id in a scope's name, unescaped: "app-gnome-org.example.Notes-1234.scope" is "org.example.Notes".
/// Empty if the name holds none.
[[nodiscard]] std::string applicationIdentifier(std::string_view scope);

/// Reads the files of processes under one kept descriptor of /proc, which is opened at the first reading. One thread at
/// a time.
class ProcessFiles {
public:
    explicit ProcessFiles(const SystemRoot& root);

    /// Lists all process ids in rising order into the caller's list. False, with errno set, if /proc cannot be listed.
    [[nodiscard]] bool list(std::vector<std::int32_t>& ids);

    /// The link count of /proc, which the kernel keeps as the number of processes and a constant; absent on failure.
    [[nodiscard]] std::optional<std::uint64_t> linkCount() noexcept;

    /// The last process id that was given out.
    [[nodiscard]] std::optional<std::int32_t> lastId() noexcept;

    /// The process's figures. The command text is valid until the next reading.
    [[nodiscard]] std::optional<ProcessStat> stat(std::int32_t id) noexcept;

    /// What the process has read and written; absent, with errno set, if that cannot be told.
    [[nodiscard]] std::optional<StorageBytes> storage(std::int32_t id) noexcept;

    /// The number of open files; absent, with errno set, if that cannot be told.
    [[nodiscard]] std::optional<std::uint64_t> openFiles(std::int32_t id) noexcept;

    /// Resident pages: exactly, which /proc/<id>/stat does not tell.
    [[nodiscard]] std::optional<std::uint64_t> residentPages(std::int32_t id) noexcept;

    /// Resident pages of a process that lost its first thread, as one of its other threads shows them.
    [[nodiscard]] std::optional<std::uint64_t> residentPagesOfOtherThreads(std::int32_t id);

    /// The effective user of the process.
    [[nodiscard]] std::optional<std::uint32_t> user(std::int32_t id) noexcept;

    /// The path of the program that the process runs, without the mark of a deleted file; empty if it is not to be
    /// seen. Valid until the next reading.
    [[nodiscard]] std::string_view program(std::int32_t id) noexcept;

    /// The application scope that the process is in; empty without one. Valid until the next reading.
    [[nodiscard]] std::string_view scope(std::int32_t id) noexcept;

    /// The process's arguments, the program's name first; only as many as matter for a name.
    [[nodiscard]] std::vector<std::string> arguments(std::int32_t id);

private:
    [[nodiscard]] bool open() noexcept;
    [[nodiscard]] std::optional<std::string_view> read(std::int32_t id, const char* name) noexcept;

    SystemRoot root_;
    UniqueFd folder_;
    KeptFile loadavg_;
    std::vector<char> buffer_;
};

} // namespace sentrel::platform
