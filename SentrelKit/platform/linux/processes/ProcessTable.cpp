// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/processes/ProcessTable.h>

#include <SentrelKit/platform/linux/common/MonotonicTime.h>

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr std::int64_t second = 1'000'000'000;
constexpr std::int64_t longestStanding = 10 * second;
constexpr std::int64_t gracePeriod = second / 2;
constexpr std::int64_t leastFollowing = second / 2;
constexpr std::int64_t leastComputing = second / 50; // more than a shell takes to start
constexpr std::int32_t fewIds = 64;                  // asking for each still costs less than a listing

// How long the memory of a process stands the first time. Most processes are first read together.
std::int64_t firstStanding(std::int32_t id) noexcept {
    constexpr std::int32_t groups = 64;
    return longestStanding / groups * (id % groups);
}

std::uint64_t tickNanoseconds() noexcept {
    static const auto length = static_cast<std::uint64_t>(second / ::sysconf(_SC_CLK_TCK));
    return length;
}

} // namespace

std::optional<std::uint64_t> KernelProcessClocks::processNanoseconds(std::int32_t id) noexcept {
    // What clock_getcpuclockid(3) gives, without the system call with which it looks whether the process is there:
    // CPUCLOCK_SCHED of the kernel's linux/posix-timers.h, for a whole process.
    constexpr clockid_t scheduled = 2;
    const clockid_t clock = static_cast<clockid_t>(~static_cast<unsigned>(id) << 3) | scheduled;
    const std::optional<std::int64_t> ran = id < 1 ? std::nullopt : clockNanoseconds(clock);
    return ran ? std::optional(static_cast<std::uint64_t>(*ran)) : std::nullopt;
}

std::int64_t KernelProcessClocks::now() noexcept {
    return clockNanoseconds(CLOCK_MONOTONIC_COARSE).value_or(0);
}

std::optional<std::int64_t> KernelProcessClocks::sinceBoot() noexcept {
    return clockNanoseconds(CLOCK_BOOTTIME);
}

CapturedProcessClocks::CapturedProcessClocks(const SystemRoot& root) : files_(root) {}

std::optional<std::uint64_t> CapturedProcessClocks::processNanoseconds(std::int32_t id) noexcept {
    const std::optional<ProcessStat> stat = files_.stat(id);
    if (!stat)
        return std::nullopt;
    return (stat->userTicks + stat->systemTicks) * tickNanoseconds();
}

std::int64_t CapturedProcessClocks::now() noexcept {
    return KernelProcessClocks().now();
}

ProcessTable::ProcessTable(const SystemRoot& root, std::unique_ptr<ProcessClocks> clocks)
    : files_(root), clocks_(std::move(clocks)), pageSize_(static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE))) {}

bool ProcessTable::refresh() {
    // Read before the listing: what starts in between moves them once more.
    const std::optional<IdCounters> counters = readIdCounters();
    bool changed = false;
    if (!counters || !counters_ || *counters != *counters_) {
        const std::optional<bool> few = counters && counters_ ? takeFewNewIds(*counters) : std::nullopt;
        changed = few ? *few : list(counters);
    }
    changed = followLaunchers() || changed;
    return readAgain() || changed;
}

std::optional<ProcessTable::IdCounters> ProcessTable::readIdCounters() noexcept {
    const std::optional<std::uint64_t> linkCount = files_.linkCount();
    const std::optional<std::int32_t> lastId = files_.lastId();
    if (!linkCount || !lastId)
        return std::nullopt;
    return IdCounters{*lastId, *linkCount};
}

