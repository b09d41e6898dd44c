// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include "tests/contract/PlatformContract.h"

#include <unistd.h>

namespace sentrel::platform {
namespace {

class ScriptedContractMachine final : public ContractMachine {
public:
    ScriptedContractMachine() {
        describeHost();
        describeGraphics();
        describeVolumes();
        describeNetwork();
        describePower();
        describeProcesses();
        describeSensors();
    }

    Platform& platform() override { return machine_; }

    bool isOnMainThread() const override {
        const DispatchQueue* const queue = machine_.dispatch().currentQueue();
        return !queue || queue == machine_.dispatch().mainQueue().get();
    }

    void change(ContractChange what) override {
        switch (what) {
        case ContractChange::volumes:
            return machine_.volumes().notify({VolumeNotification::Kind::didMount, {}, {}, "/Volumes/NEW"});
        case ContractChange::power:
            machine_.power().sources.front().insert_or_assign("Current Capacity", 49);
            return machine_.power().change();
        case ContractChange::configuration:
            return machine_.network().change();
        case ContractChange::applications:
            return machine_.processes().launch({.processIdentifier = ++lastId_, .startTime = 2});
        }
    }

    // Whichever service has an operation of that name.
    void fail(const std::string& operation) override {
        for (ScriptedCalls* calls : {&machine_.clock().calls, &machine_.host().calls, &machine_.graphics().calls,
                                     &machine_.volumes().calls, &machine_.network().calls, &machine_.power().calls,
                                     &machine_.processes().calls, &machine_.sensors().calls, &machine_.desktop().calls})
            calls->fail(operation);
    }

private:
    void describeHost() {
        constexpr std::uint64_t memory = std::uint64_t{16} << 30U;
        ScriptedHostService& host = machine_.host();
        host.bootTimeValue = 1'499'990'000;
        host.awakeUptimeValue = 5000;
        host.hostInfoValue = {.max_cpus = 8,
                              .avail_cpus = 8,
                              .memory_size = std::uint32_t{1} << 31U,
                              .physical_cpu = 4,
                              .physical_cpu_max = 4,
                              .logical_cpu = 8,
                              .logical_cpu_max = 8,
                              .max_mem = memory};
        host.physicalMemoryValue = memory;
        host.loadTicksValue = {.user = 1, .system = 2, .idle = 3, .nice = 4};
        host.processorSetLoadValue = {.tasks = 100, .threads = 400};
        host.brandValue = "Example(R) Processor";
        host.virtualMemoryValue = {.free_count = 1000, .active_count = 2000, .internal_page_count = 900};
        host.swapUsageValue = {.total = 3, .available = 1, .used = 2};
        host.pressureValues = {Pressure{{1, 2, 3, 4}, PressureShare{0, 1, 2, 3}}, Pressure{}, Pressure{}};
        host.processorLoadValue = {{10, 0, 10, 100, 5, 0}, {{0, {10, 0, 10, 100, 5, 0}}}, 100, 200, 3};
        host.processorFrequenciesValue = {{{0, 2'000'000'000, 1'000'000'000, 3'000'000'000, "performance", {}}}, {}};
        host.memoryDetailsValue.emplace().available = memory / 2;
        host.swapCountersValue = {4096, 8192};
        host.memoryCompressionValue = {300, 100};
        host.memoryNodesValue = {{0, memory, memory / 4}};
        host.operatingSystemValue.emplace().kernelRelease = "1.0";
        host.virtualizationValue = {"kvm", ""};
        host.controlGroupValue = {2, 1.5, memory / 2, memory / 4};
        host.usersValue = {{"anna", "tty1", "", 1'499'999'000, 7}};
    }

    void describeGraphics() {
        const PropertyList::Bytes id{1, 2, 0, 0};
        machine_.graphics().pciDevicesValue = {{{"IOName", "display"}, {"device-id", id}}};
        machine_.graphics().activeDeviceIDValue = id;
        machine_.graphics().processorsValue = {
            {.identifier = "0000:00:02.0", .name = "Example", .use = 12, .memoryUsed = 1, .memoryTotal = 2}};
        machine_.graphics().clientsValue = {
            {.processor = "0000:00:02.0", .identifier = 7, .engines = {{.name = "render", .busy = 1}}}};
    }

    void describeVolumes() {
        ScriptedVolumeService& volumes = machine_.volumes();
        volumes.mount("disk1s1", "/");
        ScriptedDisk whole;
        whole.statistics = {.bytesRead = 1000, .bytesWritten = 500};
        whole.smartAncestor = 2;
        volumes.disks["disk1"] = whole;
        volumes.disks["disk1s1"].whole = "disk1";
        volumes.disks["disk1s1"].description = {.volumeName = "Volume", .deviceModel = "Model"};
        volumes.icons.insert_or_assign("/", Icon::named("drive-harddisk"));
        volumes.disks["spare"].description = {.volumeName = "Spare", .deviceModel = {}};
        volumes.disks["spare"].statistics = whole.statistics;
        volumes.diskOperationsValue =
            std::vector<DiskOperations>{{.name = "disk1", .reads = 10, .writes = 5, .operationsNow = 1}};
        volumes.diskDevicesValue =
            std::vector<DiskDevice>{{.name = "disk1", .alias = {}, .whole = "disk1", .size = 1000}};
    }

    void describeNetwork() {
        ScriptedNetworkService& network = machine_.network();
        network.interfaces = {ScriptedInterface("lo0", 1), ScriptedInterface("en0", 2).addAddress("192.0.2.7"),
                              ScriptedInterface("interface000015", 3)};
        network.interface("lo0").flags |= InterfaceInfo::loopback;
        network.interface("lo0").linkType = 24;
        network.interface("en0").properties = {{"IOPrimaryInterface", true}, {"IO80211SSID", "wireless"}};
        network.interface("interface000015").related = {{"IOLinkSpeed", 1'000'000'000}};
        network.packetCountersValue = {{.name = "en0", .index = 2, .packetsIn = 10, .packetsOut = 9, .dropsOut = 1}};
        InterfaceLink link{.name = "en0", .index = 2, .kind = InterfaceKind::wifi, .state = OperationalState::up};
        link.mtu = 1500;
        link.hardware = {2, 0, 0, 0, 0, 1};
        link.addresses = {{.bytes = {192, 0, 2, 7}, .prefixLength = 24}};
        network.linksValue = std::vector<InterfaceLink>{link};
        network.wirelessLinksValue =
            std::vector<WirelessLink>{{.name = "en0", .index = 2, .signal = -50, .frequency = 5'180'000'000}};
        network.localHostName = "tower";
        network.ipv4 = PropertyList::Dictionary{{"Router", "192.0.2.1"}};
        network.dns = PropertyList::Dictionary{{"ServerAddresses", PropertyList::List{"192.0.2.2"}}};
    }

    void describePower() {
        machine_.power().sources = {{{"Current Capacity", 50}, {"Max Capacity", 100}, {"Is Charging", true}}};
        machine_.power().adapter = {{"Watts", 61}};
        machine_.power().battery = {{"BatteryInstalled", true},
                                    {"ExternalConnected", true},
                                    {"IsCharging", true},
                                    {"CurrentCapacity", 2500},
                                    {"MaxCapacity", 5000},
                                    {"DesignCapacity", 5100},
                                    {"CycleCount", 321},
                                    {"DesignCycleCount9C", 1000},
                                    {"Voltage", 12000},
                                    {"Temperature", 3015},
                                    {"ManufactureDate", 1 | 2 << 5 | 39 << 9}};
    }

    void describeProcesses() {
        const auto self = static_cast<std::int32_t>(::getpid());
        ScriptedProcessService& processes = machine_.processes();
        processes.setTaskInfo(self, TaskInfo{.userNanoseconds = 1, .residentBytes = 4096, .threads = 1});
        processes.setStartTime(self, 1);
        processes.setParent(self, static_cast<std::int32_t>(::getppid()));
        processes.setFacts(self, {.storageBytes = StorageBytes{1, 2},
                                  .openFiles = 3,
                                  .identity = ProcessIdentity{.started = 1700000000, .user = 1000},
                                  .commandLine = std::vector<std::string>{"contract", "-v"}});
        processes.setUserName(0, "root");
        processes.launch({.processIdentifier = self, .startTime = 1, .localizedName = "Contract"});
        processes.launch({.processIdentifier = lastId_, .startTime = 2, .owner = self});
    }

    void describeSensors() {
        machine_.sensors().sensorsValue = {
            {.kind = SensorKind::temperature, .identifier = "a/temp1", .chip = "a", .label = "temp1", .value = 40}};
        machine_.sensors().energyCountersValue = {{.kind = SensorKind::energy,
                                                   .identifier = "b:0",
                                                   .chip = "b",
                                                   .label = "package-0",
                                                   .value = 7,
                                                   .range = 1000}};
    }

    mutable ScriptedPlatform machine_;
    std::int32_t lastId_ = 100'000'000;
};

} // namespace
} // namespace sentrel::platform

namespace sentrel {

INSTANTIATE_TEST_SUITE_P(Scripted, PlatformContract,
                         testing::Values(&makeContractMachine<platform::ScriptedContractMachine>));

} // namespace sentrel
