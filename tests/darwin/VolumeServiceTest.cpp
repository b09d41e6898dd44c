// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/doubles/Queues.h"
#include "tests/darwin/doubles/VolumeNotices.h"

#include <SentrelKit/platform/macos/dispatch/MacDispatch.h>
#include <SentrelKit/platform/macos/volumes/MacVolumeService.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>

using namespace darwin;
using namespace sentrel::platform;
using sentrel::Observation;
using sentrel::PropertyList;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::uint32_t root = 0x4000;
constexpr std::uint32_t dontBrowse = 0x100000;

// A drive with a container that the root file system is in, as a Mac has it, and a stick.
class MacVolumes : public DarwinTest {
protected:
    void SetUp() override {
        DarwinTest::SetUp();
        machine().mounts = {{.type = "apfs",
                             .from = "/dev/disk1s1",
                             .on = "/",
                             .flags = root,
                             .blockSize = 4096,
                             .blocks = 1000,
                             .freeBlocks = 400},
                            {.type = "devfs", .from = "devfs", .on = "/dev", .flags = dontBrowse},
                            {.type = "msdos", .from = "/dev/disk2s1", .on = "/Volumes/STICK"}};
        drive = &machine().registry.add({.name = "drive", .classes = {"IOAHCIBlockStorageDevice"}});
        RegistryEntry& driver =
            drive->add({.name = "driver", .classes = {"IOBlockStorageDriver"}, .properties = {statistics(1000, 500)}});
        RegistryEntry& disk0 = driver.add(media("disk0", true));
        RegistryEntry& store = disk0.add(media("disk0s2", false));
        RegistryEntry& container = store.add({.name = "AppleAPFSContainer", .classes = {"AppleAPFSContainer"}});
        RegistryEntry& disk1 = container.add(media("disk1", true));
        disk1.add(media("disk1s1", false)).properties["DAVolumeName"] = "Macintosh HD";
        stick = &machine().registry.add(media("disk2", true));
        stick->add(media("disk2s1", false));
    }

    void TearDown() override {
        session.reset();
        queues::advance(0); // its last reference stands behind a call that may be under way
        DarwinTest::TearDown();
    }

    static std::pair<const std::string, PropertyList> statistics(int read, int written) {
        return {"Statistics",
                PropertyList::Dictionary{{"Bytes (Read)", read}, {"Bytes (Write)", written}, {"Errors (Read)", 0}}};
    }

    static RegistryEntry media(const std::string& name, bool isWhole) {
        return {.name = name, .classes = {"IOMedia"}, .properties = {{"BSD Name", name}, {"Whole", isWhole}}};
    }

    static VolumeNotification mounted(const std::string& path) {
        VolumeNotification notice;
        notice.path = path;
        return notice;
    }

    std::shared_ptr<StorageDevice> disk(const std::string& name) {
        session = volumes.openSession();
        return session->disk(name);
    }

    MacVolumeService volumes;
    MacDispatch dispatch;
    std::unique_ptr<DiskSession> session;
    RegistryEntry* drive = nullptr;
    RegistryEntry* stick = nullptr;
};

