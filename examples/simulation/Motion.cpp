// SPDX-License-Identifier: Apache-2.0
#include "examples/simulation/Motion.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cmath>
#include <iterator>
#include <string>

namespace simulation {

using namespace sentrel;
using namespace sentrel::platform;

namespace {

constexpr double ticksPerSecond = 100;
constexpr double pageSize = 4096;
constexpr double secondsPerDay = 86400;
constexpr std::int64_t warmUpSteps = 2400; // until nothing tells any more that all figures began in their middles

// A step of a value that follows another one, by so many seconds of inertia.
double followed(double value, double goal, double inertia) {
    return value + (goal - value) * stepSeconds / inertia;
}

std::uint32_t pagesOf(double bytes) {
    return static_cast<std::uint32_t>(bytes / pageSize);
}

// A counter as the system counts it: it wraps at 2^32.
std::uint32_t wrapped(double count) {
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(count));
}

ThermalState stateAt(double warmth) {
    if (warmth < 75)
        return ThermalState::nominal;
    if (warmth < 85)
        return ThermalState::fair;
    return warmth < 95 ? ThermalState::serious : ThermalState::critical;
}

template <class Part, class PartPlan>
std::vector<Part> partsOf(const std::vector<PartPlan>& plans) {
    std::vector<Part> parts;
    parts.reserve(plans.size());
    for (const PartPlan& plan : plans)
        parts.push_back(Part{plan});
    return parts;
}

} // namespace

Motion::Motion(const Plan& plan, std::uint32_t seed)
    : plan_(plan), random_(seed), system_(plan.system), wired_(plan.wired), active_(plan.active),
      compressed_(plan.compressed), cached_(plan.cached), swapped_(plan.swapped), tasks_(plan.tasks),
      disks_(partsOf<Disk>(plan.disks)), interfaces_(partsOf<Interface>(plan.interfaces)),
      processes_(partsOf<Process>(plan.processes)), warmth_(plan.roomWarmth) {
    if (plan.battery)
        battery_ = Battery{*plan.battery};
    for (std::int64_t i = 0; i < warmUpSteps; ++i)
        step();
    // What the figures of the last two minutes would have come to since boot.
    const double seconds = static_cast<double>(warmUpSteps) * stepSeconds;
    awake_ = plan.days * (1 - plan.asleep) * secondsPerDay;
    const double before = awake_ / seconds;
    loadAverages_.fill((ticks_.user + ticks_.nice + ticks_.system) / ticksPerSecond / seconds);
    for (double* count : {&ticks_.user, &ticks_.system, &ticks_.idle, &ticks_.nice, &pagesIn_, &pagesOut_, &faults_})
        *count *= before;
    for (Disk& disk : disks_) {
        disk.bytesRead *= before;
        disk.bytesWritten *= before;
    }
    for (Interface& interface : interfaces_) {
        interface.bytesIn *= before;
        interface.bytesOut *= before;
    }
}

bool Motion::moveTo(std::int64_t nanoseconds) {
    const auto due = static_cast<std::int64_t>(static_cast<double>(nanoseconds) / (stepSeconds * 1e9));
    if (due <= steps_)
        return false;
    for (; steps_ < due; ++steps_)
        step();
    return true;
}

void Motion::step() {
    awake_ += stepSeconds;
    for (Figure* figure : {&wired_, &active_, &compressed_, &cached_, &swapped_, &tasks_})
        figure->step(random_);
    stepProcesses();
    stepDisks();
    for (Interface& interface : interfaces_) {
        interface.in.step(random_);
        interface.out.step(random_);
        interface.signal.step(random_);
        interface.bytesIn += interface.in.value() * stepSeconds;
        interface.bytesOut += interface.out.value() * stepSeconds;
    }
    warmth_ = followed(warmth_, plan_.roomWarmth + plan_.loadWarmth * load(), 20);
    for (std::size_t i = 0; i < loadAverages_.size(); ++i) {
        constexpr std::array<double, 3> periods = {60, 300, 900};
        loadAverages_[i] = followed(loadAverages_[i], busy_, periods[i]);
    }
    stepWaiting();
    joules_ += watts() * stepSeconds;
    if (battery_)
        stepBattery(*battery_);
}

