// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/CPU.h>

#include <SentrelKit/base/system/Time.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/HostService.h>
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
    if (measuring_.wants(Measure::pressure)) {
        Pressure pressure;
        const Availability availability = session_->platform().host().pressure(PressureResource::cpu, pressure);
        pressure_.setValue(pressure);
        measuring_.note(Measure::pressure, availability);
    }
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
