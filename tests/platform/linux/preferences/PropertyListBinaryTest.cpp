// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/PropertyListBinary.h>

#include "tests/platform/linux/preferences/PropertyListTexts.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using Bytes = PropertyList::Bytes;
using Date = PropertyList::Date;
using List = PropertyList::List;
using Dictionary = PropertyList::Dictionary;

/// What a binary property list of one object reads as.
std::optional<PropertyList> decodeObject(const std::string& object) {
    return decodePropertyList(binary({object}));
}

TEST(PropertyListBinary, EveryKindSurvivesTheBinaryForm) {
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

TEST(PropertyListBinary, NotANumberStaysADouble) {
    const auto back = decodePropertyList(encodePropertyList(Dictionary{{"nan", std::nan("")}}).value());
    ASSERT_TRUE(back && back->find("nan") && back->find("nan")->as<double>());
    EXPECT_TRUE(std::isnan(*back->find("nan")->as<double>()));
}

TEST(PropertyListBinary, EveryTruncationOfABinaryFileIsSafe) {
    const auto bytes = encodePropertyList(Dictionary{{"list", List{1, 2.5, "text", Date{5}}}, {"b", Bytes(300, 7)}});
    ASSERT_TRUE(bytes);
    for (std::size_t size = 0; size < bytes->size(); ++size)
        EXPECT_FALSE(decodePropertyList(std::span(*bytes).first(size)) == decodePropertyList(*bytes)) << size;
}

TEST(PropertyListBinary, EveryChangedByteOfABinaryFileIsSafe) {
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

TEST(PropertyListBinary, ReadsEveryWidthOfBinaryNumbers) {
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

TEST(PropertyListBinary, ReadsEveryLengthOfACount) {
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

TEST(PropertyListBinary, ReadsTextsInUtf16) {
    EXPECT_EQ(decodeObject(std::string("\x64\x00\xFC\x6E\x29\xD8\x3D\xDE\x00", 9)), PropertyList("ü温\U0001F600"));
    EXPECT_EQ(decodeObject(std::string("\x63\x00\x61\xD8\x3D\x00\x62", 7)), PropertyList("a\uFFFDb")) << "half a pair";
    EXPECT_EQ(decodeObject("\x61\xD8\x3D"), PropertyList("\uFFFD"));
    EXPECT_EQ(decodeObject(std::string("\x62\xDE\x00\xD8\x3D", 5)), PropertyList("\uFFFD\uFFFD")) << "the wrong order";
    EXPECT_FALSE(decodeObject("\x51\xFC")) << "no ASCII";
}

TEST(PropertyListBinary, ReadsKeysAndTextsThatHoldTheZeroCharacter) {
    // libplist stopped the process at such a key.
    const std::string text("\x63\x00\x61\x00\x00\x00\x62", 7);
    const std::string zero("a\0b", 3);
    EXPECT_EQ(decodePropertyList(binary({"\xD1\x01\x01", text})), PropertyList(Dictionary{{zero, zero}}));
    EXPECT_EQ(decodePropertyList(binary({"\xD1\x01\x01", "\x53" + zero})), PropertyList(Dictionary{{zero, zero}}));
}

TEST(PropertyListBinary, RefusesWhatNoPreferenceCanBe) {
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

TEST(PropertyListBinary, ReadsEverySizeOfOffsetsAndReferences) {
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

TEST(PropertyListBinary, RefusesATrailerThatClaimsMoreThanTheFileHolds) {
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

TEST(PropertyListBinary, RefusesABinaryFileThatRefersToItself) {
    EXPECT_EQ(decodePropertyList(binary({"\xA1\x01", "\x09"})), PropertyList(List{true})) << "a well-formed one";
    EXPECT_FALSE(decodePropertyList(binary({std::string("\xA1\x00", 2)})));
    EXPECT_FALSE(decodePropertyList(binary({std::string("\xD1\x00\x00", 3)}))) << "as a key and as a value";
    EXPECT_FALSE(decodePropertyList(binary({std::string("\xD2\x01\x01\x00\x00", 5), "\x51x"})));
    EXPECT_FALSE(decodePropertyList(binary({"\xA1\x01", std::string("\xA1\x00", 2)})));
}

TEST(PropertyListBinary, RefusesABinaryFileThatUnfoldsWithoutEnd) {
    // Thirty lists, each holding the next one ten times.
    std::vector<std::string> lists;
    for (int i = 1; i <= 30; ++i)
        lists.push_back("\xAA" + std::string(10, static_cast<char>(i)));
    lists.emplace_back("\x09");
    EXPECT_FALSE(decodePropertyList(binary(lists)));
}

TEST(PropertyListBinary, RefusesABinaryFileThatUnfoldsToFarMoreThanItHolds) {
    const std::string million = "\x5F\x12" + bigEndian(1 << 20, 4) + std::string(1 << 20, 'x');
    Trailer trailer;
    trailer.offsetSize = 4;
    EXPECT_TRUE(decodePropertyList(binary({"\xAA" + std::string(10, '\1'), million}, trailer)));
    EXPECT_FALSE(decodePropertyList(binary({"\xAF\x10\xFF" + std::string(255, '\1'), million}, trailer)));
}

} // namespace
} // namespace sentrel::platform
