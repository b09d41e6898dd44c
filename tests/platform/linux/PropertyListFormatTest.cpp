#include <SentrelKit/platform/linux/PropertyListFormat.h>

#include "tests/support/CommaLocale.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace sentrel::platform {
namespace {

using Bytes = PropertyList::Bytes;
using Date = PropertyList::Date;
using List = PropertyList::List;
using Dictionary = PropertyList::Dictionary;

std::optional<PropertyList> decode(std::string_view text) {
    return decodePropertyList({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

std::string xml(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n" +
           body + "\n</plist>\n";
}

TEST(PropertyListFormat, EveryKindSurvivesTheBinaryForm) {
    using Limits = std::numeric_limits<std::int64_t>;
    const Dictionary values{
        {"true", true},
        {"false", false},
        {"zero", 0},
        {"minus five", std::int64_t{-5}},
        {"smallest", Limits::min()},
        {"largest", Limits::max()},
        {"32 bits", std::int64_t{4294967295}},
        {"one as double", 1.0},
        {"tenth", 0.1},
        {"infinite", std::numeric_limits<double>::infinity()},
        {"denormal", std::numeric_limits<double>::denorm_min()},
        {"empty text", ""},
        {"text", "plain"},
        {"wide text", "Größe \U0001F600 温度"},
        {"no bytes", Bytes{}},
        {"bytes", Bytes{0, 1, 254, 255}},
        {"date", Date{1500000000.123456789}},
        {"distant past", Date{-62135596800.0}},
        {"distant future", Date{64092211200.0}},
        {"empty list", List{}},
        {"list", List{1, 1.0, true, "one", Bytes{1}, List{List{}}}},
        {"empty dictionary", Dictionary{}},
        {"dictionary", Dictionary{{"schlüssel", Dictionary{{"", 7}}}}},
    };
    const auto bytes = encodePropertyList(values);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(std::string(bytes->begin(), bytes->begin() + 8), "bplist00");
    const auto back = decodePropertyList(*bytes);
    ASSERT_TRUE(back && back->as<Dictionary>());
    for (const auto& [key, value] : values)
        EXPECT_EQ(back->as<Dictionary>()->at(key), value) << key;
    EXPECT_EQ(back->as<Dictionary>()->size(), values.size());
}

TEST(PropertyListFormat, NotANumberStaysADouble) {
    const auto back = decodePropertyList(encodePropertyList(Dictionary{{"nan", std::nan("")}}).value());
    ASSERT_TRUE(back && back->find("nan") && back->find("nan")->as<double>());
    EXPECT_TRUE(std::isnan(*back->find("nan")->as<double>()));
}

TEST(PropertyListFormat, RefusesWhatAPropertyListCannotHold) {
    EXPECT_FALSE(encodePropertyList(PropertyList()));
    EXPECT_FALSE(encodePropertyList(List{1, PropertyList()}));
    EXPECT_FALSE(encodePropertyList(std::string("half\0text", 9)));
    EXPECT_FALSE(encodePropertyList("bad \xC3"));
    EXPECT_FALSE(encodePropertyList(Dictionary{{"bad \xFF", 1}}));
    EXPECT_FALSE(encodePropertyList(PropertyList::Address{"http://example.com"}));
    PropertyList nested = 1;
    for (int depth = 0; depth < 200; ++depth)
        nested = List{nested};
    EXPECT_FALSE(encodePropertyList(nested));
}

TEST(PropertyListFormat, ReadsXml) {
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

TEST(PropertyListFormat, ReadsDecimalFractionsInEveryLocale) {
    // libplist itself reads them by the process's locale.
    const CommaLocale locale;
    if (!locale.isInForce())
        GTEST_SKIP() << "localedef cannot make a locale with a decimal comma here";
    const auto value = decode(xml("<real>1.5</real>"));
    EXPECT_EQ(value, PropertyList(1.5));
}

TEST(PropertyListFormat, ReadsTheOldTextNotation) {
    const auto value =
        decode("// written long ago\n{\n  temperature = 1; \"quoted key\" = \"a \\\"b\\\" \\U00e9\\n\\101\";\n"
               "  list = ( one, \"two\", (), {}, ); data = <0fbd 77>; /* no value: */ flag;\n"
               "  path = /usr/local/x-1.2_$;\n  smile = \"\\Ud83d\\Ude00\" }\n");
    EXPECT_EQ(value, PropertyList(Dictionary{{"temperature", "1"},
                                             {"quoted key", "a \"b\" é\nA"},
                                             {"list", List{"one", "two", List{}, Dictionary{}}},
                                             {"data", Bytes{0x0F, 0xBD, 0x77}},
                                             {"flag", "flag"},
                                             {"path", "/usr/local/x-1.2_$"},
                                             {"smile", "\U0001F600"}}));
}

TEST(PropertyListFormat, ReadsAStringsFile) {
    EXPECT_EQ(decode("/* title */\n\"Hello\" = \"Hallo\";\nBye = Ade;\n"),
              PropertyList(Dictionary{{"Hello", "Hallo"}, {"Bye", "Ade"}}));
    EXPECT_EQ(decode(""), PropertyList(Dictionary{}));
}

TEST(PropertyListFormat, GivesNothingForWhatIsNoPropertyList) {
    const std::array<std::string, 24> bad{"hello world",
                                          "{ a = 1",
                                          "{ a = 1 } trailing",
                                          "{ a = ; }",
                                          "( a b )",
                                          "( a, ",
                                          "<0fb>",
                                          "<0fxx>",
                                          "{ a = \"open; }",
                                          "{ a = \"\\Ud83d\"; }",
                                          "/*",
                                          "\\",
                                          std::string("\0\0\0", 3),
                                          "bplist00",
                                          "bplist00garbage and more garbage and still more garbage",
                                          "<?xml version=\"1.0\"?>",
                                          "<plist version=\"1.0\"><dict><key>a</key><string>b</str",
                                          xml("<nonsense/>"),
                                          "<html><body>no</body></html>",
                                          "\x7F"
                                          "ELF",
                                          "{\"json\": 1}",
                                          "[1, 2]",
                                          "a = b",
                                          "=;"};
    for (const std::string& text : bad)
        EXPECT_FALSE(decode(text)) << text;
}

TEST(PropertyListFormat, EveryTruncationOfABinaryFileIsSafe) {
    const auto bytes = encodePropertyList(Dictionary{{"list", List{1, 2.5, "text", Date{5}}}, {"b", Bytes(300, 7)}});
    ASSERT_TRUE(bytes);
    for (std::size_t size = 0; size < bytes->size(); ++size)
        EXPECT_FALSE(decodePropertyList(std::span(*bytes).first(size)) == decodePropertyList(*bytes)) << size;
}

TEST(PropertyListFormat, EveryChangedByteOfABinaryFileIsSafe) {
    const auto bytes = encodePropertyList(Dictionary{{"list", List{1, 2.5, "text", Date{5}}}, {"b", Bytes(20, 7)}});
    ASSERT_TRUE(bytes);
    for (std::size_t at = 0; at < bytes->size(); ++at) {
        for (const int change : {0x01, 0x0F, 0x80, 0xFF}) {
            Bytes damaged = *bytes;
            damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ change);
            static_cast<void>(decodePropertyList(damaged));
        }
    }
}

/// A binary property list from its objects; references are one byte.
Bytes binary(const std::vector<std::string>& objects) {
    std::string file = "bplist00";
    std::string table;
    for (const std::string& object : objects) {
        table += static_cast<char>(file.size() >> 8);
        table += static_cast<char>(file.size() & 0xFF);
        file += object;
    }
    const std::size_t tableOffset = file.size();
    file += table + std::string("\0\0\0\0\0\0\2\1\0\0\0\0\0\0\0", 15) + static_cast<char>(objects.size());
    file += std::string(14, '\0') + static_cast<char>(tableOffset >> 8) + static_cast<char>(tableOffset & 0xFF);
    return {file.begin(), file.end()};
}

TEST(PropertyListFormat, RefusesABinaryFileThatRefersToItself) {
    EXPECT_EQ(decodePropertyList(binary({"\xA1\x01", "\x09"})), PropertyList(List{true})) << "a well-formed one";
    EXPECT_FALSE(decodePropertyList(binary({std::string("\xA1\x00", 2)})));
    EXPECT_FALSE(decodePropertyList(binary({"\xA1\x01", std::string("\xA1\x00", 2)})));
}

TEST(PropertyListFormat, RefusesABinaryFileThatUnfoldsWithoutEnd) {
    // Thirty lists, each holding the next one ten times.
    std::vector<std::string> lists;
    for (int i = 1; i <= 30; ++i)
        lists.push_back("\xAA" + std::string(10, static_cast<char>(i)));
    lists.emplace_back("\x09");
    EXPECT_FALSE(decodePropertyList(binary(lists)));
}

TEST(PropertyListFormat, RefusesDeepNestingInEveryNotation) {
    std::vector<std::string> lists;
    for (int i = 1; i <= 200; ++i)
        lists.push_back("\xA1" + std::string(1, static_cast<char>(i)));
    lists.emplace_back("\x09");
    EXPECT_FALSE(decodePropertyList(binary(lists)));
    std::string opening;
    std::string closing;
    for (int i = 0; i < 200'000; ++i) {
        opening += "<array>";
        closing += "</array>";
    }
    EXPECT_FALSE(decode(xml(opening + closing)));
    EXPECT_FALSE(decode(std::string(1'000'000, '(')));
    EXPECT_FALSE(decode(std::string(1'000'000, '{')));
}

} // namespace
} // namespace sentrel::platform
