// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/DiskProbes.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/probes/SystemManager.h>

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace sentrel::probes {
namespace {

using platform::ScriptedDisk;
using testing::ElementsAre;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

// A record whose texts outlive the call.
struct Reported {
    std::int64_t timestamp;
    std::string name;
    std::string model;
    std::string bsdName;
    std::string mountPoint;
    std::string fsType;
    DiskData data;
};

class DiskProbes : public testing::Test {
protected:
    DiskProbes() { System->daSession = volumes().openSession(); }

    platform::ScriptedVolumeService& volumes() { return machine_->volumes(); }
    void advance(double seconds) { machine_->advance(seconds); }

    static std::vector<Reported> list() {
        std::vector<Reported> reported;
        _getDiskData([&](std::int64_t timestamp, const DiskData* data) {
            reported.push_back(
                {timestamp, data->name, data->model, data->bsdName, data->mountPoint, data->fsType, *data});
        });
        return reported;
    }

    ScriptedDisk& drive(const std::string& device) {
        ScriptedDisk& disk = volumes().disks[device];
        disk.smartAncestor = 0;
        return disk;
    }

    // What disks and drives were asked since the last look.
    std::vector<std::string> takeCalls() { return volumes().calls.take(); }

private:
    ScriptedMachine machine_;
};

std::vector<std::string> pathsOf(const std::vector<Reported>& reported) {
    std::vector<std::string> paths;
    for (const Reported& volume : reported)
        paths.push_back(volume.mountPoint);
    return paths;
}

TEST_F(DiskProbes, ReportAVolumeWithItsSpaceItsDiskAndTheTimeOfTheListing) {
    volumes().mount("disk1s1", "/", 1000, 400);
    ScriptedDisk& disk = volumes().disks["disk1s1"];
    disk.description = platform::DiskDescription{"Startup", "SSD 1 TB"};
    disk.whole = "disk1";
    volumes().disks["disk1"].statistics = platform::DiskStatistics{111, 222};

    const std::vector<Reported> reported = list();

    ASSERT_EQ(reported.size(), 1U);
    const Reported& volume = reported[0];
    EXPECT_EQ(volume.timestamp, 1'500'000'000'000);
    EXPECT_EQ(volume.name, "Startup");
    EXPECT_EQ(volume.model, "SSD 1 TB");
    EXPECT_EQ(volume.bsdName, "disk1s1");
    EXPECT_EQ(volume.mountPoint, "/");
    EXPECT_EQ(volume.fsType, "apfs");
    EXPECT_EQ(volume.data.bytesRead, 111);
    EXPECT_EQ(volume.data.bytesWritten, 222);
    EXPECT_EQ(volume.data.used, 600 * 4096);
    EXPECT_EQ(volume.data.free, 400 * 4096);
    EXPECT_EQ(volume.data.total, 1000 * 4096);
    EXPECT_EQ(volume.data.isRoot, 1);
}

TEST_F(DiskProbes, ReportEachOfTheTenTypesAndNoOther) {
    const std::vector<std::string> accepted = {"hfs",   "apfs", "nfs",    "ufs",    "msdos",
                                               "exfat", "ntfs", "cd9660", "cddafs", "udf"};
    for (const std::string& type : accepted)
        volumes().mount("d" + type, "/Volumes/" + type, 10, 5, type);
    for (const char* type : {"devfs", "autofs", "tmpfs", "APFS", "hfs+", "nfs4", "ap", ""})
        volumes().mount(std::string("x") + type, std::string("/other/") + type, 10, 5, type);

    std::vector<std::string> types;
    for (const Reported& volume : list())
        types.push_back(volume.fsType);
    EXPECT_EQ(types, accepted);
}

TEST_F(DiskProbes, NeverReportAVolumeThatIsNotToBeBrowsed) {
    volumes().mount("disk1s1", "/");
    volumes().mount("disk1s4", "/private/var/vm").dontBrowse = true;
    EXPECT_THAT(pathsOf(list()), ElementsAre("/"));
}

TEST_F(DiskProbes, ReportARootOfAnyTypeOnlyWhereThePlatformSaysSo) {
    volumes().mount("overlay", "/", 10, 5, "overlay");
    EXPECT_TRUE(list().empty());
    volumes().acceptsAnyRoot = true;
    EXPECT_THAT(pathsOf(list()), ElementsAre("/"));
}

TEST_F(DiskProbes, ReportVolumesInMountTableOrderAndADeviceAsOftenAsItIsMounted) {
    volumes().mount("disk2", "/b");
    volumes().mount("disk1", "/a");
    volumes().mount("disk2", "/c");
    EXPECT_THAT(pathsOf(list()), ElementsAre("/b", "/a", "/c"));
}

TEST_F(DiskProbes, ReportAShareWithoutADiskAsUnknownAndUncounted) {
    volumes().mount("unused", "/Volumes/home", 10, 5, "nfs").from = "server:/export/home";
    volumes().disks.clear();

    const std::vector<Reported> reported = list();

    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].name, "home");
    EXPECT_EQ(reported[0].bsdName, "home");
    EXPECT_EQ(reported[0].model, "unknown");
    EXPECT_EQ(reported[0].data.bytesRead, 0);
    EXPECT_EQ(reported[0].data.bytesWritten, 0);
    EXPECT_EQ(reported[0].data.total, 10 * 4096);
}

