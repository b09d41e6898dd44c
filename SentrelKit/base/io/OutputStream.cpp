// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/io/OutputStream.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/Mem.h>
#include <SentrelKit/base/system/Net.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

namespace sentrel {

struct OutputStream {
    std::int32_t descriptor;
    std::int64_t timeout; // milliseconds
    unsigned char* end;   // of the buffer
    unsigned char* position;
    std::int32_t closed;
    std::int32_t accepted; // bytes that the current call has put into the buffer
    std::int64_t written;
    unsigned char buffer[1500];
};

namespace {

constexpr std::int64_t defaultTimeout = 2000;

std::int32_t flush(OutputStream* S) noexcept {
    if (S->closed)
        return -1;
    const auto buffered = static_cast<std::size_t>(S->position - S->buffer);
    errno = 0;
    const std::int64_t count = Net_write(S->descriptor, S->buffer, buffered, S->timeout);
    if (count < 0)
        S->closed = 1;
    if (count <= 0)
        return count == 0 && (errno == EAGAIN || errno == EWOULDBLOCK) ? 0 : -1;
    const std::size_t rest = buffered - static_cast<std::size_t>(count);
    std::memmove(S->buffer, S->buffer + count, rest);
    S->position = S->buffer + rest;
    S->written += count;
    return static_cast<std::int32_t>(count);
}

// Puts `count` bytes into the buffer, by `fill(destination, length)` a piece at a time.
template <typename Fill>
void produce(OutputStream* S, std::size_t count, Fill fill) noexcept {
    while (count > 0) {
        if (S->position == S->end && flush(S) <= 0) {
            if (S->closed)
                return; // no later byte can fare better
            fill(nullptr, 1);
            --count;
            continue;
        }
        const std::size_t piece = std::min(count, static_cast<std::size_t>(S->end - S->position));
        fill(S->position, piece);
        S->position += piece;
        S->accepted = static_cast<std::int32_t>(
            std::min<std::int64_t>(S->accepted + static_cast<std::int64_t>(piece), INT32_MAX));
        count -= piece;
    }
}

void put(OutputStream* S, const void* bytes, std::size_t count) noexcept {
    const auto* next = static_cast<const unsigned char*>(bytes);
    produce(S, count, [&](unsigned char* destination, std::size_t length) noexcept {
        if (destination)
            std::memcpy(destination, next, length);
        next += length;
    });
}

void pad(OutputStream* S, char c, int count) noexcept {
    produce(S, static_cast<std::size_t>(std::max(count, 0)),
            [&](unsigned char* destination, std::size_t length) noexcept {
                if (destination)
                    std::memset(destination, c, length);
            });
}

// By pointer, so that every conversion advances the same list.
struct Arguments {
    va_list list;
};

constexpr int unspecified = INT_MIN;

struct Layout {
    std::array<unsigned char, 64> flags{}; // how often each was given; all four characters are below 64
    int width = unspecified;
    int precision = unspecified;

    [[nodiscard]] bool has(char flag) const noexcept { return flags[static_cast<unsigned char>(flag)] != 0; }

