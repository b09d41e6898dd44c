// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/CpuTopology.h>

#include <SentrelKit/platform/linux/host/CpuInfo.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace sentrel::platform {

namespace {

constexpr std::size_t cpuInfoLimit = std::size_t{16} << 20; // about 2 KiB a processor

using Numbers = std::vector<std::uint32_t>;

std::optional<Numbers> readList(const SystemRoot& root, const std::string& path) {
    const std::optional<std::string> text = root.read(path);
    if (!text)
        return std::nullopt;
    Numbers numbers = parseProcessorList(*text).value_or(Numbers());
    // An empty file stands for no answer: some processor is online, for it runs this.
    if (numbers.empty())
        return std::nullopt;
    return numbers;
}

std::vector<ProcessorCore> readCpuInfo(const SystemRoot& root) {
    const std::optional<std::string> text = root.read("/proc/cpuinfo", cpuInfoLimit);
    return text ? parseProcessors(*text) : std::vector<ProcessorCore>();
}

// The online threads of a processor's core, itself among them.
std::optional<Numbers> readSiblings(const SystemRoot& root, std::uint32_t processor) {
    const std::string folder = "/sys/devices/system/cpu/cpu" + std::to_string(processor) + "/topology/";
    std::optional<Numbers> siblings = readList(root, folder + "core_cpus_list");
    if (!siblings)
        siblings = readList(root, folder + "thread_siblings_list"); // its name before Linux 5.3
    return siblings;
}

// True if the processor's cores have two threads, switched on or not.
bool hasThreads(const SystemRoot& root) {
    const std::string control = root.readLine("/sys/devices/system/cpu/smt/control").value_or("");
    return control == "on" || control == "off" || control == "forceoff";
}

// Which core each online processor belongs to, under any numbers that tell cores apart.
using CoreKey = std::tuple<int, std::uint32_t, std::uint32_t>;

std::map<CoreKey, std::uint32_t> countThreads(const SystemRoot& root, const Numbers& online) {
    enum { bySiblings, byCoreId, byItself };
    std::map<CoreKey, std::uint32_t> threads;
    std::optional<std::vector<ProcessorCore>> cpuInfo;
    for (const std::uint32_t processor : online) {
        CoreKey key{byItself, processor, 0};
        if (const std::optional<Numbers> siblings = readSiblings(root, processor)) {
            key = {bySiblings, siblings->front(), 0};
        } else {
            if (!cpuInfo)
                cpuInfo = readCpuInfo(root);
            const auto entry = std::find_if(cpuInfo->begin(), cpuInfo->end(),
                                            [&](const ProcessorCore& each) { return each.processor == processor; });
            if (entry != cpuInfo->end() && entry->core)
                key = {byCoreId, entry->package.value_or(0), *entry->core};
        }
        ++threads[key];
    }
    return threads;
}

} // namespace

std::optional<CpuTopology> readCpuTopology(const SystemRoot& root) {
    std::optional<Numbers> online = readList(root, "/sys/devices/system/cpu/online");
    if (!online) {
        std::set<std::uint32_t> processors;
        for (const ProcessorCore& each : readCpuInfo(root))
            processors.insert(each.processor);
        if (processors.empty()) {
            errno = ENODATA;
            return std::nullopt;
        }
        online = Numbers(processors.begin(), processors.end());
    }
    const std::optional<Numbers> possible = readList(root, "/sys/devices/system/cpu/possible");
    const std::optional<Numbers> present = readList(root, "/sys/devices/system/cpu/present");

    const std::map<CoreKey, std::uint32_t> cores = countThreads(root, *online);
    std::uint32_t threadsPerCore = hasThreads(root) ? 2 : 1;
    for (const auto& [key, threads] : cores)
        threadsPerCore = std::max(threadsPerCore, threads);

    const auto count = [](const auto& collection) { return static_cast<std::uint32_t>(collection.size()); };
    CpuTopology topology;
    topology.logicalOnline = count(*online);
    topology.logical = std::max(count(present ? *present : possible ? *possible : *online), topology.logicalOnline);
    topology.possible = std::max(possible ? count(*possible) : topology.logical, topology.logical);
    topology.physicalOnline = count(cores);
    topology.physical = topology.physicalOnline;
    if (topology.logical > topology.logicalOnline)
        topology.physical = std::max(topology.physicalOnline, (topology.logical + threadsPerCore - 1) / threadsPerCore);
    return topology;
}

} // namespace sentrel::platform
