// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/util/StringBuffer.h>

#include "tests/support/Stops.h"

#include <string>

namespace sentrel {
namespace {

/// A buffer for a scope.
class Buffer {
public:
    explicit Buffer(const char* text) : buffer_(StringBuffer_new(text)) {}
    ~Buffer() { StringBuffer_free(&buffer_); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    operator StringBuffer*() const { return buffer_; }
    [[nodiscard]] std::string text() const {
        const std::string text = StringBuffer_toString(buffer_);
        EXPECT_EQ(static_cast<std::size_t>(StringBuffer_length(buffer_)), text.size());
        return text;
    }

private:
    StringBuffer* buffer_;
};

TEST(StringBuffer, HoldsACopyOfItsText) {
    EXPECT_EQ(Buffer("100% %s").text(), "100% %s");
    EXPECT_EQ(Buffer("").text(), "");
    EXPECT_EQ(Buffer(nullptr).text(), "");
    const std::string large(100000, 'x');
    EXPECT_EQ(Buffer(large.c_str()).text(), large);
}

TEST(StringBuffer, FreeSetsTheHandleToNone) {
    StringBuffer* buffer = StringBuffer_create(1);
    StringBuffer_free(&buffer);
    EXPECT_EQ(buffer, nullptr);
}

TEST(StringBuffer, GrowsFromTheSmallestCapacity) {
    StringBuffer* buffer = StringBuffer_create(1);
    EXPECT_STREQ(StringBuffer_toString(buffer), "");
    std::string expected;
    for (int i = 0; i < 500; ++i) {
        StringBuffer_append(buffer, "%d,", i);
        expected += std::to_string(i) + ",";
    }
    EXPECT_EQ(StringBuffer_toString(buffer), expected);
    StringBuffer_free(&buffer);
}

TEST(StringBuffer, AppendsAtEveryDistanceFromTheCapacity) {
    for (int length = 0; length < 600; ++length) {
        const Buffer buffer("");
        const std::string piece(static_cast<std::size_t>(length), 'a');
        StringBuffer_append(buffer, "%s", piece.c_str());
        StringBuffer_append(buffer, "%d", length);
        ASSERT_EQ(buffer.text(), piece + std::to_string(length));
    }
}

TEST(StringBuffer, AnEmptyOrMissingFormatAppendsNothing) {
    const Buffer buffer("a");
    const char* format = "";
    StringBuffer_append(buffer, format, 1);
    format = nullptr;
    StringBuffer_append(buffer, format, 1);
    EXPECT_EQ(buffer.text(), "a");
}

TEST(StringBuffer, ReplacesEveryOccurrence) {
    struct Case {
        const char *text, *old, *with, *expected;
        std::int32_t count;
    };
    const Case cases[] = {
        {"Core(TM) i7(TM)", "(TM)", "", "Core i7", 2},
        {"a.b.c", ".", "::", "a::b::c", 2},
        {"aXbX", "X", "y", "ayby", 2},
        {"abc", "abc", "", "", 1},
        {"abc", "x", "y", "abc", 0},
        {"abc", "", "y", "abc", 0},
        {"", "a", "y", "", 0},
        {"aAa", "a", "b", "bAb", 2}, // case counts
        {"abcabc", "abc", "abcabc", "abcabcabcabc", 2},
    };
    for (const Case& c : cases) {
        const Buffer buffer(c.text);
        EXPECT_EQ(StringBuffer_replace(buffer, c.old, c.with), c.count) << c.text;
        EXPECT_EQ(buffer.text(), c.expected) << c.text;
    }
}

TEST(StringBuffer, ReplaceOfNothingAndByNothing) {
    const Buffer buffer("abc");
    EXPECT_EQ(StringBuffer_replace(buffer, nullptr, "x"), 0);
    EXPECT_EQ(buffer.text(), "abc");
    EXPECT_EQ(StringBuffer_replace(buffer, "b", nullptr), 1);
    EXPECT_EQ(buffer.text(), "ac");
}

TEST(StringBuffer, ReplaceGrowsAsFarAsItMust) {
    for (int length = 120; length < 260; ++length) {
        const Buffer buffer(std::string(static_cast<std::size_t>(length), '.').c_str());
        ASSERT_EQ(StringBuffer_replace(buffer, ".", "ab"), length);
        std::string expected;
        for (int i = 0; i < length; ++i)
            expected += "ab";
        ASSERT_EQ(buffer.text(), expected);
        StringBuffer_append(buffer, "%s", "end");
        ASSERT_EQ(buffer.text(), expected + "end");
    }
}

TEST(StringBuffer, OfOverlappingOccurrencesTheFirstIsReplaced) {
    const Buffer longer("aaaaa");
    EXPECT_EQ(StringBuffer_replace(longer, "aa", "bbbb"), 2);
    EXPECT_EQ(longer.text(), "bbbbbbbba");
    const Buffer shorter("ababa");
    EXPECT_EQ(StringBuffer_replace(shorter, "aba", "x"), 1);
    EXPECT_EQ(shorter.text(), "xba");
}

TEST(StringBuffer, Trims) {
    const Buffer buffer(" \t a b \n");
    StringBuffer_trim(buffer);
    EXPECT_EQ(buffer.text(), "a b");
    const Buffer blank("   ");
    StringBuffer_trim(blank);
    EXPECT_EQ(blank.text(), "");
}

TEST(StringBuffer, DeletesFromAPositionOn) {
    const Buffer buffer("hello");
    StringBuffer_delete(buffer, 5);
    EXPECT_EQ(buffer.text(), "hello");
    StringBuffer_delete(buffer, 2);
    EXPECT_EQ(buffer.text(), "he");
    StringBuffer_delete(buffer, 0);
    EXPECT_EQ(buffer.text(), "");
}

TEST(StringBuffer, FindsTheFirstAndTheLastOccurrence) {
    const Buffer buffer("abcabcAB");
    EXPECT_EQ(StringBuffer_indexOf(buffer, "bc"), 1);
    EXPECT_EQ(StringBuffer_lastIndexOf(buffer, "bc"), 4);
    EXPECT_EQ(StringBuffer_lastIndexOf(buffer, "AB"), 6);
    EXPECT_EQ(StringBuffer_lastIndexOf(buffer, "abcabcAB"), 0);
    for (const char* absent : {"x", "", "abcabcABC", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(StringBuffer_indexOf(buffer, absent), -1);
        EXPECT_EQ(StringBuffer_lastIndexOf(buffer, absent), -1);
    }
    const Buffer empty("");
    EXPECT_EQ(StringBuffer_indexOf(empty, "a"), -1);
    EXPECT_EQ(StringBuffer_lastIndexOf(empty, "a"), -1);
}

TEST(StringBuffer, SubstringPointsIntoTheText) {
    const Buffer buffer("hello");
    EXPECT_STREQ(StringBuffer_substring(buffer, 3), "lo");
    EXPECT_STREQ(StringBuffer_substring(buffer, 5), "");
    EXPECT_EQ(StringBuffer_substring(buffer, 0), StringBuffer_toString(buffer));
}

TEST(StringBuffer, ClearEmptiesIt) {
    const Buffer buffer("hello");
    StringBuffer_clear(buffer);
    EXPECT_EQ(buffer.text(), "");
    StringBuffer_append(buffer, "x");
    EXPECT_EQ(buffer.text(), "x");
}

TEST(StringBufferDeathTest, AHintBelowOneIsFatal) {
    EXPECT_STOPS(StringBuffer_create(0), "AssertException: Illegal hint value\n raised in StringBuffer_create at ");
    EXPECT_STOPS(StringBuffer_create(-5), "AssertException: Illegal hint value\n raised in StringBuffer_create at ");
}

TEST(StringBufferDeathTest, AnIndexOutOfBoundsIsFatal) {
    const Buffer buffer("hello");
    EXPECT_STOPS(StringBuffer_delete(buffer, -1),
                 "AssertException: Index out of bounds\n raised in StringBuffer_delete");
    EXPECT_STOPS(StringBuffer_delete(buffer, 6),
                 "AssertException: Index out of bounds\n raised in StringBuffer_delete");
    EXPECT_STOPS(StringBuffer_substring(buffer, -1),
                 "AssertException: Index out of bounds\n raised in StringBuffer_substring at ");
    EXPECT_STOPS(StringBuffer_substring(buffer, 6),
                 "AssertException: Index out of bounds\n raised in StringBuffer_substring at ");
}

TEST(StringBufferDeathTest, NeedsABuffer) {
    StringBuffer* none = nullptr;
    EXPECT_BREAKS(StringBuffer_free(&none), "S && *S", "StringBuffer_free");
    EXPECT_BREAKS(StringBuffer_free(nullptr), "S && *S", "StringBuffer_free");
    EXPECT_BREAKS(StringBuffer_append(none, "a"), "S", "StringBuffer_append");
    EXPECT_BREAKS(StringBuffer_length(none), "S", "StringBuffer_length");
}

} // namespace
} // namespace sentrel
