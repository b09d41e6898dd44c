// SPDX-License-Identifier: Apache-2.0
// /proc/cpuinfo and the processor lists of /sys/devices/system/cpu.

#include <SentrelKit/platform/linux/host/CpuInfo.h>

#include <cstddef>
#include <cstdlib>
#include <string_view>

using namespace sentrel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto brand = findBrand(text);
    if (brand && brand->find('\n') != std::string_view::npos)
        std::abort();
    static_cast<void>(parseProcessors(text));
    if (const auto numbers = parseProcessorList(text)) {
        for (std::size_t i = 1; i < numbers->size(); ++i)
            if ((*numbers)[i - 1] >= (*numbers)[i])
                std::abort();
    }
    return 0;
}
