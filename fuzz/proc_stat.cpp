// SPDX-License-Identifier: Apache-2.0
// /proc/stat, and ticks that never decrease whatever two files follow each other.

#include <SentrelKit/platform/linux/common/BootTime.h>
#include <SentrelKit/platform/linux/host/ProcStat.h>

#include <cstddef>
#include <cstdlib>
#include <string_view>

using namespace sentrel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    static_cast<void>(parseBootTime(text));

    const std::size_t half = text.find('\0');
    const auto first = parseProcessorTimes(text.substr(0, half));
    const auto second = half == std::string_view::npos ? std::nullopt : parseProcessorTimes(text.substr(half + 1));
    if (first && second) {
        SteadyTicks steady;
        steady.add(*first);
        const HostLoadTicks before = steady.add(*second);
        if (steady.add(*second) != before)
            std::abort();
    }
    return 0;
}
