// SPDX-License-Identifier: Apache-2.0
#pragma once

/// All processes of the machine, followed from refresh to refresh with as few readings as possible, and the figures of
/// each. One thread at a time.
///
/// What is read when:
///  - /proc is listed only if the last process id that was given out or the number of processes moved since the last
///    listing, or if a process that should be there could not be measured. A kernel that does not tell these two
///    figures (a restricted /proc) is listed at every refresh.
///  - A new process is read once, and a second time at the first refresh after a grace period of half a second: between
///    its two steps of starting, fork and exec, it looks like its parent, and a desktop moves it into its scope only
///    afterwards.
///  - A process that is no application and works for none is read again after 10 s: it may have become another program,
///    unless it is a thread of the kernel. One that may be a launcher is followed by its process clock, at most each
///    half second: if it ran it is read again at once, and if it ran for a hundredth of the time or more, it counts as
///    computing for 10 s. When it is first met, its whole life is the time.
///  - A known id is read again if it was given out anew since the last refresh.
///  - Figures: the process clock is asked each time. If it has not moved the process has not run, and its other figures
///    stand; its memory, which others may take away, for at most 10 s, and at first for less: for how long differs from
///    process to process, so that no sample reads the memory of all.

#include <SentrelKit/platform/ProcessService.h>
#include <SentrelKit/platform/linux/processes/ApplicationRule.h>
#include <SentrelKit/platform/linux/processes/ProcessFiles.h>

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <vector>

namespace sentrel::platform {

/// The two clocks of this subject, apart so that a machine of captured files can have its own.
class ProcessClocks {
public:
    virtual ~ProcessClocks() = default;

    /// Nanoseconds that the process has run, all its threads together, ended ones included; absent if it has ended.
    [[nodiscard]] virtual std::optional<std::uint64_t> processNanoseconds(std::int32_t id) noexcept = 0;

    /// Nanoseconds of a clock that never steps back.
    [[nodiscard]] virtual std::int64_t now() noexcept = 0;

    /// Nanoseconds since the system's boot, as start times are counted; absent if that cannot be told.
    [[nodiscard]] virtual std::optional<std::int64_t> sinceBoot() noexcept { return std::nullopt; }
};

/// The kernel's clocks.
class KernelProcessClocks final : public ProcessClocks {
public:
    std::optional<std::uint64_t> processNanoseconds(std::int32_t id) noexcept override;
    std::int64_t now() noexcept override;
    std::optional<std::int64_t> sinceBoot() noexcept override;
};

/// The clocks of a machine of captured files: the ticks that its files show.
class CapturedProcessClocks final : public ProcessClocks {
public:
    explicit CapturedProcessClocks(const SystemRoot& root);
    std::optional<std::uint64_t> processNanoseconds(std::int32_t id) noexcept override;
    std::int64_t now() noexcept override;

private:
    ProcessFiles files_;
};

/// One process as the last reading showed it.
struct ProcessEntry {
    // What each sample asks for, in a cache line of its own.
    alignas(64) TaskInfo figures; ///< valid while the process clock stands at `clock`
    std::uint64_t clock = 0;      ///< 0: the figures are of no worth; always 0 for what is not to be measured
    std::int64_t memoryDueAt = 0; ///< when the memory among the figures no longer stands

    ProcessFacts facts;
    std::int32_t owner = 0;                                ///< what the rule said: as in applicationOwners
    std::shared_ptr<const RunningApplication> application; ///< as published; none after the facts changed

    std::int64_t factsReadAt = 0;
    bool isKernelThread = false;
    bool isInGracePeriod = false; ///< wants its second reading
    bool isInvalid = false;       ///< was found changed, wants another reading
    bool mayBeLauncher = false;   ///< is followed
    std::uint64_t ran = 0;        ///< its process clock when it was last followed
    std::int64_t followedAt = 0;  ///< 0: not yet
    std::int64_t computedAt = 0;  ///< when it was last found computing; 0: never
};

class ProcessTable {
public:
    ProcessTable(const SystemRoot& root, std::unique_ptr<ProcessClocks> clocks);

    /// Brings the table up to date. True if anything changed that the application rule or a name depends on.
    bool refresh();

    /// All processes in rising order of id.
    [[nodiscard]] std::vector<ProcessEntry>& entries() noexcept { return entries_; }

    [[nodiscard]] std::optional<TaskInfo> taskInfo(std::int32_t id) noexcept;
    [[nodiscard]] std::optional<std::uint64_t> startTime(std::int32_t id) noexcept;
    [[nodiscard]] std::optional<std::int32_t> parent(std::int32_t id) noexcept;

    [[nodiscard]] ProcessFiles& files() noexcept { return files_; }

private:
    // What moves when processes come and go.
    struct IdCounters {
        std::int32_t lastId = 0;
        std::uint64_t linkCount = 0;
        friend bool operator==(const IdCounters&, const IdCounters&) = default;
    };

    [[nodiscard]] std::optional<IdCounters> readIdCounters() noexcept;
    [[nodiscard]] bool list(const std::optional<IdCounters>& counters);
    [[nodiscard]] std::optional<bool> takeFewNewIds(const IdCounters& counters);
    [[nodiscard]] bool takeListing();
    void invalidateOrphans() noexcept;
    [[nodiscard]] bool followLaunchers() noexcept;
    [[nodiscard]] bool follow(ProcessEntry& entry, std::int64_t now) noexcept;
    [[nodiscard]] std::int64_t age(const ProcessEntry& entry) noexcept;
    [[nodiscard]] bool readAgain();
    [[nodiscard]] bool isDueForReading(const ProcessEntry& entry, std::int64_t now) const noexcept;
    [[nodiscard]] bool wasGivenOutSince(std::int32_t id, const IdCounters& now) const noexcept;
    [[nodiscard]] ProcessEntry readEntry(std::int32_t id);
    void readEntry(std::int32_t id, ProcessEntry& entry);
    [[nodiscard]] bool mayMeasure(std::int32_t id) noexcept;
    [[nodiscard]] ProcessEntry* find(std::int32_t id) noexcept;
    [[nodiscard]] std::optional<TaskInfo> readTaskInfo(std::int32_t id, std::uint64_t nanoseconds,
                                                       ProcessEntry* entry) noexcept;
    void invalidate(ProcessEntry& entry) noexcept;

    ProcessEntry fresh_; // kept for the memory of its texts
    ProcessFiles files_;
    std::unique_ptr<ProcessClocks> clocks_;
    std::vector<ProcessEntry> entries_;
    std::vector<std::int32_t> ids_;      // of the entries, close together for the search
    std::vector<ProcessEntry> previous_; // kept for its memory, as the next
    std::vector<std::int32_t> listed_;
    std::optional<IdCounters> counters_; // as they stood at the last listing; empty: list at the next refresh
    bool isListed_ = false;
    std::int64_t followedAt_ = -1; // negative: not yet
    std::uint64_t pageSize_;
};

} // namespace sentrel::platform
