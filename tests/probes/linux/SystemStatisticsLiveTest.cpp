// SPDX-License-Identifier: Apache-2.0
// The shares of the processors and what the disks did since boot, beside mpstat and iostat, which say that when they
// are asked once: no two windows have to agree, and what happens meanwhile is bounded by a reading of ours on either
// side.

#include <SentrelKit/platform/linux/host/LinuxHostService.h>
#include <SentrelKit/platform/linux/volumes/DiskTable.h>
#include <SentrelKit/probes/DiskRates.h>
#include <SentrelKit/probes/detail/ProcessorShares.h>

#include "tests/support/ChildProgram.h"

#include <algorithm>
#include <ctime>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace sentrel::probes {
namespace {

using Figures = std::map<std::string, std::map<std::string, double>>; // of each device, by their names

// What a program of sysstat tells since boot, device by device: those of a list in its output, each named by one key.
Figures figuresOf(const std::string& program, const std::string& options, const std::string& list,
                  const std::string& name) {
    ChildProgram reader({"/usr/bin/python3", "-c",
                         "import json, os, subprocess\n"
                         "out = subprocess.run(['" +
                             program + "', *'" + options +
                             " -o JSON'.split()], check=True,\n"
                             "                     capture_output=True, env={**os.environ, 'LC_ALL': 'C'}).stdout\n"
                             "for each in json.loads(out)['sysstat']['hosts'][0]['statistics'][0]['" +
                             list +
                             "']:\n"
                             "    for key, value in each.items():\n"
                             "        if key != '" +
                             name + "': print(each['" + name + "'], key, value)"});
    Figures figures;
    while (const std::optional<std::string> line = reader.readLine()) {
        std::istringstream words(*line);
        std::string device;
        std::string key;
        double value = 0;
        words >> device >> key >> value;
        figures[device][key] = value;
    }
    return figures;
}

// Whether a figure lies between two of ours, as far as its two digits tell.
testing::AssertionResult liesBetween(double figure, double one, double other, double slack) {
    const auto [least, most] = std::minmax(one, other);
    if (figure >= least - slack && figure <= most + slack)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << figure << " is not between " << least << " and " << most << " by " << slack;
}

TEST(SystemStatisticsLive, ThePartsOfAProcessorsTimeAreThoseOfMpstat) {
    platform::LinuxHostService host;
    platform::ProcessorLoad before;
    platform::ProcessorLoad after;
    ASSERT_EQ(host.processorLoad(before), Availability::available);
    const Figures theirs = figuresOf("mpstat", "-P ALL", "cpu-load", "cpu");
    ASSERT_EQ(host.processorLoad(after), Availability::available);
    ASSERT_EQ(theirs.size(), before.each.size() + 1) << "and all of them together";

    const auto expectShares = [&](const std::string& name, const platform::ProcessorTicks& one,
                                  const platform::ProcessorTicks& other) {
        const platform::ProcessorTicks boot{.iowait = 0, .steal = 0};
        const std::optional<ProcessorShares> first = processorShares(boot, one);
        const std::optional<ProcessorShares> second = processorShares(boot, other);
        ASSERT_TRUE(first && second && theirs.count(name) == 1) << name;
        std::map<std::string, double> its = theirs.at(name);
        // Five of its figures with two digits are one of ours, and a share may pass through what lies between.
        constexpr double slack = 0.1;
        EXPECT_TRUE(
            liesBetween(its["usr"] + its["nice"] + its["guest"] + its["gnice"], first->user, second->user, slack))
            << name;
        EXPECT_TRUE(liesBetween(its["sys"] + its["irq"] + its["soft"], first->system, second->system, slack)) << name;
        EXPECT_TRUE(liesBetween(its["idle"], first->idle, second->idle, slack)) << name;
        EXPECT_TRUE(liesBetween(its["iowait"], first->iowait.value(), second->iowait.value(), slack)) << name;
        EXPECT_TRUE(liesBetween(its["steal"], first->steal.value(), second->steal.value(), slack)) << name;
    };
    expectShares("all", before.all, after.all);
    for (std::size_t i = 0; i < before.each.size() && i < after.each.size(); ++i)
        expectShares(std::to_string(before.each[i].number), before.each[i].ticks, after.each[i].ticks);
}

// The disks' counters and the time since boot at about the same moment.
struct Reading {
    std::vector<DiskOperations> disks;
    std::int64_t time = 0; // nanoseconds

    Reading() {
        platform::DiskTable table{platform::SystemRoot()};
        EXPECT_TRUE(table.read(disks));
        timespec now{};
        EXPECT_EQ(::clock_gettime(CLOCK_BOOTTIME, &now), 0);
        time = std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
    }
};

// What the disk did since boot if its counters stood so at that time.
std::optional<DiskActivity> sinceBoot(const std::vector<DiskOperations>& disks, const std::string& name,
                                      std::int64_t time) {
    const auto disk = std::find_if(disks.begin(), disks.end(), [&](const auto& each) { return each.name == name; });
    if (disk == disks.end())
        return std::nullopt;
    DiskRates rates;
    std::vector<DiskActivity> activity;
    rates.take(std::vector<DiskOperations>{{.name = name, .busyTime = 0, .queueTime = 0}}, 0, activity);
    rates.take({&*disk, 1}, time, activity);
    return activity.at(0);
}

TEST(SystemStatisticsLive, WhatDisksDidIsWhatIostatTells) {
    const Reading before;
    const Figures theirs = figuresOf("iostat", "-x", "disk", "disk_device");
    const Reading after;
    std::size_t compared = 0;
    for (const auto& each : theirs) {
        const std::string& name = each.first;
        // The fewest operations over the longest time, and the most over the shortest.
        const std::optional<DiskActivity> least = sinceBoot(before.disks, name, after.time);
        const std::optional<DiskActivity> most = sinceBoot(after.disks, name, before.time);
        if (!least || !most || !least->queueLength || !most->queueLength)
            continue;                   // it came or went, or its times went past what 32 bits hold
        constexpr double slack = 0.011; // it writes two digits
        std::map<std::string, double> its = each.second;
        EXPECT_TRUE(liesBetween(its["r/s"], least->readsRate.value(), most->readsRate.value(), slack)) << name;
        EXPECT_TRUE(liesBetween(its["w/s"], least->writesRate.value(), most->writesRate.value(), slack)) << name;
        EXPECT_TRUE(liesBetween(its["util"], least->busy.value(), most->busy.value(), slack)) << name;
        EXPECT_TRUE(liesBetween(its["aqu-sz"], *least->queueLength, *most->queueLength, slack)) << name;
        // A mean may move either way; a hundredth of all operations would have to fall into this moment to move it so.
        const auto expectLatency = [&](double milliseconds, const std::optional<double>& one,
                                       const std::optional<double>& other) {
            if (one && other) {
                EXPECT_TRUE(liesBetween(milliseconds, *one * 1000, *other * 1000, slack + milliseconds * 0.05)) << name;
            }
        };
        expectLatency(its["r_await"], least->readLatency, most->readLatency);
        expectLatency(its["w_await"], least->writeLatency, most->writeLatency);
        ++compared;
    }
    EXPECT_TRUE(theirs.empty() || compared > 0);
}

} // namespace
} // namespace sentrel::probes
