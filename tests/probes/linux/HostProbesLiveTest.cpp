// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/HostProbes.h>

#include <SentrelKit/platform/Platform.h>

#include "tests/support/CpuSpinner.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <vector>

// What the probes say of the machine that the test runs on, beside what its files say when read another way.
namespace sentrel::probes {
namespace {

namespace fs = std::filesystem;

struct Load {
    double user = 0;
    double system = 0;
    double idle = 0;
};

Load readLoad() {
    std::ifstream stat("/proc/stat");
    std::string name;
    double user = 0, nice = 0, system = 0, idle = 0, iowait = 0, irq = 0, softirq = 0, steal = 0;
    stat >> name >> user >> nice >> system >> idle >> iowait >> irq >> softirq >> steal;
    return {user + nice, system + irq + softirq + steal, idle + iowait};
}

std::map<std::string, double> readMemory() {
    std::map<std::string, double> lines;
    std::ifstream stream("/proc/meminfo");
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        std::string key;
        double value = 0;
        words >> key >> value;
        lines[key.substr(0, key.find(':'))] = value * 1024;
    }
    return lines;
}

class LoadSplit : public testing::TestWithParam<double> {};

TEST_P(LoadSplit, AgreesWithAnIndependentReadingOfTheSameWindow) {
    if (!fs::exists("/proc/stat"))
        GTEST_SKIP() << "no /proc/stat on this machine";
    const CpuSpinner spinner(GetParam());
    CPUData data{};
    _getCPUData(&data);
    const Load before = readLoad();
    std::this_thread::sleep_for(std::chrono::milliseconds(1500)); // the window itself
    _getCPUData(&data);
    const Load after = readLoad();

    const Load load{after.user - before.user, after.system - before.system, after.idle - before.idle};
    const double total = load.user + load.system + load.idle;
    ASSERT_GT(total, 0);
    EXPECT_NEAR(data.user, load.user / total * 100, 2);
    EXPECT_NEAR(data.system, load.system / total * 100, 2);
    EXPECT_NEAR(data.idle, load.idle / total * 100, 2);
    EXPECT_NEAR(data.user + data.system + data.idle, 100, 1e-6);
}

INSTANTIATE_TEST_SUITE_P(OfOneProcessor, LoadSplit, testing::Values(0.0, 0.5, 1.0));

TEST(MemoryOfThisMachine, IsAllAccountedForAndItsUsageIsWhatIsNotAvailable) {
    std::map<std::string, double> lines = readMemory();
    if (lines.count("MemAvailable") == 0)
        GTEST_SKIP() << "no MemAvailable in /proc/meminfo on this machine";
    MEMData data{};
    ASSERT_EQ(_getMEMData(&data), 1);
    const double free = static_cast<double>(data.free + data.inactive);
    const double used = static_cast<double>(data.wired + data.active + data.compressed);
    EXPECT_NEAR(used + free, lines["MemTotal"], lines["MemTotal"] * 0.01);
    EXPECT_NEAR(used / (used + free) * 100, (lines["MemTotal"] - lines["MemAvailable"]) / lines["MemTotal"] * 100, 2);
    EXPECT_GT(data.faults, 0u);
    EXPECT_GT(data.app, 0u);
}

TEST(MemoryOfThisMachine, ShowsWhatAProgramTakes) {
    // Other programs give and take meanwhile: one round of several has to show it.
    constexpr std::size_t size = std::size_t{128} << 20;
    constexpr double most = size * 0.7;
    double active = 0;
    double app = 0;
    for (int round = 0; round < 10 && (active < most || app < most); ++round) {
        MEMData before{};
        MEMData after{};
        ASSERT_EQ(_getMEMData(&before), 1);
        // From the system itself: an allocator may hand out again what it was given back.
        void* taken = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
        ASSERT_NE(taken, MAP_FAILED);
        const int result = _getMEMData(&after);
        ::munmap(taken, size);
        ASSERT_EQ(result, 1);
        active = static_cast<double>(after.active) - static_cast<double>(before.active);
        app = static_cast<double>(after.app) - static_cast<double>(before.app);
        EXPECT_GE(after.faults, before.faults);
    }
    EXPECT_GE(active, most);
    EXPECT_GE(app, most);
}

// A zram device that nobody uses, filled with noise for the length of a test.
class Zram {
public:
    Zram() {
        for (int number = 0; number < 8 && name_.empty(); ++number) {
            const std::string name = "zram" + std::to_string(number);
            std::string size;
            std::ifstream("/sys/block/" + name + "/disksize") >> size;
            if (size == "0" && ::access(("/dev/" + name).c_str(), W_OK) == 0 && set(name, "disksize", "67108864"))
                name_ = name;
        }
    }
    ~Zram() {
        if (!name_.empty())
            set(name_, "reset", "1");
    }