    // A width not given is 0, a negative one a positive one with the "-" flag.
    void settleWidth() noexcept {
        if (width == unspecified)
            width = 0;
        if (width < 0) {
            flags['-'] = 1;
            width = -width;
        }
    }
};

// Characters padded with blanks to the width.
void puts(OutputStream* S, const char* text, std::size_t length, Layout layout) noexcept {
    layout.settleWidth();
    const int padding = length < static_cast<std::size_t>(layout.width) ? layout.width - static_cast<int>(length) : 0;
    if (!layout.has('-'))
        pad(S, ' ', padding);
    put(S, text, length);
    if (layout.has('-'))
        pad(S, ' ', padding);
}

// A number laid out from its digits.
void putd(OutputStream* S, const char* digits, int length, Layout layout) noexcept {
    layout.settleWidth();
    const bool zeroPadded = layout.has('0') && layout.precision < 0;
    const int precision = layout.precision < 0 ? 1 : layout.precision;
    char sign = layout.has('+') ? '+' : layout.has(' ') ? ' ' : '\0';
    if (length > 0 && (*digits == '-' || *digits == '+')) {
        sign = *digits++;
        --length;
    }
    const std::size_t signLength = sign != '\0' ? 1 : 0;
    const int zeros = precision - length; // may be negative
    // A zero with precision 0 takes no room from the width although its digit is printed: meant so.
    const int field = precision == 0 && length == 1 && *digits == '0' ? 0 : std::max(length, precision);
    const int padding = layout.width - field - (sign != '\0' ? 1 : 0);
    if (!layout.has('-') && !zeroPadded)
        pad(S, ' ', padding);
    put(S, &sign, signLength);
    if (!layout.has('-') && zeroPadded)
        pad(S, '0', padding);
    pad(S, '0', zeros);
    put(S, digits, static_cast<std::size_t>(length));
    if (layout.has('-'))
        pad(S, ' ', padding);
}

// The digits of a number in a base up to 16, with the sign in front of a negative one.
void putNumber(OutputStream* S, std::uint64_t value, unsigned base, bool negative, const Layout& layout) noexcept {
    std::array<char, 24> digits; // 22 octal digits and a sign fit
    char* const end = digits.data() + digits.size();
    char* start = end;
    do
        *--start = "0123456789abcdef"[value % base];
    while ((value /= base) != 0);
    if (negative)
        *--start = '-';
    putd(S, start, static_cast<int>(end - start), layout);
}

void putSigned(OutputStream* S, std::int64_t value, const Layout& layout) noexcept {
    const auto bits = static_cast<std::uint64_t>(value);
    putNumber(S, value < 0 ? 0 - bits : bits, 10, value < 0, layout);
}

void cvt_c(OutputStream* S, char, Arguments* arguments, const Layout& layout) noexcept {
    const char c = static_cast<char>(va_arg(arguments->list, int));
    puts(S, &c, 1, layout);
}

void cvt_d(OutputStream* S, char, Arguments* arguments, const Layout& layout) noexcept {
    putSigned(S, va_arg(arguments->list, int), layout);
}

void cvt_l(OutputStream* S, char, Arguments* arguments, const Layout& layout) noexcept {
    putSigned(S, va_arg(arguments->list, std::int64_t), layout);
}

void cvt_o(OutputStream* S, char, Arguments* arguments, const Layout& layout) noexcept {
    putNumber(S, va_arg(arguments->list, std::uint64_t), 8, false, layout);
}

void cvt_u(OutputStream* S, char, Arguments* arguments, const Layout& layout) noexcept {
    putNumber(S, va_arg(arguments->list, std::uint64_t), 10, false, layout);
}

void cvt_x(OutputStream* S, char, Arguments* arguments, const Layout& layout) noexcept {
    putNumber(S, va_arg(arguments->list, std::uint64_t), 16, false, layout);
}

void cvt_p(OutputStream* S, char, Arguments* arguments, const Layout& layout) noexcept {
    Layout withoutPrecision = layout;
    withoutPrecision.precision = unspecified;
    putNumber(S, reinterpret_cast<std::uintptr_t>(va_arg(arguments->list, void*)), 16, false, withoutPrecision);
}

void cvt_s(OutputStream* S, char, Arguments* arguments, const Layout& layout) noexcept {
    const char* str = va_arg(arguments->list, const char*);
    SENTREL_ASSERT(str);
    const std::size_t length =
        layout.precision < 0 ? std::strlen(str) : strnlen(str, static_cast<std::size_t>(layout.precision));
    puts(S, str, length, layout);
}

void cvt_f(OutputStream* S, char conversion, Arguments* arguments, const Layout& layout) noexcept {
    int precision = layout.precision < 0 ? 6 : layout.precision;
    if (conversion == 'g' && precision == 0)
        precision = 1;
    SENTREL_ASSERT(precision <= 99);
    char format[] = "%.dd?";
    format[2] = static_cast<char>('0' + precision / 10);
    format[3] = static_cast<char>('0' + precision % 10);
    format[4] = conversion;
    // The longest finite value with 99 places fits as long as it has no sign; a longer text is cut.
    std::array<char, 410> text;
    const int length = std::snprintf(text.data(), text.size(), format, va_arg(arguments->list, double));
    Layout settled = layout;
    settled.precision = precision;
    putd(S, text.data(), std::clamp(length, 0, static_cast<int>(text.size()) - 1), settled);
}

using Conversion = void (*)(OutputStream*, char, Arguments*, const Layout&) noexcept;

constexpr std::array<Conversion, 256> cvt = [] {
    std::array<Conversion, 256> table{};
    table['c'] = cvt_c;
    table['d'] = table['i'] = cvt_d;
    table['e'] = table['f'] = table['g'] = cvt_f;
    table['l'] = cvt_l;
    table['o'] = cvt_o;
    table['p'] = cvt_p;
    table['s'] = cvt_s;
    table['u'] = cvt_u;
    table['x'] = cvt_x;
    return table;
}();

bool isFlag(char c) noexcept {
    return c == '-' || c == '+' || c == ' ' || c == '0';
}

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// A width or precision at the format's position, which moves behind it; unspecified if there is none.
int readNumber(const char*& format, Arguments& arguments) noexcept {
    if (*format == '*') {
        ++format;
        const int n = va_arg(arguments.list, int);
        SENTREL_ASSERT(n != INT_MIN);
        return n;
    }
    if (!isDigit(*format))
        return unspecified;
    int n = 0;
    for (; isDigit(*format); ++format) {
        const int d = *format - '0';
        // clang-format off
        SENTREL_ASSERT(n <= (INT_MAX - d)/10); // as the report shows it
        // clang-format on
        n = 10 * n + d;
    }
    return n;
}

// One conversion, from behind its "%". Returns the position behind it.
const char* convert(OutputStream* S, const char* format, Arguments& arguments) noexcept {
    Layout layout;
    for (auto& flags = layout.flags; isFlag(*format); ++format) {
        const auto c = static_cast<unsigned char>(*format);
        ++flags[c];
        SENTREL_ASSERT(flags[c] < 255);
    }
    layout.width = readNumber(format, arguments);
    if (*format == '.') {
        ++format;
        layout.precision = readNumber(format, arguments);
    }
    auto c = static_cast<unsigned char>(*format);
    if (c == 'l') {
        c = static_cast<unsigned char>(*++format);
        if (c == 'd' || c == 'i')
            c = 'l';
    }
    SENTREL_ASSERT(cvt[c]);
    cvt[c](S, static_cast<char>(c), &arguments, layout);
    return format + 1;
}

} // namespace

OutputStream* OutputStream_new(std::int32_t descriptor) noexcept {
    auto* S = static_cast<OutputStream*>(Mem_alloc(sizeof(OutputStream)));
    S->descriptor = descriptor;
    S->timeout = defaultTimeout;
    S->end = S->buffer + sizeof S->buffer;
    S->position = S->buffer;
    S->closed = 0;
    S->accepted = 0;
    S->written = 0;
    return S;
}

void OutputStream_free(OutputStream** S) noexcept {
    SENTREL_ASSERT(S && *S);
    Mem_free(*S);
    *S = nullptr;
}

std::int32_t OutputStream_getDescriptor(OutputStream* S) noexcept {
    SENTREL_ASSERT(S);
    return S->descriptor;
}

std::int32_t OutputStream_buffered(OutputStream* S) noexcept {
    SENTREL_ASSERT(S);
    return static_cast<std::int32_t>(S->position - S->buffer);
}

void OutputStream_setTimeout(OutputStream* S, std::int64_t timeout) noexcept {
    SENTREL_ASSERT(S);
    SENTREL_ASSERT(timeout >= 0);
    S->timeout = timeout;
}

std::int64_t OutputStream_getTimeout(OutputStream* S) noexcept {
    SENTREL_ASSERT(S);
    return S->timeout;
}

bool OutputStream_isClosed(OutputStream* S) noexcept {
    SENTREL_ASSERT(S);
    return S->closed != 0;
}

std::int64_t OutputStream_getBytesWritten(OutputStream* S) noexcept {
    SENTREL_ASSERT(S);
    return S->written;
}

std::int32_t OutputStream_print(OutputStream* S, const char* format, ...) noexcept {
    SENTREL_ASSERT(S);
    va_list arguments;
    va_start(arguments, format);
    const std::int32_t accepted = OutputStream_vprint(S, format, arguments);
    va_end(arguments);
    return accepted;
}

std::int32_t OutputStream_vprint(OutputStream* S, const char* format, va_list arguments) noexcept {
    SENTREL_ASSERT(S);
    SENTREL_ASSERT(format);
    if (S->closed)
        return -1;
    S->accepted = 0;
    Arguments list;
    va_copy(list.list, arguments);
    while (*format != '\0') {
        const std::size_t plain = std::strcspn(format, "%");
        put(S, format, plain);
        format += plain;
        if (*format == '\0')
            break;
        ++format;
        if (*format == '%')
            put(S, format++, 1);
        else
            format = convert(S, format, list);
    }
    va_end(list.list);
    return S->accepted;
}

std::int32_t OutputStream_write(OutputStream* S, const void* b, std::int32_t count) noexcept {
    SENTREL_ASSERT(S);
    SENTREL_ASSERT(b);
    if (S->closed)
        return -1;
    S->accepted = 0;
    put(S, b, static_cast<std::size_t>(std::max(count, 0)));
    return S->accepted;
}

std::int32_t OutputStream_flush(OutputStream* S) noexcept {
    SENTREL_ASSERT(S);
    return S->position == S->buffer ? 0 : flush(S);
}

void OutputStream_clear(OutputStream* S) noexcept {
    SENTREL_ASSERT(S);
    S->position = S->buffer;
}

} // namespace sentrel
