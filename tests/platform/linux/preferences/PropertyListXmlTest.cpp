// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/PropertyListXml.h>

#include "tests/platform/linux/preferences/PropertyListTexts.h"
#include "tests/support/CommaLocale.h"

#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <string>

namespace sentrel::platform {
namespace {

using Bytes = PropertyList::Bytes;
using Date = PropertyList::Date;
using List = PropertyList::List;
using Dictionary = PropertyList::Dictionary;

TEST(PropertyListXml, ReadsXml) {
    const auto value = decode(xml("<dict><key>a</key><integer>-7</integer><key>b</key><real>1.5</real>"
                                  "<key>c</key><true/><key>d</key><string>x &amp; ü</string>"
                                  "<key>e</key><data>AAH+/w==</data><key>f</key><date>2017-07-14T02:40:00Z</date>"
                                  "<key>g</key><array><string/><integer>0x1F</integer></array></dict>"));
    EXPECT_EQ(value, PropertyList(Dictionary{{"a", std::int64_t{-7}},
                                             {"b", 1.5},
                                             {"c", true},
                                             {"d", "x & ü"},
                                             {"e", Bytes{0, 1, 254, 255}},
                                             {"f", Date{1500000000}},
                                             {"g", List{"", 31}}}));
}

TEST(PropertyListXml, ReadsDecimalFractionsInEveryLocale) {
    const CommaLocale locale;
    if (!locale.isInForce())
        GTEST_SKIP() << "localedef cannot make a locale with a decimal comma here";
    const auto value = decode(xml("<real>1.5</real>"));
    EXPECT_EQ(value, PropertyList(1.5));
}

TEST(PropertyListXml, ReadsTheDatesThatXmlHolds) {
    const std::map<std::string, double> dates{
        {"2017-07-14T02:40:00Z", 1500000000},   {" 2017-07-14T02:40:00Z\n", 1500000000},
        {"2017-07-14T02:40:00", 1500000000},    {"2017-07-14T02:40:00.25Z", 1500000000.25},
        {"0001-01-01T00:00:00Z", -62135596800}, {"0000-12-30T00:00:00Z", -62135769600}, // the distant past of macOS
        {"4001-01-01T00:00:00Z", 64092211200},  {"1900-02-28T23:59:59Z", -2203891201},
    };
    for (const auto& [text, seconds] : dates)
        EXPECT_EQ(decode(xml("<date>" + text + "</date>")), PropertyList(Date{seconds})) << text;
    for (const std::string bad :
         {"", "yesterday", "2017-13-01T00:00:00Z", "2017-02-29T00:00:00Z", "2017-07-14", "2017-07-14T24:00:00Z",
          "2017-07-14T02:60:00Z", "2017-07-14T02:40:00.1e9Z", "2017-07-14T02:40:00Zulu", "2017-07--1T02:40:00Z"})
        EXPECT_FALSE(decode(xml("<date>" + bad + "</date>"))) << bad;
}

TEST(PropertyListXml, ReadsTheIntegersThatXmlHolds) {
    const std::map<std::string, std::int64_t> integers{
        {"0", 0},
        {"+5", 5},
        {" 5\n", 5},
        {"017", 17},
        {"0x1F", 31},
        {"-0X1f", -31},
        {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"18446744073709551615", -1},
    };
    for (const auto& [text, value] : integers)
        EXPECT_EQ(decode(xml("<integer>" + text + "</integer>")), PropertyList(value)) << text;
    for (const std::string bad : {"", "-", "0x", "5x", "--5", "1.5", "18446744073709551616", "-9223372036854775809"})
        EXPECT_FALSE(decode(xml("<integer>" + bad + "</integer>"))) << bad;
}

TEST(PropertyListXml, ReadsTextsOfXmlAsTheyStand) {
    EXPECT_EQ(decode(xml("<string> a\tb\n</string>")), PropertyList(" a\tb\n"));
    EXPECT_EQ(decode(xml("<string>&lt;&gt;&amp;&quot;&apos;&#65;&#x1F600;</string>")),
              PropertyList("<>&\"'A\U0001F600"));
    EXPECT_EQ(decode(xml("<string>a<![CDATA[<&>]]><!-- no --><?nor this?>b</string>")), PropertyList("a<&>b"));
    EXPECT_EQ(decode(xml("<dict><key/><string/></dict>")), PropertyList(Dictionary{{"", ""}}));
}

TEST(PropertyListXml, NoMarkupHidesDeepNesting) {
    // A guard before the parser took what began a comment inside these for one, and looked no further: half a megabyte
    // of nesting overflowed the stack.
    const std::string deep = nestedXml(200'000);
    for (const std::string before :
         {"", "<?hidden <!-- ?>", "<!DOCTYPE plist \"<!--\">", "<!DOCTYPE plist \"<![CDATA[\">", "<!-- <![CDATA[ -->"})
        EXPECT_FALSE(decode(before + "<plist version=\"1.0\">" + deep + "</plist>")) << before;
    EXPECT_FALSE(decode(xml("<array a='<!--'>" + deep + "</array>")));
}

TEST(PropertyListXml, ReadsAsLongAsTheFileIs) {
    // Every unclosed tag was searched to the end of the file: 15 MB took two minutes, far beyond this test's time.
    for (const std::string unit :
         {"<array</array", "<array>", "<", "<![CDATA[", "&#", "<array a=\"\" ", "<!DOCTYPE <"}) {
        std::string text = "<plist version=\"1.0\"><array>";
        while (text.size() < 15 << 20)
            text += unit;
        EXPECT_FALSE(decode(text)) << unit;
    }
}

} // namespace
} // namespace sentrel::platform
