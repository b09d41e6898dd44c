// SPDX-License-Identifier: Apache-2.0
// Patterns from outside. What does not compile is fatal by contract, so it is checked first, as callers must; counted
// repetitions, and repetitions of repetitions, are left out because the platform's compiler needs memory without bound
// for them.

#include <SentrelKit/base/util/Str.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>
#include <regex.h>
#include <string>

using namespace sentrel;

namespace {

bool isRepetition(char c) {
    return c == '*' || c == '+' || c == '?';
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string pattern = input.ConsumeRandomLengthString(24);
    const std::string text = input.ConsumeRemainingBytesAsString().substr(0, 64);
    if (pattern.find('{') != std::string::npos)
        return 0;
    for (std::size_t i = 1; i < pattern.size(); ++i)
        if (isRepetition(pattern[i - 1]) && isRepetition(pattern[i]))
            return 0;
    regex_t expression;
    if (regcomp(&expression, pattern.c_str(), REG_EXTENDED | REG_NOSUB) != 0)
        return 0;
    const bool matches = *text.c_str() != '\0' && regexec(&expression, text.c_str(), 0, nullptr, 0) == 0;
    regfree(&expression);
    if (Str_match(pattern.c_str(), text.c_str()) != matches)
        std::abort();
    return 0;
}
