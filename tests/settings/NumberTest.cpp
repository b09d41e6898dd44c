// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/settings/Number.h>

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <optional>

namespace sentrel {
namespace {

TEST(Number, BecomesTheNearestIntegerBeyondTheRange) {
    const auto integer = [](double value) { return Number::from(value)->integerValue(); };
    EXPECT_EQ(integer(1e300), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(integer(-1e300), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(integer(9223372036854775808.0), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(integer(std::nan("")), 0);
    EXPECT_EQ(integer(-0.9), 0);
    EXPECT_EQ(Number::from("1"), std::nullopt);
    EXPECT_EQ(Number::from(PropertyList()), std::nullopt);
}

} // namespace
} // namespace sentrel
