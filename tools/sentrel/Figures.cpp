// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Readers.h"

#include <SentrelKit/platform/ThermalState.h>

#include <algorithm>
#include <array>
#include <optional>

namespace tool {

namespace {

using sentrel::Applications;
using sentrel::Availability;
using sentrel::Battery;
using sentrel::CPU;
using sentrel::Disk;
using sentrel::GPU;
using sentrel::Memory;
using sentrel::Network;
using sentrel::System;
using LoadAverages = std::array<double, 3>;
using Swap = Memory::Swap;

const Readers<CPU>& cpuReaders() {
    static const Readers<CPU> readers = {
        {{"usage_ratio", Kind::gauge, "Share of the time that the processors worked."},
         [](const CPU& cpu) { return ratio(cpu.usage()); }},
        {{"user_ratio", Kind::gauge, "Share of the time in programs."},
         [](const CPU& cpu) { return ratio(cpu.user()); }},
        {{"system_ratio", Kind::gauge, "Share of the time in the kernel."},
         [](const CPU& cpu) { return ratio(cpu.sys()); }},
        {{"idle_ratio", Kind::gauge, "Share of the time with nothing to do."},
         [](const CPU& cpu) { return ratio(cpu.idle()); }},
        {{"processes", Kind::gauge, "Processes."}, [](const CPU& cpu) { return whole(cpu.processes()); }},
        {{"threads", Kind::gauge, "Threads of all processes."}, [](const CPU& cpu) { return whole(cpu.threads()); }},
        {{"physical_cores", Kind::gauge, "Cores of the machine."},
         [](const CPU& cpu) { return whole(cpu.physicalCores()); }},
        {{"logical_cores", Kind::gauge, "Logical processors of the machine."},
         [](const CPU& cpu) { return whole(cpu.logicalCores()); }},
        {{"boot_time_seconds", Kind::gauge, "Moment of the last boot, since the epoch."},
         [](const CPU& cpu) { return cpu.bootTime() > 0 ? std::optional(whole(cpu.bootTime())) : std::nullopt; }},
        {{"uptime_seconds", Kind::gauge, "Time since the last boot."},
         [](const CPU& cpu) { return cpu.bootTime() > 0 ? std::optional(whole(cpu.uptime())) : std::nullopt; }},
        {{"brand", Kind::text, "The processor's name."}, [](const CPU& cpu) { return text(cpu.brand()); }},
        {{"thermal_state", Kind::text, "How hard heat presses the machine."},
         [](const CPU& cpu) { return written(cpu.thermalState()); }},
    };
    return readers;
}

// Asked for at each call of the model: once for the three of them.
const Readers<LoadAverages>& loadReaders() {
    static const Readers<LoadAverages> readers = {
        {{"load1", Kind::gauge, "Average number of runnable threads over 1 minute."},
         [](const LoadAverages& load) { return Value(load[0]); }},
        {{"load5", Kind::gauge, "Average number of runnable threads over 5 minutes."},
         [](const LoadAverages& load) { return Value(load[1]); }},
        {{"load15", Kind::gauge, "Average number of runnable threads over 15 minutes."},
         [](const LoadAverages& load) { return Value(load[2]); }},
    };
    return readers;
}

const Readers<Memory>& memoryReaders() {
    static const Readers<Memory> readers = {
        {{"usage_ratio", Kind::gauge, "Share of the memory in use."},
         [](const Memory& mem) { return ratio(mem.usage()); }},
        {{"physical_bytes", Kind::gauge, "Installed memory."},
         [](const Memory& mem) { return mem.physical() > 0 ? std::optional(whole(mem.physical())) : std::nullopt; }},
        {{"wired_bytes", Kind::gauge, "Memory that cannot be moved out."},
         [](const Memory& mem) { return whole(mem.wired()); }},
        {{"active_bytes", Kind::gauge, "Memory in use by programs."},
         [](const Memory& mem) { return whole(mem.active()); }},
        {{"compressed_bytes", Kind::gauge, "Memory that the compressor occupies."},
         [](const Memory& mem) { return whole(mem.compressed()); }},
        {{"free_bytes", Kind::gauge, "Free memory, with what was not used for a while."},
         [](const Memory& mem) { return whole(mem.free()); }},
        {{"app_bytes", Kind::gauge, "Memory of programs that no file backs."},
         [](const Memory& mem) { return whole(mem.appMemory()); }},
        {{"cached_bytes", Kind::gauge, "Memory that holds files."},
         [](const Memory& mem) { return whole(mem.cachedFiles()); }},
        {{"pages_in_total", Kind::counter, "Pages of 4096 bytes read in since boot."},
         [](const Memory& mem) { return whole(mem.pagesIn()); }},
        {{"pages_out_total", Kind::counter, "Pages of 4096 bytes written out since boot."},
         [](const Memory& mem) { return whole(mem.pagesOut()); }},
        {{"page_faults_total", Kind::counter, "Page faults since boot."},
         [](const Memory& mem) { return whole(mem.pagesFault()); }},
    };
    return readers;
}

// As the load averages.
const Readers<Swap>& swapReaders() {
    static const Readers<Swap> readers = {
        {{"swap_bytes", Kind::gauge, "Swap space."}, [](const Swap& swap) { return whole(swap.total); }},
        {{"swap_used_bytes", Kind::gauge, "Swap space in use."}, [](const Swap& swap) { return whole(swap.used); }},
    };
    return readers;
}

const Readers<Disk::Volume>& volumeReaders() {
    using Volume = Disk::Volume;
    const auto smart = [](const Volume& volume, auto&& value) {
        return volume.smart() && volume.smart()->capable != 0 ? std::optional<Value>(value(*volume.smart()))
                                                              : std::nullopt;
    };
    static const Readers<Volume> readers = {
        {{"name", Kind::text, "The volume's name."}, [](const Volume& volume) { return text(volume.name()); }},
        {{"file_system", Kind::text, "The file system's type."},
         [](const Volume& volume) { return text(volume.fstype()); }},
        {{"model", Kind::text, "The drive's model."}, [](const Volume& volume) { return text(volume.model()); }},
        {{"up", Kind::gauge, "1 if the file system answers how much room it has, 0 if it does not."},
         [](const Volume& volume) -> std::optional<Value> {
             // Who may not ask cannot tell whether it would answer.
             return volume.access() == Availability::denied ? std::nullopt : std::optional(whole(volume.answers()));
         }},
        {{"size_bytes", Kind::gauge, "Room of the file system."},
         [](const Volume& volume) { return volume.total() > 0 ? std::optional(whole(volume.total())) : std::nullopt; }},
        {{"free_bytes", Kind::gauge, "Free room."},
         [](const Volume& volume) { return volume.total() > 0 ? std::optional(whole(volume.free())) : std::nullopt; }},
        {{"used_bytes", Kind::gauge, "Room in use."},
         [](const Volume& volume) { return volume.total() > 0 ? std::optional(whole(volume.used())) : std::nullopt; }},
        {{"read_bytes_total", Kind::counter, "Bytes read from the disk since boot."},
         [](const Volume& volume) { return whole(volume.rbytes()); }},
        {{"written_bytes_total", Kind::counter, "Bytes written to the disk since boot."},
         [](const Volume& volume) { return whole(volume.wbytes()); }},
        {{"read_bytes_per_second", Kind::gauge, "Bytes read per second since the sample before."},
         [](const Volume& volume) { return Value(volume.rbytesps()); }},
        {{"written_bytes_per_second", Kind::gauge, "Bytes written per second since the sample before."},
         [](const Volume& volume) { return Value(volume.wbytesps()); }},
        {{"smart_healthy", Kind::gauge, "1 if the drive reports that it is healthy, 0 if it reports a failure."},
         [smart](const Volume& volume) {
             return smart(volume, [](const auto& data) { return whole(data.healthy != 0 ? 1 : 0); });
         }},
        {{"temperature_celsius", Kind::gauge, "Temperature of the drive when the volume was first seen."},
         [](const Volume& volume) -> std::optional<Value> {
             if (!volume.smart() || volume.smart()->temperature == 0.0)
                 return std::nullopt;
             return volume.smart()->temperature;
         }},
    };
    return readers;
}

const Readers<Network>& networkReaders() {
    static const Readers<Network> readers = {
        {{"connection", Kind::text, "How far the connection reaches: none, local or internet."},
         [](const Network& net) { return written(net.connection()); }},
        {{"public_address", Kind::text, "The address that the Internet sees."},
         [](const Network& net) { return text(net.publicAddress().value_or("")); }},
        {{"host_name", Kind::text, "The machine's own name."},
         [](const Network& net) { return text(net.localhostName().value_or("")); }},
        {{"router", Kind::text, "The default router."},
         [](const Network& net) { return text(net.router().value_or("")); }},
        {{"dns", Kind::text, "The DNS servers."}, [](const Network& net) { return text(net.dns().value_or("")); }},
    };
    return readers;
}

const Readers<Network::Interface>& interfaceReaders() {
    using Interface = Network::Interface;
    static const Readers<Interface> readers = {
        {{"name", Kind::text, "The network's or the adapter's name."},
         [](const Interface& one) { return text(one.name()); }},
        {{"address", Kind::text, "The first address."}, [](const Interface& one) { return text(one.ipaddr()); }},
        {{"mac", Kind::text, "The hardware address."}, [](const Interface& one) { return text(one.mac()); }},
        {{"primary", Kind::gauge, "1 if the default route leads over it."},
         [](const Interface& one) { return whole(one.isPrimary() ? 1 : 0); }},
        {{"wireless", Kind::gauge, "1 if it is wireless."},
         [](const Interface& one) { return whole(one.isWifi() ? 1 : 0); }},
        {{"speed_bits_per_second", Kind::gauge, "Speed of the link."},
         [](const Interface& one) {
             return one.linkSpeed() > 0 ? std::optional(whole(one.linkSpeed())) : std::nullopt;
         }},
        {{"received_bytes_total", Kind::counter, "Bytes received."},
         [](const Interface& one) { return whole(one.ibytes()); }},
        {{"sent_bytes_total", Kind::counter, "Bytes sent."}, [](const Interface& one) { return whole(one.obytes()); }},
        {{"received_bytes_per_second", Kind::gauge, "Bytes received per second since the sample before."},
         [](const Interface& one) { return Value(one.ibytesps()); }},
        {{"sent_bytes_per_second", Kind::gauge, "Bytes sent per second since the sample before."},
         [](const Interface& one) { return Value(one.obytesps()); }},
    };
    return readers;
}

const Readers<Battery>& batteryReaders() {
    // Without a battery in it, a machine has no figures of one.
    const auto ifInstalled = [](auto&& value) {
        return [value](const Battery& battery) {
            return battery.installed() ? std::optional<Value>(value(battery)) : std::nullopt;
        };
    };
    static const Readers<Battery> readers = {
        {{"installed", Kind::gauge, "1 if a battery is in the machine."},
         [](const Battery& battery) { return whole(battery.installed() ? 1 : 0); }},
        {{"mains", Kind::gauge, "1 if an adapter is connected."},
         [](const Battery& battery) { return whole(battery.isACPowered() ? 1 : 0); }},
        {{"charge_ratio", Kind::gauge, "Charge as a share of the full charge."},
         [](const Battery& battery) -> std::optional<Value> {
             return battery.installed() && battery.percent() >= 0
                        ? std::optional(ratio(static_cast<double>(battery.percent())))
                        : std::nullopt;
         }},
        {{"charging", Kind::gauge, "1 while it is charged."},
         ifInstalled([](const Battery& battery) { return whole(battery.isCharging() ? 1 : 0); })},
        {{"health_ratio", Kind::gauge, "Full charge now as a share of the full charge as new."},
         [](const Battery& battery) -> std::optional<Value> {
             return battery.installed() && battery.designCapacity() > 0 ? std::optional(ratio(battery.health()))
                                                                        : std::nullopt;
         }},
        {{"cycles_total", Kind::counter, "Charge cycles."},
         ifInstalled([](const Battery& battery) { return whole(battery.cycleCount()); })},
        {{"voltage_volts", Kind::gauge, "Voltage."},
         ifInstalled([](const Battery& battery) { return Value(static_cast<double>(battery.voltage()) / 1000.0); })},
        {{"current_amperes", Kind::gauge, "Current, negative while it is discharged."},
         ifInstalled([](const Battery& battery) { return Value(static_cast<double>(battery.current()) / 1000.0); })},
        {{"power_watts", Kind::gauge, "Power, negative while it is discharged."},
         ifInstalled([](const Battery& battery) { return Value(battery.watts()); })},
        {{"temperature_celsius", Kind::gauge, "Temperature of the battery."},
         [](const Battery& battery) -> std::optional<Value> {
             return battery.installed() && battery.temperature() != 0.0 ? std::optional<Value>(battery.temperature())
                                                                        : std::nullopt;
         }},
        {{"remaining_seconds", Kind::gauge, "Time until it is empty, or full while it is charged."},
         [](const Battery& battery) -> std::optional<Value> {
             const auto remaining = battery.remainingDuration();
             return remaining ? std::optional(whole(std::chrono::seconds(*remaining).count())) : std::nullopt;
         }},
        {{"condition", Kind::text, "The battery's condition in its driver's words."},
         [](const Battery& battery) { return text(battery.condition()); }},
    };
    return readers;
}

const Readers<GPU>& graphicsReaders() {
    static const Readers<GPU> readers = {
        {{"current", Kind::text, "The graphics processor that drives the main display."},
         [](const GPU& gpu) { return text(gpu.name()); }},
        {{"integrated", Kind::text, "The integrated graphics processor."},
         [](const GPU& gpu) { return text(gpu.integrated() ? gpu.integrated()->name : ""); }},
        {{"discrete", Kind::text, "The discrete graphics processor."},
         [](const GPU& gpu) { return text(gpu.discrete() ? gpu.discrete()->name : ""); }},
    };
    return readers;
}

const Readers<Applications>& applicationsReaders() {
    static const Readers<Applications> readers = {
        {{"count", Kind::gauge, "Applications and the processes that work for them."},
         [](const Applications& apps) { return whole(apps.count()); }},
    };
    return readers;
}

const Readers<Applications::Process>& processReaders() {
    using Process = Applications::Process;
    static const Readers<Process> readers = {
        {{"cpu_ratio", Kind::gauge, "Share of the processors that it can use."},
         [](const Process& process) { return ratio(process.cpu()); }},
        {{"resident_bytes", Kind::gauge, "Memory that it occupies."},
         [](const Process& process) { return whole(process.mem()); }},
    };
    return readers;
}

std::vector<Table> memory(const Memory& mem, Texts texts) {
    std::vector<Table> tables{own("mem", memoryReaders(), mem, texts)};
    // Where memory cannot be asked for at all, the model would say so on the standard output at each call.
    if (mem.physical() > 0)
        tables.push_back(own("mem", swapReaders(), mem.swap()));
    return tables;
}

Table volumes(const System& system, Texts texts) {
    const auto labels = [](const auto& entry) {
        return std::pair(Labels{{"device", entry.first}, {"mountpoint", entry.second->path()}}, entry.second);
    };
    return readList("disk", "volumes", volumeReaders(), system.disk().volumes(), labels, texts);
}

Table interfaces(const System& system, Texts texts) {
    const auto labels = [](const auto& entry) { return std::pair(Labels{{"interface", entry.first}}, entry.second); };
    return readList("net", "interfaces", interfaceReaders(), system.net().interfaces(), labels, texts);
}

// All, if the model has them; else those that use the processor most, then those that hold the most memory, each once.
Table applications(const System& system) {
    std::vector<std::shared_ptr<const Applications::Process>> processes = system.apps().all();
    if (processes.empty())
        processes = system.apps().cpu();
    for (const auto& process : system.apps().mem())
        if (std::find(processes.begin(), processes.end(), process) == processes.end())
            processes.push_back(process);
    return readList("apps", "applications", processReaders(), processes, [](const auto& process) {
        return std::pair(Labels{{"name", process->name()}, {"pid", std::to_string(process->pid())}}, process);
    });
}

} // namespace

std::span<const std::string_view> resources() {
    static constexpr std::array<std::string_view, 7> names = {"cpu", "mem", "disk", "net", "battery", "gpu", "apps"};
    return names;
}

std::vector<TableInfo> tableInfos() {
    return {infoOf("cpu", "", {}, cpuReaders()),
            infoOf("cpu", "", {}, loadReaders()),
            infoOf("mem", "", {}, memoryReaders()),
            infoOf("mem", "", {}, swapReaders()),
            infoOf("disk", "volumes", {"device", "mountpoint"}, volumeReaders()),
            infoOf("net", "", {}, networkReaders()),
            infoOf("net", "interfaces", {"interface"}, interfaceReaders()),
            infoOf("battery", "", {}, batteryReaders()),
            infoOf("gpu", "", {}, graphicsReaders()),
            infoOf("apps", "", {}, applicationsReaders()),
            infoOf("apps", "applications", {"name", "pid"}, processReaders())};
}

std::vector<Table> read(System& system, std::string_view resource, Texts texts) {
    if (resource == "cpu")
        return {own(resource, cpuReaders(), system.cpu(), texts), own(resource, loadReaders(), system.cpu().loadavg())};
    if (resource == "mem")
        return memory(system.mem(), texts);
    if (resource == "disk")
        return {volumes(system, texts)};
    if (resource == "net")
        return {own(resource, networkReaders(), system.net(), texts), interfaces(system, texts)};
    if (resource == "battery")
        return {own(resource, batteryReaders(), system.battery(), texts)};
    if (resource == "gpu")
        return {own(resource, graphicsReaders(), system.gpu(), texts)};
    if (resource == "apps")
        return {own(resource, applicationsReaders(), system.apps(), texts), applications(system)};
    return {};
}

sentrel::SystemResource* modelOf(System& system, std::string_view resource) {
    const std::array<sentrel::SystemResource*, 7> models = {
        &system.cpu(), &system.mem(), &system.disk(), &system.net(), &system.battery(), &system.gpu(), &system.apps()};
    const auto names = resources();
    const auto found = std::find(names.begin(), names.end(), resource);
    return found == names.end() ? nullptr : models[static_cast<std::size_t>(found - names.begin())];
}

} // namespace tool
