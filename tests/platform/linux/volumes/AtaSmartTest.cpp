// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/AtaSmart.h>

#include "tests/platform/linux/volumes/ScriptedAtaDrive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Descriptor-format sense data as SAT drives return it.
std::vector<std::uint8_t> descriptorSense() {
    return {0x72, 0x01, 0x00, 0x1D, 0, 0, 0, 14, 0x09, 12, 0, 0x10, 0, 0x20, 0, 0x30, 0, 0x40, 0, 0x50, 0x60, 0x70};
}

TEST(AtaSense, HoldsTheRegistersInADescriptor) {
    const auto registers = parseAtaSense(descriptorSense());
    ASSERT_TRUE(registers);
    EXPECT_EQ(registers->error, 0x10);
    EXPECT_EQ(registers->count, 0x20);
    EXPECT_EQ(registers->lbaLow, 0x30);
    EXPECT_EQ(registers->lbaMid, 0x40);
    EXPECT_EQ(registers->lbaHigh, 0x50);
    EXPECT_EQ(registers->status, 0x70);
}

TEST(AtaSense, HoldsTheRegistersBehindAnotherDescriptor) {
    std::vector<std::uint8_t> sense = {0x72, 0x01, 0x00, 0x1D, 0, 0, 0, 18, 0x03, 2, 0, 0};
    const std::vector<std::uint8_t> ata = descriptorSense();
    sense.insert(sense.end(), ata.begin() + 8, ata.end());
    const auto registers = parseAtaSense(sense);
    ASSERT_TRUE(registers);
    EXPECT_EQ(registers->lbaMid, 0x40);
}

TEST(AtaSense, HoldsTheRegistersInFixedFormat) {
    const std::vector<std::uint8_t> sense = {0x70, 0,    1,    0x10, 0x70, 0x60, 0x20, 10, 0,
                                             0x30, 0x40, 0x50, 0x00, 0x1D, 0,    0,    0,  0};
    const auto registers = parseAtaSense(sense);
    ASSERT_TRUE(registers);
    EXPECT_EQ(registers->error, 0x10);
    EXPECT_EQ(registers->count, 0x20);
    EXPECT_EQ(registers->lbaLow, 0x30);
    EXPECT_EQ(registers->lbaMid, 0x40);
    EXPECT_EQ(registers->lbaHigh, 0x50);
    EXPECT_EQ(registers->status, 0x70);
}

TEST(AtaSense, IsAbsentFromGarbledOrShortData) {
    const std::vector<std::uint8_t> whole = descriptorSense();
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(parseAtaSense(std::span(whole).first(size))) << size;
    EXPECT_FALSE(parseAtaSense(std::vector<std::uint8_t>(64, 0x00)));
    EXPECT_FALSE(parseAtaSense(std::vector<std::uint8_t>(64, 0xFF)));
    EXPECT_FALSE(
        parseAtaSense(std::vector<std::uint8_t>{0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x20, 0x00, 0, 0, 0, 0}));
}

TEST(SmartBlock, IsSoundWhenItsBytesSumUpToZero) {
    SmartData data{};
    EXPECT_TRUE(isSoundSmartData(data));
    data[5] = 1;
    EXPECT_FALSE(isSoundSmartData(data));
    data[511] = 0xFF;
    EXPECT_TRUE(isSoundSmartData(data));
}

class AtaConversation : public testing::Test {
protected:
    ScriptedAtaDrive drive_;

    // Runs the steps as the probe does; the number of steps that succeeded.
    int converse(SmartInterface& interface) {
        int done = 0;
        const std::vector<std::function<bool()>> steps = {
            [&] { return interface.enableOperations(true); },
            [&] { return interface.enableAutosave(true); },
            [&] { return (exceeded_ = interface.returnStatus()).has_value(); },
            [&] { return interface.executeOffLineImmediate(false); },
            [&] { return interface.readData(data_); },
            [&] { return interface.validateData(data_); },
        };
        for (const auto& step : steps) {
            if (!step())
                break;
            ++done;
        }
        interface.enableAutosave(false);
        interface.enableOperations(false);
        return done;
    }

    std::optional<bool> exceeded_;
    SmartData data_{};
};

TEST_F(AtaConversation, SendsTheStatedCommandsAndTurnsOffWhatWasOff) {
    const auto plugIn = openAtaSmart(drive_, "/dev/sda");
    ASSERT_TRUE(plugIn);
    const auto interface = plugIn->queryInterface();
    EXPECT_EQ(converse(*interface), 6);
    EXPECT_EQ(exceeded_, false);
    EXPECT_EQ(data_, drive_.data);
    EXPECT_THAT(drive_.commands,
                ElementsAre("E5", "EC", "B0/D8", "B0/D2 F1", "B0/DA", "B0/D4 lba 00", "B0/D0", "B0/D2 00", "B0/D9"));
}

// Others rely on it: under Linux, SMART that was on stays on.
TEST_F(AtaConversation, LeavesSmartOnThatWasOnBefore) {
    drive_.isSmartOn = true;
    const auto plugIn = openAtaSmart(drive_, "/dev/sda");
    EXPECT_EQ(converse(*plugIn->queryInterface()), 6);
    EXPECT_THAT(drive_.commands, ElementsAre("E5", "EC", "B0/D8", "B0/D2 F1", "B0/DA", "B0/D4 lba 00", "B0/D0"));
}

