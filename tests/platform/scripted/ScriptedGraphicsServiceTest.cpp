// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <cerrno>
#include <gtest/gtest.h>
#include <vector>

namespace sentrel::platform {
namespace {

TEST(ScriptedGraphicsService, HasNoDisplayUntilItIsGivenOne) {
    ScriptedPlatform machine;
    PropertyList::Bytes deviceID{7};
    EXPECT_FALSE(machine.graphics().activeDeviceID(deviceID));
    EXPECT_EQ(errno, ENODEV);
    EXPECT_EQ(deviceID, PropertyList::Bytes{7});
    machine.graphics().activeDeviceIDValue = PropertyList::Bytes{1};
    EXPECT_TRUE(machine.graphics().activeDeviceID(deviceID));
    EXPECT_EQ(deviceID, PropertyList::Bytes{1});
}

TEST(ScriptedGraphicsService, HasNoProcessorsUntilItIsGivenSome) {
    ScriptedPlatform machine;
    std::vector<GraphicsProcessor> processors;
    EXPECT_EQ(machine.graphics().processors(processors), Availability::unsupported);
    machine.graphics().processorsValue = {GraphicsProcessor{.name = "Example"}};
    EXPECT_EQ(machine.graphics().processors(processors), Availability::available);
    EXPECT_EQ(processors, *machine.graphics().processorsValue);
}

} // namespace
} // namespace sentrel::platform
