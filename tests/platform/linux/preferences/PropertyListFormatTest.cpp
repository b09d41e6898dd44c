// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>

#include "tests/platform/linux/preferences/PropertyListTexts.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using Bytes = PropertyList::Bytes;
using List = PropertyList::List;
using Dictionary = PropertyList::Dictionary;

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
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

TEST(PropertyListFormat, TheLastOfEqualKeysHolds) {
    EXPECT_EQ(decodePropertyList(binary({"\xD2\x01\x01\x02\x03",
                                         "\x51"
                                         "a",
                                         "\x10\x01", "\x10\x02"})),
              PropertyList(Dictionary{{"a", 2}}));
    EXPECT_EQ(decode(xml("<dict><key>a</key><integer>1</integer><key>a</key><integer>2</integer></dict>")),
              PropertyList(Dictionary{{"a", 2}}));
}

/// A value inside so many lists.
PropertyList nested(int depth) {
    PropertyList value = 1;
    for (; depth > 0; --depth)
        value = List{value};
    return value;
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