// What the processes use is the load of the processor, together with what belongs to none of them.
void Motion::stepProcesses() {
    system_.step(random_);
    double wanted = 0;
    for (Process& process : processes_) {
        process.cores.step(random_);
        process.memory.step(random_);
        wanted += process.cores.value();
    }
    const double left = plan_.processors - system_.value();
    const double share = wanted > left ? left / wanted : 1;
    for (Process& process : processes_)
        process.seconds += process.cores.value() * share * stepSeconds;
    const double user = wanted * share;
    busy_ = system_.value() + user;
    ticks_.user += user * 0.82 * stepSeconds * ticksPerSecond;
    ticks_.nice += user * 0.03 * stepSeconds * ticksPerSecond;
    ticks_.system += (user * 0.15 + system_.value()) * stepSeconds * ticksPerSecond;
    ticks_.idle += (plan_.processors - busy_) * stepSeconds * ticksPerSecond;
    faults_ += 3000 * busy_ * stepSeconds;
}

void Motion::stepDisks() {
    for (Disk& disk : disks_) {
        disk.used.step(random_);
        disk.read.step(random_);
        disk.written.step(random_);
        disk.warmth.step(random_);
        disk.bytesRead += disk.read.value() * stepSeconds;
        disk.bytesWritten += disk.written.value() * stepSeconds;
        pagesIn_ += disk.read.value() * stepSeconds / pageSize;
        pagesOut_ += disk.written.value() * stepSeconds / pageSize;
    }
}

// A little while there is plenty, and ever more near the limit.
void Motion::stepWaiting() {
    const double memory = wired_.value() + active_.value() + compressed_.value();
    double bytes = 0; // per second
    for (const Disk& disk : disks_)
        bytes += disk.read.value() + disk.written.value();
    const std::array<double, 3> shares = {0.5 * std::pow(load(), 4), 0.5 * std::pow(memory, 12),
                                          0.5 * std::min(bytes / 1.5e9, 1.0)};
    for (std::size_t i = 0; i < waiting_.size(); ++i) {
        constexpr std::array<double, 3> periods = {10, 60, 300};
        for (std::size_t period = 0; period < periods.size(); ++period)
            waiting_[i].averages[period] = followed(waiting_[i].averages[period], 100 * shares[i], periods[period]);
        waiting_[i].seconds += shares[i] * stepSeconds;
    }
}

void Motion::stepBattery(Battery& battery) const {
    constexpr double volts = 11.4;
    const double share = battery.charge / battery.plan.maxCapacity;
    const double charging = (battery.plan.adapterWatts - watts()) * std::min(1.0, (1.02 - share) * 5);
    battery.current = followed(battery.current, (battery.isPlugged ? charging : -watts()) / volts * 1000, 45);
    battery.charge = std::clamp(battery.charge + battery.current * stepSeconds / 3600, 0.0, battery.plan.maxCapacity);
    if (share <= battery.plan.charges.low || share >= battery.plan.charges.high)
        battery.isPlugged = share <= battery.plan.charges.low;
}

void Motion::write(ScriptedPlatform& values) const {
    writeHost(values.host());
    writeMemory(values.host());
    writeWaiting(values.host());
    writeSensors(values.sensors());
    writeDisks(values.volumes());
    writeInterfaces(values.network());
    writeProcesses(values.processes());
    if (battery_)
        writeBattery(*battery_, values.power());
}

void Motion::writeHost(ScriptedHostService& host) const {
    host.loadTicksValue = {.user = wrapped(ticks_.user),
                           .system = wrapped(ticks_.system),
                           .idle = wrapped(ticks_.idle),
                           .nice = wrapped(ticks_.nice)};
    const auto tasks = static_cast<std::uint32_t>(tasks_.value());
    host.processorSetLoadValue = {.tasks = tasks, .threads = tasks * 4};
    host.loadAveragesValue = loadAverages_;
    host.awakeUptimeValue = awake_;
    host.thermalStateValue = stateAt(warmth_);
    writeProcessors(host);
}

