// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Formatting.h>

#include <SentrelKit/settings/SharedDefaults.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

namespace sentrel {

namespace {

/// Ends at "ZB": meant so. What is too large for it has no text.
constexpr std::array<std::string_view, 8> kByteNotation{"B", "KB", "MB", "GB", "TB", "PB", "EB", "ZB"};

constexpr std::string_view degreeSign = "\u00B0";

/// A text of limited length on the stack.
class ShortText {
public:
    void append(char character) noexcept { text_[length_++] = character; }
    void append(std::string_view part) noexcept {
        std::memcpy(text_.data() + length_, part.data(), part.size());
        length_ += part.size();
    }

    /// A whole number, at least `width` digits.
    void append(std::uint64_t number, int width) noexcept {
        std::array<char, 20> digits;
        std::size_t first = digits.size();
        do {
            digits[--first] = static_cast<char>('0' + number % 10);
            number /= 10;
            --width;
        } while (number != 0 || width > 0);
        append(std::string_view(digits.data() + first, digits.size() - first));
    }

    /// A whole number too large for 64 bits.
    void appendHuge(double number) noexcept {
        length_ +=
            static_cast<std::size_t>(std::snprintf(text_.data() + length_, text_.size() - length_, "%.0f", number));
    }

    [[nodiscard]] std::string str() const { return {text_.data(), length_}; }

private:
    // The largest double has 309 digits; sign, decimals and unit follow.
    std::array<char, 340> text_;
    std::size_t length_ = 0;
};

/// A number of 0 to 2^53 times a power of ten of at most 100, to the nearest whole number, ties to even: what the C
/// library's "%.*f" does to the exact value. The product has at most 60 bits, so it is exact.
std::uint64_t scaled(double magnitude, std::uint64_t scale) noexcept {
    constexpr int fractionBits = std::numeric_limits<double>::digits - 1;
    constexpr int exponentBias = std::numeric_limits<double>::max_exponent - 1;
    const auto bits = std::bit_cast<std::uint64_t>(magnitude);
    const auto exponent = static_cast<int>(bits >> fractionBits);
    if (exponent == 0)
        return 0; // zero and denormals
    const std::uint64_t implicitOne = std::uint64_t{1} << fractionBits;
    const std::uint64_t product = ((bits & (implicitOne - 1)) | implicitOne) * scale;
    const int shift = exponentBias + fractionBits - exponent;
    if (shift <= 0)
        return product << -shift;
    if (shift >= 64)
        return 0;
    const std::uint64_t whole = product >> shift;
    const std::uint64_t rest = product & ((std::uint64_t{1} << shift) - 1);
    const std::uint64_t half = std::uint64_t{1} << (shift - 1);
    const bool up = rest > half || (rest == half && (whole & 1) != 0);
    return whole + (up ? 1 : 0);
}

/// A number with so many decimals, as "%.*f" in the C locale.
template <int Decimals>
void appendFixed(ShortText& text, double value) noexcept {
    static_assert(Decimals >= 0 && Decimals <= 2);
    constexpr std::uint64_t scale = Decimals == 0 ? 1 : Decimals == 1 ? 10 : 100;
    constexpr double exactLimit = 9007199254740992.0; // 2^53; from here on every double is a whole number
    if (std::isnan(value)) {
        text.append("nan");
        return;
    }
    if (std::signbit(value))
        text.append('-');
    const double magnitude = std::fabs(value);
    if (std::isinf(magnitude)) {
        text.append("inf");
        return;
    }
    const bool huge = magnitude >= exactLimit;
    const std::uint64_t number = huge ? 0 : scaled(magnitude, scale);
    if (huge)
        text.appendHuge(magnitude);
    else
        text.append(number / scale, 1);
    if constexpr (Decimals > 0) {
        text.append('.');
        text.append(number % scale, Decimals);
    }
}

/// Chooses the unit with the inclusive bound "at most the base", so that 1024 KB stay 1024 KB.
std::string bytes2str(double value, double base, ByteNotation roundFrom) {
    for (std::size_t index = 0; index < kByteNotation.size(); ++index) {
        // Written so that not-a-number stays in the first unit.
        if (value > base) {
            value /= base;
            continue;
        }
        ShortText text;
        if (index <= static_cast<std::size_t>(roundFrom) || value - std::trunc(value) < 0.005)
            appendFixed<0>(text, value);
        else
            appendFixed<2>(text, value);
        text.append(' ');
        text.append(kByteNotation[index]);
        return text.str();
    }
    return {};
}

/// Chooses the unit with the strict bound "below 1024" and starts at "KB", unlike sizes: meant so.
std::string bps2str(double value) {
    constexpr double perUnit = 1.0 / 1024;
    for (std::size_t index = 1; index < kByteNotation.size(); ++index) {
        value *= perUnit;
        if (value < 1024) {
            ShortText text;
            appendFixed<1>(text, value);
            text.append(' ');
            text.append(kByteNotation[index]);
            text.append("/s");
            return text.str();
        }
    }
    return {};
}

/// Rounds half away from zero, as temperatures are.
std::string wholeDegrees(double value) {
    ShortText text;
    appendFixed<0>(text, std::round(value));
    text.append(degreeSign);
    return text.str();
}

} // namespace

std::string byteStr(double bytes, ByteNotation roundFrom) {
    return bytes2str(bytes, 1024, roundFrom);
}

std::string diskByteStr(double bytes) {
    return bytes2str(bytes, 1000, ByteNotation::B);
}

std::string bpsStr(double bytesPerSecond) {
    return bps2str(bytesPerSecond);
}

std::string celcius(double celsius) {
    return wholeDegrees(celsius);
}

std::string fahrenheit(double celsius) {
    return wholeDegrees(celsius * 1.8 + 32);
}

std::string degrees(double celsius) {
    const auto unit = sharedDefaults().numberForKey("temperature");
    return unit && unit->integerValue() != 0 ? fahrenheit(celsius) : celcius(celsius);
}

std::string toStr(double value) {
    ShortText text;
    appendFixed<2>(text, value);
    return text.str();
}

} // namespace sentrel
