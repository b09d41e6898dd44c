// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Formatting.h>

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/settings/SharedDefaults.h>

#include "tests/support/CommaLocale.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

namespace sentrel {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kilo = 1024;

// What the texts must be, from their definition alone: exact decimal arithmetic on digit strings.

/// Decimal digits, the most significant first.
void multiply(std::string& digits, int factor) {
    int carry = 0;
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) {
        const int product = (*digit - '0') * factor + carry;
        *digit = static_cast<char>('0' + product % 10);
        carry = product / 10;
    }
    for (; carry != 0; carry /= 10)
        digits.insert(digits.begin(), static_cast<char>('0' + carry % 10));
}

void addOne(std::string& digits) {
    auto digit = digits.rbegin();
    for (; digit != digits.rend() && *digit == '9'; ++digit)
        *digit = '0';
    if (digit == digits.rend())
        digits.insert(digits.begin(), '1');
    else
        ++*digit;
}

/// The exact value of a double, rounded half to even at so many decimals.
std::string exactFixed(double value, std::size_t decimals) {
    if (std::isnan(value))
        return "nan";
    const std::string sign = std::signbit(value) ? "-" : "";
    if (std::isinf(value))
        return sign + "inf";
    int exponent = 0;
    const double fraction = std::frexp(std::fabs(value), &exponent);
    std::string digits = std::to_string(static_cast<std::uint64_t>(std::ldexp(fraction, 53)));
    exponent -= 53;
    std::size_t point = 0; // digits behind the decimal point
    for (; exponent >= 10; exponent -= 10)
        multiply(digits, 1024);
    for (; exponent > 0; --exponent)
        multiply(digits, 2);
    for (; exponent <= -10; exponent += 10, point += 10)
        multiply(digits, 9765625); // 5 to the tenth
    for (; exponent < 0; ++exponent, ++point)
        multiply(digits, 5);
    while (point < decimals) {
        digits += '0';
        ++point;
    }
    if (digits.size() <= point)
        digits.insert(0, point + 1 - digits.size(), '0');
    const std::string dropped = digits.substr(digits.size() - (point - decimals));
    digits.resize(digits.size() - dropped.size());
    const std::string half = dropped.empty() ? "" : "5" + std::string(dropped.size() - 1, '0');
    const bool odd = (digits.back() - '0') % 2 != 0;
    if (!dropped.empty() && (dropped > half || (dropped == half && odd)))
        addOne(digits);
    if (decimals > 0)
        digits.insert(digits.size() - decimals, ".");
    return sign + digits;
}

const std::array<const char*, 8> units{"B", "KB", "MB", "GB", "TB", "PB", "EB", "ZB"};

std::string referenceBytes(double value, double base, ByteNotation roundFrom) {
    std::size_t unit = 0;
    for (; unit < units.size() && value > base; ++unit)
        value /= base;
    if (unit == units.size())
        return "";
    const bool whole = unit <= static_cast<std::size_t>(roundFrom) || value - std::trunc(value) < 0.005;
    return exactFixed(value, whole ? 0 : 2) + " " + units[unit];
}

std::string referenceRate(double value) {
    for (std::size_t unit = 1; unit < units.size(); ++unit) {
        value /= 1024;
        if (value < 1024)
            return exactFixed(value, 1) + " " + units[unit] + "/s";
    }
    return "";
}

std::string referenceDegrees(double value) {
    const double towardsZero = std::trunc(value);
    const bool away = std::fabs(value - towardsZero) >= 0.5;
    return exactFixed(away ? towardsZero + std::copysign(1.0, value) : std::copysign(towardsZero, value), 0) + "°";
}

constexpr std::array allNotations{ByteNotation::B,  ByteNotation::KB, ByteNotation::MB, ByteNotation::GB,
                                  ByteNotation::TB, ByteNotation::PB, ByteNotation::EB, ByteNotation::ZB};

void expectAllAsDefined(double value) {
    for (const ByteNotation roundFrom : allNotations)
        EXPECT_EQ(byteStr(value, roundFrom), referenceBytes(value, 1024, roundFrom)) << value;
    EXPECT_EQ(diskByteStr(value), referenceBytes(value, 1000, ByteNotation::B)) << value;
    EXPECT_EQ(bpsStr(value), referenceRate(value)) << value;
    EXPECT_EQ(celcius(value), referenceDegrees(value)) << value;
    EXPECT_EQ(fahrenheit(value), referenceDegrees(value * 1.8 + 32)) << value;
    EXPECT_EQ(toStr(value), exactFixed(value, 2)) << value;
}

TEST(Formatting, TheReferenceItselfKnowsTies) {
    EXPECT_EQ(exactFixed(0.5, 0), "0");
    EXPECT_EQ(exactFixed(1.5, 0), "2");
    EXPECT_EQ(exactFixed(0.125, 2), "0.12");
    EXPECT_EQ(exactFixed(0.375, 2), "0.38");
    EXPECT_EQ(exactFixed(9.999, 2), "10.00");
    EXPECT_EQ(exactFixed(-0.001, 2), "-0.00");
    EXPECT_EQ(exactFixed(1e23, 0), "99999999999999991611392");
}