TEST_F(DiskProbes, KeepTheDeviceNameAndTheUnknownModelWhereTheDescriptionHasNone) {
    volumes().mount("disk3", "/x");
    volumes().disks["disk3"].description = platform::DiskDescription{};
    const std::vector<Reported> reported = list();
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].name, "disk3");
    EXPECT_EQ(reported[0].model, "unknown");
}

TEST_F(DiskProbes, CutLongTextsToTheirBuffersAtAWholeCharacter) {
    volumes().mount(std::string(80, 'd'), "/long");
    volumes().mount("disk4", "/umlauts");
    std::string umlauts;
    for (int i = 0; i < 40; ++i)
        umlauts += "\u00e4";
    volumes().disks["disk4"].description = platform::DiskDescription{umlauts, std::string(100, 'm')};

    const std::vector<Reported> reported = list();

    ASSERT_EQ(reported.size(), 2U);
    EXPECT_EQ(reported[0].name, std::string(64, 'd'));
    EXPECT_EQ(reported[0].bsdName, std::string(80, 'd'));
    EXPECT_EQ(reported[1].name, umlauts.substr(0, 62)); // 31 characters of two bytes: a 64th byte ends the text
    EXPECT_EQ(reported[1].model, std::string(63, 'm'));
}

TEST_F(DiskProbes, ReportNothingAndSayNothingWhenTheListingFails) {
    volumes().mount("disk1", "/");
    for (const char* operation : {"countMountedFileSystems", "openSession", "listMountedFileSystems"}) {
        SCOPED_TRACE(operation);
        volumes().calls.succeed();
        volumes().calls.fail(operation);
        CaptureStderr();
        EXPECT_TRUE(list().empty());
        EXPECT_EQ(GetCapturedStderr(), "");
    }
}

TEST_F(DiskProbes, SkipEntriesThatVanishedBetweenCountingAndListing) {
    volumes().mount("disk1", "/");
    volumes().count = 5;
    EXPECT_THAT(pathsOf(list()), ElementsAre("/"));
}

TEST_F(DiskProbes, LeaveOutEntriesThatCameBetweenCountingAndListing) {
    volumes().mount("disk1", "/");
    volumes().mount("disk2", "/b");
    volumes().count = 1;
    EXPECT_THAT(pathsOf(list()), ElementsAre("/"));
}

TEST_F(DiskProbes, ReportNothingForAnEmptyMountTable) {
    EXPECT_TRUE(list().empty());
}

TEST_F(DiskProbes, ReportAVolumeWithTheListedSpaceWhenItsOwnCannotBeAsked) {
    volumes().mount("disk1", "/", 100, 40);
    volumes().disks["disk1"].statistics = platform::DiskStatistics{1, 2};
    volumes().calls.fail("space");
    CaptureStderr();
    const std::vector<Reported> reported = list();
    GetCapturedStderr();
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].data.total, 100 * 4096);
    EXPECT_EQ(reported[0].data.bytesRead, 0);
}

