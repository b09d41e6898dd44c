// SPDX-License-Identifier: Apache-2.0
// Preference files, binary and in XML. What is read and can be written reads the same again.

#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace sentrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto value = platform::decodePropertyList({data, size});
    const auto bytes = value ? platform::encodePropertyList(*value) : std::nullopt;
    if (!bytes)
        return 0;
    const auto again = platform::decodePropertyList(*bytes);
    // Not-a-number differs from itself; its bytes do not.
    if (!again || platform::encodePropertyList(*again) != bytes)
        std::abort();
    return 0;
}
