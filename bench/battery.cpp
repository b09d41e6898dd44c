// SPDX-License-Identifier: Apache-2.0
// What one delivery of the battery costs on a laptop's folder of attribute files, beside the bare system calls that
// read each of the battery's attributes once. The files lie in a temporary folder: a real driver's own work comes on
// top.

#include <SentrelKit/platform/linux/power/LinuxPowerService.h>
#include <SentrelKit/platform/linux/power/PowerReader.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <utility>

using namespace sentrel::platform;

namespace {

constexpr std::array<std::pair<const char*, const char*>, 12> attributes{{{"type", "Battery"},
                                                                          {"status", "Discharging"},
                                                                          {"present", "1"},
                                                                          {"cycle_count", "312"},
                                                                          {"voltage_min_design", "11400000"},
                                                                          {"voltage_now", "11687000"},
                                                                          {"current_now", "1365000"},
                                                                          {"charge_full_design", "4000000"},
                                                                          {"charge_full", "3900000"},
                                                                          {"charge_now", "2730000"},
                                                                          {"capacity", "70"},
                                                                          {"health", "Good"}}};

class Laptop {
public:
    Laptop() {
        std::string name = (std::filesystem::temp_directory_path() / "sentrel-bench-XXXXXX").string();
        folder_ = mkdtemp(name.data());
        std::filesystem::create_directories(battery());
        for (const auto& [attribute, value] : attributes)
            std::ofstream(battery() / attribute) << value << '\n';
    }
    ~Laptop() { std::filesystem::remove_all(folder_); }
    Laptop(const Laptop&) = delete;
    Laptop& operator=(const Laptop&) = delete;

    [[nodiscard]] SystemRoot root() const { return SystemRoot(folder_.string()); }
    [[nodiscard]] std::filesystem::path battery() const { return folder_ / "sys/class/power_supply/BAT0"; }

private:
    std::filesystem::path folder_;
};

void rawAttributes(benchmark::State& state) {
    const Laptop laptop;
    std::array<std::string, attributes.size()> paths;
    for (std::size_t i = 0; i < attributes.size(); ++i)
        paths[i] = (laptop.battery() / attributes[i].first).string();
    char buffer[4096];
    for (auto _ : state)
        for (const std::string& path : paths) {
            const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
            benchmark::DoNotOptimize(pread(fd, buffer, sizeof buffer, 0));
            close(fd);
        }
}
BENCHMARK(rawAttributes);

void allFigures(benchmark::State& state) {
    const Laptop laptop;
    PowerReader reader(laptop.root());
    for (auto _ : state)
        benchmark::DoNotOptimize(reader.read());
}
BENCHMARK(allFigures);

void conversionAlone(benchmark::State& state) {
    const Laptop laptop;
    const PowerSupplies supplies = readPowerSupplies(laptop.root());
    for (auto _ : state)
        benchmark::DoNotOptimize(powerFigures(supplies));
}
BENCHMARK(conversionAlone);

void delivery(benchmark::State& state) {
    const Laptop laptop;
    LinuxPowerService service(laptop.root());
    for (auto _ : state) {
        benchmark::DoNotOptimize(service.powerSources());
        benchmark::DoNotOptimize(service.externalAdapterDetails());
        benchmark::DoNotOptimize(service.batteryService());
    }
}
BENCHMARK(delivery);

} // namespace
