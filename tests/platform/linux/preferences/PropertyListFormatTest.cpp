// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>

#include "tests/support/CommaLocale.h"
#include "tests/support/TemporaryFolder.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using Bytes = PropertyList::Bytes;
using Date = PropertyList::Date;
using List = PropertyList::List;
using Dictionary = PropertyList::Dictionary;

std::optional<PropertyList> decode(std::string_view text) {
    return decodePropertyList({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
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
    const CommaLocale locale;
    if (!locale.isInForce())
        GTEST_SKIP() << "localedef cannot make a locale with a decimal comma here";
    const auto value = decode(xml("<real>1.5</real>"));
    EXPECT_EQ(value, PropertyList(1.5));
}

TEST(PropertyListFormat, ReadsTheDatesThatXmlHolds) {
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

TEST(PropertyListFormat, ReadsTheIntegersThatXmlHolds) {
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

TEST(PropertyListFormat, ReadsTextsOfXmlAsTheyStand) {
    EXPECT_EQ(decode(xml("<string> a\tb\n</string>")), PropertyList(" a\tb\n"));
    EXPECT_EQ(decode(xml("<string>&lt;&gt;&amp;&quot;&apos;&#65;&#x1F600;</string>")),
              PropertyList("<>&\"'A\U0001F600"));
    EXPECT_EQ(decode(xml("<string>a<![CDATA[<&>]]><!-- no --><?nor this?>b</string>")), PropertyList("a<&>b"));
    EXPECT_EQ(decode(xml("<dict><key/><string/></dict>")), PropertyList(Dictionary{{"", ""}}));
}

TEST(PropertyListFormat, GivesNothingForWhatIsNoPropertyList) {
    const std::vector<std::string> bad{
        "",
        "hello world",
        "{ a = 1; }",
        std::string("\0\0\0", 3),
        "bplist00",
        "bplist00garbage and more garbage and still more garbage",
        "<?xml version=\"1.0\"?>",
        "<plist version=\"1.0\"><dict><key>a</key><string>b</str",
        "<plist version=\"1.0\"><true/>",
        "<plist version=\"1.0\"><true/></plist>trailing",
        "<plist version=\"1.0\"><true/></plist><plist version=\"1.0\"><true/></plist>",
        "<!DOCTYPE plist [ <!ENTITY a \"b\"> ]><plist version=\"1.0\"><string>&a;</string></plist>",
        "<html><body>no</body></html>",
        "\x7F"
        "ELF",
        "{\"json\": 1}",
        xml(""),
        xml("<nonsense/>"),
        xml("<true/><true/>"),
        xml("<true>x</true>"),
        xml("<real>1.5x</real>"),
        xml("<real/>"),
        xml("<data>A!</data>"),
        xml("<string>a<b/></string>"),
        xml("<string>bad \xC3</string>"),
        xml("<string>&#0;</string>"),
        xml("<array><true/></dict>"),
        xml("<array>x</array>"),
        xml("<array><key>a</key></array>"),
        xml("<key>a</key>"),
        xml("<dict><key>a</key></dict>"),
        xml("<dict><true/></dict>"),
        xml("<dict><key>a</key><key>b</key><true/></dict>"),
    };
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

std::string bigEndian(std::uint64_t value, std::size_t size) {
    std::string bytes;
    for (std::size_t i = size; i-- > 0;)
        bytes += i < sizeof value ? static_cast<char>(value >> (8 * i)) : '\0';
    return bytes;
}

struct Trailer {
    std::uint8_t offsetSize = 2;
    std::uint8_t referenceSize = 1;
    std::optional<std::uint64_t> count; ///< instead of the true one
    std::uint64_t top = 0;
    std::optional<std::uint64_t> table; ///< instead of the true one
};

/// A binary property list from its objects.
Bytes binary(const std::vector<std::string>& objects, const Trailer& trailer = {}) {
    std::string file = "bplist00";
    std::string table;
    for (const std::string& object : objects) {
        table += bigEndian(file.size(), trailer.offsetSize);
        file += object;
    }
    const std::size_t tableOffset = file.size();
    file += table + std::string(6, '\0') + static_cast<char>(trailer.offsetSize) +
            static_cast<char>(trailer.referenceSize) + bigEndian(trailer.count.value_or(objects.size()), 8) +
            bigEndian(trailer.top, 8) + bigEndian(trailer.table.value_or(tableOffset), 8);
    return {file.begin(), file.end()};
}

/// What a binary property list of one object reads as.
std::optional<PropertyList> decodeObject(const std::string& object) {
    return decodePropertyList(binary({object}));
}

TEST(PropertyListFormat, ReadsEveryWidthOfBinaryNumbers) {
    EXPECT_EQ(decodeObject("\x10\xFF"), PropertyList(255)) << "one byte has no sign";
    EXPECT_EQ(decodeObject("\x11\xFF\xFE"), PropertyList(65534));
    EXPECT_EQ(decodeObject("\x12\xFF\xFF\xFF\xFD"), PropertyList(std::int64_t{4294967293}));
    EXPECT_EQ(decodeObject("\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFC"), PropertyList(-4)) << "eight bytes have one";
    EXPECT_EQ(decodeObject("\x14" + bigEndian(0, 8) + bigEndian(~std::uint64_t{0}, 8)), PropertyList(-1));
    EXPECT_EQ(decodeObject("\x22" + bigEndian(0x3FC00000, 4)), PropertyList(1.5));
    EXPECT_EQ(decodeObject("\x23" + bigEndian(0x3FF8000000000000, 8)), PropertyList(1.5));
    EXPECT_EQ(decodeObject("\x33" + bigEndian(0x3FF8000000000000, 8)), PropertyList(Date{978307201.5}));
    for (const std::string bad : {"\x15", "\x1F", "\x20", "\x21", "\x24", "\x32", "\x34", "\x3F"})
        EXPECT_FALSE(decodeObject(bad + std::string(64, '\0'))) << bad;
}

TEST(PropertyListFormat, ReadsEveryLengthOfACount) {
    const std::string letters(300, 'x');
    EXPECT_EQ(decodeObject("\x5E" + letters.substr(0, 14)), PropertyList(letters.substr(0, 14)));
    EXPECT_EQ(decodeObject("\x5F\x10\x0F" + letters.substr(0, 15)), PropertyList(letters.substr(0, 15)));
    EXPECT_EQ(decodeObject("\x5F\x11" + bigEndian(300, 2) + letters), PropertyList(letters));
    EXPECT_EQ(decodeObject("\x5F\x12" + bigEndian(300, 4) + letters), PropertyList(letters));
    EXPECT_EQ(decodeObject("\x5F\x13" + bigEndian(300, 8) + letters), PropertyList(letters));
    EXPECT_FALSE(decodeObject("\x5F\x14" + std::string(8, '\0') + bigEndian(300, 8) + letters));
    EXPECT_FALSE(decodeObject("\x5F\x50" + letters));
    EXPECT_FALSE(decodeObject("\x5F"));
    for (const char kind : {'\x4F', '\x5F', '\x6F', '\xAF', '\xDF'})
        for (const std::uint64_t count : {std::uint64_t{301}, std::uint64_t{1} << 31, std::uint64_t{1} << 63,
                                          (std::uint64_t{1} << 63) + 1, ~std::uint64_t{0}})
            EXPECT_FALSE(decodeObject(kind + ("\x13" + bigEndian(count, 8)) + letters)) << count;
}

TEST(PropertyListFormat, ReadsTextsInUtf16) {
    EXPECT_EQ(decodeObject(std::string("\x64\x00\xFC\x6E\x29\xD8\x3D\xDE\x00", 9)), PropertyList("ü温\U0001F600"));
    EXPECT_EQ(decodeObject(std::string("\x63\x00\x61\xD8\x3D\x00\x62", 7)), PropertyList("a\uFFFDb")) << "half a pair";
    EXPECT_EQ(decodeObject("\x61\xD8\x3D"), PropertyList("\uFFFD"));
    EXPECT_EQ(decodeObject(std::string("\x62\xDE\x00\xD8\x3D", 5)), PropertyList("\uFFFD\uFFFD")) << "the wrong order";
    EXPECT_FALSE(decodeObject("\x51\xFC")) << "no ASCII";
}

TEST(PropertyListFormat, ReadsKeysAndTextsThatHoldTheZeroCharacter) {
    // libplist stopped the process at such a key.
    const std::string text("\x63\x00\x61\x00\x00\x00\x62", 7);
    const std::string zero("a\0b", 3);
    EXPECT_EQ(decodePropertyList(binary({"\xD1\x01\x01", text})), PropertyList(Dictionary{{zero, zero}}));
    EXPECT_EQ(decodePropertyList(binary({"\xD1\x01\x01", "\x53" + zero})), PropertyList(Dictionary{{zero, zero}}));
}

TEST(PropertyListFormat, RefusesWhatNoPreferenceCanBe) {
    EXPECT_FALSE(decodeObject(std::string(1, '\0'))) << "null";
    EXPECT_FALSE(decodeObject("\x0F"));
    EXPECT_FALSE(decodeObject("\x70"));
    EXPECT_FALSE(decodeObject("\xB0"));
    EXPECT_FALSE(decodeObject("\xC0")) << "a set";
    EXPECT_FALSE(decodePropertyList(binary({"\xD1\x01\x01", "\x10\x05"}))) << "a key that is no text";
    const Bytes reference = binary({"\x81\x01\x02"});
    EXPECT_FALSE(decodePropertyList(reference)) << "what only an archive holds";
    EXPECT_EQ(decodePropertyList(reference, ArchiveReferences::spellOut), PropertyList(Dictionary{{"CF$UID", 258}}));
}

TEST(PropertyListFormat, TheLastOfEqualKeysHolds) {
    EXPECT_EQ(decodePropertyList(binary({"\xD2\x01\x01\x02\x03",
                                         "\x51"
                                         "a",
                                         "\x10\x01", "\x10\x02"})),
              PropertyList(Dictionary{{"a", 2}}));
    EXPECT_EQ(decode(xml("<dict><key>a</key><integer>1</integer><key>a</key><integer>2</integer></dict>")),
              PropertyList(Dictionary{{"a", 2}}));
}

TEST(PropertyListFormat, ReadsEverySizeOfOffsetsAndReferences) {
    for (std::uint8_t size = 1; size <= 8; ++size) {
        Trailer trailer;
        trailer.offsetSize = size;
        trailer.referenceSize = size;
        trailer.top = 1;
        EXPECT_EQ(decodePropertyList(binary({"\x09", "\xA1" + bigEndian(0, size)}, trailer)), PropertyList(List{true}))
            << int{size};
    }
    for (const std::uint8_t size : Bytes{0, 9, 16, 255}) {
        Trailer trailer;
        trailer.offsetSize = size;
        EXPECT_FALSE(decodePropertyList(binary({"\x09"}, trailer))) << int{size};
        trailer = {};
        trailer.referenceSize = size;
        EXPECT_FALSE(decodePropertyList(binary({"\x09"}, trailer))) << int{size};
    }
}

TEST(PropertyListFormat, RefusesATrailerThatClaimsMoreThanTheFileHolds) {
    constexpr std::uint64_t all = ~std::uint64_t{0};
    for (const std::uint64_t wrong :
         {std::uint64_t{2}, std::uint64_t{64}, std::uint64_t{1} << 62, std::uint64_t{1} << 63, all}) {
        Trailer trailer;
        trailer.count = wrong;
        EXPECT_FALSE(decodePropertyList(binary({"\x09"}, trailer))) << "count " << wrong;
        trailer = {};
        trailer.top = wrong;
        EXPECT_FALSE(decodePropertyList(binary({"\x09"}, trailer))) << "top " << wrong;
        trailer = {};
        trailer.table = wrong;
        EXPECT_FALSE(decodePropertyList(binary({"\x09"}, trailer))) << "table " << wrong;
    }
    Trailer none;
    none.count = 0;
    EXPECT_FALSE(decodePropertyList(binary({"\x09"}, none)));
    EXPECT_FALSE(decodePropertyList(binary({"\xA1\x05", "\x09"}))) << "a reference to no object";
}

TEST(PropertyListFormat, RefusesABinaryFileThatRefersToItself) {
    EXPECT_EQ(decodePropertyList(binary({"\xA1\x01", "\x09"})), PropertyList(List{true})) << "a well-formed one";
    EXPECT_FALSE(decodePropertyList(binary({std::string("\xA1\x00", 2)})));
    EXPECT_FALSE(decodePropertyList(binary({std::string("\xD1\x00\x00", 3)}))) << "as a key and as a value";
    EXPECT_FALSE(decodePropertyList(binary({std::string("\xD2\x01\x01\x00\x00", 5), "\x51x"})));
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

TEST(PropertyListFormat, RefusesABinaryFileThatUnfoldsToFarMoreThanItHolds) {
    const std::string million = "\x5F\x12" + bigEndian(1 << 20, 4) + std::string(1 << 20, 'x');
    Trailer trailer;
    trailer.offsetSize = 4;
    EXPECT_TRUE(decodePropertyList(binary({"\xAA" + std::string(10, '\1'), million}, trailer)));
    EXPECT_FALSE(decodePropertyList(binary({"\xAF\x10\xFF" + std::string(255, '\1'), million}, trailer)));
}

/// A value inside so many lists.
PropertyList nested(int depth) {
    PropertyList value = 1;
    for (; depth > 0; --depth)
        value = List{value};
    return value;
}

std::string nestedXml(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "<array>";
    text += "<integer>1</integer>";
    for (int i = 0; i < depth; ++i)
        text += "</array>";
    return text;
}

Bytes nestedBinary(int depth) {
    std::vector<std::string> lists;
    for (int i = 1; i <= depth; ++i)
        lists.push_back("\xA1" + std::string(1, static_cast<char>(i)));
    lists.emplace_back("\x10\x01");
    return binary(lists);
}

TEST(PropertyListFormat, NestsToTheSameDepthInEveryNotation) {
    EXPECT_EQ(decode(xml(nestedXml(propertyListDepthLimit))), nested(propertyListDepthLimit));
    EXPECT_EQ(decodePropertyList(nestedBinary(propertyListDepthLimit)), nested(propertyListDepthLimit));
    EXPECT_TRUE(encodePropertyList(nested(propertyListDepthLimit)));
    EXPECT_FALSE(decode(xml(nestedXml(propertyListDepthLimit + 1))));
    EXPECT_FALSE(decodePropertyList(nestedBinary(propertyListDepthLimit + 1)));
    EXPECT_FALSE(encodePropertyList(nested(propertyListDepthLimit + 1)));
}

TEST(PropertyListFormat, NoMarkupHidesDeepNesting) {
    // A guard before the parser took what began a comment inside these for one, and looked no further: half a megabyte
    // of nesting overflowed the stack.
    const std::string deep = nestedXml(200'000);
    for (const std::string before :
         {"", "<?hidden <!-- ?>", "<!DOCTYPE plist \"<!--\">", "<!DOCTYPE plist \"<![CDATA[\">", "<!-- <![CDATA[ -->"})
        EXPECT_FALSE(decode(before + "<plist version=\"1.0\">" + deep + "</plist>")) << before;
    EXPECT_FALSE(decode(xml("<array a='<!--'>" + deep + "</array>")));
}

TEST(PropertyListFormat, ReadsAsLongAsTheFileIs) {
    // Every unclosed tag was searched to the end of the file: 15 MB took two minutes, far beyond this test's time.
    for (const std::string unit :
         {"<array</array", "<array>", "<", "<![CDATA[", "&#", "<array a=\"\" ", "<!DOCTYPE <"}) {
        std::string text = "<plist version=\"1.0\"><array>";
        while (text.size() < 15 << 20)
            text += unit;
        EXPECT_FALSE(decode(text)) << unit;
    }
}

/// Writes what plistlib of Python makes of some values, in both forms, or compares what it reads with them.
constexpr const char* plistlibScript = R"(
import datetime, plistlib, random, sys
random.seed(7)
texts = ['', 'a', 'x' * 14, 'x' * 15, 'y' * 300, 'z' * 70000, '\u00fc', '\u6e29\u5ea6', 'smile \U0001F600', '<&>"\'', ' a\n\tb ']
integers = [0, 1, -1, 127, 128, 255, 256, 65535, 65536, 2**31, 2**32 - 1, 2**32, 2**63 - 1, -2**31, -2**63]
reals = [0.0, 1.5, 0.1, 1e308, -5e-324, float('inf'), float('-inf')]
dates = [datetime.datetime(2017, 7, 14, 2, 40), datetime.datetime(1, 1, 1), datetime.datetime(9999, 12, 31, 23, 59, 59)]
blobs = [b'', b'\x00', bytes(range(256)), bytes(70000)]
def value(depth):
    kind = random.randrange(8 if depth < 4 else 6)
    if kind == 6: return [value(depth + 1) for _ in range(random.choice([0, 1, 3, 20]))]
    if kind == 7: return {random.choice(texts) + str(i): value(depth + 1) for i in range(random.choice([0, 1, 3, 20]))}
    return random.choice([texts, integers, reals, dates, blobs, [True, False]][kind])
values = [texts, integers, reals, dates, blobs, [True, False], [], {}, [texts] * 20, {t: i for i, t in enumerate(texts)}]
values += [[], {}] * 10 + [[value(0)] for _ in range(60)] + [{str(i): i for i in range(5000)}]
for number, value in enumerate(values):
    path = sys.argv[2] + '/' + str(number)
    if sys.argv[1] == 'write':
        plistlib.dump(value, open(path + '.xml', 'wb'), fmt=plistlib.FMT_XML)
        plistlib.dump(value, open(path + '.binary', 'wb'), fmt=plistlib.FMT_BINARY)
    else:
        read = plistlib.load(open(path + '.again', 'rb'))
        assert repr(read) == repr(plistlib.loads(plistlib.dumps(value))), (number, read)
)";

TEST(PropertyListFormat, AgreesWithAToolThatIsNotOurs) {
    const TemporaryFolder folder;
    folder.write("plistlib.check.py", plistlibScript);
    const auto run = [&](const std::string& mode) {
        return std::system(("python3 " + folder.path("plistlib.check.py") + " " + mode + " " + folder.path()).c_str());
    };
    ASSERT_EQ(run("write"), 0) << "python3 with its plistlib is among what the tests need";
    int number = 0;
    for (; std::filesystem::exists(folder.path(std::to_string(number) + ".xml")); ++number) {
        const std::string name = std::to_string(number);
        const auto value = decode(contentOf(folder.path(name + ".binary")));
        ASSERT_TRUE(value) << name;
        EXPECT_EQ(decode(contentOf(folder.path(name + ".xml"))), value) << name;
        const auto again = encodePropertyList(*value);
        ASSERT_TRUE(again) << name;
        folder.write(name + ".again", {reinterpret_cast<const char*>(again->data()), again->size()});
    }
    EXPECT_GE(number, 90);
    EXPECT_EQ(run("compare"), 0);
}

} // namespace
} // namespace sentrel::platform
