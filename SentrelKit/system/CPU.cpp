// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/CPU.h>

#include <SentrelKit/base/system/Time.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/HostService.h>
#include <SentrelKit/platform/support/SampleScope.h>
#include <SentrelKit/probes/HostProbes.h>

#include <utility>

namespace sentrel {

CPU::CPU(std::shared_ptr<probes::SystemManager> session)
    : session_(std::move(session)), alarm_(session_, PressureResource::cpu) {
    probes::_getHostInfo(
        [this](const probes::host_basic_info* info) {
            physicalCores_ = info->physical_cpu_max;
            logicalCores_ = info->logical_cpu_max;
            activePhysicalCores_ = info->physical_cpu;
            activeLogicalCores_ = info->logical_cpu;
        },
        *session_);
    bootTime_ = probes::_getboottime(*session_);
}

void CPU::update() {
    std::optional<platform::SampleScope> scope; // the figures of all processors and of each are read together
    if (wantsLoad())
        scope.emplace();
    sampleFigures();
    sampleMeasures();
}

void CPU::sampleFigures() {
    probes::CPUData data{};
    if (probes::_getCPUData(&data, *session_) < 1)
        return;
    user_ = data.user;
    sys_ = data.system;
    idle_ = data.idle;
    processes_ = data.tasks;
    threads_ = data.threads;
}

void CPU::sampleMeasures() {
    sampleLoad();
    if (measuring_.wants(Measure::frequencies)) {
        const Availability availability = session_->platform().host().processorFrequencies(newFrequencies_);
        if (availability == Availability::available)
            frequencies_.withValue(
                [this](platform::ProcessorFrequencies& frequencies) { frequencies = newFrequencies_; });
        measuring_.note(Measure::frequencies, availability);
    }
    if (measuring_.wants(Measure::pressure)) {
        Pressure pressure;
        const Availability availability = session_->platform().host().pressure(PressureResource::cpu, pressure);
        pressure_.setValue(pressure);
        measuring_.note(Measure::pressure, availability);
    }
}

bool CPU::wantsLoad() const noexcept {
    return measuring_.wants(Measure::cores) || measuring_.wants(Measure::activity) ||
           measuring_.wants(Measure::counters);
}

// One reading serves the three groups: the kernel writes the whole table at each.
void CPU::sampleLoad() {
    if (!wantsLoad()) {
        forgetLoad();
        return;
    }
    std::swap(load_, loadBefore_);
    const Availability availability = session_->platform().host().processorLoad(load_);
    if (availability == Availability::available)
        takeLoad();
    else
        forgetLoad();
    if (measuring_.wants(Measure::counters)) {
        counters_.withValue([this](platform::ProcessorLoad& counters) { counters = load_; });
        measuring_.note(Measure::counters, availability);
    }
    if (measuring_.wants(Measure::cores))
        measuring_.note(Measure::cores, availability);
    const bool hasActivity = load_.contextSwitches || load_.interrupts || load_.forks;
    if (measuring_.wants(Measure::activity))
        measuring_.note(Measure::activity, availability != Availability::available || hasActivity
                                               ? availability
                                               : Availability::unsupported);
}

void CPU::takeLoad() {
    std::optional<ProcessorShares> shares;
    newCores_.clear();
    if (hasLoadBefore_) {
        shares = probes::processorShares(loadBefore_.all, load_.all);
        probes::coreShares(loadBefore_.each, load_.each, newCores_);
    }
    shares_.setValue(shares);
    cores_.withValue([this](std::vector<CoreShares>& cores) { cores = newCores_; });
    const std::int64_t now = session_->platform().clock().monotonicNanoseconds();
    activity_.setValue({contextSwitchRate_.sample(load_.contextSwitches, now),
                        interruptRate_.sample(load_.interrupts, now), forkRate_.sample(load_.forks, now)});
    hasLoadBefore_ = true;
}

// What comes next is a first sample.
void CPU::forgetLoad() {
    hasLoadBefore_ = false;
    contextSwitchRate_ = {};
    interruptRate_ = {};
    forkRate_ = {};
}

std::vector<CoreShares> CPU::cores() const {
    std::vector<CoreShares> result;
    cores(result);
    return result;
}

void CPU::cores(std::vector<CoreShares>& cores) const {
    cores.clear();
    if (measuring_.has(Measure::cores))
        cores_.withValue([&cores](const std::vector<CoreShares>& newest) { cores = newest; });
}

std::optional<ProcessorShares> CPU::shares() const {
    return measuring_.has(Measure::cores) ? shares_.value() : std::nullopt;
}

std::vector<CoreFrequency> CPU::frequencies() const {
    std::vector<CoreFrequency> result;
    frequencies(result);
    return result;
}

void CPU::frequencies(std::vector<CoreFrequency>& frequencies) const {
    if (!measuring_.has(Measure::frequencies)) {
        frequencies.clear();
        return;
    }
    frequencies_.withValue([&frequencies](const platform::ProcessorFrequencies& newest) { frequencies = newest.each; });
}

std::optional<CoreKinds> CPU::coreKinds() const {
    if (!measuring_.has(Measure::frequencies))
        return std::nullopt;
    return frequencies_.withValue([](const platform::ProcessorFrequencies& newest) { return newest.kinds; });
}

CPU::Activity CPU::activity() const {
    return measuring_.has(Measure::activity) ? activity_.value() : Activity();
}

std::optional<double> CPU::contextSwitches() const {
    return activity().contextSwitches;
}

std::optional<double> CPU::interrupts() const {
    return activity().interrupts;
}

std::optional<double> CPU::forks() const {
    return activity().forks;
}

std::optional<platform::ProcessorLoad> CPU::counters() const {
    return measuring_.has(Measure::counters) ? std::optional(counters_.value()) : std::nullopt;
}

std::optional<Pressure> CPU::pressure() const {
    return measuring_.has(Measure::pressure) ? std::optional(pressure_.value()) : std::nullopt;
}

std::string CPU::brand() const {
    return brand_.withValue([this](std::optional<std::string>& brand) {
        if (!brand)
            brand = probes::_getCPUBrand(*session_);
        return *brand;
    });
}

std::int64_t CPU::uptime() const {
    return Time_now(session_->platform().clock()) - bootTime_;
}

std::int64_t CPU::awakeTime() const {
    return static_cast<std::int64_t>(session_->platform().host().awakeUptime().value_or(0));
}

std::int64_t CPU::sleepTime() const {
    return uptime() - awakeTime();
}

ThermalState CPU::thermalState() const {
    return session_->platform().host().thermalState().value_or(ThermalState::nominal);
}

std::array<double, 3> CPU::loadavg() const {
    return session_->platform().host().loadAverages().value_or(platform::LoadAverages{});
}

} // namespace sentrel
