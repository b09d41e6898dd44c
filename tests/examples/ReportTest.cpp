// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Report.h"

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace dashboard {
namespace {

// Everything that others name, each with a sequence that a terminal would obey.
constexpr const char* hostile = "\x1b]0;owned\x07";

void nameEverything(sentrel::platform::ScriptedPlatform& machine) {
    using namespace sentrel;
    using namespace sentrel::platform;
    machine.host().brandValue = std::string("brand") + hostile;
    machine.volumes().mount("/dev/disk0s1", std::string("/path") + hostile);
    machine.volumes().disks["disk0s1"].description = DiskDescription{};
    machine.volumes().disks["disk0s1"].description->volumeName = std::string("label") + hostile;
    auto& network = machine.network();
    network.localHostName = std::string("host") + hostile;
    network.ipv4 = PropertyList::Dictionary{{"Router", std::string("router") + hostile}};
    network.dns = PropertyList::Dictionary{{"ServerAddresses", PropertyList::List{std::string("server") + hostile}}};
    network.interfaces.push_back(ScriptedInterface("en0").addAddress("192.0.2.7"));
    network.interfaces.back().properties = PropertyList::Dictionary{{"IO80211SSID", std::string("network") + hostile}};
    auto& processes = machine.processes();
    processes.setParent(100, 1);
    processes.setTaskInfo(100, TaskInfo{.residentBytes = 1000, .threads = 1, .startTime = 7});
    processes.launch({.processIdentifier = 100, .startTime = 7, .localizedName = std::string("process") + hostile});
}

TEST(Report, PrintsNoNameAsSomebodyElseWroteIt) {
    sentrel::ScriptedMachine machine;
    nameEverything(*machine);
    sentrel::System system;
    system.net().update();
    system.disk().update();
    system.apps().update();

    testing::internal::CaptureStdout();
    printReport(system);
    const std::string report = testing::internal::GetCapturedStdout();

    for (const char* name : {"brand", "path", "label", "host", "router", "server", "network", "process"})
        EXPECT_NE(report.find(std::string(name) + "?]0;owned?"), std::string::npos) << name << " is missing:\n"
                                                                                    << report;
    EXPECT_TRUE(std::all_of(report.begin(), report.end(), [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }));
}

} // namespace
} // namespace dashboard
