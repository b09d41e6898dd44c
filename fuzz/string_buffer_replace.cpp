// SPDX-License-Identifier: Apache-2.0
// Replacing in a string buffer, overlapping candidates included, beside a plain search from the start.

#include <SentrelKit/base/util/StringBuffer.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>

using namespace sentrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string old = input.ConsumeRandomLengthString(8).c_str();
    const std::string with = input.ConsumeRandomLengthString(40).c_str();
    const std::string text = input.ConsumeRemainingBytesAsString().c_str();
    std::string expected = text;
    std::int32_t count = 0;
    if (!old.empty())
        for (std::size_t at = 0; (at = expected.find(old, at)) != std::string::npos; at += with.size(), ++count)
            expected.replace(at, old.size(), with);
    StringBuffer* buffer = StringBuffer_new(text.c_str());
    if (StringBuffer_replace(buffer, old.c_str(), with.c_str()) != count || StringBuffer_toString(buffer) != expected ||
        StringBuffer_length(buffer) != static_cast<std::int32_t>(expected.size()))
        std::abort();
    StringBuffer_append(buffer, "%s", text.c_str());
    if (StringBuffer_toString(buffer) != expected + text)
        std::abort();
    StringBuffer_free(&buffer);
    return 0;
}
