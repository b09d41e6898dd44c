// SPDX-License-Identifier: Apache-2.0
// What a drive may answer to "SMART read data", "SMART read thresholds" and for an NVMe health log.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/probes/SmartDetails.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

using namespace sentrel::probes;
using sentrel::platform::SmartData;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SmartData block{};
    SmartData thresholds{};
    const std::size_t first = std::min(size, block.size());
    std::copy_n(data, first, block.begin());
    std::copy_n(data + first, std::min(size - first, thresholds.size()), thresholds.begin());
    for (const SmartDetails& details :
         {decodeAttributes(block, nullptr), decodeAttributes(block, &thresholds), decodeHealthLog(block)}) {
        SENTREL_ASSERT(details.attributes.size() <= 30);
        SENTREL_ASSERT(details.powerOnHours.value_or(0) >= 0 && details.powerCycles.value_or(0) >= 0);
        SENTREL_ASSERT(details.unsafeShutdowns.value_or(0) >= 0 && details.mediaErrors.value_or(0) >= 0);
        for (const SmartAttribute& attribute : details.attributes)
            SENTREL_ASSERT(attribute.id != 0 && !attribute.name.empty() && attribute.raw < (std::uint64_t{1} << 48U));
    }
    return 0;
}
