// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/HostProbes.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/System.h>
#include <SentrelKit/base/util/Str.h>
#include <SentrelKit/base/util/StringBuffer.h>
#include <SentrelKit/platform/GraphicsService.h>
#include <SentrelKit/probes/detail/FailureReports.h>

#include <algorithm>
#include <utility>

namespace sentrel::probes {

namespace {

constexpr std::size_t brandSize = 64;
static_assert(sizeof(SystemManager::cpuBrand) == brandSize + 1);

constexpr Operation memoryOperation{"host_statistics64", false};

// The page size of the records, not the host's: meant so.
std::uint64_t bytes(std::uint32_t pages) noexcept {
    return std::uint64_t{pages} << 12;
}

void cleanBrand(char (&brand)[brandSize + 1]) {
    StringBuffer* text = StringBuffer_new(brand);
    for (const char* noise : {"(R)", "(TM)", "@ ", "CPU "})
        StringBuffer_replace(text, noise, "");
    Str_copy(brand, StringBuffer_toString(text), static_cast<int>(brandSize));
    StringBuffer_free(&text);
    Str_wtrim(brand);
    Str_trim(brand);
}

} // namespace

std::int64_t _getboottime(SystemManager& session) {
    return session.platform().host().bootTime().value_or(0);
}

void _getHostInfo(const HostInfoBlock& block, SystemManager& session) {
    if (const std::optional<host_basic_info> info = session.platform().host().hostInfo())
        block(&*info);
}

int _getCPUData(CPUData* data, SystemManager& session) {
    SENTREL_ASSERT(data);
    platform::HostService& host = session.platform().host();
    platform::HostLoadTicks& prevTicks = session.prevTicks;
    const platform::HostLoadTicks ticks = host.loadTicks().value_or(prevTicks);
    *data = {};

    // Differences of 32 bits: a counter that wrapped gives the right one.
    const std::uint32_t user = ticks.user - prevTicks.user;
    const std::uint32_t system = ticks.system - prevTicks.system;
    const std::uint32_t idle = ticks.idle - prevTicks.idle;
    const std::uint32_t nice = ticks.nice - prevTicks.nice;
    const double total = static_cast<double>(user) + system + idle + nice;
    if (total > 0) {
        data->user = user / total * 100 + nice / total * 100;
        data->system = system / total * 100;
        data->idle = idle / total * 100;
    }
    prevTicks = ticks;

    if (const std::optional<platform::ProcessorSet> set = host.defaultProcessorSet()) {
        const platform::ProcessorSetLoad load = host.processorSetLoad(*set).value_or(platform::ProcessorSetLoad{});
        data->tasks = load.tasks;
        data->threads = load.threads;
    }
    return 1;
}

const char* _getCPUBrand(SystemManager& session) {
    char(&brand)[brandSize + 1] = session.cpuBrand;
    brand[0] = '\0';
    const std::optional<std::size_t> length = session.platform().host().brand(std::span(brand, brandSize));
    brand[std::min(length.value_or(0), brandSize)] = '\0';
    if (length)
        cleanBrand(brand);
    return brand;
}

std::optional<PropertyList::Bytes> _getActiveGPUDeviceID(SystemManager& session) {
    PropertyList::Bytes deviceID;
    return _getActiveGPUDeviceID(deviceID, session) ? std::optional(std::move(deviceID)) : std::nullopt;
}

bool _getActiveGPUDeviceID(PropertyList::Bytes& deviceID, SystemManager& session) {
    return session.platform().graphics().activeDeviceID(deviceID);
}

int _getMEMData(MEMData* data, SystemManager& session) {
    SENTREL_ASSERT(data);
    const std::optional<platform::VirtualMemoryCounters> counters = session.platform().host().virtualMemory();
    if (!counters) {
        if (isToBeTold(memoryOperation))
            System_error("Error: host_statistics64 -- %s", System_getLastError());
        return 0;
    }
    succeeded(memoryOperation);
    data->free = bytes(counters->free_count);
    data->active = bytes(counters->active_count);
    data->inactive = bytes(counters->inactive_count);
    data->wired = bytes(counters->wire_count);
    data->compressed = bytes(counters->compressor_page_count);
    data->pageins = counters->pageins;
    data->pageouts = counters->pageouts;
    data->faults = counters->faults;
    // Both in 32 bits before they are widened: meant so.
    data->app = bytes(counters->internal_page_count - counters->purgeable_count);
    data->cached = bytes(counters->purgeable_count + counters->external_page_count);
    return 1;
}

} // namespace sentrel::probes
