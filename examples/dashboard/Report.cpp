// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Report.h"

#include "examples/dashboard/Texts.h"
#include "tools/terminal/TerminalText.h"

#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/system/Time.h>

#include <cinttypes>
#include <cstdio>
#include <string>

namespace dashboard {

using namespace sentrel;

namespace {

// Everything below is printed here: no name or text of the machine reaches the terminal as it is.
void line(const std::string& name, const std::string& text) {
    std::printf("  %-14s %s\n", terminal::plainText(name).c_str(), terminal::plainText(text).c_str());
}

template <class... Arguments>
std::string format(const char* pattern, Arguments... arguments) {
    char text[256];
    std::snprintf(text, sizeof text, pattern, arguments...);
    return text;
}

void printProcessor(const CPU& cpu) {
    std::puts("Processor");
    line("brand", cpu.brand());
    line("cores", format("%" PRId64 " physical, %" PRId64 " logical (%" PRId64 " online)", cpu.physicalCores(),
                         cpu.logicalCores(), cpu.activeLogicalCores()));
    line("load", format("%.1f %% (user %.1f, system %.1f, idle %.1f)", cpu.usage(), cpu.user(), cpu.sys(), cpu.idle()));
    const auto averages = cpu.loadavg();
    line("load averages", format("%.2f  %.2f  %.2f", averages[0], averages[1], averages[2]));
    line("running", format("%u processes, %u threads", cpu.processes(), cpu.threads()));
    line("uptime", format("%s (awake %s)", Time::uptime(cpu.uptime()).c_str(), Time::uptime(cpu.awakeTime()).c_str()));
    line("thermal state", thermalStateName(cpu.thermalState()));
}

void printMemory(const Memory& memory) {
    std::puts("Memory");
    const auto percents = memory.percents();
    line("installed", byteStr(memory.physical()));
    line("usage", format("%d %%", memory.usage()));
    line("wired", format("%s (%d %%)", byteStr(memory.wired()).c_str(), percents.wired));
    line("active", format("%s (%d %%)", byteStr(memory.active()).c_str(), percents.active));
    line("compressed", format("%s (%d %%)", byteStr(memory.compressed()).c_str(), percents.compressed));
    line("free", format("%s (%d %%)", byteStr(memory.free()).c_str(), percents.free));
    line("applications", byteStr(memory.appMemory()));
    line("cached files", byteStr(memory.cachedFiles()));
    line("swap", swapText(memory));
}

void printGraphics(const GPU& gpu) {
    std::puts("Graphics");
    line("current", graphicsText(gpu));
    if (gpu.integrated())
        line("integrated", gpu.integrated()->name);
    if (gpu.discrete())
        line("discrete", gpu.discrete()->name);
}

void printDisk(const Disk& disk) {
    std::puts("Volumes");
    for (const auto& volume : sortedVolumes(disk)) {
        line(volume->name(),
             spaceText(*volume) + " at " + volume->path() + " (" + volume->fstype() + " on " + volume->device() + ")");
        line("", ratesText(*volume));
        if (volume->smart())
            line("", std::string(volume->smart()->healthy ? "healthy" : "failing") + ", " +
                         celcius(volume->smart()->temperature));
    }
}

void printNetwork(const Network& network) {
    std::puts("Network");
    line("connection", connectionName(network));
    line("public address", network.publicAddress().value_or("not looked up"));
    line("host name", network.localhostName().value_or("none"));
    line("router", network.router().value_or("none"));
    line("DNS", network.dns().value_or("none"));
    for (const auto& [device, interface] : network.interfaces()) {
        line(device, interface->name() + ", " + interface->ipaddr());
        line("", ratesText(*interface));
        line("", "peaks: " + peaksText(*interface));
    }
}

void printBattery(const Battery& battery) {
    std::puts("Battery");
    line("charge", batteryText(battery));
    if (!showsBattery(battery))
        return;
    line("remaining", battery.timeRemaining());
    line("health", format("%d %% (%s)", battery.health(), battery.condition().c_str()));
    line("cycles", format("%" PRId64 " of %" PRId64, battery.cycleCount(), battery.designCycleCount()));
    line("power", format("%.0f W (adapter %" PRId64 " W)", battery.watts(), battery.acWatts()));
}

void printApplications(const Applications& apps) {
    std::puts("Applications");
    line("followed", std::to_string(apps.count()));
    for (const auto& process : apps.cpu())
        line("by processor", format("%5.1f %%  %s (%d)", process->cpu(), process->name().c_str(), process->pid()));
    for (const auto& process : apps.mem())
        line("by memory",
             format("%s  %s (%d)", byteStr(process->mem()).c_str(), process->name().c_str(), process->pid()));
}

} // namespace

void printReport(const System& system) {
    printProcessor(system.cpu());
    printMemory(system.mem());
    printGraphics(system.gpu());
    printDisk(system.disk());
    printNetwork(system.net());
    printBattery(system.battery());
    printApplications(system.apps());
}

} // namespace dashboard
