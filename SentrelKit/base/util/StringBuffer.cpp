// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/util/StringBuffer.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/Mem.h>
#include <SentrelKit/base/system/System.h>
#include <SentrelKit/base/util/Str.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

namespace sentrel {

struct StringBuffer {
    std::int32_t used;
    std::int32_t capacity;
    char* text; // owned, always terminated
};

namespace {

constexpr std::int32_t defaultCapacity = 256;

StringBuffer* make(std::int32_t capacity) noexcept {
    auto* S = static_cast<StringBuffer*>(Mem_alloc(sizeof(StringBuffer)));
    S->used = 0;
    S->capacity = capacity;
    S->text = static_cast<char*>(Mem_alloc(capacity));
    S->text[0] = '\0';
    return S;
}

void resize(StringBuffer* S, std::int64_t capacity, const char* function = __builtin_FUNCTION(),
            int line = __builtin_LINE()) noexcept {
    if (capacity > std::numeric_limits<std::int32_t>::max())
        System_abort("Memory Exception: %s\n raised in %s at %s:%d\n", System_getError(ENOMEM), function, __FILE__,
                     line);
    S->text = static_cast<char*>(Mem_resize(S->text, capacity, function, __FILE__, line));
    S->capacity = static_cast<std::int32_t>(capacity);
}

// Formats behind the text, as far as there is room. Returns the length that the produced text has, below 0 if the
// platform cannot format it; the text is left as it was, terminator aside, until `used` grows.
[[gnu::format(printf, 2, 0)]] int formatBehind(StringBuffer* S, const char* format, va_list arguments) noexcept {
    va_list copy;
    va_copy(copy, arguments);
    const int produced =
        std::vsnprintf(S->text + S->used, static_cast<std::size_t>(S->capacity - S->used), format, copy);
    va_end(copy);
    return produced;
}

[[noreturn]] void outOfBounds(const char* function, int line) noexcept {
    System_abort("AssertException: Index out of bounds\n raised in %s at %s:%d\n", function, __FILE__, line);
}

// The first occurrence of a text that is not empty.
const char* find(const char* text, const char* wanted) noexcept {
    return std::strstr(text, wanted);
}

} // namespace

StringBuffer* StringBuffer_new(const char* s) noexcept {
    StringBuffer* S = make(defaultCapacity);
    StringBuffer_append(S, "%s", s ? s : "");
    return S;
}

StringBuffer* StringBuffer_create(std::int32_t hint) noexcept {
    if (hint < 1)
        System_abort("AssertException: Illegal hint value\n raised in %s at %s:%d\n", __func__, __FILE__, __LINE__);
    return make(hint);
}

void StringBuffer_free(StringBuffer** S) noexcept {
    SENTREL_ASSERT(S && *S);
    Mem_free((*S)->text);
    Mem_free(*S);
    *S = nullptr;
}

void StringBuffer_append(StringBuffer* S, const char* format, ...) noexcept {
    SENTREL_ASSERT(S);
    va_list arguments;
    va_start(arguments, format);
    StringBuffer_vappend(S, format, arguments);
    va_end(arguments);
}

void StringBuffer_vappend(StringBuffer* S, const char* format, va_list arguments) noexcept {
    SENTREL_ASSERT(S);
    if (!format || *format == '\0')
        return;
    int produced = formatBehind(S, format, arguments);
    if (produced >= 0 && std::int64_t{S->used} + produced >= S->capacity) {
        // The old capacity, not the used length, is the base: meant so.
        resize(S, std::int64_t{S->capacity} + produced + 256);
        produced = formatBehind(S, format, arguments);
    }
    if (produced < 0)
        S->text[S->used] = '\0';
    else
        S->used += produced;
}

std::int32_t StringBuffer_replace(StringBuffer* S, const char* old, const char* with) noexcept {
    SENTREL_ASSERT(S);
    if (!old || *old == '\0' || S->used == 0)
        return 0;
    if (!with)
        with = "";
    std::int64_t count = 0;
    for (const char* found = find(S->text, old); found; found = find(found + 1, old))
        ++count; // overlapping candidates too
    const std::size_t oldLength = std::strlen(old);
    const std::size_t newLength = std::strlen(with);
    const auto difference = static_cast<std::int64_t>(newLength) - static_cast<std::int64_t>(oldLength);
    if (count > 0 && difference > 0) {
        const std::int64_t needed = count * difference + S->used + 1;
        if (needed >= S->capacity)
            resize(S, needed);
    }
    std::int32_t replaced = 0;
    char* position = S->text;
    for (; replaced < count; ++replaced) {
        const char* found = find(position, old);
        if (!found)
            break;
        position = S->text + (found - S->text);
        const char* rest = position + oldLength;
        const char* end = S->text + S->used + 1;
        std::memmove(position + newLength, rest, static_cast<std::size_t>(end - rest));
        std::memcpy(position, with, newLength);
        position += newLength;
        S->used += static_cast<std::int32_t>(difference);
    }
    return replaced;
}

void StringBuffer_trim(StringBuffer* S) noexcept {
    SENTREL_ASSERT(S);
    Str_trim(S->text);
    S->used = static_cast<std::int32_t>(std::strlen(S->text));
}

void StringBuffer_delete(StringBuffer* S, std::int32_t index) noexcept {
    SENTREL_ASSERT(S);
    if (index < 0 || index > S->used)
        outOfBounds(__func__, __LINE__);
    S->used = index;
    S->text[index] = '\0';
}

std::int32_t StringBuffer_indexOf(StringBuffer* S, const char* s) noexcept {
    SENTREL_ASSERT(S);
    const char* found = s && *s != '\0' ? find(S->text, s) : nullptr;
    return found ? static_cast<std::int32_t>(found - S->text) : -1;
}

std::int32_t StringBuffer_lastIndexOf(StringBuffer* S, const char* s) noexcept {
    SENTREL_ASSERT(S);
    const std::size_t length = s ? std::strlen(s) : 0;
    if (length == 0)
        return -1;
    for (auto index = static_cast<std::int64_t>(S->used) - static_cast<std::int64_t>(length); index >= 0; --index)
        if (std::memcmp(S->text + index, s, length) == 0)
            return static_cast<std::int32_t>(index);
    return -1;
}

const char* StringBuffer_substring(StringBuffer* S, std::int32_t index) noexcept {
    SENTREL_ASSERT(S);
    if (index < 0 || index > S->used)
        outOfBounds(__func__, __LINE__);
    return S->text + index;
}

std::int32_t StringBuffer_length(StringBuffer* S) noexcept {
    SENTREL_ASSERT(S);
    return S->used;
}

void StringBuffer_clear(StringBuffer* S) noexcept {
    SENTREL_ASSERT(S);
    S->used = 0;
    S->text[0] = '\0';
}

const char* StringBuffer_toString(StringBuffer* S) noexcept {
    SENTREL_ASSERT(S);
    return S->text;
}

} // namespace sentrel
