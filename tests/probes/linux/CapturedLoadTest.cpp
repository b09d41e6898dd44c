// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/HostProbes.h>

#include <SentrelKit/platform/linux/LinuxPlatform.h>

#include "tests/support/Fixtures.h"
#include "tests/support/TemporaryFolder.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <string>

namespace sentrel::probes {
namespace {

using platform::HostLoadTicks;

std::string contentOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Reads a captured file another way: the sum of the lines of the single processors.
HostLoadTicks sumOfProcessors(const std::string& stat) {
    HostLoadTicks ticks;
    std::istringstream lines(stat);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, 3, "cpu") != 0 || line[3] == ' ')
            continue;
        std::istringstream columns(line.substr(line.find(' ')));
        std::uint32_t user, nice, system, idle, iowait, irq, softirq, steal;
        columns >> user >> nice >> system >> idle >> iowait >> irq >> softirq >> steal;
        ticks.user += user;
        ticks.nice += nice;
        ticks.system += system + irq + softirq + steal;
        ticks.idle += idle + iowait;
    }
    return ticks;
}

TEST(CPUData, AgreesWithAnIndependentReadingOfCapturedLoad) {
    // Captured on a machine of two processors of which one was kept busy for so many percent; others worked on it too.
    struct Case {
        const char* load;
        double leastUsage;
    };
    for (const Case& each : {Case{"0", 0}, Case{"50", 25}, Case{"100", 50}}) {
        const std::string before = contentOf(fixturePath("host/load/") + std::string(each.load) + "-before");
        const std::string after = contentOf(fixturePath("host/load/") + std::string(each.load) + "-after");
        const TemporaryFolder folder;
        folder.write("proc/stat", before);
        platform::LinuxPlatform machine{platform::SystemRoot(folder.path())};
        const platform::Override override_(machine);
        CPUData data{};
        _getCPUData(&data);
        folder.write("proc/stat", after);
        _getCPUData(&data);

        const HostLoadTicks from = sumOfProcessors(before);
        const HostLoadTicks to = sumOfProcessors(after);
        const double user = to.user - from.user + to.nice - from.nice;
        const double system = to.system - from.system;
        const double idle = to.idle - from.idle;
        const double total = user + system + idle;
        ASSERT_GT(total, 300) << each.load;
        EXPECT_NEAR(data.user, user / total * 100, 2) << each.load;
        EXPECT_NEAR(data.system, system / total * 100, 2) << each.load;
        EXPECT_NEAR(data.idle, idle / total * 100, 2) << each.load;
        EXPECT_GE(data.user + data.system, each.leastUsage) << each.load;
    }
}

} // namespace
} // namespace sentrel::probes
