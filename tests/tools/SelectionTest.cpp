// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Selection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tool {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

TEST(SelectionTest, NothingNamedIsEverything) {
    std::string unknown;
    const auto selection = Selection::of({}, {}, unknown);
    ASSERT_TRUE(selection);
    EXPECT_THAT(selection->resources(), ElementsAre("cpu", "mem", "disk", "net", "battery", "gpu", "apps"));
}

TEST(SelectionTest, ResourcesComeInTheirOrderAndOnce) {
    std::string unknown;
    const auto selection = Selection::of({"net", "cpu", "net"}, {"mem.free_bytes"}, unknown);
    ASSERT_TRUE(selection);
    EXPECT_THAT(selection->resources(), ElementsAre("cpu", "mem", "net"));
}

TEST(SelectionTest, AWrongNameIsTold) {
    std::string unknown;
    EXPECT_FALSE(Selection::of({"cpu", "coffee"}, {}, unknown));
    EXPECT_EQ(unknown, "coffee");
    EXPECT_FALSE(Selection::of({}, {"cpu.coffee"}, unknown));
    EXPECT_EQ(unknown, "cpu.coffee");
    EXPECT_FALSE(Selection::of({}, {"disk.free_bytes"}, unknown)) << "of its list";
    EXPECT_FALSE(Selection::of({}, {""}, unknown));
}

TEST(FiguresTest, HaveNamesThatTheExporterMayUse) {
    for (const TableInfo& table : tableInfos()) {
        std::set<std::string_view> names;
        for (const FigureInfo* info : table.figures) {
            EXPECT_THAT(std::string(info->name), MatchesRegex("[a-z][a-z0-9_]*"));
            EXPECT_TRUE(names.insert(info->name).second) << info->name << " is there twice";
            EXPECT_EQ(info->help.back(), '.') << info->help;
            EXPECT_EQ(info->kind == Kind::counter, info->name.ends_with("_total")) << info->name;
        }
    }
}

} // namespace
} // namespace tool
