// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Selection.h"

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

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

TEST(SelectionTest, FurtherResourcesAreShownWhenTheyAreNamed) {
    std::string unknown;
    EXPECT_THAT(Selection::of({"host", "cpu"}, {}, unknown)->resources(), ElementsAre("cpu", "host"));
    EXPECT_THAT(Selection::of({}, {}, true, unknown)->resources(),
                ElementsAre("cpu", "mem", "disk", "net", "battery", "gpu", "apps", "sensors", "host"));
    EXPECT_THAT(Selection::of({"cpu"}, {}, true, unknown)->resources(), ElementsAre("cpu"));
}

TEST(SelectionTest, OnlyWhatIsAskedForIsSampled) {
    using sentrel::CPU;
    const auto wantedBy = [](const std::vector<std::string>& resources, const std::vector<std::string>& fields,
                             bool isAll) {
        sentrel::ScriptedMachine machine;
        sentrel::System system;
        std::string unknown;
        Selection::of(resources, fields, isAll, unknown)->want(system);
        return std::pair(system.cpu().measures(), system.mem().measures().bits());
    };
    EXPECT_EQ(wantedBy({}, {}, false), std::pair(sentrel::MeasureSet<CPU::Measure>({}), 0U));
    EXPECT_EQ(wantedBy({}, {"cpu.cores.user_ratio"}, false).first,
              sentrel::MeasureSet<CPU::Measure>({CPU::Measure::cores}));
    EXPECT_EQ(wantedBy({"cpu"}, {}, true).first.bits(), 0b1111U);
    EXPECT_EQ(wantedBy({"cpu"}, {}, true).second, 0U) << "of the memory nothing is asked";
    EXPECT_EQ(wantedBy({}, {"cpu.usage_ratio"}, true).first, sentrel::MeasureSet<CPU::Measure>({})) << "fields narrow";
}

TEST(FiguresTest, HaveNamesThatTheExporterMayUse) {
    std::map<std::string, std::set<std::string_view>> namesOf;
    for (const TableInfo& table : allTableInfos()) {
        std::set<std::string_view>& names = namesOf[fieldName(table.resource, table.list, "")];
        names.insert(table.labels.begin(), table.labels.end());
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