// All processors do the same.
void Motion::writeProcessors(ScriptedHostService& host) const {
    const auto ticks = [this](double share) {
        const auto count = [share](double all) { return static_cast<std::uint64_t>(all * share); };
        return ProcessorTicks{count(ticks_.user), count(ticks_.nice), count(ticks_.system), count(ticks_.idle), {}, {}};
    };
    if (!host.processorLoadValue) {
        host.processorLoadValue.emplace();
        for (std::int32_t number = 0; number < plan_.processors; ++number)
            host.processorLoadValue->each.push_back({static_cast<std::uint32_t>(number), {}});
    }
    ProcessorLoad& load = *host.processorLoadValue;
    load.all = ticks(1);
    const ProcessorTicks one = ticks(1.0 / plan_.processors);
    for (NumberedTicks& processor : load.each)
        processor.ticks = one;
    constexpr double switchesPerSecond = 900; // of each busy processor, and the next two as well
    constexpr double interruptsPerSecond = 700;
    constexpr double forksPerSecond = 3;
    const double busy = (ticks_.user + ticks_.nice + ticks_.system) / ticksPerSecond; // seconds
    load.contextSwitches = static_cast<std::uint64_t>(busy * switchesPerSecond);
    load.interrupts = static_cast<std::uint64_t>(busy * interruptsPerSecond);
    load.forks = static_cast<std::uint64_t>(busy * forksPerSecond);
}

void Motion::writeMemory(ScriptedHostService& host) const {
    VirtualMemoryCounters& memory = host.virtualMemoryValue;
    memory.wire_count = pagesOf(wired_.value() * plan_.memory);
    memory.active_count = pagesOf(active_.value() * plan_.memory);
    memory.compressor_page_count = pagesOf(compressed_.value() * plan_.memory);
    const std::uint32_t cached = pagesOf(cached_.value() * plan_.memory);
    memory.inactive_count = cached;
    memory.purgeable_count = cached / 8;
    memory.external_page_count = cached - memory.purgeable_count;
    memory.internal_page_count = memory.active_count + memory.purgeable_count;
    memory.free_count =
        pagesOf(plan_.memory) - memory.wire_count - memory.active_count - memory.compressor_page_count - cached;
    memory.pageins = static_cast<std::uint64_t>(pagesIn_);
    memory.pageouts = static_cast<std::uint64_t>(pagesOut_);
    memory.faults = static_cast<std::uint64_t>(faults_);
    const auto total = static_cast<std::uint64_t>(plan_.swap);
    const auto used = static_cast<std::uint64_t>(plan_.swap * swapped_.value());
    host.swapUsageValue = {.total = total, .available = total - used, .used = used};
    // A thousandth of what is read and written has been in the swap space.
    constexpr double swapped = pageSize / 1000.0;
    host.swapCountersValue = SwapCounters{.in = static_cast<std::uint64_t>(pagesIn_ * swapped),
                                          .out = static_cast<std::uint64_t>(pagesOut_ * swapped)};
}

void Motion::writeWaiting(ScriptedHostService& host) const {
    constexpr std::array<double, 3> allWait = {0, 0.4, 0.6}; // of the time that at least one thread waits
    for (std::size_t i = 0; i < waiting_.size(); ++i) {
        const auto shareOf = [&](double part) {
            const auto& [averages, seconds] = waiting_[i];
            return PressureShare{averages[0] * part, averages[1] * part, averages[2] * part,
                                 static_cast<std::uint64_t>(seconds * part * 1e6)};
        };
        host.pressureValues[i] = Pressure{shareOf(1), shareOf(allWait[i])};
    }
}

