// SPDX-License-Identifier: Apache-2.0
// What devices and the udev database answer: counters, labels, SCSI sense data, health logs.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/linux/volumes/AtaSmart.h>
#include <SentrelKit/platform/linux/volumes/BlockDevices.h>
#include <SentrelKit/platform/linux/volumes/NvmeSmart.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

using namespace sentrel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    static_cast<void>(parseBlockStatistics(text));
    const std::optional<std::string> label = udevDecoded(text);
    SENTREL_ASSERT(!label || (!label->empty() && label->size() <= text.size()));
    static_cast<void>(parseAtaSense(std::span(data, size)));
    NvmeHealthLog log{};
    std::copy_n(data, std::min(size, log.size()), log.begin());
    SENTREL_ASSERT(isSoundSmartData(smartDataOfHealthLog(log)));
    return 0;
}
