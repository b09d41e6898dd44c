// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/host/MacHostService.h>

#include <SentrelKit/platform/macos/host/MemoryPressure.h>
#include <SentrelKit/platform/macos/host/ProcessInformation.h>
#include <SentrelKit/platform/support/LoginRecord.h>

#include <mach/mach.h>
#include <sys/sysctl.h>
#include <sys/time.h>
#include <utmpx.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <utility>

namespace sentrel::platform {

namespace {

// One statistic of the host, or of something else that is named by a port; false if it was not given whole.
template <class Record, class Ask>
bool read(Record& record, mach_msg_type_number_t count, Ask ask) noexcept {
    mach_msg_type_number_t given = count;
    return ask(reinterpret_cast<integer_t*>(&record), &given) == KERN_SUCCESS && given == count;
}

// A number of the control interface, of 4 or 8 bytes; absent, with errno set, if it has none of the name.
std::optional<std::uint64_t> number(const char* name) noexcept {
    std::array<std::uint32_t, 2> words{};
    std::size_t size = sizeof(words);
    if (::sysctlbyname(name, words.data(), &size, nullptr, 0) != 0)
        return std::nullopt;
    return size == sizeof(words) ? words[0] | std::uint64_t{words[1]} << 32U : words[0];
}

// A text of the control interface; absent, with errno set, if it has none of the name.
std::optional<std::string> text(const char* name) {
    std::array<char, 256> buffer{};
    std::size_t size = buffer.size() - 1;
    if (::sysctlbyname(name, buffer.data(), &size, nullptr, 0) != 0)
        return std::nullopt;
    return buffer.data();
}

} // namespace

MacHostService::MacHostService() : host_(mach_host_self()) {}

std::optional<std::int64_t> MacHostService::bootTime() {
    std::array<int, 2> name{CTL_KERN, KERN_BOOTTIME};
    timeval boot{};
    std::size_t size = sizeof(boot);
    if (::sysctl(name.data(), static_cast<u_int>(name.size()), &boot, &size, nullptr, 0) != 0)
        return std::nullopt;
    return boot.tv_sec;
}

std::optional<host_basic_info> MacHostService::hostInfo() {
    ::host_basic_info info{};
    if (!read(info, HOST_BASIC_INFO_COUNT,
              [this](host_info_t to, auto* count) { return ::host_info(host_.get(), HOST_BASIC_INFO, to, count); }))
        return std::nullopt;
    return host_basic_info{.max_cpus = info.max_cpus,
                           .avail_cpus = info.avail_cpus,
                           .memory_size = info.memory_size,
                           .cpu_type = info.cpu_type,
                           .cpu_subtype = info.cpu_subtype,
                           .cpu_threadtype = info.cpu_threadtype,
                           .physical_cpu = info.physical_cpu,
                           .physical_cpu_max = info.physical_cpu_max,
                           .logical_cpu = info.logical_cpu,
                           .logical_cpu_max = info.logical_cpu_max,
                           .max_mem = info.max_mem};
}

std::optional<HostLoadTicks> MacHostService::loadTicks() noexcept {
    host_cpu_load_info load{};
    if (!read(load, HOST_CPU_LOAD_INFO_COUNT, [this](host_info_t to, auto* count) {
            return ::host_statistics(host_.get(), HOST_CPU_LOAD_INFO, to, count);
        }))
        return std::nullopt;
    return HostLoadTicks{.user = load.cpu_ticks[CPU_STATE_USER],
                         .system = load.cpu_ticks[CPU_STATE_SYSTEM],
                         .idle = load.cpu_ticks[CPU_STATE_IDLE],
                         .nice = load.cpu_ticks[CPU_STATE_NICE]};
}

std::optional<ProcessorSet> MacHostService::defaultProcessorSet() noexcept {
    processor_set_name_t set = MACH_PORT_NULL;
    if (::processor_set_default(host_.get(), &set) != KERN_SUCCESS)
        return std::nullopt;
    const LockScope scope(setLock_);
    defaultSet_ = MachPort(set);
    return ProcessorSet{set};
}

std::optional<ProcessorSetLoad> MacHostService::processorSetLoad(ProcessorSet set) noexcept {
    processor_set_load_info load{};
    if (!read(load, PROCESSOR_SET_LOAD_INFO_COUNT, [set](processor_set_info_t to, auto* count) {
            return ::processor_set_statistics(static_cast<processor_set_name_t>(set.handle), PROCESSOR_SET_LOAD_INFO,
                                              to, count);
        }))
        return std::nullopt;
    return ProcessorSetLoad{.tasks = static_cast<std::uint32_t>(load.task_count),
                            .threads = static_cast<std::uint32_t>(load.thread_count)};
}

std::optional<std::size_t> MacHostService::brand(std::span<char> buffer) {
    std::size_t size = buffer.size();
    if (size == 0) // without a buffer the control interface tells the length
        return std::nullopt;
    if (::sysctlbyname("machdep.cpu.brand_string", buffer.data(), &size, nullptr, 0) != 0)
        return std::nullopt;
    return size;
}

std::optional<VirtualMemoryCounters> MacHostService::virtualMemory() noexcept {
    const std::optional<vm_statistics64> statistics = memoryStatistics();
    if (!statistics)
        return std::nullopt;
    const vm_statistics64& memory = *statistics;
    return VirtualMemoryCounters{.free_count = memory.free_count,
                                 .active_count = memory.active_count,
                                 .inactive_count = memory.inactive_count,
                                 .wire_count = memory.wire_count,
                                 .compressor_page_count = memory.compressor_page_count,
                                 .pageins = memory.pageins,
                                 .pageouts = memory.pageouts,
                                 .faults = memory.faults,
                                 .internal_page_count = memory.internal_page_count,
                                 .purgeable_count = memory.purgeable_count,
                                 .external_page_count = memory.external_page_count};
}

std::optional<SwapUsage> MacHostService::swapUsage() noexcept {
    std::array<int, 2> name{CTL_VM, VM_SWAPUSAGE};
    xsw_usage usage{};
    std::size_t size = sizeof(usage);
    if (::sysctl(name.data(), static_cast<u_int>(name.size()), &usage, &size, nullptr, 0) != 0)
        return std::nullopt;
    return SwapUsage{.total = usage.xsu_total, .available = usage.xsu_avail, .used = usage.xsu_used};
}

std::optional<LoadAverages> MacHostService::loadAverages() noexcept {
    LoadAverages averages{};
    if (::getloadavg(averages.data(), static_cast<int>(averages.size())) != static_cast<int>(averages.size()))
        return std::nullopt;
    return averages;
}

std::optional<std::uint64_t> MacHostService::physicalMemory() {
    return ProcessInformation::physicalMemory();
}

std::optional<double> MacHostService::awakeUptime() noexcept {
    return ProcessInformation::systemUptime();
}

std::optional<ThermalState> MacHostService::thermalState() {
    // The four levels have the platform's order.
    const long state = ProcessInformation::thermalState();
    if (state < 0 || state > static_cast<long>(ThermalState::critical))
        return std::nullopt;
    return static_cast<ThermalState>(state);
}

// The system averages no waiting.
Availability MacHostService::pressure(PressureResource /*resource*/, Pressure& /*pressure*/) noexcept {
    return Availability::unsupported;
}

Observation MacHostService::observePressure(PressureResource resource, const PressureThreshold& threshold,
                                            std::function<void()> crossed) {
    if (resource != PressureResource::memory) {
        errno = ENOTSUP;
        return {};
    }
    return observeMemoryPressure(threshold.kind, std::move(crossed));
}

Availability MacHostService::processorLoad(ProcessorLoad& load) noexcept {
    natural_t count = 0;
    processor_info_array_t words = nullptr;
    mach_msg_type_number_t length = 0;
    if (::host_processor_info(host_.get(), PROCESSOR_CPU_LOAD_INFO, &count, &words, &length) != KERN_SUCCESS)
        return Availability::failed;
    // The array is the caller's, in pages of its own.
    const auto* const loads = reinterpret_cast<const processor_cpu_load_info*>(words);
    load = {.all = {}, .each = std::move(load.each), .contextSwitches = {}, .interrupts = {}, .forks = {}};
    load.each.clear();
    for (natural_t number = 0; number < count && (number + 1) * PROCESSOR_CPU_LOAD_INFO_COUNT <= length; ++number) {
        const auto& ticks = loads[number].cpu_ticks;
        const ProcessorTicks each = {.user = ticks[CPU_STATE_USER],
                                     .nice = ticks[CPU_STATE_NICE],
                                     .system = ticks[CPU_STATE_SYSTEM],
                                     .idle = ticks[CPU_STATE_IDLE],
                                     .iowait = {},
                                     .steal = {}};
        load.each.push_back({number, each});
        load.all.user += each.user;
        load.all.nice += each.nice;
        load.all.system += each.system;
        load.all.idle += each.idle;
    }
    ::vm_deallocate(mach_task_self(), reinterpret_cast<vm_address_t>(words), length * sizeof(integer_t));
    return Availability::available;
}

Availability MacHostService::processorFrequencies(ProcessorFrequencies& frequencies) {
    // The levels are numbered from the fast to the thrifty; which processor is of which is not told.
    const std::optional<std::uint64_t> fast = number("hw.perflevel0.logicalcpu");
    const std::optional<std::uint64_t> thrifty = number("hw.perflevel1.logicalcpu");
    if (!fast || !thrifty)
        return Availability::unsupported; // of frequencies the system tells the label's at most
    frequencies.each.clear();
    frequencies.kinds = {static_cast<std::uint32_t>(*fast), static_cast<std::uint32_t>(*thrifty)};
    return Availability::available;
}

std::optional<vm_statistics64> MacHostService::memoryStatistics() noexcept {
    vm_statistics64 memory{};
    if (!read(memory, HOST_VM_INFO64_REV1_COUNT, [this](host_info64_t to, auto* count) {
            return ::host_statistics64(host_.get(), HOST_VM_INFO64, to, count);
        }))
        return std::nullopt;
    return memory;
}

Availability MacHostService::memoryDetails(MemoryDetails& details) noexcept {
    const std::optional<vm_statistics64> memory = memoryStatistics();
    if (!memory)
        return Availability::failed;
    details = {};
    details.available = (std::uint64_t{memory->free_count} + memory->inactive_count) * vm_kernel_page_size;
    details.cached = (std::uint64_t{memory->external_page_count} + memory->purgeable_count) * vm_kernel_page_size;
    return Availability::available;
}

Availability MacHostService::swapCounters(SwapCounters& counters) noexcept {
    const std::optional<vm_statistics64> memory = memoryStatistics();
    if (!memory)
        return Availability::failed;
    counters = {memory->swapins * vm_kernel_page_size, memory->swapouts * vm_kernel_page_size};
    return Availability::available;
}

Availability MacHostService::memoryCompression(MemoryCompression& compression) {
    const std::optional<vm_statistics64> memory = memoryStatistics();
    if (!memory)
        return Availability::failed;
    compression = {memory->total_uncompressed_pages_in_compressor * vm_kernel_page_size,
                   std::uint64_t{memory->compressor_page_count} * vm_kernel_page_size};
    return Availability::available;
}

// The machine has one memory.
Availability MacHostService::memoryNodes(std::vector<MemoryNode>& /*nodes*/) {
    return Availability::unsupported;
}

Availability MacHostService::operatingSystem(OperatingSystem& system) {
    const std::optional<std::string> release = text("kern.osrelease");
    if (!release)
        return availabilityOf(errno);
    const std::string version = text("kern.osproductversion").value_or(""); // since 10.13.4
    system = {.name = "macOS",
              .prettyName = version.empty() ? "macOS" : "macOS " + version,
              .id = "macos",
              .version = version,
              .kernel = text("kern.ostype").value_or(""),
              .kernelRelease = *release,
              .architecture = text("hw.machine").value_or(""),
              .hostName = text("kern.hostname").value_or("")};
    return Availability::available;
}

// The system tells that there is a hypervisor, not whose it is.
Availability MacHostService::virtualization(Virtualization& virtualization) {
    const std::optional<std::uint64_t> isGuest = number("kern.hv_vmm_present");
    if (!isGuest)
        return availabilityOf(errno);
    virtualization = {.machine = *isGuest != 0 ? "vm-other" : "", .container = ""};
    return Availability::available;
}

// There are none on this system.
Availability MacHostService::controlGroup(ControlGroup& /*group*/) {
    return Availability::unsupported;
}

// The place in the list is the process's, not a thread's.
Availability MacHostService::users(std::vector<LoggedInUser>& users) {
    static Lock& walking = *new Lock;
    const LockScope scope(walking);
    ::setutxent();
    errno = ENOENT; // which stays where there is no list: one that is kept begins with the start of the system
    const utmpx* record = ::getutxent();
    const Availability availability = record ? Availability::available : availabilityOf(errno);
    std::vector<LoggedInUser> listed;
    for (; record; record = ::getutxent()) {
        if (std::optional<LoggedInUser> user = userOf(*record))
            listed.push_back(std::move(*user));
    }
    ::endutxent();
    if (availability == Availability::available)
        users = std::move(listed);
    return availability;
}

} // namespace sentrel::platform
