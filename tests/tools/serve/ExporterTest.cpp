// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/Exporter.h"

#include "tools/sentrel/serve/Metrics.h"

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <set>
#include <sstream>
#include <string>

namespace tool {
namespace {

using testing::HasSubstr;
using testing::Not;

class ExporterTest : public testing::Test {
protected:
    // One sample of everything.
    void sample() { machine->advance(2.3); }

    // The value of a series, as written; empty without it.
    static std::string valueOf(const Exporter& exporter, const std::string& series) {
        const std::string text = "\n" + *exporter.text();
        const std::size_t begin = text.find("\n" + series + " ");
        if (begin == std::string::npos)
            return {};
        const std::size_t value = begin + series.size() + 2;
        return text.substr(value, text.find('\n', value) - value);
    }

    // The labels of the series of a metric.
    static std::set<std::string> seriesOf(const std::string& text, const std::string& metric) {
        std::istringstream lines(text);
        std::set<std::string> series;
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with(metric + "{"))
                series.insert(line.substr(0, line.rfind(' ')));
        return series;
    }

    sentrel::ScriptedMachine machine;
};

TEST_F(ExporterTest, TellsFiguresInBaseUnitsWithTheirTypesAndMeaning) {
    machine->host().loadTicksValue = {0, 0, 0, 0};
    machine->volumes().mount("disk1", "/data", 1000, 400);
    sentrel::System system;
    const Exporter exporter(system);
    machine->host().loadTicksValue = {30, 10, 60, 0};
    machine->advance(1.2); // one sample of the processor
    EXPECT_EQ(valueOf(exporter, "sentrel_cpu_usage_ratio"), "0.4");
    EXPECT_EQ(valueOf(exporter, R"(sentrel_volume_up{device="disk1",mountpoint="/data"})"), "1");
    EXPECT_THAT(*exporter.text(), HasSubstr("# HELP sentrel_cpu_usage_ratio Share of the time that the processors "
                                            "worked.\n# TYPE sentrel_cpu_usage_ratio gauge\n"));
    EXPECT_THAT(*exporter.text(), HasSubstr("# TYPE sentrel_volume_read_bytes_total counter\n"));
    EXPECT_EQ(valueOf(exporter, R"(sentrel_build_info{version="0.1.0"})"), "1");
}

TEST_F(ExporterTest, WhatTheLibraryDoesNotKnowIsAbsent) {
    machine->volumes().mount("disk1", "/data", 0, 0);
    machine->volumes().calls.fail("space");
    machine->host().calls.fail("swapUsage");
    sentrel::System system;
    testing::internal::CaptureStderr(); // the probes' lines on the failures
    testing::internal::CaptureStdout();
    const Exporter exporter(system);
    sample();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "a service's ends in its log";
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(valueOf(exporter, R"(sentrel_volume_up{device="disk1",mountpoint="/data"})"), "0");
    for (const char* const name :
         {"sentrel_volume_free_bytes", "sentrel_battery_charge_ratio", "sentrel_mem_physical_bytes",
          "sentrel_mem_swap_bytes", "sentrel_cpu_boot_time_seconds", "sentrel_cpu_seconds_total",
          "sentrel_cpu_pressure_seconds_total"})
        EXPECT_THAT(*exporter.text(), Not(HasSubstr(name)));
    EXPECT_THAT(*exporter.text(), Not(HasSubstr("nan")));
}

TEST_F(ExporterTest, AVolumeThatMayNotBeAskedIsNeitherUpNorDown) {
    machine->volumes().mount("disk1", "/closed", 0, 0);
    machine->volumes().calls.fail("space", {.error = EACCES});
    sentrel::System system;
    testing::internal::CaptureStderr(); // the probe's line on the failure
    const Exporter exporter(system);
    sample();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(valueOf(exporter, R"(sentrel_volume_up{device="disk1",mountpoint="/closed"})"), "");
    EXPECT_NE(valueOf(exporter, R"(sentrel_volume_written_bytes_total{device="disk1",mountpoint="/closed"})"), "");
}

TEST_F(ExporterTest, TheProcessorsTimeSinceBootIsNotTakenForItsLoad) {
    sentrel::System system;
    const Exporter exporter(system);
    EXPECT_EQ(valueOf(exporter, "sentrel_cpu_usage_ratio"), "");
    EXPECT_NE(valueOf(exporter, "sentrel_mem_usage_ratio"), "");
    sample();
    EXPECT_NE(valueOf(exporter, "sentrel_cpu_usage_ratio"), "");
}

TEST_F(ExporterTest, TellsTimeByModeOfEachProcessorAndWhatThreadsWaitedFor) {
    sentrel::platform::ProcessorLoad load;
    load.each = {{0, {100, 50, 200, 300, 7, std::nullopt}}, {3, {0, 0, 0, 400, std::nullopt, 9}}};
    load.forks = 12;
    machine->host().processorLoadValue = load;
    machine->host().pressureValues[0] = sentrel::Pressure{{0, 0, 0, 2'500'000}, std::nullopt};
    sentrel::System system;
    const Exporter exporter(system);
    sample();
    const double tick = 1.0 / static_cast<double>(sysconf(_SC_CLK_TCK));
    EXPECT_EQ(std::stod(valueOf(exporter, R"(sentrel_cpu_seconds_total{cpu="0",mode="nice"})")), 50 * tick);
    EXPECT_EQ(std::stod(valueOf(exporter, R"(sentrel_cpu_seconds_total{cpu="3",mode="steal"})")), 9 * tick);
    EXPECT_EQ(valueOf(exporter, R"(sentrel_cpu_seconds_total{cpu="3",mode="iowait"})"), "");
    EXPECT_EQ(valueOf(exporter, "sentrel_cpu_forks_total"), "12");
    EXPECT_EQ(valueOf(exporter, R"(sentrel_cpu_pressure_seconds_total{threads="some"})"), "2.5");
    EXPECT_EQ(valueOf(exporter, R"(sentrel_cpu_pressure_seconds_total{threads="all"})"), "");
}

TEST_F(ExporterTest, TellsWhatChipsMeasureAndWhatMemoryIsMadeOf) {
    machine->sensors().sensorsValue = std::vector<sentrel::platform::SensorReading>{
        {.identifier = "hwmon0/temp1", .chip = "coretemp", .label = "Package", .value = 41.5}};
    machine->host().memoryDetailsValue.emplace().available = 4096;
    sentrel::System system;
    const Exporter exporter(system);
    sample();
    EXPECT_EQ(valueOf(exporter,
                      R"(sentrel_sensor_temperature_celsius{sensor="hwmon0/temp1",chip="coretemp",label="Package"})"),
              "41.5")
        << *exporter.text();
    EXPECT_EQ(valueOf(exporter, "sentrel_mem_available_bytes"), "4096");
    EXPECT_NE(valueOf(exporter, "sentrel_sensors_last_sample_timestamp_seconds"), "");
    EXPECT_THAT(*exporter.text(), Not(HasSubstr("sentrel_sensor_fan_rpm")));
}

TEST_F(ExporterTest, AnIdleTimeThatStepsBackStandsStill) {
    sentrel::platform::ProcessorLoad load;
    load.each = {{0, {0, 0, 0, 1000, std::nullopt, std::nullopt}}};
    machine->host().processorLoadValue = load;
    sentrel::System system;
    const Exporter exporter(system);
    sample();
    const std::string before = valueOf(exporter, R"(sentrel_cpu_seconds_total{cpu="0",mode="idle"})");
    load.each[0].ticks.idle = 998;
    machine->host().processorLoadValue = load;
    sample();
    EXPECT_EQ(valueOf(exporter, R"(sentrel_cpu_seconds_total{cpu="0",mode="idle"})"), before);
}

TEST_F(ExporterTest, AScrapeNeverSamples) {
    sentrel::System system;
    const Exporter exporter(system);
    sample();
    machine->host().calls.clear();
    machine->volumes().calls.clear();
    machine->network().calls.clear();
    machine->power().calls.clear();
    machine->processes().calls.clear();
    for (int i = 0; i < 1000; ++i)
        EXPECT_FALSE(exporter.text()->empty());
    EXPECT_TRUE(machine->host().calls.list().empty());
    EXPECT_TRUE(machine->volumes().calls.list().empty());
    EXPECT_TRUE(machine->network().calls.list().empty());
    EXPECT_TRUE(machine->power().calls.list().empty());
    EXPECT_TRUE(machine->processes().calls.list().empty());
}

TEST_F(ExporterTest, AllWhoAskBetweenTwoSamplesGetOneText) {
    sentrel::System system;
    const Exporter exporter(system);
    const auto text = exporter.text();
    EXPECT_EQ(exporter.text(), text);
    sample();
    EXPECT_NE(exporter.text(), text);
}

TEST_F(ExporterTest, EachResourceTellsWhenItWasSampledLast) {
    sentrel::System system;
    const Exporter exporter(system);
    sample();
    const double before = std::stod(valueOf(exporter, "sentrel_mem_last_sample_timestamp_seconds"));
    machine->advance(2.0);
    EXPECT_DOUBLE_EQ(std::stod(valueOf(exporter, "sentrel_mem_last_sample_timestamp_seconds")), before + 2.0);
}

TEST_F(ExporterTest, TheBatteryIsAskedThoughItHasNoTask) {
    sentrel::System system;
    const Exporter exporter(system);
    const double before = std::stod(valueOf(exporter, "sentrel_battery_last_sample_timestamp_seconds"));
    machine->advance(30);
    EXPECT_GE(std::stod(valueOf(exporter, "sentrel_battery_last_sample_timestamp_seconds")), before + 20);
}

TEST_F(ExporterTest, AVolumeMayHaveAnyName) {
    machine->volumes().mount("disk\x01\"", "/\xFF\n\\\"{}é");
    sentrel::System system;
    const Exporter exporter(system);
    sample();
    EXPECT_EQ(valueOf(exporter, "sentrel_volume_up{device=\"disk\x01\\\"\",mountpoint=\"/\\\\xff\\n\\\\\\\"{}é\"}"),
              "1")
        << *exporter.text();
}

TEST_F(ExporterTest, ApplicationsAreNotToldUnlessAskedFor) {
    sentrel::System system;
    const Exporter exporter(system);
    sample();
    EXPECT_THAT(*exporter.text(), Not(HasSubstr("sentrel_app")));
    EXPECT_EQ(system.apps().measures(), sentrel::MeasureSet<sentrel::Applications::Measure>{});
}

TEST_F(ExporterTest, ApplicationsAreToldByNameAndNeverInMoreSeriesThanAllowed) {
    for (std::int32_t id = 100; id < 106; ++id) {
        machine->processes().setTaskInfo(
            id, sentrel::platform::TaskInfo{.residentBytes = static_cast<std::uint64_t>(1000 * id), .threads = 1});
        machine->processes().launch({.processIdentifier = id, .localizedName = id < 102 ? "twin" : std::to_string(id)});
    }
    sentrel::System system;
    const Exporter exporter(system, ApplicationLimits{.top = 3, .names = 2});
    sample();
    EXPECT_EQ(valueOf(exporter, R"(sentrel_application_resident_bytes{application="twin"})"), "201000");
    EXPECT_EQ(valueOf(exporter, "sentrel_apps_tracked"), "6");
    const std::string told = *exporter.text();
    std::size_t series = 0;
    const std::string name = "\nsentrel_application_resident_bytes{";
    for (std::size_t at = told.find(name); at != std::string::npos; at = told.find(name, at + 1))
        ++series;
    EXPECT_EQ(series, 3U) << "two names and all others\n" << told;
    EXPECT_NE(valueOf(exporter, R"(sentrel_application_resident_bytes{application="other"})"), "");
}

// A host of containers has a pair of interfaces for each, and a mount.
TEST_F(ExporterTest, NoMoreDevicesOfOneKindAreToldThanAllowed) {
    constexpr std::size_t limit = 20;
    for (std::uint32_t i = 0; i < 500; ++i)
        machine->network().interfaces.push_back(
            sentrel::platform::ScriptedInterface("veth" + std::to_string(i), i + 1).addAddress("192.0.2.4"));
    for (int i = 0; i < 100; ++i)
        machine->volumes().mount("loop" + std::to_string(i), "/mnt/" + std::to_string(i));
    sentrel::System system;
    testing::internal::CaptureStderr();
    const Exporter exporter(system, {}, {}, limit);
    sample();
    const std::string first = *exporter.text();
    EXPECT_EQ(seriesOf(first, "sentrel_volume_up").size(), limit);
    EXPECT_EQ(seriesOf(first, "sentrel_interface_received_bytes_total").size(), limit);
    EXPECT_EQ(valueOf(exporter, "sentrel_disk_devices_left_out"), "80");
    EXPECT_EQ(valueOf(exporter, "sentrel_net_devices_left_out"), "480");
    EXPECT_EQ(valueOf(exporter, "sentrel_sensors_devices_left_out"), "0");
    machine->network().interfaces.insert(machine->network().interfaces.begin(),
                                         sentrel::platform::ScriptedInterface("a", 6000).addAddress("192.0.2.5"));
    sample();
    EXPECT_EQ(seriesOf(*exporter.text(), "sentrel_interface_received_bytes_total"),
              seriesOf(first, "sentrel_interface_received_bytes_total"))
        << "those that were told stay";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "sentrel: more devices of 'disk' than [devices] 'limit' allows: 80 are left out\n"
              "sentrel: more devices of 'net' than [devices] 'limit' allows: 480 are left out\n");
}

