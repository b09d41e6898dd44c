// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/Output.h"

#include "examples/simulation/Simulation.h"

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
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

TEST_F(OutputTest, FurtherFiguresStandWithThoseOfTheSameThing) {
    machine->volumes().mount("disk1", "/data");
    sentrel::platform::ProcessorLoad load;
    load.each = {{0, {}}, {1, {}}};
    machine->host().processorLoadValue = load;
    sentrel::System system;
    std::string unknown;
    const Selection selection = *Selection::of({"cpu"}, {}, true, unknown);
    selection.want(system);
    system.cpu().update();
    load.all.user = 10;
    load.all.idle = 30;
    load.each[0].ticks.user = 10;
    load.each[1].ticks.idle = 30;
    machine->host().processorLoadValue = load;
    sentrel::platform::ProcessorFrequencies frequencies;
    sentrel::CoreFrequency& frequency = frequencies.each.emplace_back();
    frequency.number = 1;
    frequency.now = 2'000'000'000;
    machine->host().processorFrequenciesValue = frequencies;
    system.cpu().update();
    const json cpu = json::parse(jsonLine(system, selection, 0))["cpu"];
    EXPECT_EQ(cpu["cores"].size(), 2U) << cpu;
    EXPECT_EQ(cpu["cores"][0]["user_ratio"], 1.0);
    EXPECT_FALSE(cpu["cores"][0].contains("frequency_hertz"));
    EXPECT_EQ(cpu["cores"][1]["idle_ratio"], 1.0);
    EXPECT_EQ(cpu["cores"][1]["frequency_hertz"], 2'000'000'000);
    EXPECT_FALSE(cpu.contains("steal_ratio")) << "nobody counts it";
    EXPECT_FALSE(cpu.contains("pressure_some_10s_ratio"));
}

TEST_F(OutputTest, ADriveThatCountsNonsenseWasOnForNoNegativeTime) {
    machine->volumes().mount("disk1", "/data");
    sentrel::platform::ScriptedDisk& disk = machine->volumes().disks["disk1"];
    disk.smartAncestor = 0;
    std::fill_n(disk.drive.healthLog.emplace().begin() + 128, 16, std::uint8_t{0xFF}); // the hours that it was on
    sentrel::System system;
    system.disk().update();
    std::string unknown;
    const Selection selection = *Selection::of({}, {"disk.volumes.drive_power_on_seconds_total"}, false, unknown);
    const json volume = json::parse(jsonLine(system, selection, 0))["disk"]["volumes"][0];
    EXPECT_EQ(volume["drive_power_on_seconds_total"], std::numeric_limits<std::int64_t>::max() / 3600 * 3600);
}

TEST_F(OutputTest, APlainSampleHasNothingFurther) {
    const json line = sample({});
    EXPECT_FALSE(line.contains("host"));
    EXPECT_FALSE(line.contains("sensors"));
    EXPECT_FALSE(line["cpu"].contains("cores"));
}

// What a schema of this program says, of what its lines are made of.
void expectValid(const json& value, const json& schema, const std::string& where) {
    const std::string& type = schema["type"].get_ref<const std::string&>();
    if (type == "number") {
        EXPECT_TRUE(value.is_number()) << where << ": " << value;
    } else if (type == "string") {
        EXPECT_TRUE(value.is_string()) << where << ": " << value;
    } else if (type == "array") {
        ASSERT_TRUE(value.is_array()) << where;
        for (const json& item : value)
            expectValid(item, schema["items"], where + "[]");
    } else {
        ASSERT_TRUE(value.is_object()) << where;
        for (const auto& [name, member] : value.items()) {
            ASSERT_TRUE(schema["properties"].contains(name)) << where << '.' << name;
            expectValid(member, schema["properties"][name], where + '.' + name);
        }
        for (const json& name : schema.value("required", json::array()))
            EXPECT_TRUE(value.contains(name.get<std::string>())) << where << " without " << name;
    }
}

TEST(SchemaTest, HoldsForAllFiguresOfTheSimulatedMachines) {
    using simulation::Kind;
    const json document = json::parse(schema());
    for (const Kind kind : {Kind::laptop, Kind::hot, Kind::fullDisks, Kind::server}) {
        simulation::Machine machine(kind);
        sentrel::System system(machine.platform());
        std::string unknown;
        const Selection selection = *Selection::of({}, {}, true, unknown);
        selection.want(system);
        for (const std::string_view resource : resources())
            modelOf(system, resource)->update();
        system.sensors().update();
        const json line = json::parse(jsonLine(system, selection, 1.5));
        EXPECT_EQ(line.size(), 10U);
        EXPECT_FALSE(line["apps"]["applications"].empty());
        expectValid(line, document, "line");
    }
}

// The schema of a line, without a validator: each figure of each table is one of its properties.
TEST(SchemaTest, KnowsEveryFigureThatALineMayHave) {
    const json document = json::parse(schema());
    for (const TableInfo& table : allTableInfos()) {
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
