// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/Counters.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

namespace tool {

namespace {

using sentrel::CPU;
using sentrel::Disk;
using sentrel::Memory;
using sentrel::Network;
using sentrel::System;

const FigureInfo processorSeconds{"seconds_total", Kind::counter, "Time of each logical processor by what it did."};
const FigureInfo contextSwitches{"context_switches_total", Kind::counter, "Changes from one thread to another."};
const FigureInfo interrupts{"interrupts_total", Kind::counter, "Interrupts served."};
const FigureInfo forks{"forks_total", Kind::counter, "Processes and threads made."};
const FigureInfo cpuPressure{"pressure_seconds_total", Kind::counter,
                             "Time in which some or all threads waited for a processor."};
const FigureInfo memoryPressure{"pressure_seconds_total", Kind::counter,
                                "Time in which some or all threads waited for memory."};
const FigureInfo diskPressure{"pressure_seconds_total", Kind::counter,
                              "Time in which some or all threads waited for disks."};
const FigureInfo swappedIn{"swapped_in_bytes_total", Kind::counter, "Bytes read back from swap since boot."};
const FigureInfo swappedOut{"swapped_out_bytes_total", Kind::counter, "Bytes written to swap since boot."};
const FigureInfo reads{"reads_total", Kind::counter, "Reads completed by a disk or a part of one."};
const FigureInfo writes{"writes_total", Kind::counter, "Writes completed by a disk or a part of one."};
const FigureInfo readSeconds{"read_seconds_total", Kind::counter, "Time spent by all completed reads."};
const FigureInfo writeSeconds{"write_seconds_total", Kind::counter, "Time spent by all completed writes."};
const FigureInfo busySeconds{"busy_seconds_total", Kind::counter, "Time in which there was something to do."};
const FigureInfo queueSeconds{"queue_seconds_total", Kind::counter, "Time spent by all operations together."};
const FigureInfo operationsNow{"operations", Kind::gauge, "Operations that wait or are being done."};
const FigureInfo packetsIn{"received_packets_total", Kind::counter, "Packets received."};
const FigureInfo packetsOut{"sent_packets_total", Kind::counter, "Packets sent."};
const FigureInfo errorsIn{"received_errors_total", Kind::counter, "Packets that came damaged."};
const FigureInfo errorsOut{"sent_errors_total", Kind::counter, "Packets that could not be sent."};
const FigureInfo dropsIn{"received_drops_total", Kind::counter, "Packets that came well and were thrown away."};
const FigureInfo dropsOut{"sent_drops_total", Kind::counter, "Packets thrown away before they were sent."};

template <class Integer>
Figure whole(const FigureInfo& info, Integer value) {
    return {&info, static_cast<std::int64_t>(value)};
}

Figure seconds(const FigureInfo& info, std::uint32_t milliseconds) {
    return {&info, milliseconds / 1000.0};
}

void addModes(Table& table, const sentrel::platform::NumberedTicks& processor, double ticksASecond) {
    const sentrel::platform::ProcessorTicks& ticks = processor.ticks;
    const std::pair<const char*, std::optional<std::uint64_t>> modes[] = {
        {"user", ticks.user}, {"nice", ticks.nice},     {"system", ticks.system},
        {"idle", ticks.idle}, {"iowait", ticks.iowait}, {"steal", ticks.steal}};
    for (const auto& [mode, count] : modes)
        if (count)
            table.items.push_back({{{"cpu", std::to_string(processor.number)}, {"mode", mode}},
                                   {{&processorSeconds, static_cast<double>(*count) / ticksASecond}}});
}

std::vector<Table> processors(const CPU& cpu) {
    const std::optional<sentrel::platform::ProcessorLoad> load = cpu.counters();
    if (!load)
        return {};
    Table times{"cpu", ""};
    const auto ticksASecond = static_cast<double>(sysconf(_SC_CLK_TCK));
    for (const sentrel::platform::NumberedTicks& processor : load->each)
        addModes(times, processor, ticksASecond);
    Item events;
    if (load->contextSwitches)
        events.figures.push_back(whole(contextSwitches, *load->contextSwitches));
    if (load->interrupts)
        events.figures.push_back(whole(interrupts, *load->interrupts));
    if (load->forks)
        events.figures.push_back(whole(forks, *load->forks));
    return {std::move(times), {"cpu", "", {std::move(events)}}};
}

std::vector<Table> waiting(std::string_view resource, const FigureInfo& info,
                           const std::optional<sentrel::Pressure>& pressure) {
    if (!pressure)
        return {};
    Table table{resource, ""};
    const auto add = [&](const char* who, const sentrel::PressureShare& share) {
        table.items.push_back({{{"threads", who}}, {{&info, static_cast<double>(share.total) / 1e6}}});
    };
    add("some", pressure->some);
    if (pressure->full)
        add("all", *pressure->full);
    return {std::move(table)};
}

std::vector<Table> swapped(const Memory& mem) {
    const std::optional<sentrel::platform::SwapCounters> counters = mem.swapped();
    if (!counters)
        return {};
    return {{"mem", "", {{{}, {whole(swappedIn, counters->in), whole(swappedOut, counters->out)}}}}};
}

std::vector<Table> operations(const Disk& disk) {
    Table table{"disk", ""};
    for (const sentrel::probes::DiskActivity& activity : disk.activity()) {
        const sentrel::DiskOperations& counters = activity.counters;
        Item item{{{"device", counters.name}},
                  {whole(reads, counters.reads), whole(writes, counters.writes),
                   seconds(readSeconds, counters.readTime), seconds(writeSeconds, counters.writeTime)}};
        if (counters.busyTime)
            item.figures.push_back(seconds(busySeconds, *counters.busyTime));
        if (counters.queueTime)
            item.figures.push_back(seconds(queueSeconds, *counters.queueTime));
        if (counters.operationsNow)
            item.figures.push_back(whole(operationsNow, *counters.operationsNow));
        table.items.push_back(std::move(item));
    }
    return {std::move(table)};
}

std::vector<Table> packets(const Network& net) {
    Table table{"net", "interfaces"};
    for (const sentrel::probes::InterfaceTraffic& traffic : net.traffic()) {
        const sentrel::InterfaceCounters& counters = traffic.counters;
        Item item{{{"interface", counters.name}},
                  {whole(packetsIn, counters.packetsIn), whole(packetsOut, counters.packetsOut),
                   whole(errorsIn, counters.errorsIn), whole(errorsOut, counters.errorsOut),
                   whole(dropsIn, counters.dropsIn)}};
        if (counters.dropsOut)
            item.figures.push_back(whole(dropsOut, *counters.dropsOut));
        table.items.push_back(std::move(item));
    }
    return {std::move(table)};
}

std::vector<Table> join(std::vector<Table> tables, std::vector<Table> others) {
    std::move(others.begin(), others.end(), std::back_inserter(tables));
    return tables;
}

} // namespace

std::vector<TableInfo> counterInfos() {
    return {
        {"cpu", "", {"cpu", "mode"}, {&processorSeconds}},
        {"cpu", "", {}, {&contextSwitches, &interrupts, &forks}},
        {"cpu", "", {"threads"}, {&cpuPressure}},
        {"mem", "", {"threads"}, {&memoryPressure}},
        {"mem", "", {}, {&swappedIn, &swappedOut}},
        {"disk",
         "",
         {"device"},
         {&reads, &writes, &readSeconds, &writeSeconds, &busySeconds, &queueSeconds, &operationsNow}},
        {"disk", "", {"threads"}, {&diskPressure}},
        {"net", "interfaces", {"interface"}, {&packetsIn, &packetsOut, &errorsIn, &errorsOut, &dropsIn, &dropsOut}}};
}

RisingCounters::Habits habitsOf(const FigureInfo& figure) {
    RisingCounters::Habits habits;
    // The kernel corrects what it counted as idle when a processor comes back from its rest.
    if (&figure == &processorSeconds)
        habits.wobble = 10.0;
    for (const FigureInfo* const time : {&readSeconds, &writeSeconds, &busySeconds, &queueSeconds})
        if (&figure == time)
            habits.range = 4294967.296; // 2^32 milliseconds
    return habits;
}

std::vector<Table> readCounters(System& system, std::string_view resource) {
    if (resource == "cpu")
        return join(processors(system.cpu()), waiting(resource, cpuPressure, system.cpu().pressure()));
    if (resource == "mem")
        return join(swapped(system.mem()), waiting(resource, memoryPressure, system.mem().pressure()));
    if (resource == "disk")
        return join(operations(system.disk()), waiting(resource, diskPressure, system.disk().pressure()));
    if (resource == "net")
        return packets(system.net());
    return {};
}

} // namespace tool
