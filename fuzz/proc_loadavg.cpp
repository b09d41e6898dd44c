// SPDX-License-Identifier: Apache-2.0
// /proc/loadavg.

#include <SentrelKit/platform/linux/host/LoadAverage.h>

#include <cstddef>
#include <cstdlib>
#include <string_view>

using namespace sentrel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto line = parseLoadAverage(std::string_view(reinterpret_cast<const char*>(data), size));
    if (line)
        for (const double average : line->averages)
            if (!(average >= 0))
                std::abort();
    return 0;
}
