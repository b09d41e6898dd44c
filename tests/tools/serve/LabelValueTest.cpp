// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/LabelValue.h"

#include <gtest/gtest.h>

#include <string>

namespace tool {
namespace {

TEST(LabelValueTest, UnicodeStaysAsItIs) {
    for (const char* const text : {"", "/", "/srv/Bücher \"neu\"\n\\", "\x01\x1F\x7F", "\xF0\x9F\x92\xBE"})
        EXPECT_EQ(labelValue(text), text);
}

TEST(LabelValueTest, BytesThatAreNoUnicodeAreToldByTheirNumbers) {
    EXPECT_EQ(labelValue("\xFF"), "\\xff");
    EXPECT_EQ(labelValue("a\xC3"), "a\\xc3") << "cut in the middle of a character";
    EXPECT_EQ(labelValue("\xC0\x80"), "\\xc0\\x80") << "an overlong form";
    EXPECT_EQ(labelValue("\xED\xA0\x80/b"), "\\xed\\xa0\\x80/b") << "half a pair";
    EXPECT_EQ(labelValue(std::string("a\0b", 3)), "a\\x00b");
}

TEST(LabelValueTest, DifferentNamesStayDifferent) {
    EXPECT_NE(labelValue("/mnt/\xFE"), labelValue("/mnt/\xFF"));
}

} // namespace
} // namespace tool
