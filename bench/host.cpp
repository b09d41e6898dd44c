// SPDX-License-Identifier: Apache-2.0
// A sample of the processor and of memory: beside the raw system calls that it cannot do without, made by hand in this
// program, and beside two peers.
// links: libgtop-2.0 libproc2

#include <SentrelKit/probes/HostProbes.h>
#include <SentrelKit/system/CPU.h>
#include <SentrelKit/system/Memory.h>

#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <fcntl.h>
#include <glibtop.h>
#include <glibtop/cpu.h>
#include <glibtop/loadavg.h>
#include <glibtop/mem.h>
#include <libproc2/meminfo.h>
#include <libproc2/stat.h>
#include <libproc2/vmstat.h>
#include <new>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

std::size_t allocations = 0;

int openOnce(const char* path) {
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        std::abort();
    return fd;
}

// Reads a whole file from its start, as anybody has to who does not know its length.
template <std::size_t size>
void readWhole(int fd, std::array<char, size>& buffer) {
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = ::pread(fd, buffer.data() + filled, size - filled, static_cast<off_t>(filled));
        if (count <= 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    benchmark::DoNotOptimize(buffer);
}

class CountAllocations {
public:
    explicit CountAllocations(benchmark::State& state) : state_(state) {}
    ~CountAllocations() {
        state_.counters["new"] =
            benchmark::Counter(static_cast<double>(allocations - before_), benchmark::Counter::kAvgIterations);
    }

private:
    benchmark::State& state_;
    std::size_t before_ = allocations;
};

void cpuFloor(benchmark::State& state) {
    const int stat = openOnce("/proc/stat");
    const int folder = openOnce("/proc");
    const int average = openOnce("/proc/loadavg");
    std::array<char, 512> line;
    std::array<char, 128> buffer;
    struct stat status;
    for (auto _ : state) {
        readWhole(stat, line);
        ::fstat(folder, &status);
        benchmark::DoNotOptimize(status);
        readWhole(average, buffer);
    }
    ::close(stat);
    ::close(folder);
    ::close(average);
}
BENCHMARK(cpuFloor);

void cpuSample(benchmark::State& state) {
    sentrel::CPU cpu;
    cpu.update();
    const CountAllocations counting(state);
    for (auto _ : state)
        cpu.update();
    benchmark::DoNotOptimize(cpu.usage());
}
BENCHMARK(cpuSample);

// Nothing but the files of `cpuEverything`: the table of all processors, a frequency and a governor each where there
// are, the pressure.
void cpuEverythingFloor(benchmark::State& state) {
    const int stat = openOnce("/proc/stat");
    const int folder = openOnce("/proc");
    const int average = openOnce("/proc/loadavg");
    const int pressure = ::open("/proc/pressure/cpu", O_RDONLY | O_CLOEXEC);
    std::vector<int> frequencies;
    for (long cpu = 0; cpu < ::sysconf(_SC_NPROCESSORS_CONF); ++cpu)
        for (const char* name : {"/cpufreq/scaling_cur_freq", "/cpufreq/scaling_governor"})
            if (const int fd = ::open(("/sys/devices/system/cpu/cpu" + std::to_string(cpu) + name).c_str(), O_RDONLY);
                fd >= 0)
                frequencies.push_back(fd);
    std::array<char, 512> line;
    std::array<char, 32768> whole;
    std::array<char, 256> buffer;
    struct stat status;
    for (auto _ : state) {
        readWhole(stat, line);
        ::fstat(folder, &status);
        benchmark::DoNotOptimize(status);
        readWhole(average, buffer);
        readWhole(stat, whole);
        if (pressure >= 0)
            benchmark::DoNotOptimize(::pread(pressure, buffer.data(), buffer.size(), 0));
        for (const int fd : frequencies)
            benchmark::DoNotOptimize(::pread(fd, buffer.data(), buffer.size(), 0));
    }
    for (const int fd : frequencies)
        ::close(fd);
    ::close(pressure);
    ::close(stat);
    ::close(folder);
    ::close(average);
}
BENCHMARK(cpuEverythingFloor);

void cpuEverything(benchmark::State& state) {
    using Measure = sentrel::CPU::Measure;
    sentrel::CPU cpu;
    cpu.setMeasures({Measure::pressure, Measure::cores, Measure::frequencies, Measure::activity});
    for (int warm = 0; warm < 3; ++warm)
        cpu.update();
    const CountAllocations counting(state);
    for (auto _ : state)
        cpu.update();
    benchmark::DoNotOptimize(cpu.shares());
}
BENCHMARK(cpuEverything);

void cpuLibgtop(benchmark::State& state) {
    glibtop_init();
    glibtop_cpu cpu;
    glibtop_loadavg average; // has the number of tasks
    for (auto _ : state) {
        glibtop_get_cpu(&cpu);
        glibtop_get_loadavg(&average);
        benchmark::DoNotOptimize(cpu);
        benchmark::DoNotOptimize(average);
    }
}
BENCHMARK(cpuLibgtop);

void cpuLibproc2(benchmark::State& state) {
    stat_info* info = nullptr;
    if (procps_stat_new(&info) < 0)
        std::abort();
    stat_item items[] = {STAT_TIC_DELTA_USER, STAT_TIC_DELTA_NICE, STAT_TIC_DELTA_SYSTEM, STAT_TIC_DELTA_IDLE};
    for (auto _ : state)
        benchmark::DoNotOptimize(procps_stat_select(info, items, 4));
    procps_stat_unref(&info);
}
BENCHMARK(cpuLibproc2);

void memoryFloor(benchmark::State& state) {
    const int memInfo = openOnce("/proc/meminfo");
    const int vmStat = openOnce("/proc/vmstat");
    std::array<char, 8192> first;
    std::array<char, 16384> second;
    for (auto _ : state) {
        readWhole(memInfo, first);
        readWhole(vmStat, second);
    }
    ::close(memInfo);
    ::close(vmStat);
}
BENCHMARK(memoryFloor);

void memorySample(benchmark::State& state) {
    sentrel::Memory memory;
    memory.update();
    const CountAllocations counting(state);
    for (auto _ : state)
        memory.update();
    benchmark::DoNotOptimize(memory.usage());
}
BENCHMARK(memorySample);

// Nothing but the files of `memoryEverything`: the two tables as often as their groups read them, nodes, pressure.
void memoryEverythingFloor(benchmark::State& state) {
    const int memInfo = openOnce("/proc/meminfo");
    const int vmStat = openOnce("/proc/vmstat");
    std::vector<int> others;
    for (const char* path : {"/proc/pressure/memory", "/sys/module/zswap/parameters/enabled",
                             "/sys/devices/system/node/node0/meminfo", "/sys/devices/system/node/node1/meminfo"})
        if (const int fd = ::open(path, O_RDONLY | O_CLOEXEC); fd >= 0)
            others.push_back(fd);
    std::array<char, 8192> first;
    std::array<char, 16384> second;
    for (auto _ : state) {
        for (int reading = 0; reading < 3; ++reading)
            benchmark::DoNotOptimize(::pread(memInfo, first.data(), first.size(), 0));
        for (int reading = 0; reading < 2; ++reading)
            readWhole(vmStat, second);
        for (const int fd : others)
            benchmark::DoNotOptimize(::pread(fd, first.data(), first.size(), 0));
    }
    for (const int fd : others)
        ::close(fd);
    ::close(memInfo);
    ::close(vmStat);
}
BENCHMARK(memoryEverythingFloor);

void memoryEverything(benchmark::State& state) {
    using Measure = sentrel::Memory::Measure;
    sentrel::Memory memory;
    memory.setMeasures({Measure::pressure, Measure::details, Measure::swapRates, Measure::compression, Measure::nodes});
    for (int warm = 0; warm < 3; ++warm)
        memory.update();
    const CountAllocations counting(state);
    for (auto _ : state)
        memory.update();
    benchmark::DoNotOptimize(memory.details());
}
BENCHMARK(memoryEverything);

void memoryLibgtop(benchmark::State& state) {
    glibtop_init();
    glibtop_mem memory;
    for (auto _ : state) {
        glibtop_get_mem(&memory); // without the paging counters
        benchmark::DoNotOptimize(memory);
    }
}
BENCHMARK(memoryLibgtop);

void memoryLibproc2(benchmark::State& state) {
    meminfo_info* memory = nullptr;
    vmstat_info* paging = nullptr;
    if (procps_meminfo_new(&memory) < 0 || procps_vmstat_new(&paging) < 0)
        std::abort();
    meminfo_item memoryItems[] = {MEMINFO_MEM_TOTAL, MEMINFO_MEM_FREE, MEMINFO_MEM_AVAILABLE, MEMINFO_MEM_ACTIVE_ANON};
    vmstat_item pagingItems[] = {VMSTAT_PGPGIN, VMSTAT_PGPGOUT, VMSTAT_PGFAULT};
    for (auto _ : state) {
        benchmark::DoNotOptimize(procps_meminfo_select(memory, memoryItems, 4));
        benchmark::DoNotOptimize(procps_vmstat_select(paging, pagingItems, 3));
    }
    procps_meminfo_unref(&memory);
    procps_vmstat_unref(&paging);
}
BENCHMARK(memoryLibproc2);

} // namespace

// What a sample allocates shows in its column "new". Not inlined, or the compiler takes the pair for a mismatched one.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* block = std::malloc(size > 0 ? size : 1))
        return block;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
    std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