TEST(Formatting, WritesByteSizes) {
    EXPECT_EQ(byteStr(0), "0 B");
    EXPECT_EQ(byteStr(1023), "1023 B");
    EXPECT_EQ(byteStr(1024), "1024 B");
    EXPECT_EQ(byteStr(1025), "1 KB");
    EXPECT_EQ(byteStr(1536), "1.50 KB");
    EXPECT_EQ(byteStr(2097152), "2 MB");
    EXPECT_EQ(byteStr(3.5 * kilo * kilo * kilo), "3.50 GB");
}

TEST(Formatting, KeepsExactlyOneBaseInItsUnit) {
    double size = 1;
    for (const char* unit : units) {
        EXPECT_EQ(byteStr(size * kilo), std::string("1024 ") + unit);
        size *= kilo;
    }
    EXPECT_EQ(diskByteStr(1000), "1000 B");
    EXPECT_EQ(diskByteStr(1000 * 1000), "1000 KB");
}

TEST(Formatting, RoundsToWholeUnitsUpToTheGivenOne) {
    EXPECT_EQ(byteStr(1.5 * std::pow(kilo, 3), ByteNotation::GB), "2 GB");
    EXPECT_EQ(byteStr(2.5 * std::pow(kilo, 3), ByteNotation::GB), "2 GB") << "ties go to even here";
    EXPECT_EQ(byteStr(1.5 * std::pow(kilo, 4), ByteNotation::GB), "1.50 TB");
    EXPECT_EQ(byteStr(std::uint64_t{1} << 40, ByteNotation::ZB), "1024 GB");
}

TEST(Formatting, WritesDiskSizesInPowersOfThousand) {
    EXPECT_EQ(diskByteStr(std::int64_t{500107862016}), "500.11 GB");
    EXPECT_EQ(diskByteStr(std::uint64_t{500107862016}), "500.11 GB");
    EXPECT_EQ(diskByteStr(1001), "1 KB");
}

TEST(Formatting, AFractionThatRoundsUpKeepsItsDecimals) {
    EXPECT_EQ(byteStr(1.996 * kilo), "2.00 KB");
}

TEST(Formatting, WritesRatesFromKilobytesUp) {
    EXPECT_EQ(bpsStr(0), "0.0 KB/s");
    EXPECT_EQ(bpsStr(512), "0.5 KB/s");
    EXPECT_EQ(bpsStr(12.4 * kilo), "12.4 KB/s");
    EXPECT_EQ(bpsStr(1048575), "1024.0 KB/s") << "still below 1024 before it is rounded";
    EXPECT_EQ(bpsStr(1048576), "1.0 MB/s");
}

TEST(Formatting, WritesNothingBeyondTheLastUnit) {
    EXPECT_EQ(byteStr(std::pow(kilo, 8)), "1024 ZB");
    EXPECT_EQ(byteStr(std::nextafter(std::pow(kilo, 8), infinity)), "");
    EXPECT_EQ(diskByteStr(1.01e24), "");
    EXPECT_EQ(bpsStr(std::pow(kilo, 8)), "");
    EXPECT_EQ(bpsStr(std::nextafter(std::pow(kilo, 8), 0)), "1024.0 ZB/s");
    EXPECT_EQ(byteStr(infinity), "");
    EXPECT_EQ(diskByteStr(infinity), "");
    EXPECT_EQ(bpsStr(infinity), "");
}

TEST(Formatting, WritesNegativeSizesAndNotANumberInBytes) {
    EXPECT_EQ(byteStr(-1), "-1 B");
    EXPECT_EQ(byteStr(-2097152), "-2097152 B");
    EXPECT_EQ(byteStr(notANumber), "nan B");
    EXPECT_EQ(byteStr(-notANumber), "nan B");
    EXPECT_EQ(byteStr(-infinity), "-inf B");
    EXPECT_EQ(bpsStr(notANumber), "");
}