// True if one of the few new ids is a process of more than passing interest; absent if only a listing can tell what
// happened.
std::optional<bool> ProcessTable::takeFewNewIds(const IdCounters& counters) {
    if (counters.lastId < counters_->lastId || counters.lastId - counters_->lastId > fewIds)
        return std::nullopt;
    listed_.clear();
    for (std::int32_t id = counters_->lastId + 1; id <= counters.lastId; ++id) {
        // Threads are given ids too, but only a process has a process clock.
        if (!clocks_->processNanoseconds(id))
            continue;
        if (find(id))
            return std::nullopt;
        listed_.push_back(id);
    }
    if (counters.linkCount != counters_->linkCount + listed_.size())
        return std::nullopt;

    bool changed = false;
    for (const std::int32_t id : listed_) {
        const auto place = std::lower_bound(ids_.begin(), ids_.end(), id);
        ProcessEntry& entry = *entries_.insert(entries_.begin() + (place - ids_.begin()), readEntry(id));
        ids_.insert(place, id);
        entry.isInGracePeriod = true;
        entry.factsReadAt = clocks_->now();
        changed = changed || entry.facts.isCandidate;
    }
    counters_ = counters;
    return changed;
}

bool ProcessTable::list(const std::optional<IdCounters>& counters) {
    if (!files_.list(listed_))
        return false;
    if (counters && counters_) {
        for (ProcessEntry& entry : entries_) {
            if (wasGivenOutSince(entry.facts.id, *counters))
                entry.isInvalid = true;
        }
    }
    const bool changed = listed_ != ids_ && takeListing();
    if (changed)
        invalidateOrphans();
    isListed_ = true;
    // A count below what was listed is no count of processes: such a file system is listed each time.
    counters_ = counters && counters->linkCount > ids_.size() ? counters : std::nullopt;
    return changed;
}

// True if a process of more than passing interest came or went.
bool ProcessTable::takeListing() {
    const std::int64_t now = clocks_->now();
    bool changed = false;
    previous_.swap(entries_);
    entries_.clear();
    entries_.reserve(listed_.size());
    auto known = previous_.begin();
    const auto leaveOut = [&](bool isGone) {
        if (isGone)
            changed = changed || known->facts.isCandidate;
        return isGone;
    };
    for (const std::int32_t id : listed_) {
        while (known != previous_.end() && leaveOut(known->facts.id < id))
            ++known;
        if (known != previous_.end() && known->facts.id == id) {
            entries_.push_back(std::move(*known++));
            continue;
        }
        ProcessEntry& entry = entries_.emplace_back(readEntry(id));
        entry.isInGracePeriod = isListed_;
        entry.factsReadAt = now;
        changed = changed || entry.facts.isCandidate;
    }
    while (known != previous_.end() && leaveOut(true))
        ++known;
    previous_.clear();
    ids_.swap(listed_);
    return changed;
}

// What lost its parent has a new one.
void ProcessTable::invalidateOrphans() noexcept {
    for (ProcessEntry& entry : entries_) {
        if (entry.facts.isCandidate && entry.facts.parent != 0 && !find(entry.facts.parent))
            entry.isInvalid = true;
    }
}

// The kernel gives ids out in rising order and begins anew after the highest: those given out since lie between the
// last one of then and the last one of now.
bool ProcessTable::wasGivenOutSince(std::int32_t id, const IdCounters& now) const noexcept {
    const std::int32_t then = counters_->lastId;
    return then <= now.lastId ? id > then && id <= now.lastId : id > then || id <= now.lastId;
}

// True if one of them began or ceased to compute. In less than half a second no share can be told.
bool ProcessTable::followLaunchers() noexcept {
    const std::int64_t now = clocks_->now();
    if (followedAt_ >= 0 && now - followedAt_ < leastFollowing)
        return false;
    followedAt_ = now;
    bool changed = false;
    for (ProcessEntry& entry : entries_) {
        if (entry.mayBeLauncher)
            changed = follow(entry, now) || changed;
    }
    return changed;
}

