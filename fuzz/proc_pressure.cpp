// SPDX-License-Identifier: Apache-2.0
// /proc/pressure: whatever it says, an average is a share of the time.

#include <SentrelKit/platform/linux/host/PressureStall.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace sentrel;

namespace {

bool isShare(const PressureShare& share) {
    for (const double average : {share.avg10, share.avg60, share.avg300})
        if (!(average >= 0 && average <= 100))
            return false;
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto pressure = platform::parsePressure({reinterpret_cast<const char*>(data), size});
    if (pressure && (!isShare(pressure->some) || (pressure->full && !isShare(*pressure->full))))
        std::abort();
    return 0;
}
