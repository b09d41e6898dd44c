// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/LinuxHostService.h>

#include <SentrelKit/platform/linux/common/BootTime.h>
#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/common/MonotonicTime.h>
#include <SentrelKit/platform/linux/host/ControlGroups.h>
#include <SentrelKit/platform/linux/host/CpuInfo.h>
#include <SentrelKit/platform/linux/host/CpuTopology.h>
#include <SentrelKit/platform/linux/host/LoadAverage.h>
#include <SentrelKit/platform/linux/host/LoginRecords.h>
#include <SentrelKit/platform/linux/host/OsRelease.h>
#include <SentrelKit/platform/linux/host/PressureStall.h>
#include <SentrelKit/platform/linux/host/VirtualMachine.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <string>
#include <unistd.h>
#include <utility>

namespace sentrel::platform {

namespace {

// Both with room for twice what today's kernels write.
constexpr std::size_t memInfoSize = 8192;
constexpr std::size_t vmStatSize = 16384;

constexpr std::size_t loginRecordsLimit = std::size_t{4} << 20; // ten thousand sessions

constexpr std::int64_t searchInterval = 60'000'000'000; // nanoseconds

constexpr std::uintptr_t machineSet = 1;

constexpr std::size_t firstStatSize = 32768; // of a machine with a hundred processors

// Gives what was read, or says why there is none.
template <class Record>
Availability assigned(Record& record, const std::optional<Record>& read, Availability otherwise) {
    if (!read)
        return otherwise;
    record = *read;
    return Availability::available;
}

// A file that is there but makes no sense.
std::nullopt_t malformed() noexcept {
    errno = EBADMSG;
    return std::nullopt;
}

} // namespace

LinuxHostService::LinuxHostService(const SystemRoot& root, EventSource* events)
    : root_(root), events_(events), stat_(root, "/proc/stat"), loadAverage_(root, "/proc/loadavg"), processes_(root),
      wholeStat_(firstStatSize, statLimit), frequencies_(root), memInfo_(root, "/proc/meminfo"),
      memInfoTable_(memInfoSize), vmStat_(root, "/proc/vmstat"), vmStatTable_(vmStatSize),
      zswapPool_(root, "/sys/module/zswap/parameters/zpool"),
      zswapSwitch_(root, "/sys/module/zswap/parameters/enabled"), zram_(root),
      nodes_(root), pressure_{KeptFile(root, pressurePath(PressureResource::cpu)),
                              KeptFile(root, pressurePath(PressureResource::memory)),
                              KeptFile(root, pressurePath(PressureResource::io))},
      zones_(root) {}

std::optional<std::int64_t> LinuxHostService::bootTime() {
    const std::optional<std::string> content = root_.read("/proc/stat", statLimit);
    if (!content)
        return std::nullopt;
    const std::optional<std::int64_t> time = parseBootTime(*content);
    return time ? time : malformed();
}

std::optional<host_basic_info> LinuxHostService::hostInfo() {
    const std::optional<CpuTopology> topology = readCpuTopology(root_);
    if (!topology)
        return std::nullopt;
    host_basic_info info;
    info.max_cpus = static_cast<std::int32_t>(topology->possible);
    info.avail_cpus = static_cast<std::int32_t>(topology->logicalOnline);
    info.physical_cpu = static_cast<std::int32_t>(topology->physicalOnline);
    info.physical_cpu_max = static_cast<std::int32_t>(topology->physical);
    info.logical_cpu = static_cast<std::int32_t>(topology->logicalOnline);
    info.logical_cpu_max = static_cast<std::int32_t>(topology->logical);
    info.max_mem = physicalMemory().value_or(0);
    info.memory_size =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(info.max_mem, std::numeric_limits<std::uint32_t>::max()));
    return info;
}

std::optional<std::string_view> LinuxHostService::wholeStatText() noexcept {
    return wholeStat_.text([this](std::span<char> room)
                               SENTREL_NO_THREAD_SAFETY_ANALYSIS { return stat_.readTable(room); });
}

std::optional<HostLoadTicks> LinuxHostService::loadTicks() noexcept {
    const LockScope scope(loadLock_);
    std::array<char, 512> buffer; // the first line at its longest: ten numbers of twenty digits
    // Of a sample that goes on to every processor it is the table's first line.
    const std::optional<std::string_view> content = SampleScope::current() != 0 ? wholeStatText() : stat_.read(buffer);
    if (!content)
        return std::nullopt;
    const std::optional<ProcessorTimes> times = parseProcessorTimes(wholeLines(*content, buffer.size()));
    if (!times)
        return malformed();
    return ticks_.add(*times);
}