void Motion::writeSensors(ScriptedSensorService& sensors) const {
    constexpr double range = 262'144; // joules
    sensors.sensorsValue = {{.kind = SensorKind::temperature,
                             .identifier = "processor/package",
                             .chip = "processor",
                             .label = "Package",
                             .value = warmth_,
                             .maximum = 90,
                             .critical = 100,
                             .alarm = warmth_ > 100},
                            {.kind = SensorKind::fan,
                             .identifier = "board/fan",
                             .chip = "board",
                             .label = "Fan",
                             .value = std::round(900 + 45 * (warmth_ - 30)),
                             .minimum = 600},
                            {.kind = SensorKind::voltage,
                             .identifier = "board/core",
                             .chip = "board",
                             .label = "Core",
                             .value = 0.75 + 0.4 * load(),
                             .minimum = 0.6,
                             .maximum = 1.3},
                            {.kind = SensorKind::power,
                             .identifier = "board/power",
                             .chip = "board",
                             .label = "Machine",
                             .value = watts()}};
    for (const Disk& disk : disks_) {
        if (disk.plan.warmth)
            sensors.sensorsValue->push_back({.kind = SensorKind::temperature,
                                             .identifier = disk.plan.whole + "/drive",
                                             .chip = disk.plan.whole,
                                             .label = disk.plan.model,
                                             .value = disk.warmth.value(),
                                             .maximum = 65,
                                             .critical = 75});
    }
    sensors.energyCountersValue = {{.kind = SensorKind::energy,
                                    .identifier = "processor/energy",
                                    .chip = "processor",
                                    .label = "Package",
                                    .value = std::fmod(joules_ * 0.6, range),
                                    .range = range}};
}

void Motion::writeDisks(ScriptedVolumeService& volumes) const {
    for (const Disk& disk : disks_) {
        for (MountedFileSystem& mount : volumes.mounts) {
            if (mount.on == disk.plan.path)
                mount.space.freeBlocks = pagesOf(disk.plan.bytes * (1 - usedShare(disk)));
        }
        ScriptedDisk& whole = volumes.disks[disk.plan.whole];
        whole.statistics =
            DiskStatistics{static_cast<std::int64_t>(disk.bytesRead), static_cast<std::int64_t>(disk.bytesWritten)};
        // One attribute of the drive, its temperature.
        whole.drive.data[2] = 194;
        whole.drive.data[7] = static_cast<std::uint8_t>(disk.warmth.value());
    }
    writeDiskOperations(volumes);
}

double Motion::usedShare(const Disk& disk) const {
    const double seconds = static_cast<double>(steps_) * stepSeconds;
    return std::min(disk.used.value() + disk.plan.filled * seconds, 1.0);
}

// Each operation moves as many bytes, and a disk is busy all the time when it moves as many as it ever does.
void Motion::writeDiskOperations(ScriptedVolumeService& volumes) const {
    constexpr double bytesPerOperation = 96'000;
    const auto milliseconds = [](double bytes, double most) { return wrapped(most > 0 ? bytes / most * 1000 : 0); };
    if (!volumes.diskOperationsValue)
        volumes.diskOperationsValue.emplace(disks_.size());
    for (std::size_t place = 0; place < disks_.size(); ++place) {
        const Disk& disk = disks_[place];
        DiskOperations& operations = (*volumes.diskOperationsValue)[place];
        operations.name = disk.plan.whole;
        operations.reads = static_cast<std::int64_t>(disk.bytesRead / bytesPerOperation);
        operations.writes = static_cast<std::int64_t>(disk.bytesWritten / bytesPerOperation);
        operations.readTime = milliseconds(disk.bytesRead, disk.plan.read.burst.high);
        operations.writeTime = milliseconds(disk.bytesWritten, disk.plan.written.burst.high);
        operations.busyTime =
            milliseconds(disk.bytesRead + disk.bytesWritten, disk.plan.read.burst.high + disk.plan.written.burst.high);
        operations.queueTime = operations.readTime + operations.writeTime;
        operations.operationsNow = 0;
    }
}

