// SPDX-License-Identifier: Apache-2.0
// A sample of the graphics processors and one of the sensors, with all they have, beside the raw system calls for the
// same files. The files are those of captured machines in a temporary folder, with a display at the graphics processor:
// a real driver's own work comes on top, for both.

#include "bench/support/CountAllocations.h"
#include "bench/support/RawFiles.h"
#include "tests/support/linux/FileTree.h"

#include <SentrelKit/platform/linux/graphics/LinuxGraphicsService.h>
#include <SentrelKit/platform/linux/sensors/LinuxSensorService.h>
#include <SentrelKit/platform/scripted/CompositePlatform.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/GPU.h>
#include <SentrelKit/system/Sensors.h>

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace sentrel;

namespace fs = std::filesystem;

constexpr const char* radeon = "sys/devices/pci0000:00/0000:00:03.1/0000:0a:00.0";

// A captured desktop, and this machine but for its graphics processors and sensors.
struct Desktop {
    Desktop() : tree(machineListing("desktop")) {
        tree.add("sys/class/drm/card0-DP-1/status=connected");
        tree.add(std::string(radeon) + "/boot_vga=1");
    }

    [[nodiscard]] std::string path(const std::string& name) const { return tree.path() + "/" + name; }

    FileTree tree;
    platform::LinuxGraphicsService graphics{tree.root()};
    platform::LinuxSensorService sensors{tree.root()};
    platform::CompositePlatform machine{platform::current(), {.graphics = &graphics, .sensors = &sensors}};
    std::shared_ptr<probes::SystemManager> session = std::make_shared<probes::SystemManager>(machine);
};

// What is listed at each sample, to find out what came and went.
void listEach(const std::vector<std::string>& folders) {
    for (const std::string& folder : folders)
        listRaw(folder.c_str());
}

void graphicsFloor(benchmark::State& state) {
    const Desktop desktop;
    const std::string cards = desktop.path("sys/class/drm/");
    const std::vector<std::string> display{cards + "card0-DP-1/status", cards + "card0/device/device",
                                           cards + "card0/device/boot_vga"};
    RawFiles files;
    for (const char* name : {"/power/runtime_status", "/gpu_busy_percent", "/mem_info_vram_used",
                             "/mem_info_vram_total", "/hwmon/hwmon10/temp1_input", "/hwmon/hwmon10/power1_average",
                             "/hwmon/hwmon10/fan1_input", "/hwmon/hwmon10/freq1_input"})
        files.addRecord(desktop.path(radeon) + name);
    std::vector<char> buffer(4096);
    for (auto _ : state) {
        listEach({cards, desktop.path("sys/bus/pci/devices")});
        for (const std::string& name : display) // a connector comes and goes
            if (!readRaw(AT_FDCWD, name.c_str(), buffer))
                state.SkipWithError("no display");
        if (!files.read())
            state.SkipWithError("no figures");
    }
}
BENCHMARK(graphicsFloor);

void graphicsEverything(benchmark::State& state) {
    const Desktop desktop;
    GPU gpu(desktop.session);
    gpu.setMeasures({GPU::Measure::use});
    for (int warm = 0; warm < 3; ++warm)
        gpu.update();
    if (gpu.processors().size() != 1 || !gpu.processors().front().use)
        state.SkipWithError("no figures");
    const CountAllocations counting(state);
    for (auto _ : state)
        gpu.update();
}
BENCHMARK(graphicsEverything);

// The files that hold a reading, or what makes one void or alarming.
bool isSampled(std::string_view name) {
    const auto begins = [name](std::string_view kind) { return name.starts_with(kind); };
    const auto ends = [name](std::string_view item) { return name.ends_with(item); };
    return std::ranges::any_of(std::array{"temp", "fan", "in", "curr", "power", "energy"}, begins) &&
           !begins("intrusion") && std::ranges::any_of(std::array{"_input", "_average", "_alarm", "_fault"}, ends);
}

void sensorsFloor(benchmark::State& state) {
    const Desktop desktop;
    const std::vector<std::string> classes{desktop.path("sys/class/hwmon"), desktop.path("sys/class/powercap")};
    RawFiles files;
    for (const auto& chip : fs::directory_iterator(classes.front())) {
        files.addRecord(chip.path() / "device/power/runtime_status");
        for (const auto& file : fs::directory_iterator(chip.path()))
            if (isSampled(file.path().filename().string()))
                files.addRecord(file.path());
    }
    for (const auto& zone : fs::directory_iterator(classes.back()))
        files.addRecord(zone.path() / "energy_uj");
    for (auto _ : state) {
        listEach(classes);
        if (!files.read())
            state.SkipWithError("no figures");
    }
    state.counters["files"] = static_cast<double>(files.count());
}
BENCHMARK(sensorsFloor);

void sensorsEverything(benchmark::State& state) {
    const Desktop desktop;
    Sensors sensors(desktop.session);
    for (int warm = 0; warm < 3; ++warm)
        sensors.update();
    state.counters["sensors"] = static_cast<double>(sensors.all().size());
    const CountAllocations counting(state);
    for (auto _ : state)
        sensors.update();
}
BENCHMARK(sensorsEverything);

} // namespace