TEST_F(DiskProbes, CloseTheListingsOwnSession) {
    list();
    EXPECT_THAT(takeCalls(), testing::Contains("release session"));
}

TEST_F(DiskProbes, FillOnlyTheSpaceOfAPath) {
    volumes().mount("disk1", "/data", 100, 40);
    volumes().disks["disk1"].statistics = platform::DiskStatistics{1, 2};
    DiskData data{};
    EXPECT_EQ(_getDiskDataFor("/data", &data), 1);
    EXPECT_EQ(data.used, 60 * 4096);
    EXPECT_EQ(data.free, 40 * 4096);
    EXPECT_EQ(data.total, 100 * 4096);
    EXPECT_EQ(data.bytesRead, 0);
    EXPECT_EQ(data.name, nullptr);
}

TEST_F(DiskProbes, TellWhetherTheFileSystemAnswers) {
    volumes().mount("disk1", "/data", 100, 40);
    DiskData data{};
    EXPECT_EQ(_getDiskDataFor("/data", &data), 1);
    EXPECT_EQ(data.answers, 1);
    EXPECT_EQ(list().front().data.answers, 1);
    volumes().mounts.front().space.answers = false;
    EXPECT_EQ(_getDiskDataFor("/data", &data), 1);
    EXPECT_EQ(data.answers, 0);
    EXPECT_EQ(data.total, 100 * 4096);
    EXPECT_EQ(list().front().data.answers, 0);
    volumes().mounts.front().space.answers = true;
    volumes().calls.fail("space");
    CaptureStderr();
    EXPECT_EQ(list().front().data.answers, 0);
    GetCapturedStderr();
}

TEST_F(DiskProbes, ReportAFailedSpaceQueryAndKeepTheRecord) {
    DiskData data{};
    data.used = 1;
    data.free = 2;
    data.total = 3;
    CaptureStderr();
    EXPECT_EQ(_getDiskDataFor("/gone", &data), 0);
    EXPECT_EQ(GetCapturedStderr(), "Error: statfs failed for '/gone' -- No such file or directory\n");
    EXPECT_EQ(data.used, 1);
    EXPECT_EQ(data.free, 2);
    EXPECT_EQ(data.total, 3);
}

TEST_F(DiskProbes, ComputeSpaceInUnsignedArithmetic) {
    volumes().mount("disk1", "/broken").space = {4096, 10, 11}; // more free than there is
    DiskData data{};
    EXPECT_EQ(_getDiskDataFor("/broken", &data), 1);
    EXPECT_EQ(data.used, -4096);
}

TEST_F(DiskProbes, FailTheActivityWithoutSpaceAndDoNotLookForTheDisk) {
    volumes().mount("disk1", "/");
    volumes().calls.fail("space");
    takeCalls();
    DiskData data{};
    CaptureStderr();
    EXPECT_EQ(_getDiskActivity("disk1", "/", &data), 0);
    GetCapturedStderr();
    EXPECT_THAT(takeCalls(), ElementsAre("space /"));
}

TEST_F(DiskProbes, KeepTheCountersAndSucceedWhenAnyStepToThemFails) {
    volumes().mount("disk1", "/");
    volumes().disks["disk1"].statistics = platform::DiskStatistics{1, 2};
    for (const char* step : {"disk", "wholeDisk", "media", "statistics"}) {
        SCOPED_TRACE(step);
        volumes().calls.succeed();
        volumes().calls.fail(step);
        DiskData data{};
        data.bytesRead = 77;
        data.bytesWritten = 88;
        EXPECT_EQ(_getDiskActivity("disk1", "/", &data), 1);
        EXPECT_EQ(data.bytesRead, 77);
        EXPECT_EQ(data.bytesWritten, 88);
        EXPECT_EQ(data.total, 1000 * 4096);
    }
}

TEST_F(DiskProbes, KeepTheOneCounterThatIsMissing) {
    volumes().mount("disk1", "/");
    DiskData data{};
    data.bytesRead = 77;
    data.bytesWritten = 88;
    volumes().disks["disk1"].statistics = platform::DiskStatistics{std::nullopt, 5};
    EXPECT_EQ(_getDiskActivity("disk1", "/", &data), 1);
    EXPECT_EQ(data.bytesRead, 77);
    EXPECT_EQ(data.bytesWritten, 5);
}

