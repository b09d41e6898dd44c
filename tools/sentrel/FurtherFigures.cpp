// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/FurtherFigures.h"

#include "tools/sentrel/Readers.h"

#include <algorithm>
#include <array>
#include <functional>
#include <limits>
#include <type_traits>

namespace tool {

namespace {

using sentrel::Applications;
using sentrel::Availability;
using sentrel::CPU;
using sentrel::Disk;
using sentrel::GPU;
using sentrel::Memory;
using sentrel::Network;
using sentrel::Sensors;
using sentrel::System;

// A figure that a source may lack: a number as it is, a flag as 1 or 0, a text.
template <class T>
std::optional<Value> maybe(const std::optional<T>& value) {
    if (!value)
        return std::nullopt;
    if constexpr (std::is_same_v<T, bool>)
        return whole(*value ? 1 : 0);
    else if constexpr (std::is_integral_v<T>)
        return whole(*value);
    else
        return Value(*value);
}

// A share of 0 to 1 that a source may lack.
std::optional<Value> maybeRatio(const std::optional<double>& percent) {
    return percent ? std::optional(ratio(*percent)) : std::nullopt;
}

// One of an enumeration that a source may lack.
template <class T>
std::optional<Value> maybeWritten(const std::optional<T>& value) {
    return value ? std::optional(written(*value)) : std::nullopt;
}

// A figure of a record as it stands there.
template <class Record, class T>
auto member(std::optional<T> Record::*figure) {
    return [figure](const Record& record) { return maybe(record.*figure); };
}

template <class Record>
auto shareMember(std::optional<double> Record::*figure) {
    return [figure](const Record& record) { return maybeRatio(record.*figure); };
}

template <class Record>
auto textMember(std::string Record::*figure) {
    return [figure](const Record& record) { return text(record.*figure); };
}

template <class Model, class Measure>
void add(Model& model, Measure measure) {
    model.setMeasures(
        sentrel::MeasureSet<Measure>::ofBits(model.measures().bits() | sentrel::MeasureSet<Measure>{measure}.bits()));
}

// Has groups of a model's further facts sampled.
template <auto model, auto... measures>
void want(System& system) {
    (add((system.*model)(), measures), ...);
}

// Asked when they are read.
void wantNothing(System&) {}

// The figures of a record that is absent as a whole where it cannot be had.
template <class Source, class Get>
FurtherTable ownTable(std::string_view resource, const Readers<Source>& readers, void (*want)(System&), Get get) {
    return {infoOf(resource, "", {}, readers), want, [resource, &readers, get](const System& system) {
                const std::optional<Source> source = get(system);
                return source ? own(resource, readers, *source) : Table{resource, "", {Item{}}};
            }};
}

// The records of a list, each with one label.
template <class Source, class Get, class LabelOf>
FurtherTable listTable(std::string_view resource, std::string_view list, std::string_view label,
                       const Readers<Source>& readers, void (*want)(System&), Get get, LabelOf labelOf) {
    return {infoOf(resource, list, {label}, readers), want, [=, &readers](const System& system) {
                return readList(resource, list, readers, get(system), [&](const Source& source) {
                    return std::pair(Labels{{label, std::string(std::invoke(labelOf, source))}}, &source);
                });
            }};
}

// Pressure, the same of three resources.

using sentrel::Pressure;
using sentrel::PressureShare;

std::optional<Value> fullShare(const Pressure& pressure, double PressureShare::*average) {
    return pressure.full ? std::optional(ratio((*pressure.full).*average)) : std::nullopt;
}

Value seconds(const PressureShare& share) {
    return static_cast<double>(share.total) / 1e6;
}

const Readers<Pressure>& pressureReaders() {
    static const Readers<Pressure> readers = {
        {{"pressure_some_10s_ratio", Kind::gauge, "Share of the last 10 seconds in which a thread waited for it."},
         [](const Pressure& pressure) { return ratio(pressure.some.avg10); }},
        {{"pressure_some_60s_ratio", Kind::gauge, "Share of the last 60 seconds in which a thread waited for it."},
         [](const Pressure& pressure) { return ratio(pressure.some.avg60); }},
        {{"pressure_some_300s_ratio", Kind::gauge, "Share of the last 300 seconds in which a thread waited for it."},
         [](const Pressure& pressure) { return ratio(pressure.some.avg300); }},
        {{"pressure_some_seconds_total", Kind::counter, "Time since boot in which a thread waited for it."},
         [](const Pressure& pressure) { return seconds(pressure.some); }},
        {{"pressure_full_10s_ratio", Kind::gauge, "Share of the last 10 seconds in which every thread waited for it."},
         [](const Pressure& pressure) { return fullShare(pressure, &PressureShare::avg10); }},
        {{"pressure_full_60s_ratio", Kind::gauge, "Share of the last 60 seconds in which every thread waited for it."},
         [](const Pressure& pressure) { return fullShare(pressure, &PressureShare::avg60); }},
        {{"pressure_full_300s_ratio", Kind::gauge,
          "Share of the last 300 seconds in which every thread waited for it."},
         [](const Pressure& pressure) { return fullShare(pressure, &PressureShare::avg300); }},
        {{"pressure_full_seconds_total", Kind::counter, "Time since boot in which every thread waited for it."},
         [](const Pressure& pressure) {
             return pressure.full ? std::optional(seconds(*pressure.full)) : std::nullopt;
         }},
    };
    return readers;
}

// The processor.

const Readers<sentrel::ProcessorShares>& sharesReaders() {
    using Shares = sentrel::ProcessorShares;
    static const Readers<Shares> readers = {
        {{"iowait_ratio", Kind::gauge, "Share of the time at rest while a thread waited for a device."},
         shareMember(&Shares::iowait)},
        {{"steal_ratio", Kind::gauge, "Share of the time that a hypervisor took."}, shareMember(&Shares::steal)},
    };
    return readers;
}

const Readers<sentrel::CoreShares>& coreReaders() {
    using Core = sentrel::CoreShares;
    static const Readers<Core> readers = {
        {{"user_ratio", Kind::gauge, "Share of the time in programs."},
         [](const Core& core) { return ratio(core.shares.user); }},
        {{"system_ratio", Kind::gauge, "Share of the time in the kernel."},
         [](const Core& core) { return ratio(core.shares.system); }},
        {{"idle_ratio", Kind::gauge, "Share of the time at rest, without waiting for devices."},
         [](const Core& core) { return ratio(core.shares.idle); }},
        {{"iowait_ratio", Kind::gauge, "Share of the time at rest while a thread waited for a device."},
         [](const Core& core) { return maybeRatio(core.shares.iowait); }},
        {{"steal_ratio", Kind::gauge, "Share of the time that a hypervisor took."},
         [](const Core& core) { return maybeRatio(core.shares.steal); }},
    };
    return readers;
}

const Readers<sentrel::CoreFrequency>& frequencyReaders() {
    using Frequency = sentrel::CoreFrequency;
    static const Readers<Frequency> readers = {
        {{"frequency_hertz", Kind::gauge, "Frequency now."}, member(&Frequency::now)},
        {{"frequency_least_hertz", Kind::gauge, "The lowest frequency."}, member(&Frequency::least)},
        {{"frequency_most_hertz", Kind::gauge, "The highest frequency."}, member(&Frequency::most)},
        {{"governor", Kind::text, "What chooses the frequency."}, textMember(&Frequency::governor)},
        {{"kind", Kind::text, "What the core is built for: performance or efficiency."},
         [](const Frequency& core) { return maybeWritten(core.kind); }},
    };
    return readers;
}

const Readers<sentrel::CoreKinds>& coreKindsReaders() {
    using Kinds = sentrel::CoreKinds;
    static const Readers<Kinds> readers = {
        {{"performance_processors", Kind::gauge, "Logical processors on fast cores."},
         [](const Kinds& kinds) { return whole(kinds.performance); }},
        {{"efficiency_processors", Kind::gauge, "Logical processors on thrifty cores."},
         [](const Kinds& kinds) { return whole(kinds.efficiency); }},
    };
    return readers;
}

const Readers<CPU>& activityReaders() {
    static const Readers<CPU> readers = {
        {{"context_switches_per_second", Kind::gauge, "Changes from one thread to another."},
         [](const CPU& cpu) { return maybe(cpu.contextSwitches()); }},
        {{"interrupts_per_second", Kind::gauge, "Interrupts served."},
         [](const CPU& cpu) { return maybe(cpu.interrupts()); }},
        {{"forks_per_second", Kind::gauge, "Processes and threads made."},
         [](const CPU& cpu) { return maybe(cpu.forks()); }},
    };
    return readers;
}

template <class Source>
std::string numberOf(const Source& source) {
    return std::to_string(source.number);
}

// Memory.

const Readers<sentrel::MemoryDetails>& memoryDetailsReaders() {
    using Details = sentrel::MemoryDetails;
    static const Readers<Details> readers = {
        {{"available_bytes", Kind::gauge, "Memory that new programs could have without swapping."},
         member(&Details::available)},
        {{"buffers_bytes", Kind::gauge, "Cache of raw block devices."}, member(&Details::buffers)},
        {{"page_cache_bytes", Kind::gauge, "Cache of files, shared memory included."}, member(&Details::cached)},
        {{"slab_reclaimable_bytes", Kind::gauge, "Caches of the kernel's objects that can be dropped."},
         member(&Details::slabReclaimable)},
        {{"slab_unreclaimable_bytes", Kind::gauge, "The kernel's objects that cannot be dropped."},
         member(&Details::slabUnreclaimable)},
        {{"huge_pages", Kind::gauge, "Huge pages set apart."}, member(&Details::hugePagesTotal)},
        {{"huge_pages_free", Kind::gauge, "Huge pages that hold nothing."}, member(&Details::hugePagesFree)},
        {{"huge_page_size_bytes", Kind::gauge, "Size of a huge page."}, member(&Details::hugePageSize)},
        {{"dirty_bytes", Kind::gauge, "Memory that waits to be written to a device."}, member(&Details::dirty)},
        {{"writeback_bytes", Kind::gauge, "Memory that is being written to a device."}, member(&Details::writeback)},
    };
    return readers;
}

const Readers<Memory::SwapRates>& swapRatesReaders() {
    using Rates = Memory::SwapRates;
    static const Readers<Rates> readers = {
        {{"swap_in_bytes_per_second", Kind::gauge, "Bytes read back from swap per second."},
         [](const Rates& rates) { return Value(rates.in); }},
        {{"swap_out_bytes_per_second", Kind::gauge, "Bytes written to swap per second."},
         [](const Rates& rates) { return Value(rates.out); }},
    };
    return readers;
}

const Readers<sentrel::platform::SwapCounters>& swappedReaders() {
    using Counters = sentrel::platform::SwapCounters;
    static const Readers<Counters> readers = {
        {{"swap_in_bytes_total", Kind::counter, "Bytes read back from swap since boot."},
         [](const Counters& counters) { return whole(counters.in); }},
        {{"swap_out_bytes_total", Kind::counter, "Bytes written to swap since boot."},
         [](const Counters& counters) { return whole(counters.out); }},
    };
    return readers;
}

const Readers<sentrel::MemoryCompression>& compressionReaders() {
    using Compression = sentrel::MemoryCompression;
    static const Readers<Compression> readers = {
        {{"compressor_stored_bytes", Kind::gauge, "What is kept compressed, before it was."},
         [](const Compression& compression) { return whole(compression.stored); }},
        {{"compressor_occupied_bytes", Kind::gauge, "Memory that it takes now."},
         [](const Compression& compression) { return whole(compression.occupied); }},
    };
    return readers;
}

const Readers<sentrel::MemoryNode>& nodeReaders() {
    using Node = sentrel::MemoryNode;
    static const Readers<Node> readers = {
        {{"size_bytes", Kind::gauge, "Memory of the node."}, [](const Node& node) { return whole(node.total); }},
        {{"free_bytes", Kind::gauge, "Memory that holds nothing, no cache either."},
         [](const Node& node) { return whole(node.free); }},
    };
    return readers;
}

// Disks and volumes.

const Readers<Disk::Inodes>& inodesReaders() {
    using Inodes = Disk::Inodes;
    static const Readers<Inodes> readers = {
        {{"inodes", Kind::gauge, "Files that there can be."}, [](const Inodes& inodes) { return whole(inodes.total); }},
        {{"inodes_used", Kind::gauge, "Files that there are."},
         [](const Inodes& inodes) { return whole(inodes.used); }},
        {{"inodes_free", Kind::gauge, "Files that there can be besides."},
         [](const Inodes& inodes) { return whole(inodes.free); }},
    };
    return readers;
}

Labels labelsOf(const Disk::Volume& volume) {
    return {{"device", volume.device()}, {"mountpoint", volume.path()}};
}

Table inodes(const System& system) {
    Table table{"disk", "volumes"};
    for (const auto& [device, volume] : system.disk().volumes())
        if (const auto counted = system.disk().inodes(*volume)) {
            table.items.push_back(readItem(inodesReaders(), *counted));
            table.items.back().labels = labelsOf(*volume);
        }
    return table;
}

using SmartDetails = sentrel::probes::SmartDetails;

const Readers<SmartDetails>& smartReaders() {
    static const Readers<SmartDetails> readers = {
        {{"drive_healthy", Kind::gauge, "1 if the drive says that it is healthy, 0 if it says that it is not."},
         member(&SmartDetails::healthy)},
        {{"drive_temperature_celsius", Kind::gauge, "Temperature of the drive now."},
         member(&SmartDetails::temperature)},
        {{"drive_power_on_seconds_total", Kind::counter, "Time that the drive was on, in all its life."},
         [](const SmartDetails& details) -> std::optional<Value> {
             constexpr std::int64_t hour = 3600;
             constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / hour; // a drive may say anything
             if (!details.powerOnHours)
                 return std::nullopt;
             return whole(std::min(*details.powerOnHours, most) * hour);
         }},
        {{"drive_power_cycles_total", Kind::counter, "How often the drive was switched on."},
         member(&SmartDetails::powerCycles)},
        {{"drive_wear_ratio", Kind::gauge, "Share of its endurance that the drive used; may exceed 1."},
         shareMember(&SmartDetails::wear)},
        {{"drive_spare_ratio", Kind::gauge, "Share of its spare blocks that the drive has left."},
         shareMember(&SmartDetails::spare)},
        {{"drive_spare_threshold_ratio", Kind::gauge, "Share of spare blocks below which the drive warns."},
         shareMember(&SmartDetails::spareThreshold)},
        {{"drive_unsafe_shutdowns_total", Kind::counter, "Losses of power without a word before."},
         member(&SmartDetails::unsafeShutdowns)},
        {{"drive_media_errors_total", Kind::counter, "Times that the drive could not give data back."},
         member(&SmartDetails::mediaErrors)},
    };
    return readers;
}

using SmartAttribute = sentrel::probes::SmartAttribute;

const Readers<SmartAttribute>& attributeReaders() {
    static const Readers<SmartAttribute> readers = {
        {{"name", Kind::text, "What most makers use the attribute for."},
         [](const SmartAttribute& attribute) { return text(std::string(attribute.name)); }},
        {{"value", Kind::gauge, "The value by the drive's own scale; more is better."},
         [](const SmartAttribute& attribute) { return whole(attribute.value); }},
        {{"worst", Kind::gauge, "The lowest value ever."},
         [](const SmartAttribute& attribute) { return whole(attribute.worst); }},
        {{"threshold", Kind::gauge, "A value at it or below tells of a failure."}, member(&SmartAttribute::threshold)},
        {{"raw", Kind::gauge, "What the drive counts, as its maker meant it."},
         [](const SmartAttribute& attribute) { return whole(attribute.raw); }},
    };
    return readers;
}

// Asks each drive, which may take seconds.
template <class Take>
void forEachDrive(const System& system, Take&& take) {
    for (const auto& [device, volume] : system.disk().volumes()) {
        SmartDetails details;
        if (volume->smartDetails(details) == Availability::available)
            take(*volume, details);
    }
}

Table drives(const System& system) {
    Table table{"disk", "volumes"};
    forEachDrive(system, [&](const Disk::Volume& volume, const SmartDetails& details) {
        table.items.push_back(readItem(smartReaders(), details));
        table.items.back().labels = labelsOf(volume);
    });
    return table;
}

Table attributes(const System& system) {
    Table table{"disk", "smart"};
    forEachDrive(system, [&](const Disk::Volume& volume, const SmartDetails& details) {
        for (const SmartAttribute& attribute : details.attributes) {
            table.items.push_back(readItem(attributeReaders(), attribute));
            table.items.back().labels = {{"device", volume.device()}, {"attribute", std::to_string(attribute.id)}};
        }
    });
    return table;
}

const Readers<sentrel::DiskDevice>& deviceReaders() {
    using Device = sentrel::DiskDevice;
    static const Readers<Device> readers = {
        {{"alias", Kind::text, "Another name of the device."}, textMember(&Device::alias)},
        {{"whole", Kind::text, "The disk that it is a part of, or itself."}, textMember(&Device::whole)},
        {{"model", Kind::text, "The disk's model."}, member(&Device::model)},
        {{"size_bytes", Kind::gauge, "Its size; 0 without a medium."}, member(&Device::size)},
        {{"removable", Kind::gauge, "1 if its medium can be taken out."}, member(&Device::removable)},
        {{"read_only", Kind::gauge, "1 if it cannot be written."}, member(&Device::readOnly)},
        {{"rotational", Kind::gauge, "1 if it has platters."}, member(&Device::rotational)},
    };
    return readers;
}

const Readers<sentrel::probes::DiskActivity>& diskActivityReaders() {
    using Activity = sentrel::probes::DiskActivity;
    static const Readers<Activity> readers = {
        {{"reads_total", Kind::counter, "Reads completed since the device appeared."},
         [](const Activity& disk) { return whole(disk.counters.reads); }},
        {{"writes_total", Kind::counter, "Writes completed since the device appeared."},
         [](const Activity& disk) { return whole(disk.counters.writes); }},
        {{"reads_per_second", Kind::gauge, "Reads completed per second."}, member(&Activity::readsRate)},
        {{"writes_per_second", Kind::gauge, "Writes completed per second."}, member(&Activity::writesRate)},
        {{"busy_ratio", Kind::gauge, "Share of the time in which there was something to do."},
         shareMember(&Activity::busy)},
        {{"read_latency_seconds", Kind::gauge, "Mean time from a read's request to its end."},
         member(&Activity::readLatency)},
        {{"write_latency_seconds", Kind::gauge, "Mean time from a write's request to its end."},
         member(&Activity::writeLatency)},
        {{"queue_length", Kind::gauge, "Operations that waited or were being done, on the mean."},
         member(&Activity::queueLength)},
    };
    return readers;
}

// The network.

const Readers<sentrel::probes::InterfaceTraffic>& trafficReaders() {
    using Traffic = sentrel::probes::InterfaceTraffic;
    static const Readers<Traffic> readers = {
        {{"packets_received_total", Kind::counter, "Packets received."},
         [](const Traffic& one) { return whole(one.counters.packetsIn); }},
        {{"packets_sent_total", Kind::counter, "Packets sent."},
         [](const Traffic& one) { return whole(one.counters.packetsOut); }},
        {{"errors_received_total", Kind::counter, "Packets that came damaged."},
         [](const Traffic& one) { return whole(one.counters.errorsIn); }},
        {{"errors_sent_total", Kind::counter, "Packets that could not be sent."},
         [](const Traffic& one) { return whole(one.counters.errorsOut); }},
        {{"drops_received_total", Kind::counter, "Packets that came well and were thrown away."},
         [](const Traffic& one) { return whole(one.counters.dropsIn); }},
        {{"drops_sent_total", Kind::counter, "Packets that were thrown away before they were sent."},
         [](const Traffic& one) { return maybe(one.counters.dropsOut); }},
        {{"packets_received_per_second", Kind::gauge, "Packets received per second."}, member(&Traffic::packetsInRate)},
        {{"packets_sent_per_second", Kind::gauge, "Packets sent per second."}, member(&Traffic::packetsOutRate)},
        {{"errors_received_per_second", Kind::gauge, "Damaged packets per second."}, member(&Traffic::errorsInRate)},
        {{"errors_sent_per_second", Kind::gauge, "Packets that could not be sent per second."},
         member(&Traffic::errorsOutRate)},
        {{"drops_received_per_second", Kind::gauge, "Packets thrown away on their way in per second."},
         member(&Traffic::dropsInRate)},
        {{"drops_sent_per_second", Kind::gauge, "Packets thrown away on their way out per second."},
         member(&Traffic::dropsOutRate)},
    };
    return readers;
}

std::string addressesText(const sentrel::InterfaceLink& link) {
    std::string all;
    for (const sentrel::InterfaceAddress& address : link.addresses)
        all += (all.empty() ? "" : ", ") + address.text() + '/' + std::to_string(address.prefixLength);
    return all;
}

const Readers<sentrel::InterfaceLink>& linkReaders() {
    using Link = sentrel::InterfaceLink;
    static const Readers<Link> readers = {
        {{"kind", Kind::text, "What the interface is: physical, virtual_, vpn, bridge, loopback or wifi."},
         [](const Link& link) { return written(link.kind); }},
        {{"state", Kind::text, "The state of the link."}, [](const Link& link) { return written(link.state); }},
        {{"duplex", Kind::text, "Whether both ends of the wire may send at once: half or full."},
         [](const Link& link) { return maybeWritten(link.duplex); }},
        {{"wire_bits_per_second", Kind::gauge, "Speed of the wire."}, member(&Link::speed)},
        {{"mtu_bytes", Kind::gauge, "The longest packet."}, member(&Link::mtu)},
        {{"mac", Kind::text, "The hardware address."}, [](const Link& link) { return text(link.mac()); }},
        {{"addresses", Kind::text, "Every address with the length of its prefix."},
         [](const Link& link) { return text(addressesText(link)); }},
    };
    return readers;
}

const Readers<sentrel::WirelessLink>& wirelessReaders() {
    using Link = sentrel::WirelessLink;
    static const Readers<Link> readers = {
        {{"signal_dbm", Kind::gauge, "Strength of the access point as it comes in, in dBm."}, member(&Link::signal)},
        {{"receive_bits_per_second", Kind::gauge, "Bit rate of the last packet received."}, member(&Link::bitRateIn)},
        {{"send_bits_per_second", Kind::gauge, "Bit rate of the last packet sent."}, member(&Link::bitRateOut)},
        {{"channel", Kind::gauge, "Number of the channel."}, [](const Link& link) { return maybe(link.channel()); }},
        {{"channel_frequency_hertz", Kind::gauge, "Frequency of the channel's primary part."},
         member(&Link::frequency)},
        {{"channel_width_hertz", Kind::gauge, "Width of the channel."}, member(&Link::channelWidth)},
    };
    return readers;
}

// Graphics.

const Readers<GPU::Activity>& processorReaders() {
    using Processor = GPU::Activity;
    static const Readers<Processor> readers = {
        {{"name", Kind::text, "The product's name."}, textMember(&Processor::name)},
        {{"driver", Kind::text, "The driver's name."}, textMember(&Processor::driver)},
        {{"asleep", Kind::gauge, "1 while it is switched off until somebody needs it."},
         [](const Processor& processor) { return whole(processor.isAsleep ? 1 : 0); }},
        {{"usage_ratio", Kind::gauge, "Share of the time in which it worked."}, shareMember(&Processor::use)},
        {{"memory_used_bytes", Kind::gauge, "Its own memory in use."}, member(&Processor::memoryUsed)},
        {{"memory_bytes", Kind::gauge, "Its own memory."}, member(&Processor::memoryTotal)},
        {{"clock_hertz", Kind::gauge, "Frequency of its cores."}, member(&Processor::clock)},
        {{"temperature_celsius", Kind::gauge, "Its temperature."}, member(&Processor::temperature)},
        {{"power_watts", Kind::gauge, "Power that it takes."}, member(&Processor::power)},
        {{"fan_rpm", Kind::gauge, "Revolutions of its fan a minute."}, member(&Processor::fan)},
        {{"fan_ratio", Kind::gauge, "Speed of its fan as a share of the intended full one; may exceed 1."},
         shareMember(&Processor::fanShare)},
        {{"figures", Kind::text, "Whether its driver tells figures, and if not, why."},
         [](const Processor& processor) { return written(processor.figures); }},
    };
    return readers;
}

const Readers<GPU::Work>& workReaders() {
    using Work = GPU::Work;
    static const Readers<Work> readers = {
        {{"clients", Kind::gauge, "What programs opened to have it work."},
         [](const Work& work) { return whole(work.clients); }},
        {{"clients_memory_bytes", Kind::gauge, "Memory in place for them; what they share counts with each."},
         member(&Work::memory)},
    };
    return readers;
}

const Readers<sentrel::probes::EngineShare>& engineReaders() {
    using Engine = sentrel::probes::EngineShare;
    static const Readers<Engine> readers = {
        {{"engines", Kind::gauge, "Engines of the kind."}, [](const Engine& engine) { return whole(engine.count); }},
        {{"usage_ratio", Kind::gauge, "Share of their time that programs had them work."}, shareMember(&Engine::use)},
    };
    return readers;
}

Table engines(const System& system) {
    Table table{"gpu", "engines"};
    for (const GPU::Work& work : system.gpu().work())
        for (const sentrel::probes::EngineShare& engine : work.engines) {
            table.items.push_back(readItem(engineReaders(), engine));
            table.items.back().labels = {{"device", work.processor}, {"engine", engine.name}};
        }
    return table;
}

// Applications.

using Process = Applications::Process;

const Readers<Process>& threadsReaders() {
    static const Readers<Process> readers = {
        {{"threads", Kind::gauge, "Its threads."}, [](const Process& process) { return maybe(process.threads()); }},
    };
    return readers;
}

const Readers<Process>& storageReaders() {
    static const Readers<Process> readers = {
        {{"read_bytes_per_second", Kind::gauge, "Bytes that it read from storage per second."},
         [](const Process& process) { return maybe(process.readPerSecond()); }},
        {{"written_bytes_per_second", Kind::gauge, "Bytes that it wrote to storage per second."},
         [](const Process& process) { return maybe(process.writtenPerSecond()); }},
    };
    return readers;
}

const Readers<Process>& filesReaders() {
    static const Readers<Process> readers = {
        {{"open_files", Kind::gauge, "Open files, sockets and the like."},
         [](const Process& process) { return maybe(process.openFiles()); }},
    };
    return readers;
}

// What is asked of a process when it is shown.
struct Origin {
    std::optional<sentrel::platform::ProcessIdentity> identity;
    std::string command;
};

const Readers<Origin>& originReaders() {
    static const Readers<Origin> readers = {
        {{"start_time_seconds", Kind::gauge, "When it was started, since the epoch."},
         [](const Origin& origin) -> std::optional<Value> {
             return origin.identity ? std::optional(whole(origin.identity->started)) : std::nullopt;
         }},
        {{"user_id", Kind::text, "The number of its user."},
         [](const Origin& origin) -> std::optional<Value> {
             return origin.identity ? std::optional<Value>(std::to_string(origin.identity->user)) : std::nullopt;
         }},
        {{"command", Kind::text, "The words that it was started with."}, textMember(&Origin::command)},
    };
    return readers;
}

Origin originOf(const Applications& apps, const Process& process) {
    Origin origin;
    sentrel::platform::ProcessIdentity identity;
    if (apps.identity(process, identity) == Availability::available)
        origin.identity = identity;
    std::vector<std::string> words;
    if (apps.commandLine(process, words) == Availability::available)
        for (const std::string& word : words)
            origin.command += (origin.command.empty() ? "" : " ") + word;
    return origin;
}

Labels labelsOf(const Process& process) {
    return {{"name", process.name()}, {"pid", std::to_string(process.pid())}};
}

// With them all applications are listed.
template <const Readers<Process>& (*readers)()>
FurtherTable processTable(void (*want)(System&)) {
    return {infoOf("apps", "applications", {"name", "pid"}, readers()), want, [](const System& system) {
                return readList("apps", "applications", readers(), system.apps().all(),
                                [](const auto& process) { return std::pair(labelsOf(*process), process); });
            }};
}

Table origins(const System& system) {
    Table table{"apps", "applications"};
    for (const auto& process : system.apps().all()) {
        table.items.push_back(readItem(originReaders(), originOf(system.apps(), *process)));
        table.items.back().labels = labelsOf(*process);
    }
    return table;
}

// Sensors.

using Sensor = Sensors::Sensor;

template <Sensors::Kind kind>
std::optional<Value> valueOf(const Sensor& sensor) {
    return sensor.kind == kind ? std::optional<Value>(sensor.value) : std::nullopt;
}

const Readers<Sensor>& sensorReaders() {
    using SensorKind = Sensors::Kind;
    static const Readers<Sensor> readers = {
        {{"temperature_celsius", Kind::gauge, "Temperature."}, valueOf<SensorKind::temperature>},
        {{"fan_rpm", Kind::gauge, "Revolutions of a fan a minute."}, valueOf<SensorKind::fan>},
        {{"voltage_volts", Kind::gauge, "Voltage."}, valueOf<SensorKind::voltage>},
        {{"current_amperes", Kind::gauge, "Current."}, valueOf<SensorKind::current>},
        {{"power_watts", Kind::gauge, "Power; of an energy counter the mean since the sample before."},
         [](const Sensor& sensor) {
             return sensor.kind == SensorKind::energy ? maybe(sensor.watts) : valueOf<SensorKind::power>(sensor);
         }},
        {{"energy_joules_total", Kind::counter, "Energy used since some point in the past."},
         valueOf<SensorKind::energy>},
        {{"minimum", Kind::gauge, "Below it something is wrong, in the unit of the sensor."},
         [](const Sensor& sensor) { return maybe(sensor.minimum); }},
        {{"maximum", Kind::gauge, "Above it something is wrong, in the unit of the sensor."},
         [](const Sensor& sensor) { return maybe(sensor.maximum); }},
        {{"critical", Kind::gauge, "Above it the machine is in danger, in the unit of the sensor."},
         [](const Sensor& sensor) { return maybe(sensor.critical); }},
        {{"alarm", Kind::gauge, "1 while the chip raises an alarm for it."},
         [](const Sensor& sensor) { return maybe(sensor.alarm); }},
    };
    return readers;
}

Table sensors(const System& system) {
    return readList("sensors", "inputs", sensorReaders(), system.sensors().all(), [](const Sensor& sensor) {
        return std::pair(Labels{{"sensor", sensor.identifier}, {"chip", sensor.chip}, {"label", sensor.label}},
                         &sensor);
    });
}

// The host.

const Readers<sentrel::OperatingSystem>& operatingSystemReaders() {
    using OS = sentrel::OperatingSystem;
    static const Readers<OS> readers = {
        {{"system", Kind::text, "The operating system, for people."}, textMember(&OS::prettyName)},
        {{"system_id", Kind::text, "The operating system, for programs."}, textMember(&OS::id)},
        {{"system_version", Kind::text, "Its version."}, textMember(&OS::version)},
        {{"kernel", Kind::text, "The kernel."}, textMember(&OS::kernel)},
        {{"kernel_release", Kind::text, "The kernel's version."}, textMember(&OS::kernelRelease)},
        {{"architecture", Kind::text, "Of the kernel."}, textMember(&OS::architecture)},
        {{"host_name", Kind::text, "The machine's name as the kernel knows it."}, textMember(&OS::hostName)},
    };
    return readers;
}

const Readers<sentrel::Virtualization>& virtualizationReaders() {
    using Virtualization = sentrel::Virtualization;
    static const Readers<Virtualization> readers = {
        {{"hypervisor", Kind::text, "What the machine is virtualised by."}, textMember(&Virtualization::machine)},
        {{"container", Kind::text, "What kind of container the program is in."},
         textMember(&Virtualization::container)},
    };
    return readers;
}

const Readers<sentrel::ControlGroup>& controlGroupReaders() {
    using Group = sentrel::ControlGroup;
    static const Readers<Group> readers = {
        {{"control_group_version", Kind::gauge, "Version of the control groups: 1 or 2."},
         [](const Group& group) { return whole(group.version); }},
        {{"limit_processors", Kind::gauge, "Time of so many processors that the program may use."},
         member(&Group::processors)},
        {{"limit_memory_bytes", Kind::gauge, "Memory that the program's control group may use."},
         member(&Group::memoryLimit)},
        {{"control_group_memory_bytes", Kind::gauge, "Memory that the program's control group uses."},
         member(&Group::memoryUsed)},
    };
    return readers;
}

const Readers<sentrel::LoggedInUser>& userReaders() {
    using User = sentrel::LoggedInUser;
    static const Readers<User> readers = {
        {{"from", Kind::text, "The other machine or the display."}, textMember(&User::from)},
        {{"login_time_seconds", Kind::gauge, "When the user logged in, since the epoch."},
         [](const User& user) { return whole(user.since); }},
    };
    return readers;
}

Table users(const System& system) {
    return readList("host", "users", userReaders(),
                    system.host().users().value_or(std::vector<sentrel::LoggedInUser>()),
                    [](const sentrel::LoggedInUser& user) {
                        return std::pair(Labels{{"user", user.name}, {"terminal", user.terminal}}, &user);
                    });
}

std::vector<FurtherTable> makeTables() {
    using Applies = Applications::Measure;
    constexpr auto cpu = &System::cpu;
    constexpr auto mem = &System::mem;
    constexpr auto disk = &System::disk;
    constexpr auto net = &System::net;
    constexpr auto gpu = &System::gpu;
    constexpr auto apps = &System::apps;
    return {
        ownTable("cpu", sharesReaders(), want<cpu, CPU::Measure::cores>,
                 [](const System& system) { return system.cpu().shares(); }),
        {infoOf("cpu", "", {}, activityReaders()), want<cpu, CPU::Measure::activity>,
         [](const System& system) { return own("cpu", activityReaders(), system.cpu()); }},
        ownTable("cpu", coreKindsReaders(), want<cpu, CPU::Measure::frequencies>,
                 [](const System& system) { return system.cpu().coreKinds(); }),
        ownTable("cpu", pressureReaders(), want<cpu, CPU::Measure::pressure>,
                 [](const System& system) { return system.cpu().pressure(); }),
        listTable(
            "cpu", "cores", "core", coreReaders(), want<cpu, CPU::Measure::cores>,
            [](const System& system) { return system.cpu().cores(); }, numberOf<sentrel::CoreShares>),
        listTable(
            "cpu", "cores", "core", frequencyReaders(), want<cpu, CPU::Measure::frequencies>,
            [](const System& system) { return system.cpu().frequencies(); }, numberOf<sentrel::CoreFrequency>),
        ownTable("mem", memoryDetailsReaders(), want<mem, Memory::Measure::details>,
                 [](const System& system) { return system.mem().details(); }),
        ownTable("mem", swapRatesReaders(), want<mem, Memory::Measure::swapRates>,
                 [](const System& system) { return system.mem().swapRates(); }),
        ownTable("mem", swappedReaders(), want<mem, Memory::Measure::swapRates>,
                 [](const System& system) { return system.mem().swapped(); }),
        ownTable("mem", compressionReaders(), want<mem, Memory::Measure::compression>,
                 [](const System& system) { return system.mem().compression(); }),
        ownTable("mem", pressureReaders(), want<mem, Memory::Measure::pressure>,
                 [](const System& system) { return system.mem().pressure(); }),
        listTable(
            "mem", "nodes", "node", nodeReaders(), want<mem, Memory::Measure::nodes>,
            [](const System& system) { return system.mem().nodes(); }, numberOf<sentrel::MemoryNode>),
        ownTable("disk", pressureReaders(), want<disk, Disk::Measure::pressure>,
                 [](const System& system) { return system.disk().pressure(); }),
        {infoOf("disk", "volumes", {"device", "mountpoint"}, inodesReaders()), want<disk, Disk::Measure::inodes>,
         inodes},
        {infoOf("disk", "volumes", {"device", "mountpoint"}, smartReaders()), wantNothing, drives},
        {infoOf("disk", "smart", {"device", "attribute"}, attributeReaders()), wantNothing, attributes},
        listTable(
            "disk", "devices", "device", deviceReaders(), want<disk, Disk::Measure::devices>,
            [](const System& system) { return system.disk().devices(); }, &sentrel::DiskDevice::name),
        listTable(
            "disk", "devices", "device", diskActivityReaders(), want<disk, Disk::Measure::activity>,
            [](const System& system) { return system.disk().activity(); },
            [](const sentrel::probes::DiskActivity& one) { return one.counters.name; }),
        listTable(
            "net", "links", "interface", linkReaders(), want<net, Network::Measure::links>,
            [](const System& system) { return system.net().links(); }, &sentrel::InterfaceLink::name),
        listTable(
            "net", "links", "interface", wirelessReaders(), want<net, Network::Measure::wireless>,
            [](const System& system) { return system.net().wireless(); }, &sentrel::WirelessLink::name),
        listTable(
            "net", "links", "interface", trafficReaders(), want<net, Network::Measure::traffic>,
            [](const System& system) { return system.net().traffic(); },
            [](const sentrel::probes::InterfaceTraffic& one) { return one.counters.name; }),
        listTable(
            "gpu", "processors", "device", processorReaders(), want<gpu, GPU::Measure::use>,
            [](const System& system) { return system.gpu().processors(); }, &GPU::Activity::identifier),
        listTable(
            "gpu", "processors", "device", workReaders(), want<gpu, GPU::Measure::engines>,
            [](const System& system) { return system.gpu().work(); }, &GPU::Work::processor),
        {infoOf("gpu", "engines", {"device", "engine"}, engineReaders()), want<gpu, GPU::Measure::engines>, engines},
        processTable<threadsReaders>(want<apps, Applies::all, Applies::threads>),
        processTable<storageReaders>(want<apps, Applies::all, Applies::storage>),
        processTable<filesReaders>(want<apps, Applies::all, Applies::files>),
        {infoOf("apps", "applications", {"name", "pid"}, originReaders()), want<apps, Applies::all>, origins},
        {infoOf("sensors", "inputs", {"sensor", "chip", "label"}, sensorReaders()), wantNothing, sensors},
        ownTable("host", operatingSystemReaders(), wantNothing,
                 [](const System& system) { return system.host().operatingSystem(); }),
        ownTable("host", virtualizationReaders(), wantNothing,
                 [](const System& system) { return system.host().virtualization(); }),
        ownTable("host", controlGroupReaders(), wantNothing,
                 [](const System& system) { return system.host().controlGroup(); }),
        {infoOf("host", "users", {"user", "terminal"}, userReaders()), wantNothing, users},
    };
}

} // namespace

const std::vector<FurtherTable>& furtherTables() {
    static const std::vector<FurtherTable> tables = makeTables();
    return tables;
}

std::vector<TableInfo> allTableInfos() {
    std::vector<TableInfo> infos = tableInfos();
    for (const FurtherTable& table : furtherTables())
        infos.push_back(table.info);
    return infos;
}

std::span<const std::string_view> furtherResources() {
    static constexpr std::array<std::string_view, 2> names = {"sensors", "host"};
    return names;
}

} // namespace tool
