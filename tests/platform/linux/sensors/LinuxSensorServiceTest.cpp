// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/sensors/LinuxSensorService.h>

#include "tests/support/linux/FileTree.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace sentrel::platform {
namespace {

TEST(LinuxSensorService, AnswersSeveralThreadsAtOnce) {
    const FileTree machine(machineListing("desktop"));
    LinuxSensorService service(machine.root());
    const auto ask = [&] {
        std::vector<SensorReading> chips;
        std::vector<SensorReading> energy;
        for (int sample = 0; sample < 20; ++sample) {
            EXPECT_EQ(service.sensors(chips), Availability::available);
            EXPECT_EQ(service.energyCounters(energy), Availability::available);
        }
        EXPECT_EQ(chips.size(), 13U);
        EXPECT_EQ(energy.size(), 2U);
    };
    std::thread other(ask);
    ask();
    other.join();
}

} // namespace
} // namespace sentrel::platform
