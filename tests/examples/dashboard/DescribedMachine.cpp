// SPDX-License-Identifier: Apache-2.0
#include "tests/examples/dashboard/DescribedMachine.h"

namespace dashboard {

using namespace sentrel;
using namespace sentrel::platform;

DescribedMachine::DescribedMachine() {
    auto& host = machine_->host();
    host.brandValue = "Test Processor";
    host.hostInfoValue.physical_cpu = host.hostInfoValue.physical_cpu_max = 4;
    host.hostInfoValue.logical_cpu = host.hostInfoValue.logical_cpu_max = 4;
    host.loadTicksValue = {100, 50, 850, 0};
    host.physicalMemoryValue = 16ULL << 30U;
    host.virtualMemoryValue.free_count = 2'000'000;
    host.virtualMemoryValue.active_count = 1'500'000;
    host.virtualMemoryValue.wire_count = 500'000;
    host.swapUsageValue = {4ULL << 30U, 3ULL << 30U, 1ULL << 30U};
    host.bootTimeValue = 1'499'900'000;

    auto& volumes = machine_->volumes();
    volumes.mount("/dev/disk0s1", "/");
    volumes.disks["disk0s1"].description = DiskDescription{};
    volumes.mount(std::string("/dev/") + stick, "/media/user/Stick", 1000, 100);
    volumes.disks[stick].description = DiskDescription{};
    volumes.disks[stick].description->volumeName = "Stick";
    volumes.disks[stick].whole = "disk2";
    volumes.disks["disk2"].description = DiskDescription{};

    auto& network = machine_->network();
    network.localHostName = "test-machine";
    network.ipv4 = PropertyList::Dictionary{{"Router", "192.0.2.1"}};
    network.dns = PropertyList::Dictionary{{"ServerAddresses", PropertyList::List{"192.0.2.53"}}};
    network.interfaces.push_back(ScriptedInterface("en0").addAddress("192.0.2.7"));

    machine_->power().battery =
        PropertyList::Dictionary{{"BatteryInstalled", true}, {"ExternalConnected", false}, {"IsCharging", false},
                                 {"CurrentCapacity", 2000},  {"MaxCapacity", 4000},        {"DesignCapacity", 5000},
                                 {"CycleCount", 120},        {"Voltage", 12000},           {"Temperature", 2910}};
    machine_->power().sources = {PropertyList::Dictionary{{"Is Charging", false},
                                                          {"Is Charged", false},
                                                          {"Time to Empty", 125},
                                                          {"Current", -1500},
                                                          {"Current Capacity", 2000},
                                                          {"Max Capacity", 4000}}};

    const std::string model = "Intel HD Graphics";
    machine_->graphics().pciDevicesValue = {
        PropertyList::Dictionary{{"IOName", "display"},
                                 {"model", PropertyList::Bytes(model.begin(), model.end())},
                                 {"device-id", PropertyList::Bytes{1, 2, 3, 4}}}};

    auto& processes = machine_->processes();
    int id = 100;
    for (const std::string name : {"Editor", "Browser", "Odd\x1b]0;name\nof two lines"}) {
        processes.setParent(id, 1);
        processes.setTaskInfo(
            id, TaskInfo{.residentBytes = static_cast<std::uint64_t>(id) << 20U, .threads = 1, .startTime = 7});
        processes.launch({.processIdentifier = id, .startTime = 7, .localizedName = name});
        ++id;
    }
}

void DescribedMachine::live(double seconds) {
    for (double passed = 0; passed < seconds; ++passed) {
        auto& ticks = machine_->host().loadTicksValue;
        ticks.user += 40;
        ticks.system += 20;
        ticks.idle += 340;
        machine_->network().interfaces.front().bytesIn += 100'000;
        machine_->advance(1);
    }
}

void DescribedMachine::forgetCalls() {
    const auto forget = [](auto&... services) { (services.calls.clear(), ...); };
    platform::ScriptedPlatform& all = *machine_;
    forget(all.dispatch(), all.host(), all.graphics(), all.volumes(), all.network(), all.power(), all.processes(),
           all.sensors(), all.desktop(), all.preferences());
}

} // namespace dashboard
