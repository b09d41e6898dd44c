// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/Color.h>

#include <cstddef>
#include <limits>

namespace sentrel {

namespace {

double unit(std::int64_t component) noexcept {
    return static_cast<double>(component) / 255.0;
}

int hexDigit(char character) noexcept {
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return -1;
}

// A whole text as a signed 64-bit integer in radix 16: optional sign, digits of either case, no blanks, no overflow.
std::optional<std::int64_t> parseHex(std::string_view text) noexcept {
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    if (text.empty())
        return std::nullopt;
    constexpr std::uint64_t largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const std::uint64_t limit = negative ? largest + 1 : largest;
    std::uint64_t magnitude = 0;
    for (const char character : text) {
        const int digit = hexDigit(character);
        if (digit < 0)
            return std::nullopt;
        const auto addend = static_cast<std::uint64_t>(digit);
        if (magnitude > (limit - addend) / 16)
            return std::nullopt;
        magnitude = magnitude * 16 + addend;
    }
    return static_cast<std::int64_t>(negative ? std::uint64_t{0} - magnitude : magnitude);
}

} // namespace

Color Color::initWithR(std::int64_t r, std::int64_t g, std::int64_t b, double a) noexcept {
    return {unit(r), unit(g), unit(b), a};
}

std::optional<Color> Color::initWithHex(std::int64_t hex, float alpha) noexcept {
    if (static_cast<std::uint64_t>(hex) > 0xFFFFFF)
        return std::nullopt;
    return initWithR((hex >> 16) & 0xFF, (hex >> 8) & 0xFF, hex & 0xFF, static_cast<double>(alpha));
}

std::optional<Color> Color::initWithHexString(std::string_view hexString, float alpha) noexcept {
    if (!hexString.empty() && hexString.front() == '#')
        hexString.remove_prefix(1);
    const std::optional<std::int64_t> value = parseHex(hexString);
    if (!value)
        return std::nullopt;
    const auto a = static_cast<double>(alpha);
    // A text that parsed is ASCII, so its bytes are its characters.
    switch (hexString.size()) {
    case 3:
        return initWithR(((*value >> 8) & 0xF) * 17, ((*value >> 4) & 0xF) * 17, (*value & 0xF) * 17, a);
    case 6:
        return initWithR((*value >> 16) & 0xFF, (*value >> 8) & 0xFF, *value & 0xFF, a);
    default:
        return std::nullopt;
    }
}

Color Color::withAlphaComponent(double newAlpha) const noexcept {
    return {red, green, blue, newAlpha};
}

Color Color::blendedColor(double fraction, const Color& other) const noexcept {
    const auto mix = [fraction](double from, double to) { return from * (1.0 - fraction) + to * fraction; };
    return {mix(red, other.red), mix(green, other.green), mix(blue, other.blue), mix(alpha, other.alpha)};
}

} // namespace sentrel