TEST_F(DiskProbes, MeasureWithoutCountersWhenThereIsNoSharedSession) {
    volumes().mount("disk1", "/");
    volumes().disks["disk1"].statistics = platform::DiskStatistics{1, 2};
    System->daSession.reset();
    DiskData data{};
    EXPECT_EQ(_getDiskActivity("disk1", "/", &data), 1);
    EXPECT_EQ(data.bytesRead, 0);
    EXPECT_EQ(data.total, 1000 * 4096);
}

// An attribute entry is id, two flag bytes, value, worst, six raw bytes and one reserved byte.
void setAttribute(platform::SmartData& block, std::size_t entry, std::uint8_t id, std::uint8_t raw) {
    block[2 + entry * 12] = id;
    block[2 + entry * 12 + 5] = raw;
}

TEST_F(DiskProbes, AskAHealthyDriveInTheStatedOrderAndUndoWhatWasTurnedOn) {
    setAttribute(drive("disk1").drive.data, 3, 194, 41);
    takeCalls();

    SMARTData smart;
    EXPECT_EQ(_getSMARTData("disk1", &smart), 1);

    EXPECT_EQ(smart.capable, 1);
    EXPECT_EQ(smart.healthy, 1);
    EXPECT_EQ(smart.temperature, 41.0);
    EXPECT_THAT(takeCalls(),
                ElementsAre("openSession", "disk disk1", "wholeDisk disk1", "media disk1", "isSmartCapable disk1",
                            "createSmartPlugIn disk1", "queryInterface disk1", "enableOperations disk1 1",
                            "enableAutosave disk1 1", "returnStatus disk1", "executeOffLineImmediate disk1 0",
                            "readData disk1", "validateData disk1", "enableAutosave disk1 0",
                            "enableOperations disk1 0", "release interface disk1", "release plug-in disk1",
                            "release media disk1", "release disk disk1", "release session"));
}

TEST_F(DiskProbes, FindTheTemperatureInTheLastOfThirtyAttributes) {
    setAttribute(drive("disk1").drive.data, 29, 194, 255);
    SMARTData smart;
    _getSMARTData("disk1", &smart);
    EXPECT_EQ(smart.temperature, 255.0);
}

TEST_F(DiskProbes, IgnoreBytesBehindTheAttributeTable) {
    setAttribute(drive("disk1").drive.data, 30, 194, 50);
    SMARTData smart;
    _getSMARTData("disk1", &smart);
    EXPECT_EQ(smart.temperature, 0.0);
}

TEST_F(DiskProbes, LeaveTheTemperatureAtZeroWithoutAttribute194) {
    setAttribute(drive("disk1").drive.data, 0, 190, 41);
    SMARTData smart;
    EXPECT_EQ(_getSMARTData("disk1", &smart), 1);
    EXPECT_EQ(smart.healthy, 1);
    EXPECT_EQ(smart.temperature, 0.0);
}

TEST_F(DiskProbes, CallADriveUnhealthyThatReportsAnExceededThreshold) {
    drive("disk1").drive.exceeded = true;
    SMARTData smart;
    EXPECT_EQ(_getSMARTData("disk1", &smart), 1);
    EXPECT_EQ(smart.healthy, 0);
}

TEST_F(DiskProbes, StopTheConversationAtTheFirstFailureAndUndoItAllTheSame) {
    const std::vector<std::string> steps = {"enableOperations disk1 1", "enableAutosave disk1 1",
                                            "returnStatus disk1",       "executeOffLineImmediate disk1 0",
                                            "readData disk1",           "validateData disk1"};
    setAttribute(drive("disk1").drive.data, 0, 194, 41);
    for (std::size_t failing = 0; failing < steps.size(); ++failing) {
        SCOPED_TRACE(steps[failing]);
        volumes().calls.succeed();
        volumes().calls.fail(steps[failing].substr(0, steps[failing].find(' ')));
        takeCalls();
        SMARTData smart;
        EXPECT_EQ(_getSMARTData("disk1", &smart), 1);
        EXPECT_EQ(smart.healthy, 1);
        EXPECT_EQ(smart.temperature, 0.0);

        const std::vector<std::string> calls = takeCalls();
        std::vector<std::string> conversation(calls.begin() + 7, calls.end());
        std::vector<std::string> expected(steps.begin(), steps.begin() + static_cast<std::ptrdiff_t>(failing) + 1);
        for (const char* call :
             {"enableAutosave disk1 0", "enableOperations disk1 0", "release interface disk1", "release plug-in disk1",
              "release media disk1", "release disk disk1", "release session"})
            expected.emplace_back(call);
        EXPECT_EQ(conversation, expected);
    }
}