bool ProcessTable::follow(ProcessEntry& entry, std::int64_t now) noexcept {
    const std::optional<std::uint64_t> ran = clocks_->processNanoseconds(entry.facts.id);
    if (!ran) // it has ended, as the next listing tells
        return false;
    const bool isKnown = entry.followedAt != 0;
    const std::int64_t time = isKnown ? now - entry.followedAt : age(entry);
    const auto used = static_cast<std::int64_t>(*ran - (isKnown ? entry.ran : 0));
    if (isKnown && used != 0 && entry.owner == 0) // it may run another program by now
        entry.isInvalid = true;
    if (time > 0 && used >= std::max(leastComputing, time / 100))
        entry.computedAt = now;
    entry.ran = *ran;
    entry.followedAt = now;
    const bool isComputing = entry.computedAt != 0 && now - entry.computedAt < longestStanding;
    return std::exchange(entry.facts.isComputing, isComputing) != isComputing;
}

// 0 if it cannot be told.
std::int64_t ProcessTable::age(const ProcessEntry& entry) noexcept {
    const std::optional<std::int64_t> sinceBoot = clocks_->sinceBoot();
    return sinceBoot ? *sinceBoot - static_cast<std::int64_t>(entry.facts.startTime * tickNanoseconds()) : 0;
}

bool ProcessTable::isDueForReading(const ProcessEntry& entry, std::int64_t now) const noexcept {
    const std::int64_t age = now - entry.factsReadAt;
    const bool mayBecomeAnother = entry.owner == 0 && !entry.isKernelThread;
    return entry.isInvalid || (entry.isInGracePeriod && age >= gracePeriod) ||
           (mayBecomeAnother && age >= longestStanding);
}

bool ProcessTable::readAgain() {
    bool changed = false;
    const std::int64_t now = clocks_->now();
    for (ProcessEntry& entry : entries_) {
        if (!isDueForReading(entry, now))
            continue;
        ProcessEntry& fresh = fresh_;
        readEntry(entry.facts.id, fresh);
        entry.isInGracePeriod = false;
        entry.isInvalid = false;
        entry.factsReadAt = now;
        const bool isReused = fresh.facts.startTime != entry.facts.startTime;
        fresh.facts.isComputing = !isReused && fresh.mayBeLauncher && entry.facts.isComputing;
        if (fresh.facts == entry.facts)
            continue;
        changed = changed || fresh.facts.isCandidate || entry.facts.isCandidate;
        std::swap(entry.facts, fresh.facts);
        entry.application.reset();
        entry.mayBeLauncher = fresh.mayBeLauncher;
        if (isReused || !entry.mayBeLauncher)
            entry.ran = 0, entry.followedAt = entry.computedAt = 0;
        entry.isKernelThread = fresh.isKernelThread;
        entry.isInGracePeriod = isReused;
        if (isReused || !entry.facts.isCandidate)
            entry.clock = 0;
    }
    return changed;
}

// An id that tells nothing (it has ended meanwhile, or is hidden) keeps a place without facts, so that not every
// listing asks for it again.
ProcessEntry ProcessTable::readEntry(std::int32_t id) {
    ProcessEntry entry;
    readEntry(id, entry);
    return entry;
}

// Fills the facts and what follows from them; the texts go into the memory that is there.
void ProcessTable::readEntry(std::int32_t id, ProcessEntry& entry) {
    const std::optional<ProcessStat> stat = files_.stat(id);
    ProcessFacts& facts = entry.facts;
    facts.id = id;
    facts.parent = stat ? stat->parent : 0;
    facts.session = stat ? stat->session : 0;
    facts.terminal = stat ? stat->terminal : 0;
    facts.startTime = stat ? stat->startTicks : 0;
    facts.command = stat ? stat->command : std::string_view();
    entry.isKernelThread = stat && stat->isKernelThread();
    facts.isCandidate = id > 1 && stat && !entry.isKernelThread && !stat->isZombie() && mayMeasure(id);
    facts.isComputing = false;
    facts.program = facts.isCandidate ? files_.program(id) : std::string_view();
    facts.scope = facts.isCandidate ? files_.scope(id) : std::string_view();
    entry.mayBeLauncher = facts.isCandidate && mayBeLauncher(facts);
}

