// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/LinuxHostService.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>
#include <vector>

// What the host says of this machine, beside what other programs, system calls and another reading of its files say.
namespace sentrel::platform {
namespace {

// What a program prints, without its line end; absent where it is not installed.
std::optional<std::string> outputOf(const std::string& command) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(::popen((command + " 2>/dev/null").c_str(), "r"),
                                                               &::pclose);
    std::array<char, 256> line{};
    if (!pipe || !std::fgets(line.data(), static_cast<int>(line.size()), pipe.get()))
        return std::nullopt;
    std::string text = line.data();
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
}

// The first number of each line of a table, by the words before it.
std::map<std::string, double> numbersIn(const std::string& path) {
    std::map<std::string, double> numbers;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const std::size_t end = line.find_first_of(": ");
        if (end != std::string::npos)
            numbers[line.substr(0, end)] = std::strtod(line.c_str() + end + 1, nullptr);
    }
    return numbers;
}

TEST(LinuxHostLive, CountsWhatHappensBetweenTwoReadingsOfTheTable) {
    LinuxHostService host;
    ProcessorLoad load;
    const auto before = numbersIn("/proc/stat");
    ASSERT_EQ(host.processorLoad(load), Availability::available);
    const auto after = numbersIn("/proc/stat");
    ASSERT_TRUE(load.contextSwitches && load.interrupts && load.forks);
    const auto expectBetween = [&](const char* name, std::uint64_t count) {
        EXPECT_GE(static_cast<double>(count), before.at(name)) << name;
        EXPECT_LE(static_cast<double>(count), after.at(name)) << name;
    };
    expectBetween("ctxt", *load.contextSwitches);
    expectBetween("intr", *load.interrupts);
    expectBetween("processes", *load.forks);
    EXPECT_EQ(static_cast<long>(load.each.size()), ::sysconf(_SC_NPROCESSORS_ONLN));
    for (const NumberedTicks& core : load.each)
        expectBetween(("cpu" + std::to_string(core.number)).c_str(), core.ticks.user);
}

TEST(LinuxHostLive, SplitsTheMemoryAsTheKernelDoes) {
    LinuxHostService host;
    MemoryDetails details;
    ASSERT_EQ(host.memoryDetails(details), Availability::available);
    const auto table = numbersIn("/proc/meminfo");
    constexpr double slack = 256.0 * 1024 * 1024; // what programs beside this one take in between
    ASSERT_TRUE(details.available && details.buffers && details.cached);
    EXPECT_NEAR(static_cast<double>(*details.available), table.at("MemAvailable") * 1024, slack);
    EXPECT_NEAR(static_cast<double>(*details.cached), table.at("Cached") * 1024, slack);
    struct sysinfo info {};
    ASSERT_EQ(::sysinfo(&info), 0);
    EXPECT_NEAR(static_cast<double>(*details.buffers), static_cast<double>(info.bufferram) * info.mem_unit, slack);
}

TEST(LinuxHostLive, HasTheNodesThatTheKernelHas) {
    LinuxHostService host;
    std::vector<MemoryNode> nodes;
    const Availability availability = host.memoryNodes(nodes);
    EXPECT_EQ(availability == Availability::available, ::access("/sys/devices/system/node/node0/meminfo", R_OK) == 0);
    for (const MemoryNode& node : nodes) {
        const auto total = outputOf("awk '/MemTotal/ {print $4}' /sys/devices/system/node/node" +
                                    std::to_string(node.number) + "/meminfo");
        ASSERT_TRUE(total);
        EXPECT_EQ(std::to_string(node.total / 1024), *total) << node.number;
    }
    const auto count = outputOf("ls -d /sys/devices/system/node/node[0-9]* | wc -l");
    EXPECT_EQ(std::to_string(nodes.size()), count.value_or("0"));
}

TEST(LinuxHostLive, NamesItsKernelAsTheSystemCallDoes) {
    LinuxHostService host;
    OperatingSystem system;
    ASSERT_EQ(host.operatingSystem(system), Availability::available);
    utsname names{};
    ASSERT_EQ(::uname(&names), 0);
    EXPECT_EQ(system.kernel, names.sysname);
    EXPECT_EQ(system.kernelRelease, names.release);
    EXPECT_EQ(system.architecture, names.machine);
    EXPECT_EQ(system.hostName, names.nodename);
    const auto name = outputOf(". /etc/os-release; echo \"$PRETTY_NAME\"");
    EXPECT_TRUE(!name || name->empty() || system.prettyName == *name) << system.prettyName;
}

TEST(LinuxHostLive, IsVirtualisedAsThatProgramSays) {
    LinuxHostService host;
    Virtualization virtualization;
    ASSERT_EQ(host.virtualization(virtualization), Availability::available);
    const auto agrees = [](const std::string& mine, const std::optional<std::string>& other) {
        return !other || (*other == "none" ? mine.empty() : mine == *other);
    };
    const auto container = outputOf("systemd-detect-virt --container");
    EXPECT_TRUE(agrees(virtualization.container, container)) << virtualization.container << " " << *container;
    const auto machine = outputOf("systemd-detect-virt --vm");
    EXPECT_TRUE(agrees(virtualization.machine, machine)) << virtualization.machine << " " << *machine;
}

// The least limit on the way up, read by a shell in the same group where hierarchies are mounted in their usual places.
constexpr const char* leastLimit = R"(
    p=$(sed -n 's/^[0-9]*:memory://p' /proc/self/cgroup); b=/sys/fs/cgroup/memory; f=memory.limit_in_bytes
    [ -n "$p" ] || { p=$(sed -n 's/^0:://p' /proc/self/cgroup); b=/sys/fs/cgroup; f=memory.max; }
    while :; do
        cat "$b$p/$f"
        [ -n "${p%/}" ] || break
        p=${p%/*}
    done | grep -v max | sort -n | head -1)";

TEST(LinuxHostLive, MayUseAsMuchMemoryAsItsControlGroups) {
    LinuxHostService host;
    ControlGroup group;
    if (host.controlGroup(group) != Availability::available) {
        EXPECT_FALSE(outputOf("grep ' - cgroup' /proc/self/mountinfo"));
        return;
    }
    constexpr double unlimited = 4e18; // bytes: version 1 has a number for none
    const double limit = std::strtod(outputOf(leastLimit).value_or("inf").c_str(), nullptr);
    if (limit >= unlimited)
        EXPECT_EQ(group.memoryLimit, std::nullopt);
    else
        EXPECT_EQ(static_cast<double>(group.memoryLimit.value_or(0)), limit);
    EXPECT_LE(group.memoryUsed.value_or(0), host.physicalMemory().value_or(0));
    EXPECT_GT(group.processors.value_or(1), 0);
}

} // namespace
} // namespace sentrel::platform
