// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/util/PropertyList.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

namespace sentrel {

/// A number as preferences keep it: an integer, a double or a boolean, readable as each. A plain value: any thread may
/// own one.
class Number {
public:
    /// The number 0.
    Number() : value_(0) {}

    /// The number in a value; absent for texts and every other kind.
    [[nodiscard]] static std::optional<Number> from(PropertyList value) {
        if (!value.as<bool>() && !value.as<std::int64_t>() && !value.as<double>())
            return std::nullopt;
        Number number;
        number.value_ = std::move(value);
        return number;
    }

    /// As an integer: true is 1; a double loses its fraction, beyond the integers it is the nearest one, and
    /// not-a-number is 0.
    [[nodiscard]] std::int64_t integerValue() const noexcept {
        if (const bool* boolean = value_.as<bool>())
            return *boolean ? 1 : 0;
        if (const std::int64_t* integer = value_.as<std::int64_t>())
            return *integer;
        constexpr double limit = 9223372036854775808.0; // 2^63
        const double real = doubleValue();
        if (std::isnan(real))
            return 0;
        if (real >= limit)
            return std::numeric_limits<std::int64_t>::max();
        return real < -limit ? std::numeric_limits<std::int64_t>::min() : static_cast<std::int64_t>(real);
    }

    /// As a double: true is 1; beyond 53 bits an integer is rounded.
    [[nodiscard]] double doubleValue() const noexcept {
        const double* real = value_.as<double>();
        return real ? *real : static_cast<double>(integerValue());
    }

    /// Anything but zero is true.
    [[nodiscard]] bool boolValue() const noexcept { return doubleValue() != 0; }

    /// The number in the kind it was kept as.
    [[nodiscard]] const PropertyList& value() const noexcept { return value_; }

    /// Equal kind and equal number.
    friend bool operator==(const Number&, const Number&) = default;

private:
    PropertyList value_;
};

} // namespace sentrel