std::optional<ProcessorSet> LinuxHostService::defaultProcessorSet() noexcept {
    const LockScope scope(loadLock_);
    if (!processes_.open())
        return std::nullopt;
    return ProcessorSet{machineSet};
}

std::optional<ProcessorSetLoad> LinuxHostService::processorSetLoad(ProcessorSet set) noexcept {
    if (set.handle != machineSet) {
        errno = EINVAL;
        return std::nullopt;
    }
    const LockScope scope(loadLock_);
    const std::optional<std::uint32_t> tasks = processes_.read();
    std::array<char, 128> buffer;
    const std::optional<std::string_view> content = loadAverage_.read(buffer);
    const std::optional<LoadAverageLine> line = content ? parseLoadAverage(*content) : std::nullopt;
    // Either figure is worth having alone.
    if (!tasks && !line)
        return std::nullopt;
    return ProcessorSetLoad{tasks.value_or(0), line ? line->threads : 0};
}

std::optional<std::size_t> LinuxHostService::brand(std::span<char> buffer) {
    const std::optional<std::string> cpuInfo = root_.read("/proc/cpuinfo");
    if (cpuInfo) {
        if (const std::optional<std::string_view> text = findBrand(*cpuInfo))
            return text->copy(buffer.data(), buffer.size());
    }
    // Boards whose processor has no name are known by their own.
    const std::optional<std::string> model = root_.read("/proc/device-tree/model");
    if (!model)
        return std::nullopt;
    const std::string_view text = std::string_view(*model).substr(0, model->find('\0')); // ends in a zero byte
    return text.copy(buffer.data(), buffer.size());
}

std::optional<std::string_view> LinuxHostService::memInfoText() noexcept {
    return memInfoTable_.text([this](std::span<char> room)
                                  SENTREL_NO_THREAD_SAFETY_ANALYSIS { return memInfo_.read(room); });
}

std::optional<std::string_view> LinuxHostService::vmStatText() noexcept {
    return vmStatTable_.text([this](std::span<char> room)
                                 SENTREL_NO_THREAD_SAFETY_ANALYSIS { return vmStat_.readTable(room); });
}

std::optional<MemInfo> LinuxHostService::readMemInfo() noexcept {
    const std::optional<std::string_view> content = memInfoText();
    if (!content)
        return std::nullopt;
    const std::optional<MemInfo> info = parseMemInfo(*content);
    return info ? info : malformed();
}

std::uint64_t LinuxHostService::compressedBytes(const MemInfo& info, const VmStat& stat) noexcept {
    std::uint64_t bytes = stat.zsmallocPages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    if (info.zswap > 0) {
        // The pool of zswap is among the zsmalloc pages unless another allocator was chosen, which newer kernels do not
        // offer.
        std::array<char, 64> buffer;
        const std::optional<std::string_view> pool = zswapPool_.read(buffer);
        if (pool && !pool->starts_with("zsmalloc"))
            bytes += info.zswap * 1024;
    }
    return bytes;
}

std::optional<VirtualMemoryCounters> LinuxHostService::virtualMemory() noexcept {
    const LockScope scope(memoryLock_);
    const std::optional<MemInfo> info = readMemInfo();
    if (!info)
        return std::nullopt;
    const std::optional<std::string_view> content = vmStatText();
    const VmStat stat = content ? parseVmStat(*content) : VmStat();
    return memoryCounters(*info, stat, compressedBytes(*info, stat));
}

std::optional<SwapUsage> LinuxHostService::swapUsage() noexcept {
    const LockScope scope(memoryLock_);
    const std::optional<MemInfo> info = readMemInfo();
    if (!info)
        return std::nullopt;
    return swapUsageOf(*info);
}

std::optional<LoadAverages> LinuxHostService::loadAverages() noexcept {
    const LockScope scope(loadLock_);
    std::array<char, 128> buffer;
    const std::optional<std::string_view> content = loadAverage_.read(buffer);
    if (!content)
        return std::nullopt;
    const std::optional<LoadAverageLine> line = parseLoadAverage(*content);
    if (!line)
        return malformed();
    return line->averages;
}

std::optional<std::uint64_t> LinuxHostService::physicalMemory() {
    const LockScope scope(memoryLock_);
    const std::optional<MemInfo> info = readMemInfo();
    if (!info)
        return std::nullopt;
    return info->memTotal * 1024;
}

