// SPDX-License-Identifier: Apache-2.0
// A sample of the processor and of memory: beside the raw system calls that it cannot do without, made by hand in this
// program, and beside two peers.
// links: libgtop-2.0 libproc2

#include "bench/support/CountAllocations.h"
#include "bench/support/RawFiles.h"

#include <SentrelKit/probes/HostProbes.h>
#include <SentrelKit/system/CPU.h>
#include <SentrelKit/system/Memory.h>

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
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void readProcessor(benchmark::State& state, RawFiles& files) {
    const int folder = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (auto _ : state) {
        struct stat status; // whose links tell how many processes there are
        if (!files.read() || ::fstat(folder, &status) != 0)
            state.SkipWithError("no figures");
        benchmark::DoNotOptimize(status);
    }
    ::close(folder);
}

void readMemory(benchmark::State& state, RawFiles& files) {
    for (auto _ : state)
        if (!files.read())
            state.SkipWithError("no figures");
}

void cpuFloor(benchmark::State& state) {
    RawFiles files;
    files.addTable("/proc/stat", 512);
    files.addRecord("/proc/loadavg");
    readProcessor(state, files);
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

// Nothing but the files of `cpuEverything`, each once: the table of all processors, a frequency and a governor each
// where there are, the pressure.
void cpuEverythingFloor(benchmark::State& state) {
    RawFiles files;
    files.addTable("/proc/stat");
    files.addRecord("/proc/loadavg");
    files.addRecord("/proc/pressure/cpu");
    for (long cpu = 0; cpu < ::sysconf(_SC_NPROCESSORS_CONF); ++cpu)
        for (const char* name : {"/cpufreq/scaling_cur_freq", "/cpufreq/scaling_governor"})
            files.addRecord("/sys/devices/system/cpu/cpu" + std::to_string(cpu) + name);
    readProcessor(state, files);
}
BENCHMARK(cpuEverythingFloor);

void cpuEverything(benchmark::State& state) {
    using Measure = sentrel::CPU::Measure;
    sentrel::CPU cpu;
    cpu.setMeasures({Measure::pressure, Measure::cores, Measure::frequencies, Measure::activity});
    for (int warm = 0; warm < 3; ++warm) {
        cpu.update();
        ::usleep(50'000); // some ticks, without which no processor has a share
    }
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
    RawFiles files;
    files.addRecord("/proc/meminfo");
    files.addTable("/proc/vmstat");
    readMemory(state, files);
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

// Nothing but the files of `memoryEverything`, each once: the two tables, nodes, pressure.
void memoryEverythingFloor(benchmark::State& state) {
    RawFiles files;
    files.addRecord("/proc/meminfo");
    files.addTable("/proc/vmstat");
    files.addRecord("/proc/pressure/memory");
    files.addRecord("/sys/module/zswap/parameters/enabled");
    for (int node = 0; node < 8; ++node)
        files.addRecord("/sys/devices/system/node/node" + std::to_string(node) + "/meminfo");
    readMemory(state, files);
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
