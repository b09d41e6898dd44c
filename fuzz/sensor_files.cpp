// SPDX-License-Identifier: Apache-2.0
// What a driver of sensors names its files and writes into them.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/linux/sensors/ChannelFile.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace sentrel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view name(reinterpret_cast<const char*>(data), size);
    if (const auto file = parseChannelFile(name)) {
        SENTREL_ASSERT(!file->item.empty() && name.ends_with(file->item));
        SENTREL_ASSERT(name[name.size() - file->item.size() - 1] == '_');
        SENTREL_ASSERT(kernelUnits(file->kind) >= 1);
    }
    return 0;
}