TEST_F(DiskProbes, TurnTheOperationsOffAlsoWhenTheAutosaveCannotBeTurnedOff) {
    setAttribute(drive("disk1").drive.data, 0, 194, 41);
    volumes().calls.fail("enableAutosave", {.arguments = "disk1 0"});
    SMARTData smart;
    EXPECT_EQ(_getSMARTData("disk1", &smart), 1);
    EXPECT_EQ(smart.temperature, 41.0);
    EXPECT_THAT(takeCalls(), testing::Contains("enableOperations disk1 0"));
}

TEST_F(DiskProbes, KeepAnExceededVerdictWhenALaterStepFails) {
    drive("disk1").drive.exceeded = true;
    volumes().calls.fail("readData");
    SMARTData smart;
    EXPECT_EQ(_getSMARTData("disk1", &smart), 1);
    EXPECT_EQ(smart.healthy, 0);
}

TEST_F(DiskProbes, CallADriveCapableWhosePlugInOrInterfaceFails) {
    drive("disk1");
    for (const char* step : {"createSmartPlugIn", "queryInterface"}) {
        SCOPED_TRACE(step);
        volumes().calls.succeed();
        volumes().calls.fail(step);
        takeCalls();
        SMARTData smart{0, 0, 99.0};
        EXPECT_EQ(_getSMARTData("disk1", &smart), 1);
        EXPECT_EQ(smart.healthy, 1);
        EXPECT_EQ(smart.temperature, 0.0);
        EXPECT_THAT(takeCalls(), testing::Each(testing::Not(testing::StartsWith("enableOperations"))));
    }
}

TEST_F(DiskProbes, LookForTheDriveUpwardsFromTheMediaOfTheWholeDisk) {
    volumes().disks["disk1s2"].whole = "disk1";
    volumes().disks["disk1"].smartAncestor = 2;
    takeCalls();
    SMARTData smart;
    EXPECT_EQ(_getSMARTData("disk1s2", &smart), 1);
    EXPECT_EQ(volumes().calls.count("isSmartCapable"), 3U);
    EXPECT_EQ(volumes().calls.count("parent"), 2U);
}

TEST_F(DiskProbes, CallADiskIncapableWhenNoStepLeadsToADrive) {
    volumes().disks["disk1"].smartAncestor = std::nullopt;
    SMARTData smart{1, 0, 99.0};
    EXPECT_EQ(_getSMARTData("disk1", &smart), 0);
    EXPECT_EQ(smart.capable, 0);
    EXPECT_EQ(smart.healthy, 1);
    EXPECT_EQ(smart.temperature, 0.0);

    drive("disk1");
    for (const char* step : {"disk", "wholeDisk", "media", "isSmartCapable"}) {
        SCOPED_TRACE(step);
        volumes().calls.succeed();
        volumes().calls.fail(step);
        CaptureStderr();
        EXPECT_EQ(_getSMARTData("disk1", &smart), 0);
        EXPECT_EQ(GetCapturedStderr(), "");
    }
}

TEST_F(DiskProbes, ReportAFailingSessionOfTheHealthQueryAndOfTheEject) {
    drive("disk1");
    volumes().calls.fail("openSession");
    SMARTData smart;
    CaptureStderr();
    EXPECT_EQ(_getSMARTData("disk1", &smart), 0);
    EXPECT_EQ(GetCapturedStderr(), "Error: DASessionCreate -- Input/output error");
    CaptureStderr();
    EXPECT_EQ(_ejectDisk("disk1"), 0);
    EXPECT_EQ(GetCapturedStderr(), "Error: DASessionCreate -- Input/output error");
}

