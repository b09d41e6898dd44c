// SPDX-License-Identifier: Apache-2.0
#include "examples/simulation/Plan.h"

namespace simulation {

namespace {

constexpr double KB = 1e3;
constexpr double MB = 1e6;
constexpr double GB = 1e9;
constexpr double TB = 1e12;
constexpr double MiB = 1024.0 * 1024.0;
constexpr double GiB = 1024 * MiB;

// A share, or an amount, that drifts for minutes.
Habit drifting(double low, double high) {
    return {.usual = {low, high}, .burst = {low, high}, .lasts = {10, 40}, .inertia = 15};
}

// Something that is quiet mostly, and busy for some seconds now and then.
Habit bursting(Range usual, Range burst, double bursts, Range lasts = {2, 6}) {
    return {.usual = usual, .burst = burst, .bursts = bursts, .lasts = lasts};
}

ProcessPlan process(std::int32_t id, const char* name, const char* icon, std::int32_t threads, const Habit& cores,
                    Range mebibytes) {
    return {.id = id,
            .name = name,
            .icon = icon,
            .threads = threads,
            .cores = cores,
            .memory = drifting(mebibytes.low * MiB, mebibytes.high * MiB)};
}

// What works for another process.
ProcessPlan helper(std::int32_t id, std::int32_t owner, const char* name, std::int32_t threads, const Habit& cores,
                   Range mebibytes) {
    ProcessPlan plan = process(id, name, "", threads, cores, mebibytes);
    plan.owner = owner;
    return plan;
}

std::vector<ProcessPlan> desktopProcesses() {
    constexpr std::int32_t browser = 2100;
    return {
        process(browser, "Fern Browser", "web-browser", 8, bursting({0.1, 0.3}, {0.6, 1.2}, 0.3), {420, 560}),
        helper(2101, browser, "Fern Browser Web Content", 8, bursting({0.05, 0.3}, {0.8, 1.8}, 0.25), {300, 900}),
        helper(2102, browser, "Fern Browser Web Content", 4, bursting({0.02, 0.1}, {0.4, 0.9}, 0.15), {180, 260}),
        process(2200, "Moss Photos", "applications-graphics", 8, bursting({0.05, 0.2}, {2, 4.2}, 0.25, {3, 9}),
                {700, 1500}),
        process(2300, "Yarrow Editor", "accessories-text-editor", 4, bursting({0.05, 0.25}, {0.5, 1.4}, 0.3),
                {260, 330}),
        process(2400, "Clover Mail", "mail-unread", 2, bursting({0.01, 0.05}, {0.3, 0.7}, 0.2), {210, 260}),
        process(2500, "Lupin Music", "audio-x-generic", 3, drifting(0.15, 0.35), {150, 170}),
        process(2600, "Reed Terminal", "utilities-terminal", 1, bursting({0.01, 0.05}, {0.5, 0.95}, 0.3, {3, 12}),
                {60, 90}),
        process(2700, "Thistle Sheets", "x-office-spreadsheet", 4, bursting({0.02, 0.1}, {0.4, 1.2}, 0.2), {240, 620})};
}

Plan laptop() {
    return {.hostName = "simulated-laptop",
            .brand = "Fern Octet 8 at 2.4 GHz",
            .cores = 4,
            .processors = 8,
            .days = 3.3,
            .asleep = 0.6,
            .system = bursting({0.15, 0.4}, {0.6, 1.1}, 0.2),
            .memory = 16 * GiB,
            .wired = drifting(0.14, 0.16),
            .active = drifting(0.33, 0.43),
            .compressed = drifting(0.04, 0.08),
            .cached = drifting(0.2, 0.27),
            .swap = 4 * GiB,
            .swapped = drifting(0.08, 0.14),
            .tasks = drifting(262, 281),
            .watts = {6, 34},
            .roomWarmth = 41,
            .loadWarmth = 48,
            .disks = {{.whole = "nvme0n1",
                       .device = "nvme0n1p2",
                       .model = "Fern SSD 512G",
                       .label = "System",
                       .path = "/",
                       .type = "ext4",
                       .icon = "drive-harddisk",
                       .bytes = 512 * GB,
                       .used = drifting(0.612, 0.616),
                       .read = bursting({0, 400 * KB}, {20 * MB, 310 * MB}, 0.2, {1, 4}),
                       .written = bursting({10 * KB, 900 * KB}, {12 * MB, 140 * MB}, 0.2, {1, 4}),
                       .warmth = drifting(37, 42)},
                      {.whole = "sda",
                       .device = "sda1",
                       .model = "Fern Stick 64G",
                       .label = "Holiday",
                       .path = "/media/holiday",
                       .type = "exfat",
                       .icon = "drive-removable-media",
                       .bytes = 64 * GB,
                       .used = drifting(0.37, 0.38),
                       .read = bursting({0, 0}, {8 * MB, 38 * MB}, 0.25, {2, 8}),
                       .written = bursting({0, 0}, {4 * MB, 17 * MB}, 0.1, {2, 8})}},
            .interfaces = {{.name = "wlan0",
                            .address = "192.0.2.23",
                            .ssid = "Fern Lodge",
                            .signal = drifting(-63, -46),
                            .speed = 866'000'000,
                            .in = bursting({4 * KB, 180 * KB}, {1.5 * MB, 11 * MB}, 0.5, {2, 6}),
                            .out = bursting({2 * KB, 40 * KB}, {200 * KB, 1.6 * MB}, 0.45, {2, 6}),
                            .isPrimary = true}},
            .processes = desktopProcesses(),
            .battery = BatteryPlan{.designCapacity = 4800,
                                   .maxCapacity = 4390,
                                   .cycles = 214,
                                   .condition = "Good",
                                   .charge = 0.76,
                                   .charges = {0.2, 0.97},
                                   .adapterWatts = 65},
            .graphics = {{.name = "Fern Intelligible Graphics", .id = 0x61}}};
}

Plan hot() {
    Plan plan = laptop();
    plan.hostName = "simulated-furnace";
    plan.brand = "Fern Octet 8 at 4.8 GHz";
    plan.days = 41.2;
    plan.asleep = 0.05;
    plan.system = bursting({0.5, 0.8}, {1, 1.5}, 0.2);
    plan.wired = drifting(0.19, 0.22);
    plan.active = drifting(0.54, 0.58);
    plan.compressed = drifting(0.13, 0.15);
    plan.cached = drifting(0.02, 0.03);
    plan.swapped = drifting(0.9, 0.97);
    plan.tasks = drifting(690, 730);
    plan.roomWarmth = 68;
    plan.loadWarmth = 30;
    plan.disks[0].used = drifting(0.952, 0.957);
    plan.disks[0].read = bursting({30 * MB, 90 * MB}, {200 * MB, 900 * MB}, 0.4, {1, 4});
    plan.disks[0].written = bursting({40 * MB, 120 * MB}, {200 * MB, 700 * MB}, 0.4, {1, 4});
    plan.disks[0].warmth = drifting(66, 71);
    plan.disks[1].used = drifting(0.982, 0.986);
    plan.interfaces[0].in = bursting({4 * MB, 12 * MB}, {30 * MB, 72 * MB}, 0.4);
    plan.interfaces[0].out = bursting({1 * MB, 4 * MB}, {9 * MB, 24 * MB}, 0.4);
    for (ProcessPlan& process : plan.processes) {
        process.cores.bursts = 0.5;
        process.cores.usual = {process.cores.burst.high / 7, process.cores.burst.high / 3};
    }
    plan.battery->cycles = 987;
    plan.battery->maxCapacity = 2840;
    plan.battery->condition = "Fair";
    plan.battery->charge = 0.14;
    plan.battery->charges = {0.03, 0.12};
    plan.watts = {18, 62};
    plan.battery->adapterWatts = 90;
    plan.graphics.push_back({.name = "Fern Kiln 900", .id = 0x90});
    return plan;
}

// A volume that alone fills a disk behind a cable.
DiskPlan cabledDisk(const char* whole, const char* model, const char* label, const char* path, double bytes,
                    Habit used) {
    return {.whole = whole,
            .device = std::string(whole) + "1",
            .model = model,
            .label = label,
            .path = path,
            .type = "ext4",
            .icon = "drive-harddisk",
            .bytes = bytes,
            .used = used,
            .read = bursting({0, 80 * KB}, {30 * MB, 190 * MB}, 0.15, {1, 5}),
            .written = bursting({0, 60 * KB}, {20 * MB, 160 * MB}, 0.15, {1, 5}),
            .warmth = drifting(33, 41)};
}

Plan fullDisks() {
    Plan plan = laptop();
    plan.hostName = "simulated-attic";
    plan.brand = "Fern Sextet 6 at 3.6 GHz";
    plan.cores = 6;
    plan.processors = 12;
    plan.days = 12.7;
    plan.asleep = 0.3;
    plan.memory = 32 * GiB;
    plan.watts = {31, 118};
    plan.disks[0].used = drifting(0.912, 0.917);
    plan.disks.pop_back();
    plan.disks.push_back(cabledDisk("sda", "Fern Disk 4T", "Photos", "/srv/photos", 4 * TB, drifting(0.966, 0.969)));
    plan.disks.push_back(cabledDisk("sdb", "Fern Disk 8T", "Archive", "/srv/archive", 8 * TB, drifting(0.985, 0.99)));
    plan.disks.push_back(cabledDisk("sdc", "Fern Disk 2T", "Music", "/srv/music", 2 * TB, drifting(0.871, 0.874)));
    plan.disks.push_back(cabledDisk("sdd", "Fern Disk 3T", "Backup", "/srv/backup", 3 * TB, drifting(0.802, 0.81)));
    plan.disks[2].warmth = drifting(52, 57);
    plan.disks[2].isFailing = true;
    plan.interfaces[0].name = "eth0";
    plan.interfaces[0].ssid.reset();
    plan.interfaces[0].speed = 1'000'000'000;
    plan.battery.reset();
    plan.graphics = {{.name = "Fern Prism 20", .id = 0x20}};
    return plan;
}

InterfacePlan cable(const char* name, const char* address, bool isPrimary) {
    return {.name = name,
            .address = address,
            .speed = 10'000'000'000,
            .in = bursting({8 * MB, 30 * MB}, {120 * MB, 480 * MB}, 0.25),
            .out = bursting({20 * MB, 60 * MB}, {200 * MB, 900 * MB}, 0.25),
            .isPrimary = isPrimary};
}

Plan server() {
    Plan plan{.hostName = "simulated-server",
              .brand = "Fern Choir 32 at 2.9 GHz",
              .cores = 32,
              .processors = 64,
              .days = 5.4,
              .asleep = 0,
              .system = bursting({1, 3}, {4, 8}, 0.2),
              .memory = 512 * GiB,
              .wired = drifting(0.06, 0.07),
              .active = drifting(0.41, 0.49),
              .compressed = drifting(0, 0.01),
              .cached = drifting(0.3, 0.35),
              .swap = 32 * GiB,
              .swapped = drifting(0, 0.01),
              .tasks = drifting(1310, 1390),
              .watts = {110, 460},
              .roomWarmth = 38,
              .loadWarmth = 36};
    plan.disks = {cabledDisk("sda", "Fern SSD 960G", "System", "/", 960 * GB, drifting(0.22, 0.225)),
                  cabledDisk("sdb", "Fern Disk 16T", "Pages", "/srv/pages", 16 * TB, drifting(0.54, 0.545)),
                  cabledDisk("sdc", "Fern Disk 16T", "Ledger", "/srv/ledger", 16 * TB, drifting(0.71, 0.715)),
                  cabledDisk("sdd", "Fern Disk 16T", "Backup", "/srv/backup", 16 * TB, drifting(0.62, 0.64))};
    plan.interfaces = {cable("eth0", "192.0.2.80", true), cable("eth1", "198.51.100.80", false)};
    plan.processes = {process(810, "moss-pages", "", 48, bursting({4, 10}, {12, 26}, 0.3), {9'000, 14'000}),
                      process(820, "thistle-ledger", "", 32, bursting({2, 6}, {8, 20}, 0.25), {62'000, 64'500}),
                      process(830, "clover-search", "", 24, bursting({1, 5}, {8, 18}, 0.25), {38'000, 44'000}),
                      process(840, "reed-queue", "", 8, bursting({0.5, 1.5}, {2, 5}, 0.3), {2'400, 3'900}),
                      process(850, "yarrow-backup", "", 4, bursting({0, 0.1}, {2, 3.8}, 0.2, {6, 20}), {700, 1'100})};
    return plan;
}

} // namespace

Plan planOf(Kind kind) {
    switch (kind) {
    case Kind::laptop:
        return laptop();
    case Kind::hot:
        return hot();
    case Kind::fullDisks:
        return fullDisks();
    case Kind::server:
        break;
    }
    return server();
}

} // namespace simulation