TEST_F(MacVolumes, LieOnMediaThatTheRegistryDescribes) {
    drive->properties["Device Characteristics"] =
        PropertyList::Dictionary{{"Product Name", "Example SSD"}, {"Medium Type", "Solid State"}};
    RegistryEntry& medium = *stick->children[0];
    medium.properties["Size"] = std::int64_t{8'000'000'000};
    medium.properties["Removable"] = true;
    medium.properties["Writable"] = false;
    std::vector<sentrel::DiskDevice> devices;
    ASSERT_EQ(volumes.diskDevices(devices), sentrel::Availability::available);
    ASSERT_EQ(devices.size(), 6u);
    const auto device = [&](const std::string& name) {
        return *std::find_if(devices.begin(), devices.end(), [&](const auto& each) { return each.name == name; });
    };
    EXPECT_EQ(device("disk0").whole, "disk0");
    EXPECT_EQ(device("disk0").model, "Example SSD");
    EXPECT_EQ(device("disk0").rotational, false);
    EXPECT_FALSE(device("disk0").size) << "not told";
    EXPECT_FALSE(device("disk0").readOnly);
    EXPECT_EQ(device("disk0s2").whole, "disk0");
    EXPECT_EQ(device("disk1s1").whole, "disk1") << "a container's disk is whole, too";
    EXPECT_EQ(device("disk2s1").whole, "disk2");
    EXPECT_EQ(device("disk2s1").size, 8'000'000'000);
    EXPECT_EQ(device("disk2s1").removable, true);
    EXPECT_EQ(device("disk2s1").readOnly, true);
    EXPECT_FALSE(device("disk2s1").model);
    EXPECT_FALSE(device("disk2s1").rotational);

    failures::plan("IOServiceGetMatchingServices", 5);
    EXPECT_EQ(volumes.diskDevices(devices), sentrel::Availability::failed);
    EXPECT_EQ(devices.size(), 6u);
}

TEST_F(MacVolumes, LieOnWholeDisksWhoseDriversCountOperations) {
    const std::int64_t wrapped = (std::int64_t{1} << 32) + 7; // milliseconds
    const PropertyList::Dictionary counts = {{"Operations (Read)", 300},
                                             {"Operations (Write)", 200},
                                             {"Total Time (Read)", wrapped * 1'000'000 + 999'999},
                                             {"Total Time (Write)", 45'000'000}};
    drive->children[0]->properties["Statistics"] = counts;
    std::vector<sentrel::DiskOperations> disks(7);
    ASSERT_EQ(volumes.diskOperations(disks), sentrel::Availability::available);
    ASSERT_EQ(disks.size(), 2u) << "no parts, and not the stick, which counts nothing";
    for (const sentrel::DiskOperations& disk : disks) {
        EXPECT_EQ(disk.reads, 300);
        EXPECT_EQ(disk.writes, 200);
        EXPECT_EQ(disk.readTime, 7u);
        EXPECT_EQ(disk.writeTime, 45u);
        EXPECT_FALSE(disk.busyTime || disk.queueTime || disk.operationsNow);
    }
    EXPECT_EQ(disks[0].name, "disk0");
    EXPECT_EQ(disks[1].name, "disk1") << "the container's, on the same drive";

    stick->properties["Statistics"] = counts;
    ASSERT_EQ(volumes.diskOperations(disks), sentrel::Availability::available);
    EXPECT_EQ(disks.back().name, "disk2");
    for (const auto& [key, value] : counts) {
        PropertyList::Dictionary others = counts;
        others.erase(key);
        stick->properties["Statistics"] = others;
        ASSERT_EQ(volumes.diskOperations(disks), sentrel::Availability::available);
        EXPECT_EQ(disks.size(), 2u) << "without " << key;
    }

    failures::plan("IOServiceGetMatchingServices", 5);
    EXPECT_EQ(volumes.diskOperations(disks), sentrel::Availability::failed);
    EXPECT_EQ(disks.size(), 2u) << "as it was";
}

TEST_F(MacVolumes, AreListedFieldByFieldInMountTableOrder) {
    EXPECT_EQ(volumes.countMountedFileSystems(), 3);
    std::array<MountedFileSystem, 4> entries;
    entries[3].on = "as it was";
    ASSERT_EQ(volumes.listMountedFileSystems(entries), 3);
    EXPECT_EQ(entries[0].type, "apfs");
    EXPECT_EQ(entries[0].from, "/dev/disk1s1");
    EXPECT_EQ(entries[0].on, "/");
    EXPECT_EQ(entries[0].space.blockSize, 4096u);
    EXPECT_EQ(entries[0].space.blocks, 1000u);
    EXPECT_EQ(entries[0].space.freeBlocks, 400u);
    EXPECT_TRUE(entries[0].isRoot);
    EXPECT_FALSE(entries[0].dontBrowse);
    EXPECT_FALSE(entries[1].isRoot);
    EXPECT_TRUE(entries[1].dontBrowse);
    EXPECT_EQ(entries[2].on, "/Volumes/STICK");
    EXPECT_EQ(entries[3].on, "as it was");
}

TEST_F(MacVolumes, ThatDoNotFitAreLeftOut) {
    std::array<MountedFileSystem, 1> entries;
    EXPECT_EQ(volumes.listMountedFileSystems(entries), 1);
    EXPECT_EQ(entries[0].on, "/");
}

TEST_F(MacVolumes, ThatCannotBeListedAreMinusOne) {
    failures::plan("getfsstat", EPERM);
    EXPECT_EQ(volumes.countMountedFileSystems(), -1);
    std::array<MountedFileSystem, 1> entries;
    failures::plan("getfsstat", EPERM);
    EXPECT_EQ(volumes.listMountedFileSystems(entries), -1);
    EXPECT_EQ(errno, EPERM);
}

TEST_F(MacVolumes, OfTheTenTypesAreShown) {
    EXPECT_THAT(volumes.acceptedTypes().names,
                ElementsAre("hfs", "apfs", "nfs", "ufs", "msdos", "exfat", "ntfs", "cd9660", "cddafs", "udf"));
    EXPECT_FALSE(volumes.acceptedTypes().anyRoot);
}

TEST_F(MacVolumes, TellTheirSpaceByPath) {
    const auto space = volumes.space("/");
    ASSERT_TRUE(space);
    EXPECT_EQ(space->blocks, 1000u);
    EXPECT_EQ(space->freeBlocks, 400u);
    errno = 0;
    EXPECT_FALSE(volumes.space("/gone"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(MacVolumes, WithoutDiskArbitrationHaveNoSession) {
    failures::plan("DASessionCreate", 1);
    EXPECT_FALSE(volumes.openSession());
}

TEST_F(MacVolumes, AreDescribedByTheirDisk) {
    stick->children[0]->properties["DADeviceModel"] = "A stick";
    EXPECT_EQ(disk("disk1s1")->description()->volumeName, "Macintosh HD");
    EXPECT_FALSE(disk("disk1s1")->description()->deviceModel);
    EXPECT_EQ(disk("disk2s1")->description()->deviceModel, "A stick");
    failures::plan("DADiskCopyDescription", 1);
    EXPECT_FALSE(disk("disk2s1")->description());
    EXPECT_FALSE(disk("disk9"));
}

TEST_F(MacVolumes, CountOnTheDriverAboveTheWholeDisk) {
    const auto counted = disk("disk0s2")->wholeDisk()->media()->statistics();
    ASSERT_TRUE(counted);
    EXPECT_EQ(counted->bytesRead, 1000);
    EXPECT_EQ(counted->bytesWritten, 500);
    EXPECT_FALSE(disk("disk2s1")->wholeDisk()->media()->statistics());
}

TEST_F(MacVolumes, CountWhatTheStatisticsHave) {
    stick->properties["Statistics"] = PropertyList::Dictionary{{"Bytes (Read)", "no number"}, {"Bytes (Write)", 7}};
    const auto counted = disk("disk2")->media()->statistics();
    ASSERT_TRUE(counted);
    EXPECT_FALSE(counted->bytesRead);
    EXPECT_EQ(counted->bytesWritten, 7);
    stick->properties["Statistics"] = "no dictionary";
    EXPECT_FALSE(disk("disk2")->media()->statistics());
}

TEST_F(MacVolumes, OutliveTheSessionThatFoundThem) {
    const std::shared_ptr<StorageDevice> stays = disk("disk2s1");
    session.reset();
    EXPECT_TRUE(stays->wholeDisk());
}

TEST_F(MacVolumes, WhoseDiskWentAwayHaveNoWholeDiskOrMedia) {
    const std::shared_ptr<StorageDevice> gone = disk("disk2s1");
    failures::plan("DADiskCopyWholeDisk", 1);
    EXPECT_FALSE(gone->wholeDisk());
    failures::plan("DADiskCopyIOMedia", 1);
    EXPECT_FALSE(gone->media());
}

TEST_F(MacVolumes, ThatTheRootStandsOnBelongToTheSystem) {
    EXPECT_TRUE(disk("disk1s1")->isSystemDisk());
    EXPECT_TRUE(disk("disk1")->isSystemDisk());
    EXPECT_TRUE(disk("disk0")->isSystemDisk()); // where the container lies
    EXPECT_FALSE(disk("disk2s1")->isSystemDisk());
    errno = 0;
    EXPECT_TRUE(disk("disk1")->isSystemDisk());
    EXPECT_EQ(errno, EBUSY);
}

TEST_F(MacVolumes, OfWhichNobodyCanTellBelongToTheSystem) {
    failures::plan("statfs", EPERM);
    EXPECT_TRUE(disk("disk2")->isSystemDisk());
    failures::plan("DADiskCopyWholeDisk", 1);
    EXPECT_TRUE(disk("disk2")->isSystemDisk());
    failures::plan("DADiskCopyIOMedia", 1);
    errno = 0;
    EXPECT_TRUE(disk("disk2")->isSystemDisk());
    EXPECT_EQ(errno, EBUSY);
}

TEST_F(MacVolumes, AreUnmountedWithACompletionOnTheSessionsQueue) {
    const std::shared_ptr<StorageDevice> ejected = disk("disk2");
    session->setQueue(dispatch.backgroundQueue());
    std::vector<std::string> heard;
    ejected->unmount({.whole = true}, [&](const std::shared_ptr<StorageDevice>& unmounted, const Dissenter* dissenter) {
        EXPECT_EQ(unmounted, ejected);
        EXPECT_FALSE(dissenter);
        heard.push_back(queues::running());
    });
    EXPECT_THAT(heard, IsEmpty());
    queues::advance(0);
    EXPECT_THAT(heard, ElementsAre("background"));
    ejected->eject();
    EXPECT_THAT(machine().arbitrated, ElementsAre("unmount disk2 1", "eject disk2"));
    session->setQueue(nullptr);
}

TEST_F(MacVolumes, RefusedHearTheReasonOrItsNumber) {
    for (const std::string reason : {"a file is open", ""}) {
        const std::shared_ptr<StorageDevice> ejected = disk("disk2");
        session->setQueue(dispatch.backgroundQueue());
        machine().dissent = reason;
        std::string heard;
        ejected->unmount({.whole = true, .force = true},
                         [&heard](const std::shared_ptr<StorageDevice>&, const Dissenter* dissenter) {
                             heard = dissenter ? dissenter->reason : "";
                         });
        queues::advance(0);
        EXPECT_EQ(heard, reason.empty() ? "status -119930878" : reason);
        session->setQueue(nullptr);
    }
    EXPECT_EQ(machine().arbitrated[0], "unmount disk2 524289");
}

TEST_F(MacVolumes, UnmountedWithoutAQueueOrACompletionTellNobodyAndKeepNothing) {
    const auto held = std::make_shared<int>();
    disk("disk2")->unmount({}, [held](const auto&, const Dissenter*) { ADD_FAILURE(); });
    EXPECT_EQ(held.use_count(), 1);
    session->setQueue(dispatch.backgroundQueue());
    session->disk("disk2")->unmount({}, nullptr);
    queues::advance(0);
    session->setQueue(nullptr);
}

TEST_F(MacVolumes, WhoseQueueIsTakenAwayDropTheCompletionThatIsUnderWay) {
    const auto held = std::make_shared<int>();
    const std::shared_ptr<StorageDevice> ejected = disk("disk2");
    session->setQueue(dispatch.backgroundQueue());
    ejected->unmount({}, [held](const auto&, const Dissenter*) { ADD_FAILURE(); });
    session->setQueue(nullptr);
    EXPECT_EQ(held.use_count(), 1);
    queues::advance(0); // it stood in the queue already
}

TEST_F(MacVolumes, MayLetTheSessionGoInsideTheCompletion) {
    const std::shared_ptr<StorageDevice> ejected = disk("disk2");
    session->setQueue(dispatch.backgroundQueue());
    bool isDone = false;
    ejected->unmount({}, [&](const auto&, const Dissenter*) {
        session->setQueue(nullptr);
        session.reset();
        isDone = true;
    });
    queues::advance(0);
    EXPECT_TRUE(isDone);
}

// Disk arbitration goes on with the session that called, and keeps no reference of its own: with the last device it was
// gone before the call was over.
TEST_F(MacVolumes, MayLetTheLastOfTheSessionGoInsideTheCompletion) {
    std::shared_ptr<StorageDevice> ejected = disk("disk2");
    session->setQueue(dispatch.backgroundQueue());
    ejected->unmount({}, [&](const auto&, const Dissenter*) {
        session->setQueue(nullptr);
        session.reset();
        ejected.reset();
    });
    queues::advance(0);
    EXPECT_FALSE(ejected);
}

// The same for one whose session goes on another thread while the call is about to begin.
TEST_F(MacVolumes, MayLetTheLastOfTheSessionGoWhileTheCompletionIsUnderWay) {
    std::shared_ptr<StorageDevice> ejected = disk("disk2");
    session->setQueue(dispatch.backgroundQueue());
    ejected->unmount({}, [](const auto&, const Dissenter*) { ADD_FAILURE(); });
    ejected.reset();
    session->setQueue(nullptr);
    session.reset();
    queues::advance(0);
}

TEST_F(MacVolumes, AreObservedUntilTheRelease) {
    std::vector<std::optional<std::string>> heard;
    Observation observation =
        volumes.observe([&heard](const VolumeNotification& notice) { heard.push_back(notice.path); });
    workspace::post(mounted("/Volumes/STICK"));
    EXPECT_THAT(heard, ElementsAre("/Volumes/STICK"));
    observation.reset();
    workspace::post(mounted("/Volumes/OTHER"));
    EXPECT_THAT(heard, ElementsAre("/Volumes/STICK"));
    EXPECT_EQ(workspace::registrations(), 0);
}

TEST_F(MacVolumes, ObservedByTwoAreNotHeardByOneThatTheOtherReleased) {
    int heard = 0;
    Observation second;
    const Observation first = volumes.observe([&second](const VolumeNotification&) { second.reset(); });
    second = volumes.observe([&heard](const VolumeNotification&) { ++heard; });
    workspace::post({});
    EXPECT_EQ(heard, 0);
}

class MacSmart : public MacVolumes {
protected:
    void SetUp() override {
        MacVolumes::SetUp();
        drive->properties["SMART Capable"] = true;
        std::shared_ptr<MediaEntry> entry = disk("disk0")->wholeDisk()->media();
        while (entry && !entry->isSmartCapable())
            entry = entry->parent();
        ASSERT_TRUE(entry);
        capable = entry;
    }
    void TearDown() override {
        capable.reset();
        MacVolumes::TearDown();
    }

    std::shared_ptr<MediaEntry> capable;
};

TEST_F(MacSmart, IsFoundOnTheEntryItselfAlone) {
    EXPECT_FALSE(disk("disk0")->media()->isSmartCapable());
    EXPECT_TRUE(capable->isSmartCapable());
    EXPECT_EQ(capable->parent()->parent(), nullptr); // the registry's root has none
    failures::plan("IORegistryEntryGetParentEntry", KERN_FAILURE);
    EXPECT_FALSE(capable->parent());
}

TEST_F(MacSmart, AsksEachStepOfTheDrive) {
    machine().smart.temperature = 41;
    {
        const auto plugIn = capable->createSmartPlugIn();
        ASSERT_TRUE(plugIn);
        const auto smart = plugIn->queryInterface();
        ASSERT_TRUE(smart);
        EXPECT_TRUE(smart->enableOperations(true));
        EXPECT_TRUE(smart->enableAutosave(true));
        EXPECT_EQ(smart->returnStatus(), false);
        EXPECT_TRUE(smart->executeOffLineImmediate(false));
        SmartData data{};
        EXPECT_TRUE(smart->readData(data));
        EXPECT_EQ(data[2], 194);
        EXPECT_EQ(data[7], 41);
        EXPECT_TRUE(smart->validateData(data));
        data[0] ^= 1;
        EXPECT_FALSE(smart->validateData(data));
        EXPECT_TRUE(smart->enableAutosave(false));
        EXPECT_TRUE(smart->enableOperations(false));
    }
    EXPECT_THAT(machine().smart.calls,
                ElementsAre("operations on", "autosave on", "status", "collect short", "read", "validate", "validate",
                            "autosave off", "operations off", "release", "destroy"));
}

TEST_F(MacSmart, TellsAThresholdThatIsExceeded) {
    machine().smart.isExceeded = true;
    const auto plugIn = capable->createSmartPlugIn();
    EXPECT_EQ(plugIn->queryInterface()->returnStatus(), true);
}

TEST_F(MacSmart, FailsAtEachStepThatFails) {
    const auto plugIn = capable->createSmartPlugIn();
    const auto smart = plugIn->queryInterface();
    SmartData data{};
    machine().smart.failing = "operations";
    EXPECT_FALSE(smart->enableOperations(true));
    machine().smart.failing = "autosave";
    EXPECT_FALSE(smart->enableAutosave(true));
    machine().smart.failing = "status";
    EXPECT_FALSE(smart->returnStatus());
    machine().smart.failing = "collect";
    EXPECT_FALSE(smart->executeOffLineImmediate(false));
    machine().smart.failing = "read";
    EXPECT_FALSE(smart->readData(data));
    machine().smart.failing = "validate";
    EXPECT_FALSE(smart->validateData(data));
}

TEST_F(MacSmart, WithoutAUserClientOrItsInterfaceHasNone) {
    failures::plan("IOCreatePlugInInterfaceForService", KERN_FAILURE);
    EXPECT_FALSE(capable->createSmartPlugIn());
    machine().smart.makesInterface = false;
    EXPECT_FALSE(capable->createSmartPlugIn()->queryInterface());
}

} // namespace
