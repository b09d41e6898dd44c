// SPDX-License-Identifier: Apache-2.0
// What a graphics driver lists of its clock's states.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/linux/graphics/GraphicsDevices.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto clock = sentrel::platform::parseClockStates({reinterpret_cast<const char*>(data), size});
    SENTREL_ASSERT(!clock || (*clock >= 0 && *clock <= 4294967295e6));
    return 0;
}