TEST_F(DiskProbes, UnmountTheWholeDiskThenEjectIt) {
    volumes().disks["disk2s1"].whole = "disk2";
    volumes().disks["disk2"];
    takeCalls();

    EXPECT_EQ(_ejectDisk("disk2s1"), 1);
    EXPECT_THAT(takeCalls(), ElementsAre("openSession", "disk disk2s1", "isSystemDisk disk2s1", "setQueue",
                                         "wholeDisk disk2s1", "unmount disk2 whole", "release disk disk2s1"));

    advance(0);
    EXPECT_THAT(takeCalls(), ElementsAre("eject disk2", "setQueue none", "release disk disk2", "release session"));
}

TEST_F(DiskProbes, EjectOnlyOnceTheSystemHasAnsweredTheUnmount) {
    volumes().disks["disk2"];
    volumes().calls.hold("unmount");
    EXPECT_EQ(_ejectDisk("disk2"), 1);
    advance(3600);
    EXPECT_EQ(volumes().calls.count("eject"), 0U);
    EXPECT_THAT(volumes().calls.openHandles(), testing::Contains("disk disk2")) << "kept for the answer";
    volumes().calls.resume("unmount");
    advance(0);
    EXPECT_EQ(volumes().calls.count("eject"), 1U);
    EXPECT_THAT(volumes().calls.openHandles(), testing::Not(testing::Contains("disk disk2")));
}

TEST_F(DiskProbes, RepeatARefusedUnmountByForceAndEjectAllTheSame) {
    volumes().disks["disk2"];
    volumes().calls.fail("unmount");
    EXPECT_EQ(_ejectDisk("disk2"), 1);
    takeCalls();
    advance(0);
    EXPECT_THAT(takeCalls(), ElementsAre("unmount disk2 force", "eject disk2", "setQueue none", "release disk disk2",
                                         "release session"));
}

TEST_F(DiskProbes, ReleaseTheSessionWhenThereIsNothingToEject) {
    takeCalls();
    EXPECT_EQ(_ejectDisk("nosuch"), 0);
    EXPECT_THAT(takeCalls(), ElementsAre("openSession", "disk nosuch", "release session"));
    volumes().disks["disk2"];
    volumes().calls.fail("wholeDisk");
    takeCalls();
    EXPECT_EQ(_ejectDisk("disk2"), 0);
    EXPECT_THAT(takeCalls(), ElementsAre("openSession", "disk disk2", "isSystemDisk disk2", "setQueue",
                                         "wholeDisk disk2", "release disk disk2", "release session"));
}

// Once the whole disk was unmounted, "/" with it.
TEST_F(DiskProbes, EjectNothingOfADiskThatCarriesTheRoot) {
    volumes().mount("disk1s1", "/");
    volumes().mount("disk1s2", "/Volumes/data");
    for (const char* part : {"disk1s1", "disk1s2"})
        volumes().disks[part].whole = "disk1";
    volumes().disks["disk1"];
    for (const std::string device : {"disk1", "disk1s1", "disk1s2"}) {
        takeCalls();
        CaptureStderr();
        EXPECT_EQ(_ejectDisk(device.c_str()), 0);
        EXPECT_EQ(GetCapturedStderr(), "Error: DADiskUnmount refused for '" + device +
                                           "', a disk that the system runs from -- Device or resource busy");
        advance(0);
        EXPECT_THAT(takeCalls(), ElementsAre("openSession", "disk " + device, "isSystemDisk " + device,
                                             "release disk " + device, "release session"));
    }
}

TEST_F(DiskProbes, EjectNothingOfADiskThatTheSystemRunsFrom) {
    volumes().disks["disk2s1"].whole = "disk2";
    volumes().disks["disk2"].isSystemDisk = true;
    CaptureStderr();
    EXPECT_EQ(_ejectDisk("disk2s1"), 0);
    EXPECT_EQ(GetCapturedStderr(), "Error: DADiskUnmount refused for 'disk2s1', a disk that the system runs from -- "
                                   "Device or resource busy");
    volumes().disks["disk2"].isSystemDisk = false;
    EXPECT_EQ(_ejectDisk("disk2s1"), 1);
}

} // namespace
} // namespace sentrel::probes