    [[nodiscard]] bool exists() const { return !name_.empty(); }

    [[nodiscard]] bool fill(std::size_t size) const {
        std::vector<std::uint64_t> noise(size / sizeof(std::uint64_t));
        std::generate(noise.begin(), noise.end(), std::mt19937_64(1));
        std::ofstream device("/dev/" + name_, std::ios::binary);
        device.write(reinterpret_cast<const char*>(noise.data()), static_cast<std::streamsize>(size));
        device.close();
        const int fd = ::open(("/dev/" + name_).c_str(), O_RDONLY | O_CLOEXEC);
        const bool written = fd >= 0 && ::fsync(fd) == 0;
        if (fd >= 0)
            ::close(fd);
        return written && device;
    }

private:
    static bool set(const std::string& name, const std::string& file, const std::string& value) {
        std::ofstream stream("/sys/block/" + name + "/" + file);
        return static_cast<bool>(stream << value << std::flush);
    }

    std::string name_;
};

TEST(MemoryOfThisMachine, CountsAZramDeviceAsCompressed) {
    const Zram device;
    if (!device.exists())
        GTEST_SKIP() << "no unused zram device that this user may write";
    constexpr std::size_t size = std::size_t{32} << 20;
    MEMData before{};
    MEMData after{};
    ASSERT_EQ(_getMEMData(&before), 1);
    ASSERT_TRUE(device.fill(size));
    ASSERT_EQ(_getMEMData(&after), 1);
    // The kernel folds its counters in per processor, a few pages late.
    EXPECT_NEAR(static_cast<double>(after.compressed) - static_cast<double>(before.compressed), size, size * 0.1);
}

struct Census {
    int processes = 0;
    int threads = 0;
};

Census walkProcesses() {
    Census census;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") != std::string::npos)
            continue;
        ++census.processes;
        std::error_code gone;
        for (fs::directory_iterator task(entry.path() / "task", gone), end; !gone && task != end; task.increment(gone))
            ++census.threads;
    }
    return census;
}

TEST(HostOfThisMachine, CountsItsProcessesAndThreads) {
    if (fs::read_symlink("/proc/self/ns/pid") != "pid:[4026531836]") // PROC_PID_INIT_INO (linux/proc_ns.h)
        GTEST_SKIP() << "in a process-id namespace of its own /proc lists fewer than the machine has";
    // Others come and go during a walk: one of many has to agree.
    constexpr int most = 2;
    CPUData data{};
    Census census;
    for (int round = 0; round < 200; ++round) {
        _getCPUData(&data);
        census = walkProcesses();
        if (std::abs(static_cast<int>(data.tasks) - census.processes) <= most &&
            std::abs(static_cast<int>(data.threads) - census.threads) <= most)
            break;
    }
    EXPECT_NEAR(data.tasks, census.processes, most);
    EXPECT_NEAR(data.threads, census.threads, most);
}

TEST(HostOfThisMachine, HasItsTimesFromTheTwoMonotonicClocks) {
    const auto seconds = [](clockid_t clock) {
        timespec now{};
        EXPECT_EQ(::clock_gettime(clock, &now), 0);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
    };
    const std::optional<double> awake = platform::current().host().awakeUptime();
    ASSERT_TRUE(awake);
    EXPECT_NEAR(*awake, seconds(CLOCK_MONOTONIC), 0.5);
    EXPECT_NEAR(static_cast<double>(_getboottime()), seconds(CLOCK_REALTIME) - seconds(CLOCK_BOOTTIME), 1.5);
}

TEST(HostOfThisMachine, HasAsManyProcessorsAsTheSystemSays) {
    int calls = 0;
    _getHostInfo([&](const host_basic_info* info) {
        ++calls;
        EXPECT_EQ(info->logical_cpu, ::sysconf(_SC_NPROCESSORS_ONLN));
        EXPECT_GE(info->logical_cpu_max, info->logical_cpu);
        EXPECT_GE(info->physical_cpu_max, info->physical_cpu);
        EXPECT_GE(info->logical_cpu, info->physical_cpu);
        EXPECT_GT(info->physical_cpu, 0);
        EXPECT_EQ(info->max_mem, readMemory()["MemTotal"]);
    });
    EXPECT_EQ(calls, 1);
}

TEST(HostOfThisMachine, HasTheLoadAveragesOfTheCLibrary) {
    std::array<double, 3> expected{};
    ASSERT_EQ(::getloadavg(expected.data(), 3), 3);
    const std::optional<platform::LoadAverages> averages = platform::current().host().loadAverages();
    ASSERT_TRUE(averages);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR((*averages)[i], expected[i], 0.5);
}

} // namespace
} // namespace sentrel::probes