TEST_F(AtaConversation, LeavesASleepingDriveAsleep) {
    for (const std::uint8_t mode : std::vector<std::uint8_t>{0x00, 0x01}) {
        drive_.commands.clear();
        drive_.powerMode = mode;
        EXPECT_TRUE(isAtaSmartCapable(drive_, "/dev/sda"));
        const auto plugIn = openAtaSmart(drive_, "/dev/sda");
        const auto interface = plugIn->queryInterface();
        EXPECT_EQ(converse(*interface), 0);
        EXPECT_FALSE(interface->returnStatus());
        EXPECT_FALSE(interface->readData(data_));
        EXPECT_THAT(drive_.commands, ElementsAre("E5", "E5")); // nothing that would wake it
    }
}

TEST_F(AtaConversation, ReadsThresholdsOfADriveThatIsAwakeAndNoHealthLog) {
    drive_.thresholds[2] = 5;
    drive_.thresholds[3] = 10;
    const auto plugIn = openAtaSmart(drive_, "/dev/sda");
    const auto interface = plugIn->queryInterface();
    SmartData data{};
    EXPECT_FALSE(interface->readThresholds(data)) << "before the conversation begins";
    EXPECT_EQ(errno, EAGAIN);
    ASSERT_TRUE(interface->enableOperations(true));
    EXPECT_TRUE(interface->readThresholds(data));
    EXPECT_EQ(data, drive_.thresholds);
    EXPECT_EQ(drive_.commands.back(), "B0/D1");
    EXPECT_FALSE(interface->readHealthLog(data));
    EXPECT_EQ(errno, ENOTSUP);
}

TEST_F(AtaConversation, SaysThatThePermissionIsLacking) {
    drive_.openError = EACCES;
    errno = 0;
    EXPECT_FALSE(isAtaSmartCapable(drive_, "/dev/sda"));
    EXPECT_EQ(errno, EACCES);
}

TEST_F(AtaConversation, TellsAnExceededThreshold) {
    drive_.isExceeded = true;
    const auto plugIn = openAtaSmart(drive_, "/dev/sda");
    EXPECT_EQ(converse(*plugIn->queryInterface()), 6);
    EXPECT_EQ(exceeded_, true);
}

TEST_F(AtaConversation, FailsAtTheCommandThatTheDriveRefuses) {
    const std::vector<std::pair<std::string, int>> cases = {{"E5", 0},    {"B0/D8", 0},        {"B0/D2 F1", 1},
                                                            {"B0/DA", 2}, {"B0/D4 lba 00", 3}, {"B0/D0", 4}};
    for (const auto& [command, steps] : cases) {
        drive_.refused = command;
        const auto plugIn = openAtaSmart(drive_, "/dev/sda");
        EXPECT_EQ(converse(*plugIn->queryInterface()), steps) << command;
    }
}

TEST_F(AtaConversation, HasNoVerdictInGarbledRegisters) {
    drive_.garblesStatus = true;
    const auto plugIn = openAtaSmart(drive_, "/dev/sda");
    EXPECT_EQ(converse(*plugIn->queryInterface()), 2);
    EXPECT_FALSE(exceeded_);
}

TEST_F(AtaConversation, RefusesATruncatedOrUnsoundBlock) {
    drive_.residual = 256;
    auto plugIn = openAtaSmart(drive_, "/dev/sda");
    EXPECT_EQ(converse(*plugIn->queryInterface()), 4);
    drive_.residual = 0;
    drive_.data[100] ^= 1;
    plugIn = openAtaSmart(drive_, "/dev/sda");
    EXPECT_EQ(converse(*plugIn->queryInterface()), 5);
}

TEST_F(AtaConversation, GivesEachCommandATimeOutOfItsOwn) {
    static_cast<void>(isAtaSmartCapable(drive_, "/dev/sda"));
    ASSERT_THAT(drive_.timeouts, testing::Not(IsEmpty()));
    EXPECT_THAT(drive_.timeouts, testing::Each(testing::AllOf(testing::Gt(0U), testing::Le(10000U))));
}

TEST_F(AtaConversation, FindsADriveCapableThatHasTheFeature) {
    EXPECT_TRUE(isAtaSmartCapable(drive_, "/dev/sda"));
    EXPECT_THAT(drive_.commands, ElementsAre("E5", "EC"));
    drive_.hasSmart = false;
    EXPECT_FALSE(isAtaSmartCapable(drive_, "/dev/sda"));
}

TEST_F(AtaConversation, FindsADriveIncapableWithoutPermissionOrBehindABridgeThatGarbles) {
    drive_.openError = EACCES;
    EXPECT_FALSE(isAtaSmartCapable(drive_, "/dev/sda"));
    EXPECT_EQ(openAtaSmart(drive_, "/dev/sda"), nullptr);
    drive_.openError = 0;

    drive_.controlError = EPERM;
    EXPECT_FALSE(isAtaSmartCapable(drive_, "/dev/sda"));
    drive_.controlError = 0;

    drive_.garblesSense = true;
    EXPECT_FALSE(isAtaSmartCapable(drive_, "/dev/sda"));
    drive_.garblesSense = false;

    drive_.hostStatus = 3; // DID_TIME_OUT
    EXPECT_FALSE(isAtaSmartCapable(drive_, "/dev/sda"));
}

} // namespace
} // namespace sentrel::platform