TEST_F(ExporterTest, SamplesAtThePaceThatItIsGiven) {
    sentrel::System system;
    const Exporter exporter(system, {}, std::chrono::seconds(15));
    const auto timeOf = [&exporter](const std::string& resource) {
        return std::stod("0" + valueOf(exporter, "sentrel_" + resource + "_last_sample_timestamp_seconds"));
    };
    const double begin = timeOf("mem");
    for (const sentrel::System::TaskInfo& task : system.tasks())
        EXPECT_NE(task.status, sentrel::Timer::Status::started) << task;
    machine->advance(14.9);
    EXPECT_EQ(valueOf(exporter, "sentrel_cpu_usage_ratio"), "");
    EXPECT_EQ(timeOf("mem"), begin);
    machine->advance(0.2);
    for (const char* const resource : {"cpu", "mem", "disk", "net", "battery", "gpu", "sensors"})
        EXPECT_NEAR(timeOf(resource), begin + 15.0, 0.05) << resource;
    EXPECT_NE(valueOf(exporter, "sentrel_cpu_usage_ratio"), "");
    machine->advance(15);
    for (const char* const resource : {"cpu", "mem", "disk", "net", "battery", "gpu", "sensors"})
        EXPECT_NEAR(timeOf(resource), begin + 30.0, 0.05) << resource;
}

