// SPDX-License-Identifier: Apache-2.0
#include "tools/terminal/TextWidth.h"

#include <gtest/gtest.h>

#include <clocale>

namespace terminal {
namespace {

TEST(TextWidth, CountsColumnsAndNotBytes) {
    EXPECT_EQ(columnsOf(""), 0U);
    EXPECT_EQ(columnsOf("plain"), 5U);
    EXPECT_EQ(columnsOf("Müller"), 6U);
    EXPECT_EQ(columnsOf("家"), 2U);
    EXPECT_EQ(columnsOf("e\xCC\x81"), 1U) << "the accent stands above the letter";
    EXPECT_EQ(columnsOf("▁█"), 2U);
}

TEST(TextWidth, FitsATextByCuttingOrByBlanks) {
    EXPECT_EQ(fitted("disk", 6), "disk  ");
    EXPECT_EQ(fitted("disk", 4), "disk");
    EXPECT_EQ(fitted("/var/lib", 5), "/var…");
    EXPECT_EQ(fitted("/var/lib", 5, false), "/var~");
    EXPECT_EQ(fitted("disk", 1), "…");
    EXPECT_EQ(fitted("disk", 0), "");
    EXPECT_EQ(fitted("家家家", 4), "家… ") << "half an ideograph is none";
}

TEST(TextWidth, LeavesAsciiAlone) {
    EXPECT_EQ(asciiText("a/b 1%"), "a/b 1%");
    EXPECT_EQ(asciiText("Müller 家"), "M?ller ?");
}

TEST(TextWidth, KnowsALocaleOfUtf8) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    EXPECT_TRUE(isUnicodeLocale());
    std::setlocale(LC_CTYPE, "C");
    EXPECT_FALSE(isUnicodeLocale());
}

} // namespace
} // namespace terminal