// The kernel shows a process's figures to everyone; here they are for its own user and for a privileged caller.
bool ProcessTable::mayMeasure(std::int32_t id) noexcept {
    const uid_t caller = ::geteuid();
    return caller == 0 || files_.user(id) == caller;
}

ProcessEntry* ProcessTable::find(std::int32_t id) noexcept {
    const auto found = std::lower_bound(ids_.begin(), ids_.end(), id);
    return found != ids_.end() && *found == id ? &entries_[static_cast<std::size_t>(found - ids_.begin())] : nullptr;
}

// What was to be there and cannot be measured, or is another process by now, is found out at the next refresh.
void ProcessTable::invalidate(ProcessEntry& entry) noexcept {
    entry.isInvalid = true;
    entry.clock = 0;
    counters_.reset();
}

std::optional<TaskInfo> ProcessTable::taskInfo(std::int32_t id) noexcept {
    ProcessEntry* const entry = find(id);
    const std::optional<std::uint64_t> clock = clocks_->processNanoseconds(id);
    if (!clock) {
        if (entry && entry->facts.isCandidate)
            invalidate(*entry);
        return std::nullopt;
    }
    if (!entry || entry->clock != *clock || *clock == 0)
        return readTaskInfo(id, *clock, entry);

    const std::int64_t now = clocks_->now();
    if (now >= entry->memoryDueAt) {
        const std::optional<std::uint64_t> pages = files_.residentPages(id);
        if (!pages || (*pages == 0) != (entry->figures.residentBytes == 0))
            return readTaskInfo(id, *clock, entry);
        entry->figures.residentBytes = *pages * pageSize_;
        entry->memoryDueAt = now + longestStanding;
    }
    return entry->figures;
}

std::optional<TaskInfo> ProcessTable::readTaskInfo(std::int32_t id, std::uint64_t nanoseconds,
                                                   ProcessEntry* entry) noexcept {
    const std::optional<ProcessStat> stat = files_.stat(id);
    const bool isFollowed = entry && entry->facts.isCandidate;
    if (!stat || stat->isZombie()) {
        if (isFollowed)
            invalidate(*entry);
        return std::nullopt;
    }
    const bool isKnown = isFollowed && entry->facts.startTime == stat->startTicks;
    if (!isKnown && !mayMeasure(id))
        return std::nullopt;

    const std::optional<std::uint64_t> pages =
        stat->lostItsFirstThread() ? files_.residentPagesOfOtherThreads(id) : files_.residentPages(id);
    if (!pages)
        return std::nullopt;

    TaskInfo figures;
    // The kernel splits only the coarse ticks; the finer total is what counts.
    figures.systemNanoseconds = std::min(stat->systemTicks * tickNanoseconds(), nanoseconds);
    figures.userNanoseconds = nanoseconds - figures.systemNanoseconds;
    figures.residentBytes = *pages * pageSize_;
    figures.threads = stat->threads;
    figures.startTime = stat->startTicks;

    if (isKnown) {
        entry->figures = figures;
        entry->clock = nanoseconds;
        entry->memoryDueAt = clocks_->now() + firstStanding(id);
        if (stat->command != entry->facts.command || stat->parent != entry->facts.parent)
            entry->isInvalid = true;
    } else if (isFollowed) {
        invalidate(*entry);
    }
    return figures;
}

std::optional<std::uint64_t> ProcessTable::startTime(std::int32_t id) noexcept {
    const std::optional<ProcessStat> stat = files_.stat(id);
    if (!stat || stat->isZombie())
        return std::nullopt;
    return stat->startTicks;
}

std::optional<std::int32_t> ProcessTable::parent(std::int32_t id) noexcept {
    const std::optional<ProcessStat> stat = files_.stat(id);
    if (!stat || stat->isZombie() || !mayMeasure(id))
        return std::nullopt;
    return stat->parent;
}

} // namespace sentrel::platform
