// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/detail/KeyedArchive.h>

#include "tests/support/Fixtures.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace sentrel::platform {
namespace {

using Bytes = PropertyList::Bytes;
using Date = PropertyList::Date;
using List = PropertyList::List;
using Dictionary = PropertyList::Dictionary;
using Address = PropertyList::Address;

std::optional<PropertyList> unarchive(std::string_view text) {
    return keyedUnarchive({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

std::string fixture(const std::string& name) {
    std::ifstream file(fixturePath("preferences/") + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(KeyedArchive, EveryKindComesBack) {
    const std::array<PropertyList, 14> values{
        true,
        std::int64_t{-7},
        2.5,
        "text",
        "$null",
        Bytes{1, 2, 3},
        Date{1500000000.123456789},
        Date{-62135596800.0},
        Address{"https://example.com/a?b#c"},
        List{},
        Dictionary{},
        List{1, 1.0, true, "ü", Bytes{}, List{"nested"}},
        Dictionary{{"a", 1}, {"b", List{Date{5}, Address{"mailto:x@example.com"}}}},
        List{List{}, List{}, Dictionary{}, Dictionary{}},
    };
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto archive = keyedArchive(values.at(i));
        ASSERT_TRUE(archive) << i;
        EXPECT_EQ(keyedUnarchive(*archive), values.at(i)) << i;
    }
}

TEST(KeyedArchive, RefusesNothingAndTextsThatAreNotUtf8) {
    EXPECT_FALSE(keyedArchive(PropertyList()));
    EXPECT_FALSE(keyedArchive(List{1, PropertyList()}));
    EXPECT_FALSE(keyedArchive("bad \xC3"));
    EXPECT_FALSE(keyedArchive(Dictionary{{"bad \xC3", 1}}));
}

TEST(KeyedArchive, HasTheLayoutThatOtherToolsKnow) {
    // Python's plistlib reads the file on its own and walks the documented layout.
    const TemporaryFolder folder;
    const auto archive = keyedArchive(Dictionary{{"list", List{"x", 5}}, {"when", Date{978307200 + 12.5}}});
    ASSERT_TRUE(archive);
    folder.write("archive", {reinterpret_cast<const char*>(archive->data()), archive->size()});
    folder.write("check.py", R"(
import plistlib, sys
f = plistlib.load(open(sys.argv[1], 'rb'))
o = f['$objects']
assert f['$version'] == 100000 and f['$archiver'] == 'NSKeyedArchiver' and o[0] == '$null'
def kind(d): return o[d['$class'].data]['$classname'], o[d['$class'].data]['$classes']
root = o[f['$top']['root'].data]
assert kind(root) == ('NSDictionary', ['NSDictionary', 'NSObject'])
entries = {o[k.data]: o[v.data] for k, v in zip(root['NS.keys'], root['NS.objects'])}
assert kind(entries['list']) == ('NSArray', ['NSArray', 'NSObject'])
assert [o[i.data] for i in entries['list']['NS.objects']] == ['x', 5]
assert kind(entries['when']) == ('NSDate', ['NSDate', 'NSObject']) and entries['when']['NS.time'] == 12.5
)");
    if (std::system("python3 -c 'import plistlib; plistlib.UID' 2>/dev/null") != 0)
        GTEST_SKIP() << "there is no python3 with plistlib to read the archive";
    EXPECT_EQ(std::system(("python3 " + folder.path("check.py") + " " + folder.path("archive")).c_str()), 0);
}

TEST(KeyedArchive, ReadsMutableObjectsAndRelativeAddressesFromXml) {
    const Dictionary expected{{"names", List{"first", "second"}},
                              {"text", "mutable"},
                              {"bytes", Bytes{'h', 'i'}},
                              {"page", Address{"https://example.com/docs/page.html"}}};
    EXPECT_EQ(unarchive(fixture("mutable-archive.plist")), PropertyList(expected));
}

std::string archiveXml(const std::string& root, const std::string& objects) {
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>$archiver</key><string>NSKeyedArchiver</string>"
           "<key>$version</key><integer>100000</integer><key>$top</key><dict><key>root</key>" +
           root + "</dict><key>$objects</key><array><string>$null</string>" + objects + "</array></dict></plist>";
}

std::string reference(int index) {
    return "<dict><key>CF$UID</key><integer>" + std::to_string(index) + "</integer></dict>";
}

std::string listObject(const std::string& references) {
    return "<dict><key>$class</key>" + reference(2) + "<key>NS.objects</key><array>" + references + "</array></dict>" +
           "<dict><key>$classname</key><string>NSArray</string><key>$classes</key><array><string>NSArray</string>"
           "</array></dict>";
}

TEST(KeyedArchive, GivesNothingForDamagedAndForeignArchives) {
    EXPECT_EQ(unarchive(archiveXml(reference(1), "<string>x</string>")), PropertyList("x")) << "a well-formed one";
    const std::array<std::string, 16> bad{
        "",
        "no archive",
        "bplist00",
        "<plist version=\"1.0\"><dict/></plist>",
        "<plist version=\"1.0\"><string>NSKeyedArchiver</string></plist>",
        archiveXml(reference(0), ""),
        archiveXml(reference(7), "<string>x</string>"),
        archiveXml("<integer>1</integer>", "<string>x</string>"),
        archiveXml(reference(1), "<array/>"),
        archiveXml(reference(1), "<dict/>"),
        archiveXml(reference(1), "<dict><key>$class</key>" + reference(1) + "</dict>"),
        archiveXml(reference(1), "<dict><key>$class</key>" + reference(2) +
                                     "</dict><dict><key>$classes</key><array><string>NSWindow</string></array></dict>"),
        archiveXml(reference(1), listObject(reference(9))),
        archiveXml(reference(1), listObject(reference(0))),
        archiveXml(reference(1), listObject(reference(1))), // holds itself
        archiveXml(reference(1), "<dict><key>$class</key>" + reference(2) +
                                     "</dict><dict><key>$classes</key><array><string>NSDate</string></array></dict>"),
    };
    for (const std::string& text : bad)
        EXPECT_FALSE(unarchive(text)) << text;
}

TEST(KeyedArchive, RefusesAnArchiveThatUnfoldsWithoutEnd) {
    // Twenty lists, each holding the next one ten times.
    std::string objects = "<dict><key>$classes</key><array><string>NSArray</string></array></dict>";
    for (int i = 2; i < 22; ++i) {
        objects += "<dict><key>$class</key>" + reference(1) + "<key>NS.objects</key><array>";
        for (int times = 0; times < 10; ++times)
            objects += reference(i + 1);
        objects += "</array></dict>";
    }
    EXPECT_FALSE(unarchive(archiveXml(reference(2), objects + "<string>x</string>")));
}

TEST(KeyedArchive, CountsTheContentOfObjectsThatAreReferredToOften) {
    // What a mutable text holds was not counted: a megabyte, ten thousand times, unfolded to ten gigabytes.
    const auto archive = [](int times) {
        std::string references;
        for (int i = 0; i < times; ++i)
            references += reference(3);
        return archiveXml(reference(1), listObject(references) + "<dict><key>$class</key>" + reference(4) +
                                            "<key>NS.string</key><string>" + std::string(1 << 20, 'x') +
                                            "</string></dict><dict><key>$classes</key><array><string>NSString</string>"
                                            "</array></dict>");
    };
    EXPECT_TRUE(unarchive(archive(10)));
    EXPECT_FALSE(unarchive(archive(100)));
}

TEST(KeyedArchive, CountsTheAncestorsOfEveryObject) {
    // A long list of unknown classes was gone through for every object that names it.
    std::string references;
    for (int i = 0; i < 10'000; ++i)
        references += reference(3);
    std::string ancestors;
    for (int i = 0; i < 100'000; ++i)
        ancestors += "<string/>";
    EXPECT_FALSE(
        unarchive(archiveXml(reference(1), listObject(references) + "<dict><key>$class</key>" + reference(4) +
                                               "<key>NS.string</key><string/></dict><dict><key>$classes</key><array>" +
                                               ancestors + "<string>NSString</string></array></dict>")));
}

TEST(KeyedArchive, EveryTruncationAndChangedByteIsSafe) {
    const auto archive = keyedArchive(Dictionary{{"list", List{"x", 5, Date{7}}}, {"b", Bytes{1, 2}}});
    ASSERT_TRUE(archive);
    for (std::size_t at = 0; at < archive->size(); ++at) {
        static_cast<void>(keyedUnarchive(std::span(*archive).first(at)));
        for (const int change : {0x01, 0x10, 0xFF}) {
            Bytes damaged = *archive;
            damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ change);
            static_cast<void>(keyedUnarchive(damaged));
        }
    }
}

} // namespace
} // namespace sentrel::platform
