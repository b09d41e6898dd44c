// SPDX-License-Identifier: Apache-2.0
// The pci.ids file.

#include <SentrelKit/platform/linux/graphics/HardwareDatabase.h>

#include <cstddef>
#include <cstdlib>
#include <string_view>

using namespace sentrel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto names = findPciNames(std::string_view(reinterpret_cast<const char*>(data), size), 0x8086, 0x3ea0);
    if (names && (names->vendor.empty() || displayName(*names, 0x3ea0).find('\n') != std::string::npos))
        std::abort();
    return 0;
}
