// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/KernelText.h>

#include <gtest/gtest.h>

#include <vector>

namespace sentrel::platform {
namespace {

TEST(KernelText, TakesLinesOfWhichTheLastNeedsNoEnd) {
    std::string_view text = "one\n\nthree";
    EXPECT_EQ(takeLine(text), "one");
    EXPECT_EQ(takeLine(text), "");
    EXPECT_EQ(takeLine(text), "three");
    EXPECT_EQ(takeLine(text), std::nullopt);
}

TEST(KernelText, TakesWhatStandsBeforeASeparator) {
    std::string_view text = "0:name=systemd:/a:b";
    EXPECT_EQ(takeUpTo(text, ':'), "0");
    EXPECT_EQ(takeUpTo(text, ':'), "name=systemd");
    EXPECT_EQ(text, "/a:b");
    EXPECT_EQ(takeUpTo(text, ','), "/a:b");
    EXPECT_EQ(takeUpTo(text, ','), "");
}

TEST(KernelText, TakesWordsBetweenBlanksOfAnyKind) {
    std::string_view text = " \tone two\r\n\fthree\v";
    for (const char* word : {"one", "two", "three", "", ""})
        EXPECT_EQ(takeWord(text), word);
}

TEST(KernelText, TrimsBlanksOnBothSides) {
    for (const char* text : {"a b", " a b", "a b\n", "\t a b \r\n"})
        EXPECT_EQ(trimmed(text), "a b") << '"' << text << '"';
    EXPECT_EQ(trimmed(" \n"), "");
    EXPECT_EQ(trimmed(""), "");
}

TEST(KernelText, MakesANumberOfAWholeText) {
    EXPECT_EQ(toNumber("18446744073709551615"), 18446744073709551615U);
    EXPECT_EQ(toNumber<std::int64_t>("-5"), -5);
    EXPECT_EQ(toNumber<std::uint16_t>("fFfF", 16), 0xffff);
    for (const char* text : {"", " 1", "1 ", "+1", "-1", "1x", "x", "18446744073709551616"})
        EXPECT_EQ(toNumber(text), std::nullopt) << '"' << text << '"';
    EXPECT_EQ(toNumber<std::uint16_t>("10000", 16), std::nullopt);
}

TEST(KernelText, TakesNumbersOffALine) {
    std::string_view text = "  12\t34x";
    EXPECT_EQ(takeNumber(text), 12U);
    EXPECT_EQ(takeNumber(text), 34U);
    EXPECT_EQ(takeNumber(text), std::nullopt);
    EXPECT_EQ(text, "x");
    std::string_view nextLine = "\n5";
    EXPECT_EQ(takeNumber(nextLine), std::nullopt) << "a line's end ends its numbers";
}

TEST(KernelText, LeavesOutALineThatTheBufferMayHaveCut) {
    EXPECT_EQ(wholeLines("a\nb", 4), "a\nb");
    EXPECT_EQ(wholeLines("a\nb", 3), "a\n");
    EXPECT_EQ(wholeLines("abc", 3), "");
}

TEST(KernelText, PutsBackWhatWasEscaped) {
    struct Case {
        const char *escaped, *plain;
    };
    for (const Case& each : {Case{"", ""}, Case{"a\\x2db", "a-b"}, Case{"\\x5Cx20", "\\x20"}, Case{"\\xc3\\xa4", "ä"},
                             Case{"\\x2", "\\x2"}, Case{"\\xg0", "\\xg0"}, Case{"\\x2g", "\\x2g"}, Case{"\\", "\\"}})
        EXPECT_EQ(withoutHexEscapes(each.escaped), each.plain) << each.escaped;
}

TEST(KernelText, TakesPathsApart) {
    struct Case {
        const char *path, *folder, *last;
    };
    for (const Case& each : {Case{"/a/b", "/a", "b"}, Case{"/a", "/", "a"}, Case{"/", "/", ""}, Case{"a", "/", "a"},
                             Case{"/a/b/", "/a/b", ""}}) {
        EXPECT_EQ(parentFolder(each.path), each.folder) << each.path;
        EXPECT_EQ(lastPathComponent(each.path), each.last) << each.path;
    }
    EXPECT_TRUE(liesWithin("/a/b", "/a"));
    EXPECT_TRUE(liesWithin("/a", "/a"));
    EXPECT_FALSE(liesWithin("/ab", "/a"));
    EXPECT_FALSE(liesWithin("/", "/a"));
}

} // namespace
} // namespace sentrel::platform