TEST_F(ExporterTest, NoSampleBeginsAfterItsEnd) {
    sentrel::System system;
    { const Exporter exporter(system, {}, std::chrono::seconds(2)); }
    machine->host().calls.clear();
    machine->advance(10);
    EXPECT_TRUE(machine->host().calls.list().empty());
}

TEST_F(ExporterTest, EndsTheSamplingThatItBegan) {
    sentrel::System system;
    { const Exporter exporter(system); }
    for (const sentrel::System::TaskInfo& task : system.tasks())
        EXPECT_NE(task.status, sentrel::Timer::Status::started) << task;
}

TEST_F(ExporterTest, WhatItTellsIsListed) {
    machine->volumes().mount("disk1", "/data");
    sentrel::System system;
    const Exporter exporter(system, ApplicationLimits{});
    sample();
    std::set<std::string> listed;
    for (const Metric& metric : metrics())
        listed.insert(metric.name);
    std::istringstream text(*exporter.text());
    std::set<std::string> told;
    for (std::string line; std::getline(text, line);)
        if (line.starts_with('#'))
            told.insert(line.substr(7, line.find(' ', 7) - 7)); // after "# HELP " or "# TYPE "
    EXPECT_GT(told.size(), 40U);
    EXPECT_TRUE(std::ranges::includes(listed, told)) << testing::PrintToString(told);
}

} // namespace
} // namespace tool
