// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/LinuxPlatform.h>

#include <SentrelKit/platform/HostService.h>

#include "tests/support/Await.h"
#include "tests/support/CpuSpinner.h"

#include <cerrno>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace sentrel::platform {
namespace {

// What the kernel's own file says, read by other means: the microseconds since boot.
double totalOf(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    const std::size_t at = line.find("total=");
    return at == std::string::npos ? -1 : std::stod(line.substr(at + 6));
}

TEST(PressureStallLive, LiesBetweenTwoReadingsOfTheKernelsFile) {
    LinuxPlatform machine;
    for (const auto& [resource, path] : {std::pair(PressureResource::cpu, "/proc/pressure/cpu"),
                                         std::pair(PressureResource::memory, "/proc/pressure/memory"),
                                         std::pair(PressureResource::io, "/proc/pressure/io")}) {
        Pressure pressure;
        const double before = totalOf(path);
        const Availability availability = machine.host().pressure(resource, pressure);
        const double after = totalOf(path);
        EXPECT_EQ(availability == Availability::available, before >= 0) << path;
        if (availability != Availability::available)
            continue;
        EXPECT_GE(static_cast<double>(pressure.some.total), before) << path;
        EXPECT_LE(static_cast<double>(pressure.some.total), after) << path;
    }
}

// Twice as many busy threads as processors keep some of them waiting all the time.
TEST(PressureStallLive, TheKernelTellsWhenThreadsWaitForAProcessor) {
    LinuxPlatform machine;
    Event crossed;
    errno = 0;
    Observation observation = machine.host().observePressure(
        PressureResource::cpu, {PressureThreshold::Kind::some, 20'000, 2'000'000}, [&crossed] { crossed.happened(); });
    if (!observation) { // a kernel or a container that has none says so
        const int reason = errno;
        EXPECT_TRUE(reason == ENOENT || reason == EACCES || reason == EPERM || reason == EROFS ||
                    reason == EOPNOTSUPP || reason == EINVAL)
            << reason;
        Pressure pressure;
        EXPECT_TRUE(::geteuid() != 0 ||
                    machine.host().pressure(PressureResource::cpu, pressure) != Availability::available ||
                    reason == EROFS);
        return;
    }
    std::vector<std::unique_ptr<CpuSpinner>> spinners;
    for (unsigned i = 0; i < 2 * std::thread::hardware_concurrency(); ++i)
        spinners.push_back(std::make_unique<CpuSpinner>(1));
    EXPECT_TRUE(crossed.await(2));
    observation.reset();
    const int told = crossed.count();
    spinners.clear();
    EXPECT_EQ(crossed.count(), told);
}

} // namespace
} // namespace sentrel::platform
