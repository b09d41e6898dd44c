// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/util/Str.h>

#include "tests/support/Stops.h"
#include <SentrelKit/base/system/Mem.h>

#include <cstring>
#include <string>

namespace sentrel {
namespace {

// What an in-place function makes of a text. The copy is exactly as long as it must be, so that the address sanitizer
// sees a byte too many.
template <typename Function>
std::string applied(Function function, const std::string& text) {
    char* copy = Str_dup(text.c_str());
    EXPECT_EQ(function(copy), copy);
    std::string result = copy;
    Mem_free(copy);
    return result;
}

// A new text handed over by the function.
std::string taken(char* text) {
    EXPECT_NE(text, nullptr);
    std::string result = text ? text : "";
    Mem_free(text);
    return result;
}

struct InPlace {
    const char* text;
    const char* expected;
};

TEST(Str, ChompCutsAtTheFirstLineEnd) {
    for (const InPlace& c : {InPlace{"", ""}, {"abc", "abc"}, {"abc\r\n", "abc"}, {"a\nb\r", "a"}, {"\nabc", ""}})
        EXPECT_EQ(applied(Str_chomp, c.text), c.expected) << c.text;
}

TEST(Str, TrimRemovesWhiteSpaceAtTheEnds) {
    for (const InPlace& c : {InPlace{"", ""}, {" \t\r\n\v\f", ""}, {"  a b  ", "a b"}, {"ab", "ab"}, {" a", "a"}})
        EXPECT_EQ(applied(Str_trim, c.text), c.expected) << c.text;
    EXPECT_EQ(applied(Str_ltrim, "  a b  "), "a b  ");
    EXPECT_EQ(applied(Str_rtrim, "  a b  "), "  a b");
    EXPECT_EQ(applied(Str_ltrim, "   "), "");
    EXPECT_EQ(applied(Str_rtrim, "   "), "");
}

TEST(Str, BytesAbove127AreNoWhiteSpace) {
    EXPECT_EQ(applied(Str_trim, " \xA0\xFF "), "\xA0\xFF");
}

TEST(Str, WtrimMakesEveryRunOfWhiteSpaceOneBlank) {
    for (const InPlace& c : {InPlace{"", ""}, {"a \t\n b", "a b"}, {"a\tb", "a b"}, {"  a  ", " a "}, {"   ", " "}})
        EXPECT_EQ(applied(Str_wtrim, c.text), c.expected) << c.text;
}

TEST(Str, UnquoteRemovesQuotesAndWhiteSpaceInAnyMix) {
    for (const InPlace& c : {InPlace{"", ""},
                             {"\"' a 'b' \"'", "a 'b"},
                             {"'\"  ", ""},
                             {"abc", "abc"},
                             {"\"abc\"", "abc"},
                             {" \" 'abc", "abc"}})
        EXPECT_EQ(applied(Str_unquote, c.text), c.expected) << c.text;
}

TEST(Str, ChangesCase) {
    EXPECT_EQ(applied(Str_toLower, "AbC-9\xC4"), "abc-9\xC4");
    EXPECT_EQ(applied(Str_toUpper, "AbC-9\xE4"), "ABC-9\xE4");
}

TEST(Str, ParsesIntegers) {
    EXPECT_EQ(Str_parseInt("12abc"), 12);
    EXPECT_EQ(Str_parseInt(" \t-7"), -7);
    EXPECT_EQ(Str_parseInt("+7"), 7);
    EXPECT_EQ(Str_parseInt("010"), 10);
    EXPECT_EQ(Str_parseInt("0x10"), 0);
    EXPECT_EQ(Str_parseLLong("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(Str_parseLLong("-9223372036854775808"), INT64_MIN);
}

TEST(Str, ParseIntKeepsTheLow32BitsOfWhatFits64) {
    EXPECT_EQ(Str_parseInt("4294967297"), 1);
    EXPECT_EQ(Str_parseInt("2147483648"), INT32_MIN);
}

TEST(Str, ParsesFloatingPointNumbers) {
    EXPECT_DOUBLE_EQ(Str_parseDouble(" -1.5e3x"), -1500.0);
    EXPECT_DOUBLE_EQ(Str_parseDouble(".25"), 0.25);
    EXPECT_DOUBLE_EQ(Str_parseDouble("3."), 3.0);
}

TEST(StrDeathTest, ParsingNoTextIsFatal) {
    EXPECT_STOPS(Str_parseInt(nullptr), "NumberFormatException: For input string null\n raised in Str_parseInt at ");
    EXPECT_STOPS(Str_parseInt(""), "NumberFormatException: For input string null\n raised in Str_parseInt at ");
    EXPECT_STOPS(Str_parseLLong(nullptr),
                 "NumberFormatException: For input string null\n raised in Str_parseLLong at ");
    EXPECT_STOPS(Str_parseLLong(""), "NumberFormatException: For input string null\n raised in Str_parseLLong at ");
    EXPECT_STOPS(Str_parseDouble(nullptr),
                 "NumberFormatException: For input string null\n raised in Str_parseDouble at ");
    EXPECT_STOPS(Str_parseDouble(""), "NumberFormatException: For input string null\n raised in Str_parseDouble at ");
}

TEST(StrDeathTest, ParsingWhatIsNoNumberIsFatal) {
    EXPECT_EXIT(static_cast<void>(Str_parseInt("abc")), testing::KilledBySignal(SIGABRT),
                "^NumberFormatException: For input string abc -- Invalid argument\n raised in Str_parseInt at "
                ".*Str.cpp:[0-9]+\n$");
    EXPECT_STOPS(Str_parseInt("  "), "For input string    -- Invalid argument\n raised in Str_parseInt at ");
    EXPECT_STOPS(Str_parseLLong("-"), "For input string - -- Invalid argument\n raised in Str_parseLLong at ");
    EXPECT_STOPS(Str_parseDouble("e5"), "For input string e5 -- Invalid argument\n raised in Str_parseDouble at ");
    EXPECT_STOPS(Str_parseDouble("inf"), "For input string inf -- Invalid argument\n raised in Str_parseDouble at ");
    EXPECT_STOPS(Str_parseDouble("nan"), "For input string nan -- Invalid argument\n raised in Str_parseDouble at ");
}

TEST(StrDeathTest, ParsingANumberOutOfRangeIsFatal) {
    EXPECT_STOPS(Str_parseInt("9223372036854775808"),
                 "For input string 9223372036854775808 -- Numerical result out of range\n raised in Str_parseInt at ");
    EXPECT_STOPS(Str_parseLLong("-9223372036854775809"),
                 " -- Numerical result out of range\n raised in Str_parseLLong");
    EXPECT_STOPS(Str_parseDouble("1e999"), "1e999 -- Numerical result out of range\n raised in Str_parseDouble at ");
}

TEST(Str, ReplacesEveryOccurrenceOfAByte) {
    EXPECT_EQ(applied([](char* s) { return Str_replaceChar(s, 'a', 'b'); }, "banana"), "bbnbnb");
    EXPECT_EQ(applied([](char* s) { return Str_replaceChar(s, 'x', 'b'); }, "banana"), "banana");
}

TEST(Str, TestsPrefixesAndSuffixesWithoutRegardToCase) {
    EXPECT_TRUE(Str_startsWith("Hello", "hELL"));
    EXPECT_TRUE(Str_startsWith("Hello", ""));
    EXPECT_TRUE(Str_startsWith("", ""));
    EXPECT_FALSE(Str_startsWith("Hello", "Hello!"));
    EXPECT_FALSE(Str_startsWith("", "a"));
    EXPECT_TRUE(Str_endsWith("Hello", "LLO"));
    EXPECT_TRUE(Str_endsWith("Hello", ""));
    EXPECT_TRUE(Str_endsWith("", ""));
    EXPECT_FALSE(Str_endsWith("", "a"));
    EXPECT_FALSE(Str_endsWith("lo", "Hello"));
    EXPECT_FALSE(Str_endsWith("Hello", "Hell"));
}

TEST(Str, SubFindsTheFirstOccurrenceWithoutRegardToCase) {
    const char* text = "one Two two";
    EXPECT_EQ(Str_sub(text, "TWO"), text + 4);
    EXPECT_EQ(Str_sub(text, "three"), nullptr);
    EXPECT_EQ(Str_sub(text, ""), nullptr);
    EXPECT_EQ(Str_sub("", "a"), nullptr);
    const char* repeated = "aaab";
    EXPECT_EQ(Str_sub(repeated, "AAB"), repeated + 1);
}

TEST(Str, HasFindsAnyOfTheCharacters) {
    EXPECT_TRUE(Str_has("banana", "xyzn"));
    EXPECT_FALSE(Str_has("banana", "xyz"));
    EXPECT_FALSE(Str_has("banana", ""));
    EXPECT_FALSE(Str_has("", "a"));
}

TEST(Str, UnescapeRemovesBackslashesBeforeTheCharacters) {
    const auto unescaped = [](const char* characters, const char* text) {
        return applied([&](char* s) { return Str_unescape(characters, s); }, text);
    };
    EXPECT_EQ(unescaped("n", "a\\nb"), "anb");
    EXPECT_EQ(unescaped("x", "a\\nb"), "a\\nb");
    EXPECT_EQ(unescaped("\\", "a\\\\b"), "a\\b");
    EXPECT_EQ(unescaped("n\\", "a\\\\nb"), "a\\nb"); // the escaped backslash escapes nothing
    EXPECT_EQ(unescaped("n", "a\\\\nb"), "a\\nb");
    EXPECT_EQ(unescaped("n", "a\\"), "a\\"); // the terminator is none of the characters
    EXPECT_EQ(unescaped("", "a\\n"), "a\\n");
}

TEST(Str, ComparesForEquality) {
    EXPECT_TRUE(Str_isEqual("AbC", "aBc"));
    EXPECT_TRUE(Str_isEqual("", ""));
    EXPECT_FALSE(Str_isEqual("abc", "abcd"));
    EXPECT_FALSE(Str_isEqual("abcd", "abc"));
    EXPECT_TRUE(Str_isByteEqual("abc", "abc"));
    EXPECT_FALSE(Str_isByteEqual("abc", "Abc"));
}

TEST(Str, AMissingTextEqualsNothing) {
    EXPECT_FALSE(Str_isEqual(nullptr, nullptr));
    EXPECT_FALSE(Str_isEqual("", nullptr));
    EXPECT_FALSE(Str_isByteEqual(nullptr, nullptr));
    EXPECT_FALSE(Str_isByteEqual(nullptr, ""));
}

TEST(Str, CopyStopsAtNCharacters) {
    char destination[6];
    std::memset(destination, '#', sizeof destination);
    EXPECT_EQ(Str_copy(destination, "abcdefgh", 4), destination);
    EXPECT_STREQ(destination, "abcd");
    EXPECT_EQ(destination[5], '#');
    EXPECT_STREQ(Str_copy(destination, "xy", 4), "xy");
    EXPECT_STREQ(Str_copy(destination, "xy", 0), "");
    EXPECT_STREQ(Str_copy(destination, "xy", -3), "");
    EXPECT_STREQ(Str_copy(destination, nullptr, 4), "");
    EXPECT_EQ(Str_copy(nullptr, "a", 1), nullptr);
}

TEST(Str, CopyNeedsNoTerminatorWithinNCharacters) {
    const char unterminated[3] = {'a', 'b', 'c'};
    char destination[4];
    EXPECT_STREQ(Str_copy(destination, unterminated, 3), "abc");
    EXPECT_EQ(taken(Str_ndup(unterminated, 3)), "abc");
}

TEST(Str, DupsAreNewTexts) {
    const char* text = "hello";
    char* copy = Str_dup(text);
    EXPECT_NE(copy, text);
    EXPECT_EQ(taken(copy), "hello");
    EXPECT_EQ(taken(Str_ndup(text, 2)), "he");
    EXPECT_EQ(taken(Str_ndup(text, 0)), "");
    EXPECT_EQ(taken(Str_ndup(text, 99)), "hello");
}

TEST(Str, JoinStopsAtNCharactersInAll) {
    char destination[9];
    std::memset(destination, '#', sizeof destination);
    EXPECT_EQ(Str_join(destination, 7, "abc", "", "defg", "hij", nullptr), destination);
    EXPECT_STREQ(destination, "abcdefg");
    EXPECT_EQ(destination[8], '#');
    EXPECT_STREQ(Str_join(destination, 7, "x", "y", nullptr), "xy");
    EXPECT_STREQ(Str_join(destination, 7, nullptr), "");
    EXPECT_STREQ(Str_join(destination, 0, "a", nullptr), "");
    EXPECT_STREQ(Str_join(destination, -1, "a", nullptr), "");
}

TEST(Str, CatFormatsIntoANewTextOfExactlyTheSize) {
    EXPECT_EQ(taken(Str_cat("%s-%05d", "a", 42)), "a-00042");
    const std::string large(100000, 'x');
    EXPECT_EQ(taken(Str_cat("%s%s", large.c_str(), "y")), large + "y");
}

TEST(Str, TruncLeavesTextsOfUpToFourMoreCharacters) {
    const auto truncated = [](const char* text, std::int32_t n) {
        return applied([n](char* s) { return Str_trunc(s, n); }, text);
    };
    EXPECT_EQ(truncated("1234567", 3), "1234567"); // although the cut text would be shorter: meant so
    EXPECT_EQ(truncated("12345678", 3), "123...");
    EXPECT_EQ(truncated("12345", 0), "...");
    EXPECT_EQ(truncated("1234", 0), "1234");
    EXPECT_EQ(truncated("1234", INT32_MAX), "1234");
}

TEST(Str, CurtailCutsAtTheFirstOccurrence) {
    const auto curtailed = [](const char* text, const char* end) {
        return applied([end](char* s) { return Str_curtail(s, end); }, text);
    };
    EXPECT_EQ(curtailed("one TWO three two", "two"), "one ");
    EXPECT_EQ(curtailed("one", "two"), "one");
    EXPECT_EQ(curtailed("one", ""), "one");
    EXPECT_EQ(curtailed("one", nullptr), "one");
}

TEST(Str, LimTellsWhetherATextIsLonger) {
    EXPECT_TRUE(Str_lim("abcd", 3));
    EXPECT_FALSE(Str_lim("abc", 3));
    EXPECT_FALSE(Str_lim("", 0));
    EXPECT_TRUE(Str_lim("a", 0));
}

TEST(StrDeathTest, NegativeLengthsBreakAPrecondition) {
    char text[] = "abc";
    EXPECT_BREAKS(Str_ndup(text, -1), "n >= 0", "Str_ndup");
    EXPECT_BREAKS(Str_trunc(text, -1), "n >= 0", "Str_trunc");
    EXPECT_BREAKS(Str_lim(text, -1), "limit>=0", "Str_lim"); // without blanks
}

TEST(Str, MatchFindsAnExtendedRegularExpressionAnywhere) {
    EXPECT_TRUE(Str_match("b+c?", "aabbd"));
    EXPECT_TRUE(Str_match("^(IP|ip)[0-9]{1,3}$", "IP42"));
    EXPECT_FALSE(Str_match("^b", "ab"));
    EXPECT_FALSE(Str_match("a*", "")); // an empty text never matches
    EXPECT_FALSE(Str_match("a", nullptr));
    EXPECT_FALSE(Str_match(nullptr, "a"));
}

TEST(StrDeathTest, APatternThatDoesNotCompileIsFatal) {
    EXPECT_EXIT(static_cast<void>(Str_match("(a", "a")), testing::KilledBySignal(SIGABRT),
                "^AssertException: regular expression error -- .+\n raised in Str_match at .*Str.cpp:[0-9]+\n$");
}

TEST(Str, HashIsTheElfHash) {
    EXPECT_EQ(Str_hash(nullptr), 0U);
    EXPECT_EQ(Str_hash(""), 0U);
    EXPECT_EQ(Str_hash("a"), 0x61U);
    EXPECT_EQ(Str_hash("printf"), 0x077905a6U);
    EXPECT_EQ(Str_hash("syscall"), 0x0b09985cU);
    EXPECT_EQ(Str_hash("\xFF"), 0xFFU); // bytes are unsigned
}

TEST(Str, CmpOrdersUnsignedBytes) {
    EXPECT_EQ(Str_cmp("abc", "abc"), 0);
    EXPECT_LT(Str_cmp("abc", "abd"), 0);
    EXPECT_GT(Str_cmp("abc", "ab"), 0);
    EXPECT_GT(Str_cmp("\xFF", "a"), 0);
    EXPECT_EQ(Str_cmp(nullptr, "a"), 0);
    EXPECT_EQ(Str_cmp("a", nullptr), 0);
}

TEST(Str, SplitsPaths) {
    EXPECT_STREQ(Str_basename("/a/b.c"), "b.c");
    EXPECT_STREQ(Str_basename("b.c"), "b.c");
    EXPECT_STREQ(Str_basename("a/"), "");
    EXPECT_EQ(applied(Str_dirname, "a/b"), "a/");
    EXPECT_EQ(applied(Str_dirname, "/a/b/"), "/a/b/");
    EXPECT_EQ(applied(Str_dirname, "/"), "/");
    EXPECT_EQ(applied(Str_dirname, "abc"), ".");
    EXPECT_EQ(applied(Str_dirname, "a"), ".");
    EXPECT_EQ(applied(Str_dirname, ""), ""); // there is no room for the dot
}

TEST(Str, NoneInGivesNoneOut) {
    for (auto* function :
         {Str_chomp, Str_trim, Str_ltrim, Str_rtrim, Str_wtrim, Str_unquote, Str_toLower, Str_toUpper, Str_dirname})
        EXPECT_EQ(function(nullptr), nullptr);
    EXPECT_EQ(Str_replaceChar(nullptr, 'a', 'b'), nullptr);
    EXPECT_FALSE(Str_startsWith(nullptr, "a"));
    EXPECT_FALSE(Str_startsWith("a", nullptr));
    EXPECT_FALSE(Str_endsWith(nullptr, "a"));
    EXPECT_FALSE(Str_endsWith("a", nullptr));
    EXPECT_EQ(Str_sub(nullptr, "a"), nullptr);
    EXPECT_EQ(Str_sub("a", nullptr), nullptr);
    EXPECT_FALSE(Str_has(nullptr, "a"));
    EXPECT_FALSE(Str_has("a", nullptr));
    EXPECT_EQ(Str_unescape("a", nullptr), nullptr);
    EXPECT_EQ(applied([](char* s) { return Str_unescape(nullptr, s); }, "\\a"), "\\a");
    EXPECT_EQ(Str_dup(nullptr), nullptr);
    EXPECT_EQ(Str_ndup(nullptr, 3), nullptr);
    EXPECT_EQ(Str_join(nullptr, 3, "a", nullptr), nullptr);
    const char* noFormat = nullptr;
    EXPECT_EQ(Str_cat(noFormat, 1), nullptr);
    EXPECT_EQ(Str_trunc(nullptr, 3), nullptr);
    EXPECT_EQ(Str_curtail(nullptr, "a"), nullptr);
    EXPECT_FALSE(Str_lim(nullptr, 3));
    EXPECT_EQ(Str_basename(nullptr), nullptr);
}

} // namespace
} // namespace sentrel
