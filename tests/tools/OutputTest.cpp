// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Output.h"

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <limits>
#include <string>
#include <vector>

namespace tool {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

class OutputTest : public testing::Test {
protected:
    static Selection select(const std::vector<std::string>& resources, const std::vector<std::string>& fields = {}) {
        std::string unknown;
        const std::optional<Selection> selection = Selection::of(resources, fields, unknown);
        EXPECT_TRUE(selection) << unknown;
        return selection.value_or(Selection());
    }

    // The line of a sample, after one.
    json sample(const std::vector<std::string>& resources, const std::vector<std::string>& fields = {}) {
        sentrel::System system;
        for (const std::string_view resource : tool::resources())
            modelOf(system, resource)->update();
        return json::parse(jsonLine(system, select(resources, fields), 1.5));
    }

    std::string text(const std::vector<std::string>& resources) {
        sentrel::System system;
        for (const std::string_view resource : tool::resources())
            modelOf(system, resource)->update();
        return readableText(system, select(resources));
    }

    sentrel::ScriptedMachine machine;
};

TEST_F(OutputTest, SharesAreRatiosAndSizesBytes) {
    machine->host().loadTicksValue = {30, 10, 60, 0};
    machine->host().virtualMemoryValue.wire_count = 2;
    machine->host().virtualMemoryValue.free_count = 2;
    const json line = sample({"cpu", "mem"});
    EXPECT_EQ(line["time"], 1.5);
    EXPECT_DOUBLE_EQ(line["cpu"]["usage_ratio"], 0.4);
    EXPECT_DOUBLE_EQ(line["cpu"]["system_ratio"], 0.1);
    EXPECT_DOUBLE_EQ(line["mem"]["usage_ratio"], 0.5);
    EXPECT_EQ(line["mem"]["wired_bytes"], 8192);
    EXPECT_FALSE(line.contains("disk"));
}

TEST_F(OutputTest, WhatIsNotKnownIsAbsentAndNot0) {
    const json line = sample({});
    EXPECT_FALSE(line["cpu"].contains("brand"));
    EXPECT_FALSE(line["cpu"].contains("boot_time_seconds"));
    EXPECT_FALSE(line["mem"].contains("physical_bytes"));
    EXPECT_FALSE(line["net"].contains("router"));
    EXPECT_EQ(line["battery"]["installed"], 0);
    for (const char* const figure : {"charge_ratio", "charging", "voltage_volts", "remaining_seconds"})
        EXPECT_FALSE(line["battery"].contains(figure)) << figure;
    EXPECT_EQ(line["disk"]["volumes"], json::array());
}

TEST_F(OutputTest, AVolumeThatDidNotAnswerStandsThereWithoutItsRoom) {
    machine->volumes().mount("disk1", "/data", 0, 0).space.answers = false;
    const json volume = sample({"disk"})["disk"]["volumes"][0];
    EXPECT_EQ(volume["device"], "disk1");
    EXPECT_EQ(volume["mountpoint"], "/data");
    EXPECT_EQ(volume["up"], 0);
    EXPECT_FALSE(volume.contains("free_bytes"));
}

TEST_F(OutputTest, FieldsNarrowASampleDown) {
    machine->volumes().mount("disk1", "/data");
    const json line = sample({}, {"cpu.usage_ratio", "disk.volumes.read_bytes_total"});
    EXPECT_EQ(line.size(), 3U) << line;
    EXPECT_EQ(line["cpu"].size(), 1U) << line;
    EXPECT_EQ(line["disk"]["volumes"][0].size(), 3U) << "with its labels: " << line;
}

TEST_F(OutputTest, ATextThatIsNoUnicodeIsStillALineOfJson) {
    machine->host().brandValue = "br\xFF\nand";
    const json line = sample({"cpu"});
    EXPECT_EQ(line["cpu"]["brand"], "br\xEF\xBF\xBD and") << "the probe makes one line of it";
    sentrel::System system;
    EXPECT_THAT(jsonLine(system, select({"cpu"}), 0), Not(HasSubstr("\n")));
}

TEST_F(OutputTest, AFigureThatIsNoNumberIsAbsent) {
    machine->host().loadAveragesValue = {std::numeric_limits<double>::quiet_NaN(), 1, 2};
    const json line = sample({"cpu"});
    EXPECT_FALSE(line["cpu"].contains("load1"));
    EXPECT_EQ(line["cpu"]["load5"], 1.0);
}

TEST_F(OutputTest, PeopleReadUnitsThatFit) {
    machine->host().loadTicksValue = {30, 10, 60, 0};
    machine->host().virtualMemoryValue.wire_count = 1024;
    const std::string shown = text({"cpu", "mem"});
    EXPECT_THAT(shown, HasSubstr("cpu\n  usage                    40.0 %\n"));
    EXPECT_THAT(shown, HasSubstr("  wired                    4 MB\n"));
}

TEST_F(OutputTest, NothingFromElsewhereReachesTheTerminalAsACommand) {
    machine->host().brandValue = "\x1B[31mred";
    EXPECT_THAT(text({"cpu"}), Not(HasSubstr("\x1B")));
}

// The schema of a line, without a validator: each figure of each table is one of its properties.
TEST(SchemaTest, KnowsEveryFigureThatALineMayHave) {
    const json document = json::parse(schema());
    for (const TableInfo& table : tableInfos()) {
        const json& resource = document["properties"][std::string(table.resource)]["properties"];
        const json& properties =
            table.list.empty() ? resource : resource[std::string(table.list)]["items"]["properties"];
        for (const FigureInfo* info : table.figures) {
            const json& property = properties[std::string(info->name)];
            EXPECT_EQ(property["description"], info->help);
            EXPECT_EQ(property["type"], info->kind == Kind::text ? "string" : "number") << info->name;
        }
    }
}

} // namespace
} // namespace tool
