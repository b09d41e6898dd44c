// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Memory.h>

#include <SentrelKit/base/system/System.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/HostService.h>
#include <SentrelKit/platform/support/SampleScope.h>
#include <SentrelKit/probes/HostProbes.h>
#include <SentrelKit/probes/detail/FailureReports.h>

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <utility>

namespace sentrel {

namespace {

std::uint8_t roundedPercent(std::uint64_t part, std::uint64_t total) noexcept {
    if (total == 0)
        return 0;
    const double percent = std::round(static_cast<double>(part) / static_cast<double>(total) * 100);
    return static_cast<std::uint8_t>(static_cast<std::int64_t>(percent));
}

} // namespace

Memory::Memory(std::shared_ptr<probes::SystemManager> session)
    : session_(std::move(session)), physical_(session_->platform().host().physicalMemory().value_or(0)),
      alarm_(session_, PressureResource::memory) {}

void Memory::update() {
    std::optional<platform::SampleScope> scope; // the old figures and the further ones are read together
    if (measuring_.wanted() != MeasureSet<Measure>{})
        scope.emplace();
    sampleFigures();
    sampleMeasures();
}

void Memory::sampleFigures() {
    const probes::SamplingReports reports(*session_);
    probes::MEMData data{};
    if (probes::_getMEMData(&data, *session_) < 1)
        return;
    free_ = data.free + data.inactive;
    active_ = data.active;
    wired_ = data.wired;
    compressed_ = data.compressed;
    pagesIn_ = data.pageins;
    pagesOut_ = data.pageouts;
    pagesFault_ = data.faults;
    appMemory_ = data.app;
    cachedFiles_ = data.cached;
}

template <class Record, class Ask>
void Memory::sampleRecord(Measure measure, Atomic<Record>& newest, Ask ask) {
    if (!measuring_.wants(measure))
        return;
    Record record{};
    const Availability availability = ask(session_->platform().host(), record);
    newest.setValue(record);
    measuring_.note(measure, availability);
}

void Memory::sampleMeasures() {
    sampleRecord(Measure::pressure, pressure_, [](platform::HostService& host, Pressure& pressure) {
        return host.pressure(PressureResource::memory, pressure);
    });
    sampleRecord(Measure::details, details_,
                 [](platform::HostService& host, MemoryDetails& details) { return host.memoryDetails(details); });
    sampleRecord(Measure::compression, compression_, [](platform::HostService& host, MemoryCompression& compression) {
        return host.memoryCompression(compression);
    });
    if (measuring_.wants(Measure::nodes)) {
        const Availability availability = session_->platform().host().memoryNodes(newNodes_);
        nodes_.withValue([this](std::vector<MemoryNode>& nodes) { nodes = newNodes_; });
        measuring_.note(Measure::nodes, availability);
    }
    sampleSwapRates();
}

void Memory::sampleSwapRates() {
    if (!measuring_.wants(Measure::swapRates)) {
        swapInRate_ = {}; // what comes next is a first sample
        swapOutRate_ = {};
        return;
    }
    platform::SwapCounters counters;
    const Availability availability = session_->platform().host().swapCounters(counters);
    const bool isThere = availability == Availability::available;
    const std::int64_t now = session_->platform().clock().monotonicNanoseconds();
    const auto in = swapInRate_.sample(isThere ? std::optional(counters.in) : std::nullopt, now);
    const auto out = swapOutRate_.sample(isThere ? std::optional(counters.out) : std::nullopt, now);
    swapRates_.setValue(in && out ? std::optional(SwapRates{*in, *out}) : std::nullopt);
    swapped_.setValue(counters);
    measuring_.note(Measure::swapRates, availability);
}

std::optional<MemoryDetails> Memory::details() const {
    return measuring_.has(Measure::details) ? std::optional(details_.value()) : std::nullopt;
}

std::optional<Memory::SwapRates> Memory::swapRates() const {
    return measuring_.has(Measure::swapRates) ? swapRates_.value() : std::nullopt;
}

std::optional<platform::SwapCounters> Memory::swapped() const {
    return measuring_.has(Measure::swapRates) ? std::optional(swapped_.value()) : std::nullopt;
}

std::optional<MemoryCompression> Memory::compression() const {
    return measuring_.has(Measure::compression) ? std::optional(compression_.value()) : std::nullopt;
}

std::vector<MemoryNode> Memory::nodes() const {
    std::vector<MemoryNode> result;
    nodes(result);
    return result;
}

void Memory::nodes(std::vector<MemoryNode>& nodes) const {
    nodes.clear();
    if (measuring_.has(Measure::nodes))
        nodes_.withValue([&nodes](const std::vector<MemoryNode>& newest) { nodes = newest; });
}

std::optional<Pressure> Memory::pressure() const {
    return measuring_.has(Measure::pressure) ? std::optional(pressure_.value()) : std::nullopt;
}

int Memory::usage() const noexcept {
    const std::uint64_t used = wired() + active() + compressed();
    return roundedPercent(used, used + free());
}

Memory::Percents Memory::percents() const noexcept {
    const std::uint64_t wiredNow = wired();
    const std::uint64_t activeNow = active();
    const std::uint64_t compressedNow = compressed();
    const std::uint64_t freeNow = free();
    const std::uint64_t total = wiredNow + activeNow + compressedNow + freeNow;
    return {roundedPercent(wiredNow, total), roundedPercent(activeNow, total), roundedPercent(compressedNow, total),
            roundedPercent(freeNow, total)};
}

Memory::Swap Memory::swap() const {
    const std::optional<platform::SwapUsage> usage = session_->platform().host().swapUsage();
    if (!usage) {
        // The placeholder stays in the text and the pointer's value follows it, not the words it points to: meant so.
        std::printf("Cannot get swap statistics -- %%@Optional(0x%016" PRIxPTR ")\n",
                    reinterpret_cast<std::uintptr_t>(System_getLastError()));
        return {};
    }
    return {usage->total, usage->used};
}

} // namespace sentrel
