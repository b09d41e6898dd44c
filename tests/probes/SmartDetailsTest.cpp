// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/SmartDetails.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

namespace sentrel::probes {
namespace {

using platform::SmartData;
using testing::ElementsAre;
using testing::IsEmpty;

void put(SmartData& data, std::size_t at, std::initializer_list<int> bytes) {
    for (const int byte : bytes)
        data[at++] = static_cast<std::uint8_t>(byte);
}

// An attribute: id, two flag bytes, value, worst value, six raw bytes.
SmartData attributes() {
    SmartData data{};
    put(data, 2, {5, 0x33, 0, 100, 99, 8, 0, 0, 0, 0, 0});
    put(data, 14, {9, 0x32, 0, 90, 90, 0x10, 0x27, 0, 0, 0xAA, 0xBB}); // 10000 hours, and something above them
    put(data, 26, {12, 0x32, 0, 99, 99, 0x2C, 0x01, 0, 0, 0, 0});
    put(data, 38, {194, 0x22, 0, 64, 50, 36, 0, 20, 0, 50, 0});            // 36 degrees, least 20, most 50
    put(data, 350, {254, 0, 0, 1, 2, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}); // in the last place of the table
    return data;
}

TEST(SmartDetails, OfAnAtaDriveAreItsAttributesByName) {
    SmartData thresholds{};
    put(thresholds, 2, {194, 0});
    put(thresholds, 14, {5, 10});
    const SmartData data = attributes();
    const SmartDetails details = decodeAttributes(data, &thresholds);
    ASSERT_EQ(details.attributes.size(), 5U);
    const SmartAttribute& reallocated = details.attributes[0];
    EXPECT_EQ(reallocated.id, 5);
    EXPECT_EQ(reallocated.name, "reallocated sectors");
    EXPECT_EQ(reallocated.value, 100);
    EXPECT_EQ(reallocated.worst, 99);
    EXPECT_EQ(reallocated.threshold, 10) << "by its id, wherever that stands";
    EXPECT_EQ(reallocated.raw, 8U);
    EXPECT_EQ(details.attributes[1].threshold, std::nullopt);
    EXPECT_EQ(details.attributes[3].threshold, 0) << "which is never reached";
    EXPECT_EQ(details.attributes[4].name, "unknown");
    EXPECT_EQ(details.attributes[4].raw, 0xFFFFFFFFFFFFU);
    EXPECT_EQ(details.powerOnHours, 10000);
    EXPECT_EQ(details.powerCycles, 300);
    EXPECT_EQ(details.temperature, 36.0);
    EXPECT_FALSE(details.wear || details.spare || details.unsafeShutdowns || details.mediaErrors);
}

TEST(SmartDetails, TakeTheAirflowsTemperatureWhereThereIsNoOther) {
    SmartData data{};
    put(data, 2, {190, 0, 0, 70, 60, 30, 0, 0, 0, 0, 0});
    EXPECT_EQ(decodeAttributes(data, nullptr).temperature, 30.0);
    put(data, 14, {194, 0, 0, 64, 50, 36, 0, 0, 0, 0, 0});
    EXPECT_EQ(decodeAttributes(data, nullptr).temperature, 36.0);
}

TEST(SmartDetails, OfADriveThatTellsNothingAreAbsent) {
    const SmartDetails details = decodeAttributes(SmartData{}, nullptr);
    EXPECT_THAT(details.attributes, IsEmpty());
    EXPECT_FALSE(details.temperature || details.powerOnHours || details.powerCycles);
}

SmartData healthLog() {
    SmartData log{};
    put(log, 0, {0, 0x3B, 0x01, 98, 10, 3}); // 315 kelvins, spare, its threshold, endurance used
    put(log, 112, {0xE8, 3});                // 1000 power cycles
    put(log, 128, {0x10, 0x27});             // 10000 hours
    put(log, 144, {12});
    put(log, 160, {2});
    return log;
}

TEST(SmartDetails, OfAnNvmeDriveAreItsWearSpareAndErrors) {
    const SmartDetails details = decodeHealthLog(healthLog());
    EXPECT_EQ(details.temperature, 42.0);
    EXPECT_EQ(details.spare, 98.0);
    EXPECT_EQ(details.spareThreshold, 10.0);
    EXPECT_EQ(details.wear, 3.0);
    EXPECT_EQ(details.powerCycles, 1000);
    EXPECT_EQ(details.powerOnHours, 10000);
    EXPECT_EQ(details.unsafeShutdowns, 12);
    EXPECT_EQ(details.mediaErrors, 2);
    EXPECT_THAT(details.attributes, IsEmpty());
}

TEST(SmartDetails, OfAWornDriveGoBeyondAHundredPercentAndHugeCountersStayAtTheMost) {
    SmartData log = healthLog();
    log[5] = 255;
    log[160 + 15] = 1;
    log[144 + 7] = 0x80;
    log[1] = log[2] = 0;
    const SmartDetails details = decodeHealthLog(log);
    EXPECT_EQ(details.wear, 255.0);
    EXPECT_EQ(details.mediaErrors, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(details.unsafeShutdowns, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(details.temperature, std::nullopt) << "a drive that tells none";
}

class SmartQuery : public testing::Test {
protected:
    SmartQuery() {
        platform::ScriptedDisk disk;
        disk.smartAncestor = 1;
        disk.drive.data = attributes();
        volumes().disks["disk1"] = disk;
        details.wear = 7;
    }
    platform::ScriptedVolumeService& volumes() { return machine_->volumes(); }
    platform::ScriptedDrive& drive() { return volumes().disks["disk1"].drive; }
    Availability ask(const char* device = "disk1") {
        volumes().calls.clear();
        return readSmartDetails(device, details, *session());
    }
    // The steps of the conversation with the drive.
    std::vector<std::string> steps() {
        std::vector<std::string> found;
        for (const std::string& call : volumes().calls.list()) {
            for (const char* step : {"enable", "return", "read", "validate", "execute"}) {
                if (call.starts_with(step))
                    found.push_back(call);
            }
        }
        return found;
    }

    ScriptedMachine machine_;
    SmartDetails details;
};

TEST_F(SmartQuery, AsksForEverythingAndStartsNothing) {
    EXPECT_EQ(ask(), Availability::available);
    EXPECT_EQ(details.healthy, true);
    EXPECT_EQ(details.attributes.size(), 5U);
    EXPECT_EQ(details.attributes[0].threshold, std::nullopt) << "it has none";
    EXPECT_EQ(details.wear, std::nullopt) << "nothing of before";
    EXPECT_THAT(steps(),
                ElementsAre("enableOperations disk1 1", "returnStatus disk1", "readHealthLog disk1", "readData disk1",
                            "validateData disk1", "readThresholds disk1", "enableOperations disk1 0"));
}

TEST_F(SmartQuery, TakesTheHealthLogOfADriveThatHasOne) {
    drive().healthLog = healthLog();
    drive().exceeded = true;
    EXPECT_EQ(ask(), Availability::available);
    EXPECT_EQ(details.healthy, false);
    EXPECT_EQ(details.wear, 3.0);
}

TEST_F(SmartQuery, TellsThresholdsWhereTheDriveDoes) {
    SmartData thresholds{};
    put(thresholds, 2, {5, 10});
    drive().thresholds = thresholds;
    EXPECT_EQ(ask(), Availability::available);
    EXPECT_EQ(details.attributes[0].threshold, 10);
}

TEST_F(SmartQuery, WithoutADriveThatHasSmartIsUnsupported) {
    volumes().disks["disk1"].smartAncestor.reset();
    EXPECT_EQ(ask(), Availability::unsupported);
    EXPECT_EQ(ask("nosuch"), Availability::unsupported);
    EXPECT_EQ(details.wear, 7.0) << "as it was";
}

TEST_F(SmartQuery, WithoutTheRightToAskIsDenied) {
    for (const char* operation : {"isSmartCapable", "createSmartPlugIn", "enableOperations"}) {
        volumes().calls.fail(operation, {.error = EACCES});
        EXPECT_EQ(ask(), Availability::denied) << operation;
        volumes().calls.succeed();
    }
    EXPECT_EQ(details.wear, 7.0) << "as it was";
}

TEST_F(SmartQuery, AnUnsoundAnswerIsAFailureAndTheDriveIsLetGo) {
    drive().dataIsSound = false;
    EXPECT_EQ(ask(), Availability::failed);
    EXPECT_EQ(steps().back(), "enableOperations disk1 0");
    EXPECT_EQ(details.wear, 7.0) << "as it was";
    drive().dataIsSound = true;
    for (const char* operation : {"readData", "queryInterface", "openSession"}) {
        volumes().calls.fail(operation, {.error = EIO});
        EXPECT_EQ(ask(), Availability::failed) << operation;
        volumes().calls.succeed();
    }
}

TEST_F(SmartQuery, AVerdictThatCannotBeHadIsAbsent) {
    volumes().calls.fail("returnStatus");
    EXPECT_EQ(ask(), Availability::available);
    EXPECT_EQ(details.healthy, std::nullopt);
}

} // namespace
} // namespace sentrel::probes
