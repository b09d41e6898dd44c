// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/detail/ProcessMeasurements.h>

#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/ProcessService.h>
#include <SentrelKit/system/detail/PerSecond.h>

#include <utility>

namespace sentrel {

std::optional<std::int32_t> Applications::Process::threads() const noexcept {
    const std::int32_t threads = measured_.threads;
    return threads > 0 ? std::optional(threads) : std::nullopt;
}

std::optional<double> Applications::Process::readPerSecond() const noexcept {
    const double rate = measured_.readPerSecond;
    return rate >= 0 ? std::optional(rate) : std::nullopt;
}

std::optional<double> Applications::Process::writtenPerSecond() const noexcept {
    const double rate = measured_.writtenPerSecond;
    return rate >= 0 ? std::optional(rate) : std::nullopt;
}

std::optional<std::uint64_t> Applications::Process::openFiles() const noexcept {
    const std::int64_t count = measured_.openFiles;
    return count >= 0 ? std::optional(static_cast<std::uint64_t>(count)) : std::nullopt;
}

// Whether the last sample had a group, which has been wanted ever since.
bool Applications::Measurements::wasMeasured(Measure group) const noexcept {
    return measured_.contains(group) && measuring_.wants(group) && measuring_.availability(group);
}

// The facts of groups that are wanted no more, or anew.
void Applications::Measurements::forgetUnwanted(const std::vector<std::shared_ptr<Process>>& processes) {
    for (const std::shared_ptr<Process>& process : processes) {
        Process::Measured& measured = process->measured_;
        if (!wasMeasured(Measure::threads))
            measured.threads = 0;
        if (!wasMeasured(Measure::storage)) {
            measured.readPerSecond = Process::noRate;
            measured.writtenPerSecond = Process::noRate;
            measured.storageAt = 0;
        }
        if (!wasMeasured(Measure::files))
            measured.openFiles = Process::noCount;
    }
    if (!wasMeasured(Measure::all))
        all_.setValue({});
}

// Asks of each process; the group is there if one of them could be read.
template <class Ask>
void Applications::Measurements::askEach(const std::vector<std::shared_ptr<Process>>& processes, Measure group,
                                         Ask ask) {
    std::optional<Availability> answer;
    for (const std::shared_ptr<Process>& process : processes) {
        const Availability each = ask(*process);
        if (!answer || each == Availability::available)
            answer = each;
    }
    measuring_.note(group, answer.value_or(Availability::available));
}

void Applications::Measurements::take(const std::vector<std::shared_ptr<Process>>& processes) {
    const MeasureSet<Measure> wanted = measuring_.wanted();
    if (wanted == measured_ && measured_ == MeasureSet<Measure>{})
        return;
    forgetUnwanted(processes);
    measured_ = wanted;
    if (wanted.contains(Measure::threads)) {
        for (const std::shared_ptr<Process>& process : processes)
            process->measured_.threads = process->sampling_.threads;
        measuring_.note(Measure::threads, Availability::available);
    }
    if (wanted.contains(Measure::storage)) {
        const std::int64_t now = platform_.clock().monotonicNanoseconds() / 1'000'000;
        askEach(processes, Measure::storage, [&](Process& process) { return askForStorage(process, now); });
    }
    if (wanted.contains(Measure::files))
        askEach(processes, Measure::files, [&](Process& process) { return askForFiles(process); });
    if (wanted.contains(Measure::all)) {
        next_.assign(processes.begin(), processes.end());
        all_.withValue([this](auto& list) { list.swap(next_); });
        next_.clear(); // what ended is not kept
        measuring_.note(Measure::all, Availability::available);
    }
}

Availability Applications::Measurements::askForStorage(Process& process, std::int64_t now) const {
    Process::Measured& measured = process.measured_;
    platform::StorageBytes bytes;
    const Availability answer =
        isThere(process) ? platform_.processes().storageBytes(process.pid(), bytes) : Availability::unsupported;
    const std::int64_t before = std::exchange(measured.storageAt, answer == Availability::available ? now : 0);
    if (answer != Availability::available || before == 0 || now <= before) {
        measured.readPerSecond = Process::noRate;
        measured.writtenPerSecond = Process::noRate;
    } else {
        // Negative, which is absent, for a counter that went back.
        measured.readPerSecond = perSecond(static_cast<std::int64_t>(bytes.read),
                                           static_cast<std::int64_t>(measured.storage.read), now - before);
        measured.writtenPerSecond = perSecond(static_cast<std::int64_t>(bytes.written),
                                              static_cast<std::int64_t>(measured.storage.written), now - before);
    }
    if (answer == Availability::available)
        measured.storage = bytes;
    return answer;
}

Availability Applications::Measurements::askForFiles(Process& process) const {
    std::uint64_t count = 0;
    const Availability answer =
        isThere(process) ? platform_.processes().openFiles(process.pid(), count) : Availability::unsupported;
    process.measured_.openFiles =
        answer == Availability::available ? static_cast<std::int64_t>(count) : Process::noCount;
    return answer;
}

void Applications::Measurements::all(std::vector<std::shared_ptr<const Process>>& processes) const {
    if (measuring_.has(Measure::all))
        all_.withValue([&processes](const auto& list) { processes = list; });
    else
        processes.clear();
}

} // namespace sentrel