void Motion::writeInterfaces(ScriptedNetworkService& network) const {
    constexpr std::int64_t packetSize = 900;
    network.packetCountersValue.emplace();
    for (const Interface& interface : interfaces_) {
        ScriptedInterface& value = network.interface(interface.plan.name);
        value.bytesIn = static_cast<std::int64_t>(interface.bytesIn);
        value.bytesOut = static_cast<std::int64_t>(interface.bytesOut);
        const std::int64_t packetsIn = value.bytesIn / packetSize;
        network.packetCountersValue->push_back({.name = value.name,
                                                .index = value.index,
                                                .packetsIn = packetsIn,
                                                .packetsOut = value.bytesOut / packetSize,
                                                .dropsIn = packetsIn / 50'000,
                                                .dropsOut = 0});
        if (!interface.plan.ssid)
            continue;
        const auto rate = static_cast<std::int64_t>(static_cast<double>(interface.plan.speed) *
                                                    (1 + (interface.signal.value() + 46) / 60));
        network.wirelessLinksValue = {{.name = value.name,
                                       .index = value.index,
                                       .signal = static_cast<std::int32_t>(interface.signal.value()),
                                       .bitRateIn = rate,
                                       .bitRateOut = rate / 2,
                                       .frequency = 5'180'000'000,
                                       .channelWidth = 80'000'000}};
    }
}

void Motion::writeProcesses(ScriptedProcessService& processes) const {
    for (const Process& process : processes_) {
        const auto nanoseconds = static_cast<std::uint64_t>(process.seconds * 1e9);
        processes.setTaskInfo(process.plan.id,
                              TaskInfo{.userNanoseconds = nanoseconds - nanoseconds / 5,
                                       .systemNanoseconds = nanoseconds / 5,
                                       .residentBytes = static_cast<std::uint64_t>(process.memory.value()),
                                       .threads = process.plan.threads,
                                       .startTime = 1});
    }
}

void Motion::writeBattery(const Battery& battery, ScriptedPowerService& power) const {
    const auto charge = static_cast<std::int64_t>(battery.charge);
    const auto capacity = static_cast<std::int64_t>(battery.plan.maxCapacity);
    const auto current = static_cast<std::int64_t>(battery.current);
    const double share = battery.charge / battery.plan.maxCapacity;
    // Minutes until the charge has gone, or is complete; -1 while the current still turns.
    const auto minutes = [&](bool wanted, double amount) -> std::int64_t {
        if (!wanted)
            return 0;
        return battery.current * amount > 0 ? static_cast<std::int64_t>(amount / battery.current * 60) : -1;
    };
    power.sources = {PropertyList::Dictionary{
        {"BatteryHealthCondition", battery.plan.condition},
        {"Time to Empty", minutes(!battery.isPlugged, -battery.charge)},
        {"Time to Full Charge", minutes(battery.isPlugged, battery.plan.maxCapacity - battery.charge)},
        {"Is Charged", false},
        {"Is Charging", battery.isPlugged},
        {"Current", current},
        {"Current Capacity", charge},
        {"Max Capacity", capacity}}};
    power.battery = PropertyList::Dictionary{
        {"BatteryInstalled", true},
        {"ExternalConnected", battery.isPlugged},
        {"IsCharging", battery.isPlugged},
        {"CurrentCapacity", charge},
        {"MaxCapacity", capacity},
        {"DesignCapacity", static_cast<std::int64_t>(battery.plan.designCapacity)},
        {"CycleCount", battery.plan.cycles},
        {"DesignCycleCount9C", 1000},
        {"Voltage", static_cast<std::int64_t>(10800 + 1500 * share + battery.current / 20)},
        {"Temperature", static_cast<std::int64_t>(100 * (26 + (warmth_ - plan_.roomWarmth) / 4))},
        {"ManufactureDate", (43 << 9) | (5 << 5) | 17}}; // 17 May 2023
    power.adapter.reset();
    if (battery.isPlugged)
        power.adapter = PropertyList::Dictionary{{"Watts", static_cast<std::int64_t>(battery.plan.adapterWatts)}};
}