std::optional<double> LinuxHostService::awakeUptime() noexcept {
    const std::optional<std::int64_t> now = clockNanoseconds(CLOCK_MONOTONIC);
    return now ? std::optional(static_cast<double>(*now) / 1e9) : std::nullopt;
}

std::optional<ThermalState> LinuxHostService::thermalState() {
    const std::int64_t now = monotonicNow();
    const LockScope scope(thermalLock_);
    // Zones come with drivers and their trip points can be set: both are looked up once a minute, not at every reading.
    if (!zonesFound_ || now - *zonesFound_ >= searchInterval) {
        zones_.find();
        zonesFound_ = now;
    }
    return zones_.state();
}

Availability LinuxHostService::pressure(PressureResource resource, Pressure& pressure) noexcept {
    const LockScope scope(pressureLock_);
    std::array<char, 256> buffer; // two lines of at most 90 bytes
    const std::optional<std::string_view> content = pressure_.at(static_cast<std::size_t>(resource)).read(buffer);
    if (!content)
        return availabilityOf(errno);
    const std::optional<Pressure> read = parsePressure(*content);
    if (!read)
        return Availability::failed;
    pressure = *read;
    return Availability::available;
}

Observation LinuxHostService::observePressure(PressureResource resource, const PressureThreshold& threshold,
                                              std::function<void()> crossed) {
    if (!events_) {
        errno = ENOTSUP;
        return {};
    }
    return observePressureStall(root_, *events_, resource, threshold, std::move(crossed));
}

Availability LinuxHostService::processorLoad(ProcessorLoad& load) noexcept {
    const LockScope scope(loadLock_);
    const std::optional<std::string_view> content = wholeStatText();
    if (!content)
        return availabilityOf(errno);
    return parseProcessorLoad(*content, load) ? Availability::available : Availability::failed;
}

Availability LinuxHostService::processorFrequencies(ProcessorFrequencies& frequencies) {
    const LockScope scope(frequencyLock_);
    return frequencies_.read(frequencies);
}

Availability LinuxHostService::memoryDetails(MemoryDetails& details) noexcept {
    const LockScope scope(memoryLock_);
    const std::optional<std::string_view> content = memInfoText();
    if (!content)
        return availabilityOf(errno);
    return assigned(details, parseMemoryDetails(*content), Availability::failed);
}

Availability LinuxHostService::swapCounters(SwapCounters& counters) noexcept {
    const LockScope scope(memoryLock_);
    const std::optional<std::string_view> content = vmStatText();
    if (!content)
        return availabilityOf(errno);
    const auto pageSize = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    // A kernel without swap does not count it.
    return assigned(counters, parseSwapCounters(*content, pageSize), Availability::unsupported);
}

Availability LinuxHostService::memoryCompression(MemoryCompression& compression) {
    const LockScope scope(memoryLock_);
    const std::optional<std::string_view> content = memInfoText();
    const std::optional<MemoryCompression> zswap = content ? parseZswap(*content) : std::nullopt;
    // Switched off it may still hold what came before.
    std::array<char, 64> buffer;
    const std::optional<std::string_view> isOn = zswapSwitch_.read(buffer);
    const bool countsZswap = zswap && ((isOn && isOn->starts_with('Y')) || zswap->stored > 0);
    std::optional<MemoryCompression> all = zram_.read();
    if (countsZswap)
        all = {all.value_or(MemoryCompression()).stored + zswap->stored,
               all.value_or(MemoryCompression()).occupied + zswap->occupied};
    return assigned(compression, all, Availability::unsupported);
}

Availability LinuxHostService::memoryNodes(std::vector<MemoryNode>& nodes) {
    const LockScope scope(memoryLock_);
    return nodes_.read(nodes);
}

Availability LinuxHostService::operatingSystem(OperatingSystem& system) {
    const std::optional<OperatingSystem> read = readOperatingSystem(root_);
    return assigned(system, read, read ? Availability::available : availabilityOf(errno));
}

Availability LinuxHostService::virtualization(Virtualization& virtualization) {
    virtualization = detectVirtualization(root_);
    return Availability::available;
}

Availability LinuxHostService::controlGroup(ControlGroup& group) {
    const std::optional<ControlGroup> read = readControlGroup(root_);
    return assigned(group, read, read ? Availability::available : availabilityOf(errno));
}

Availability LinuxHostService::users(std::vector<LoggedInUser>& users) {
    const std::optional<std::string> records = root_.read("/run/utmp", loginRecordsLimit);
    if (!records)
        return availabilityOf(errno);
    users = parseLoginRecords(*records);
    return Availability::available;
}

} // namespace sentrel::platform
