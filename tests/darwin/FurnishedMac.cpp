// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/FurnishedMac.h"

#include "tests/support/InterfaceList.h"

#include <string>
#include <unistd.h>
#include <utmpx.h>

using sentrel::PropertyList;
using sentrel::platform::RunningApplication;

namespace darwin {

namespace {

constexpr std::uint64_t gigabyte = std::uint64_t{1} << 30U;

PropertyList::Bytes bytes(const std::string& text) {
    return {text.begin(), text.end()};
}

void addHost() {
    Machine& mac = machine();
    mac.basic = {.max_cpus = 8,
                 .avail_cpus = 8,
                 .memory_size = std::uint32_t{1} << 31U,
                 .cpu_type = 7,
                 .cpu_subtype = 8,
                 .cpu_threadtype = 0,
                 .physical_cpu = 4,
                 .physical_cpu_max = 4,
                 .logical_cpu = 8,
                 .logical_cpu_max = 8,
                 .max_mem = 16 * gigabyte};
    mac.physicalMemory = 16 * gigabyte;
    mac.uptime = 1000;
    mac.memory.free_count = 1000;
    mac.memory.wire_count = 500;
    mac.memory.internal_page_count = 400;
    mac.load.cpu_ticks[CPU_STATE_IDLE] = 1000;
    mac.processors.assign(8, {.cpu_ticks = {1, 1, 123, 0}});
    mac.controlTexts = {{"kern.osrelease", "19.6.0"}, {"kern.ostype", "Darwin"}};
    mac.controlNumbers = {{"kern.hv_vmm_present", 0}};
    mac.setLoad.task_count = 300;
    mac.setLoad.thread_count = 1200;
    mac.swap = {.xsu_total = 3 * gigabyte,
                .xsu_avail = 2 * gigabyte,
                .xsu_used = gigabyte,
                .xsu_pagesize = 4096,
                .xsu_encrypted = 1};
    mac.thermalState = 2;
    mac.logins = {{.type = BOOT_TIME, .since = mac.bootTime},
                  {.type = USER_PROCESS, .user = "anna", .terminal = "console", .since = 1'600'000'100, .process = 90}};
}

void addGraphics() {
    RegistryEntry& bridge = machine().registry.add({.name = "PCI0", .classes = {"IOPCIBridge"}});
    bridge.add({.name = "IGPU",
                .classes = {"IOPCIDevice"},
                .properties = {{"IOName", "display"},
                               {"device-id", PropertyList::Bytes{1, 0, 0, 0}},
                               {"model", bytes("Intel UHD Graphics 630")}}});
    RegistryEntry& discrete = bridge.add({.name = "GFX0",
                                          .classes = {"IOPCIDevice"},
                                          .properties = {{"IOName", "display"},
                                                         {"device-id", PropertyList::Bytes{2, 0, 0, 0}},
                                                         {"model", bytes("Radeon Pro 560X")}}});
    machine().display = &discrete.add({.name = "Display", .classes = {"IODisplayConnect"}});
}

RegistryEntry media(const std::string& name, bool isWhole) {
    return {.name = name, .classes = {"IOMedia"}, .properties = {{"BSD Name", name}, {"Whole", isWhole}}};
}

void addDisks() {
    machine().mounts = {{.type = "apfs",
                         .from = "/dev/disk1s1",
                         .on = "/",
                         .flags = 0x4000,
                         .blockSize = 4096,
                         .blocks = 1000,
                         .freeBlocks = 250},
                        {.type = "devfs", .from = "devfs", .on = "/dev", .flags = 0x100000}};
    machine().pictures["/"] = bytes("MM");
    machine().smart.temperature = 41;
    RegistryEntry& drive = machine().registry.add(
        {.name = "drive", .classes = {"IOAHCIBlockStorageDevice"}, .properties = {{"SMART Capable", true}}});
    RegistryEntry& driver = drive.add({.name = "driver", .classes = {"IOBlockStorageDriver"}});
    RegistryEntry& partition = driver.add(media("disk0", true)).add(media("disk0s2", false));
    RegistryEntry& container = partition.add({.name = "container", .classes = {"AppleAPFSContainer"}});
    RegistryEntry& volume = container.add(media("disk1", true)).add(media("disk1s1", false));
    volume.properties.insert({{"DAVolumeName", "Macintosh HD"}, {"DADeviceModel", "EXAMPLE SSD"}});
    RegistryEntry& stick = machine().registry.add({.name = "stick", .classes = {"IOBlockStorageDriver"}});
    stick.add(media("spare", true));
    count(0, 0);
}

void addPower() {
    machine().powerSources = {{{"Current Capacity", 50}, {"Max Capacity", 100}, {"Is Charging", true}}};
    machine().adapter = {{"Watts", 61}};
    machine().registry.add({.name = "AppleSmartBattery",
                            .classes = {"AppleSmartBattery"},
                            .properties = {{"BatteryInstalled", true},
                                           {"ExternalConnected", true},
                                           {"IsCharging", true},
                                           {"CurrentCapacity", 2500},
                                           {"MaxCapacity", 5000},
                                           {"DesignCapacity", 5100},
                                           {"CycleCount", 321},
                                           {"DesignCycleCount9C", 1000},
                                           {"Voltage", 12000},
                                           {"Temperature", 3015},
                                           {"ManufactureDate", 1 | 2 << 5 | 39 << 9}}});
}

void addInterface(const std::string& name, const PropertyList::Dictionary& properties) {
    RegistryEntry interface { .name = name, .classes = {"IONetworkInterface"}, .properties = properties };
    interface.properties["BSD Name"] = name;
    machine()
        .registry
        .add(
            {.name = "controller", .classes = {"IOEthernetController"}, .properties = {{"IOLinkSpeed", 1'000'000'000}}})
        .add(interface);
    machine().mediaStatus[name] = 3; // valid and active
}

void addNetwork() {
    // As this host lays an address out, since it is this host that makes it a text.
    const InterfaceList::Bytes address{2, 0, 0, 0, 192, 0, 2, 7, 0, 0, 0, 0, 0, 0, 0, 0};
    machine().interfaceList = InterfaceList()
                                  .add({.name = "lo0", .index = 1, .flags = 0x8049, .type = 24, .hardwareAddress = {}})
                                  .add({.name = "en0", .index = 4, .bytesIn = 1000, .bytesOut = 100})
                                  .address({{5, address}})
                                  .add({.name = "interface000015", .index = 5})
                                  .bytes();
    addInterface("en0", {{"IOPrimaryInterface", true}, {"IO80211SSID", "wireless"}});
    addInterface("interface000015", {{"IOPrimaryInterface", false}});
    machine().radios = {
        {{.name = "en0", .isOn = true, .signal = -52, .rate = 866.7, .channel = 36, .band = 2, .channelWidth = 3}}};
    machine().reachability = 2;
    machine().localHostName = "tower";
    machine().storeKeys["State:/Network/Global/IPv4"] = PropertyList::Dictionary{{"Router", "192.0.2.1"}};
    machine().storeKeys["State:/Network/Global/DNS"] =
        PropertyList::Dictionary{{"ServerAddresses", PropertyList::List{"192.0.2.2"}}};
}

void addProcesses() {
    const int self = ::getpid();
    Process& process = machine().processes[self];
    process.task.pti_total_user = 7;
    process.task.pti_resident_size = 4096;
    process.task.pti_threadnum = 3;
    process.facts.pbi_ppid = static_cast<std::uint32_t>(::getppid());
    process.facts.pbi_start_tvsec = 1'600'000'000;
    process.files.resize(3);
    process.arguments =
        std::string("\1\0\0\0/bin/contract\0contract\0", 27); // on processors that begin with the low byte
    RunningApplication application;
    application.processIdentifier = self;
    application.localizedName = "Application";
    machine().running = {application};
}

} // namespace

void furnish() {
    addHost();
    addGraphics();
    addDisks();
    addPower();
    addNetwork();
    addProcesses();
}

void count(std::int64_t read, std::int64_t written) {
    constexpr std::int64_t size = 100;
    constexpr std::int64_t millisecond = 1'000'000;
    for (const char* driven : {"disk0", "spare"})
        entryNamed(driven)->parent->properties["Statistics"] =
            PropertyList::Dictionary{{"Bytes (Read)", read},
                                     {"Bytes (Write)", written},
                                     {"Operations (Read)", read / size},
                                     {"Operations (Write)", written / size},
                                     {"Total Time (Read)", read / size * 2 * millisecond},
                                     {"Total Time (Write)", written / size * 3 * millisecond}};
}

} // namespace darwin