namespace {

void writeDisk(const DiskPlan& plan, ScriptedVolumeService& volumes) {
    volumes.mount(plan.device, plan.path, static_cast<std::uint64_t>(plan.bytes / pageSize), 0, plan.type);
    ScriptedDisk& volume = volumes.disks[plan.device];
    volume.description = DiskDescription{plan.label, plan.model};
    volume.whole = plan.whole;
    ScriptedDisk& whole = volumes.disks[plan.whole];
    if (plan.warmth)
        whole.smartAncestor = 0;
    whole.drive.exceeded = plan.isFailing;
    volumes.icons.emplace(plan.path, Icon::named(plan.icon));
}

void writeInterface(const InterfacePlan& plan, ScriptedNetworkService& network) {
    const auto index = static_cast<std::uint8_t>(network.interfaces.size() + 2);
    ScriptedInterface interface(plan.name, index);
    interface.addAddress(plan.address);
    interface.hardwareAddress = {0x02, 0x00, 0x5e, 0x00, 0x53, index}; // of a range for documents
    interface.properties["IOPrimaryInterface"] = plan.isPrimary;
    if (plan.ssid)
        interface.properties["IO80211SSID"] = *plan.ssid;
    interface.related["IOLinkSpeed"] = plan.speed;
    InterfaceLink link{.name = plan.name,
                       .index = index,
                       .kind = plan.ssid ? InterfaceKind::wifi : InterfaceKind::physical,
                       .state = OperationalState::up,
                       .mtu = 1500};
    if (!plan.ssid) {
        link.duplex = Duplex::full;
        link.speed = plan.speed;
    }
    std::copy_n(interface.hardwareAddress.begin(), 6, link.hardware.emplace().begin());
    InterfaceAddress& address = link.addresses.emplace_back();
    inet_pton(AF_INET, plan.address.c_str(), address.bytes.data());
    address.prefixLength = 24;
    if (!network.linksValue)
        network.linksValue.emplace();
    network.linksValue->push_back(std::move(link));
    network.interfaces.push_back(std::move(interface));
}

} // namespace

void writeFixed(const Plan& plan, std::int64_t bootTime, ScriptedPlatform& values) {
    ScriptedHostService& host = values.host();
    const auto memory = static_cast<std::uint64_t>(plan.memory);
    host.bootTimeValue = bootTime;
    host.hostInfoValue = {.max_cpus = plan.processors,
                          .avail_cpus = plan.processors,
                          .memory_size = static_cast<std::uint32_t>(std::min<std::uint64_t>(memory, UINT32_MAX)),
                          .physical_cpu = plan.cores,
                          .physical_cpu_max = plan.cores,
                          .logical_cpu = plan.processors,
                          .logical_cpu_max = plan.processors,
                          .max_mem = memory};
    host.brandValue = plan.brand;
    host.physicalMemoryValue = memory;
    for (const GraphicsPlan& each : plan.graphics) {
        const PropertyList::Bytes id{each.id, 0, 0, 0};
        values.graphics().pciDevicesValue.push_back(
            {{"IOName", "display"},
             {"device-id", id},
             {"model", PropertyList::Bytes(each.name.begin(), each.name.end())}});
        values.graphics().activeDeviceIDValue = id;
    }
    values.volumes().acceptedTypeNames = {"ext4", "xfs", "vfat", "exfat"};
    for (const DiskPlan& disk : plan.disks)
        writeDisk(disk, values.volumes());
    ScriptedNetworkService& network = values.network();
    for (const InterfacePlan& interface : plan.interfaces)
        writeInterface(interface, network);
    network.localHostName = plan.hostName;
    network.ipv4 = PropertyList::Dictionary{{"Router", "192.0.2.1"}};
    network.dns = PropertyList::Dictionary{{"ServerAddresses", PropertyList::List{"192.0.2.1", "2001:db8::1"}}};
    for (const ProcessPlan& process : plan.processes) {
        RunningApplication application{.processIdentifier = process.id, .startTime = 1, .localizedName = process.name};
        if (!process.icon.empty())
            application.icon = Icon::named(process.icon);
        application.owner = process.owner.value_or(process.id);
        values.processes().setStartTime(process.id, 1);
        values.processes().setParent(process.id, process.owner.value_or(1));
        values.processes().launch(std::move(application));
    }
}

} // namespace simulation
