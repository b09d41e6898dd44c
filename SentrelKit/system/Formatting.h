// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Numbers as the short texts that the views show: byte sizes ("3.50 GB"), transfer rates ("12.4 KB/s"), temperatures
/// ("21°"), plain numbers, and the time units in which intervals are written.
///
/// The decimal point is a point in every locale. Not-a-number reads "nan", infinities "inf" and "-inf", and a negative
/// value that rounds to zero keeps its sign ("-0"). Any thread; the texts are short enough to need no memory from the
/// heap, figures of fifteen characters and more aside.

#include <SentrelKit/Export.h>

#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace sentrel {

/// The units of byte sizes.
enum class ByteNotation : std::uint8_t { B, KB, MB, GB, TB, PB, EB, ZB };
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, ByteNotation value);

/// The unit of a raw value; none for anything but 0 to 7.
[[nodiscard]] constexpr std::optional<ByteNotation> byteNotation(std::int64_t rawValue) noexcept {
    if (rawValue < 0 || rawValue > static_cast<std::int64_t>(ByteNotation::ZB))
        return std::nullopt;
    return static_cast<ByteNotation>(rawValue);
}

/// Bytes in units of 1024: two decimals, none up to the unit `roundFrom` and none where they would read ".00" for a
/// fraction below 0.005. Exactly 1024 of a unit stay in it ("1024 KB"). Negative sizes and not-a-number are whole
/// bytes. Beyond 1024 ZB the text is empty.
[[nodiscard]] SENTREL_API std::string byteStr(double bytes, ByteNotation roundFrom = ByteNotation::B);

/// The same in units of 1000, as disks are sold.
[[nodiscard]] SENTREL_API std::string diskByteStr(double bytes);

/// `byteStr` of a whole number.
template <std::integral Integer>
[[nodiscard]] std::string byteStr(Integer bytes, ByteNotation roundFrom = ByteNotation::B) {
    return byteStr(static_cast<double>(bytes), roundFrom);
}
/// `diskByteStr` of a whole number.
template <std::integral Integer>
[[nodiscard]] std::string diskByteStr(Integer bytes) {
    return diskByteStr(static_cast<double>(bytes));
}

/// Bytes per second, in KB/s and more, with one decimal: "0.5 KB/s". Unlike sizes, 1024 of a unit are one of the next.
/// Not-a-number and rates of 1024 ZB/s and more give the empty text.
[[nodiscard]] SENTREL_API std::string bpsStr(double bytesPerSecond);

/// Degrees Celsius as a whole number, half away from zero, with the degree sign. (The name is spelled like this.)
[[nodiscard]] SENTREL_API std::string celcius(double celsius);

/// Degrees Celsius as whole degrees Fahrenheit, half away from zero, with the degree sign.
[[nodiscard]] SENTREL_API std::string fahrenheit(double celsius);

/// Degrees Celsius as `celcius` or `fahrenheit`, by the shared preference "temperature": a number other than 0 chooses
/// Fahrenheit.
[[nodiscard]] SENTREL_API std::string degrees(double celsius);

/// A number with two decimals.
[[nodiscard]] SENTREL_API std::string toStr(double value);

/// Seconds from seconds: the number as it is.
[[nodiscard]] constexpr double second(double seconds) noexcept {
    return seconds;
}
/// Seconds from minutes.
[[nodiscard]] constexpr double minute(double minutes) noexcept {
    return minutes * 60;
}
/// Seconds from hours.
[[nodiscard]] constexpr double hour(double hours) noexcept {
    return hours * 3600;
}

} // namespace sentrel
