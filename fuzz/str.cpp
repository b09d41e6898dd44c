// SPDX-License-Identifier: Apache-2.0
// The functions that change a text in place, on blocks of exactly the text's size.

#include <SentrelKit/base/system/Mem.h>
#include <SentrelKit/base/util/Str.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>

using namespace sentrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const unsigned choice = input.ConsumeIntegralInRange(0U, 15U);
    const std::int32_t n = input.ConsumeIntegralInRange(0, 300);
    const std::string other = input.ConsumeRandomLengthString(20);
    const std::string rest = input.ConsumeRemainingBytesAsString();
    char* s = Str_dup(rest.c_str());
    const std::size_t before = std::strlen(s);
    char* result = nullptr;
    switch (choice) {
    case 0:
        result = Str_chomp(s);
        break;
    case 1:
        result = Str_trim(s);
        break;
    case 2:
        result = Str_ltrim(s);
        break;
    case 3:
        result = Str_rtrim(s);
        break;
    case 4:
        result = Str_wtrim(s);
        break;
    case 5:
        result = Str_unquote(s);
        break;
    case 6:
        result = Str_toLower(s);
        break;
    case 7:
        result = Str_toUpper(s);
        break;
    case 8:
        result = Str_replaceChar(s, static_cast<char>(n), static_cast<char>(n + 1));
        break;
    case 9:
        result = Str_unescape(other.c_str(), s);
        break;
    case 10:
        result = Str_trunc(s, n);
        break;
    case 11:
        result = Str_curtail(s, other.c_str());
        break;
    case 12:
        result = Str_dirname(s);
        break;
    case 13:
        result = Str_copy(s, other.c_str(), static_cast<std::int32_t>(before));
        break;
    case 14:
        result = Str_join(s, static_cast<std::int32_t>(before), other.c_str(), other.c_str(), nullptr);
        break;
    default:
        static_cast<void>(Str_hash(s));
        static_cast<void>(Str_cmp(s, other.c_str()));
        static_cast<void>(Str_sub(s, other.c_str()));
        static_cast<void>(Str_startsWith(s, other.c_str()));
        static_cast<void>(Str_endsWith(s, other.c_str()));
        static_cast<void>(Str_has(s, other.c_str()));
        static_cast<void>(Str_basename(s));
        result = s;
    }
    if (result != s || std::strlen(s) > before)
        std::abort();
    Mem_free(s);
    return 0;
}
