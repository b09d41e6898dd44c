// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/settings/PropertyListCoder.h>

#include "tests/settings/DefaultsSuite.h"

#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

enum class Side : std::uint8_t { left = 1, right = 4 };
template <>
struct RawValue<Side> : EnumerationCases<Side::left, Side::right> {};

/// An enumeration kept by texts.
enum class Mode { day, night };
template <>
struct RawValue<Mode> {
    static PropertyList rawValue(Mode mode) { return mode == Mode::day ? "day" : "night"; }
    static std::optional<Mode> fromRawValue(const PropertyList& raw) {
        if (raw == "day")
            return Mode::day;
        return raw == "night" ? std::optional(Mode::night) : std::nullopt;
    }
};

/// A host's own type.
struct Point {
    double x = 0;
    double y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};
template <>
struct PropertyListCoder<Point> {
    static PropertyList encode(const Point& point) { return PropertyList::Dictionary{{"x", point.x}, {"y", point.y}}; }
    static std::optional<Point> decode(const PropertyList& value) {
        const PropertyList* x = value.find("x");
        const PropertyList* y = value.find("y");
        if (!x || !y || !x->as<double>() || !y->as<double>())
            return std::nullopt;
        return Point{*x->as<double>(), *y->as<double>()};
    }
};

namespace {

class PropertyListCoders : public DefaultsSuite {};

INSTANTIATE_TEST_SUITE_P(Suites, PropertyListCoders, testing::Values(true, false),
                         [](const auto& run) { return run.param ? "InMemory" : "InAFile"; });

TEST_P(PropertyListCoders, ArchivesEnumerationsByTheirRawValues) {
    const DefaultsKey<Side> side("side");
    const DefaultsKey<Mode> mode("mode");
    EXPECT_EQ(defaults->unarchive(side), std::nullopt);
    EXPECT_TRUE(defaults->archive(side, Side::right));
    EXPECT_TRUE(defaults->archive(mode, Mode::night));
    EXPECT_EQ(defaults->object("side"), PropertyList(4));
    EXPECT_EQ(defaults->object("mode"), PropertyList("night"));
    EXPECT_EQ(defaults->unarchive(side), Side::right);
    EXPECT_EQ(defaults->unarchive(mode), Mode::night);
    (*defaults)["side"] = 2;
    EXPECT_EQ(defaults->unarchive(side), std::nullopt) << "no case has this raw value";
    (*defaults)["side"] = "right";
    EXPECT_EQ(defaults->unarchive(side), std::nullopt);
    EXPECT_TRUE(defaults->archive(side, std::nullopt));
    EXPECT_FALSE(defaults->hasKey(side));
}

TEST_P(PropertyListCoders, ArchivesOtherValuesAsKeyedArchives) {
    const DefaultsKey<std::map<std::string, std::vector<int>>> numbers("numbers");
    const DefaultsKey<Point> point("point");
    const std::map<std::string, std::vector<int>> values{{"a", {1, 2}}, {"b", {}}};
    EXPECT_EQ(defaults->unarchive(numbers), std::nullopt);
    EXPECT_TRUE(defaults->archive(numbers, values));
    EXPECT_TRUE(defaults->archive(point, Point{1.5, -2}));
    EXPECT_TRUE(defaults->object("point")->as<PropertyList::Bytes>());
    EXPECT_EQ(defaults->unarchive(numbers), values);
    EXPECT_EQ(defaults->unarchive(point), (Point{1.5, -2}));
    EXPECT_EQ(defaults->unarchive(DefaultsKey<std::string>("point")), std::nullopt) << "another type";
    (*defaults)["point"] = PropertyList::Bytes{1, 2, 3};
    EXPECT_EQ(defaults->unarchive(point), std::nullopt) << "damaged";
    (*defaults)["point"] = "text";
    EXPECT_EQ(defaults->unarchive(point), std::nullopt) << "not an archive at all";
    EXPECT_TRUE(defaults->archive(point, std::nullopt));
    EXPECT_FALSE(defaults->hasKey(point));
}

} // namespace
} // namespace sentrel
