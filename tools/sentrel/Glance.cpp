// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Glance.h"

#include "tools/sentrel/Figures.h"

#include <SentrelKit/platform/ThermalState.h>

#include <algorithm>
#include <sstream>

namespace tool {

namespace {

using sentrel::Applications;
using sentrel::CPU;
using sentrel::GPU;
using sentrel::System;

// As wide as terminals are.
constexpr std::size_t historyLength = 512;

void readProcessor(const CPU& cpu, Glance& glance) {
    if (cpu.bootTime() > 0)
        glance.uptime = cpu.uptime();
    glance.usage = cpu.usage();
    glance.user = cpu.user();
    glance.kernel = cpu.sys();
    glance.load = cpu.loadavg();
    glance.processes = cpu.processes();
    for (const sentrel::CoreShares& core : cpu.cores())
        glance.cores.push_back(core.shares.user + core.shares.system);
    if (cpu.thermalState() != sentrel::ThermalState::nominal) {
        std::ostringstream heat;
        heat << cpu.thermalState();
        glance.heat = heat.str();
    }
}

void readMemory(const sentrel::Memory& memory, Glance& glance) {
    glance.memoryUsage = memory.usage();
    glance.memory = memory.physical();
    glance.memoryFree = memory.free();
    // Where memory cannot be asked for, that would be told on the screen.
    const sentrel::Memory::Swap swap = memory.physical() > 0 ? memory.swap() : sentrel::Memory::Swap();
    glance.swap = swap.total;
    glance.swapUsed = swap.used;
}

void readNetwork(const sentrel::Network& network, Glance& glance) {
    for (const auto& [name, one] : network.interfaces())
        glance.interfaces.push_back({name, one->ipaddr(), one->isPrimary(), one->ibytesps(), one->obytesps()});
    std::ranges::stable_sort(glance.interfaces, std::ranges::greater(), &Glance::Interface::isPrimary);
    const auto all = network.aggregated();
    glance.receivedPerSecond = all->ibytesps();
    glance.sentPerSecond = all->obytesps();
}

void readVolumes(const sentrel::Disk& disk, Glance& glance) {
    for (const auto& [device, volume] : disk.volumes())
        glance.volumes.push_back({volume->path(), volume->answers(), volume->total(), volume->used(), volume->free(),
                                  volume->rbytesps(), volume->wbytesps()});
    std::ranges::sort(glance.volumes, std::ranges::less(), &Glance::Volume::path); // "/" comes first
}

void readBattery(const sentrel::Battery& battery, Glance& glance) {
    if (battery.installed() && battery.percent() >= 0)
        glance.battery = {static_cast<double>(battery.percent()), battery.isCharging(), battery.watts(),
                          battery.remainingDuration() ? battery.timeRemaining() : std::string()};
}

void readApplications(const Applications& apps, Glance& glance) {
    for (const auto& process : apps.all())
        if (!process->parent())
            glance.applications.push_back({process->name(), process->pid(), process->cpu(), process->mem()});
}

} // namespace

Onlooker::Onlooker(System& system)
    : system_(system), usage_(historyLength), received_(historyLength), sent_(historyLength) {
    system.cpu().setMeasures({CPU::Measure::cores});
    system.gpu().setMeasures({GPU::Measure::use});
    system.apps().setMeasures({Applications::Measure::all});
    if (const auto running = system.host().operatingSystem())
        systemName_ = running->prettyName;
}

void Onlooker::sample() {
    for (const std::string_view resource : resources())
        modelOf(system_, resource)->update();
    usage_.append(system_.cpu().usage());
    const auto all = system_.net().aggregated();
    received_.append(all->ibytesps());
    sent_.append(all->obytesps());
}

Glance Onlooker::glance() const {
    Glance glance;
    glance.host = system_.net().localhostName().value_or("");
    glance.system = systemName_;
    readProcessor(system_.cpu(), glance);
    readMemory(system_.mem(), glance);
    readNetwork(system_.net(), glance);
    readVolumes(system_.disk(), glance);
    readBattery(system_.battery(), glance);
    for (const GPU::Activity& processor : system_.gpu().processors())
        glance.graphics.push_back({processor.name, processor.use, processor.temperature, processor.power});
    readApplications(system_.apps(), glance);
    glance.usageHistory = usage_.values();
    glance.receivedHistory = received_.values();
    glance.sentHistory = sent_.values();
    return glance;
}

} // namespace tool