TEST(Formatting, ConvertsIntegersOfBothSigns) {
    EXPECT_EQ(byteStr(std::numeric_limits<std::uint64_t>::max()), "16 EB");
    EXPECT_EQ(byteStr(std::numeric_limits<std::int64_t>::max()), "8 EB");
    EXPECT_EQ(byteStr(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808 B");
    EXPECT_EQ(diskByteStr(std::numeric_limits<std::uint64_t>::max()), "18.45 EB");
    EXPECT_EQ(byteStr(std::uint64_t{1536}, ByteNotation::KB), "2 KB");
}

TEST(Formatting, ByteNotationHasEightRawValues) {
    for (std::int64_t raw = 0; raw < 8; ++raw)
        EXPECT_EQ(byteNotation(raw), allNotations.at(static_cast<std::size_t>(raw)));
    for (const std::int64_t raw : {std::int64_t{8}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min(),
                                   std::numeric_limits<std::int64_t>::max(), std::int64_t{256}})
        EXPECT_EQ(byteNotation(raw), std::nullopt) << raw;
    EXPECT_EQ(std::unordered_set<ByteNotation>(allNotations.begin(), allNotations.end()).size(), 8U);
}

TEST(Formatting, WritesTemperatures) {
    EXPECT_EQ(celcius(21), "21°");
    EXPECT_EQ(celcius(21.5), "22°");
    EXPECT_EQ(celcius(22.5), "23°") << "half away from zero, not to even";
    EXPECT_EQ(celcius(-21.5), "-22°");
    EXPECT_EQ(celcius(-0.2), "-0°") << "the sign stays, as the format writes it";
    EXPECT_EQ(fahrenheit(21.5), "71°");
    EXPECT_EQ(fahrenheit(-40), "-40°");
}

TEST(Formatting, WritesNumbersWithTwoDecimals) {
    EXPECT_EQ(toStr(3.14159), "3.14");
    EXPECT_EQ(toStr(0), "0.00");
    EXPECT_EQ(toStr(-0.0), "-0.00");
    EXPECT_EQ(toStr(1e15), "1000000000000000.00");
    EXPECT_EQ(toStr(std::numeric_limits<double>::max()).size(), 312U);
}

TEST(Formatting, TimeUnitsAreSeconds) {
    static_assert(second(1.1) == 1.1);
    static_assert(minute(2) == 120);
    static_assert(hour(1.5) == 5400);
}

TEST(Formatting, EdgeValuesReadAsDefined) {
    using Limits = std::numeric_limits<double>;
    std::vector<double> values{0.0,           -0.0,
                               1.0,           -1.0,
                               Limits::max(), Limits::lowest(),
                               Limits::min(), Limits::denorm_min(),
                               0.5,           1.5,
                               2.5,           0.25,
                               0.125,         0.005,
                               0.015,         0.995,
                               1e21,          1e300,
                               infinity,      -infinity,
                               notANumber};
    for (const auto integer : {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()})
        values.push_back(static_cast<double>(integer));
    values.push_back(static_cast<double>(std::numeric_limits<std::uint64_t>::max()));
    for (const double base : {2.0, 10.0, 1000.0, 1024.0})
        for (int power = -4; power <= 30; ++power)
            values.push_back(std::pow(base, power));
    for (std::size_t i = 0, count = values.size(); i < count; ++i) {
        values.push_back(std::nextafter(values[i], infinity));
        values.push_back(std::nextafter(values[i], -infinity));
        values.push_back(-values[i]);
    }
    for (const double value : values)
        expectAllAsDefined(value);
}

TEST(Formatting, RandomNumbersReadAsDefined) {
    std::mt19937_64 random(20170714); // NOLINT: the same numbers in every run
    std::uniform_real_distribution<double> exponent(-12, 30);
    std::uniform_real_distribution<double> mantissa(-1, 1);
    for (int i = 0; i < 3000; ++i)
        expectAllAsDefined(mantissa(random) * std::pow(10.0, exponent(random)));
}

TEST(Formatting, AnyBitPatternReadsAsDefined) {
    std::mt19937_64 random(42); // NOLINT: the same numbers in every run
    for (int i = 0; i < 200; ++i)
        expectAllAsDefined(std::bit_cast<double>(random()));
}

TEST(Formatting, TiesAtEveryDecimalReadAsDefined) {
    for (int eighths = 0; eighths <= 8 * 1024; ++eighths) {
        const double value = eighths / 8.0;
        EXPECT_EQ(toStr(value), exactFixed(value, 2));
        EXPECT_EQ(byteStr(value * kilo), referenceBytes(value * kilo, 1024, ByteNotation::B));
        EXPECT_EQ(bpsStr(value * kilo / 16), referenceRate(value * kilo / 16));
    }
}

TEST(Formatting, UsesTheDecimalPointInEveryLocale) {
    const CommaLocale locale;
    if (!locale.isInForce())
        GTEST_SKIP() << "localedef cannot make a locale with a decimal comma here";
    EXPECT_EQ(std::to_string(1.5).substr(0, 3), "1,5") << "the C library follows the locale";
    const std::vector<std::string> texts{byteStr(1536), bpsStr(512), toStr(1234567.5), toStr(1e22)};
    EXPECT_EQ(texts, (std::vector<std::string>{"1.50 KB", "0.5 KB/s", "1234567.50", "10000000000000000000000.00"}));
}

TEST(Degrees, FollowTheSharedPreference) {
    platform::ScriptedPlatform machine;
    const platform::Override override(machine);
    EXPECT_EQ(degrees(21.5), "22°");
    const auto temperature = sharedDefaults()["temperature"];
    const std::vector<std::pair<PropertyList, std::string>> cases{
        {1, "71°"},     {0, "22°"},   {std::int64_t{-1}, "71°"},    {2.5, "71°"}, {0.5, "22°"}, {true, "71°"},
        {false, "22°"}, {"1", "22°"}, {PropertyList::List{}, "22°"}};
    for (const auto& [kept, expected] : cases) {
        temperature = kept;
        EXPECT_EQ(degrees(21.5), expected);
    }
    machine.preferences().scripted("Q4R7TWXN20.SentrelSharingDefaults")->calls.fail("object");
    EXPECT_EQ(degrees(21.5), "22°");
}

} // namespace
} // namespace sentrel
