// SPDX-License-Identifier: Apache-2.0
// Keyed archives as they come out of a preference file. What is read can be archived again and reads the same.

#include <SentrelKit/platform/detail/KeyedArchive.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace sentrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto value = platform::keyedUnarchive({data, size});
    if (!value)
        return 0;
    const auto archive = platform::keyedArchive(*value);
    if (archive && !platform::keyedUnarchive(*archive))
        std::abort();
    return 0;
}
