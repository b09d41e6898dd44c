// SPDX-License-Identifier: Apache-2.0
#include "tests/contract/PlatformContract.h"
#include "tests/support/Await.h"

#include <SentrelKit/platform/VolumeService.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::Contains;

constexpr const char* nowhere = "/no such folder of the contract";

std::vector<MountedFileSystem> mounts(VolumeService& volumes) {
    const std::int32_t count = volumes.countMountedFileSystems();
    EXPECT_GT(count, 0);
    constexpr std::int32_t spare = 16; // for what is mounted meanwhile
    std::vector<MountedFileSystem> entries(static_cast<std::size_t>(count + spare));
    const std::int32_t filled = volumes.listMountedFileSystems(entries);
    EXPECT_GT(filled, 0);
    entries.resize(static_cast<std::size_t>(filled));
    return entries;
}

// The devices that are mounted, each once.
std::set<std::string> devices(VolumeService& volumes) {
    std::set<std::string> names;
    for (const MountedFileSystem& mount : mounts(volumes)) {
        if (mount.from.starts_with("/dev/"))
            names.insert(mount.from.substr(mount.from.rfind('/') + 1));
    }
    return names;
}

// The entry above the media that is capable of SMART, if any.
std::shared_ptr<MediaEntry> capableEntry(const std::shared_ptr<StorageDevice>& disk) {
    const std::shared_ptr<StorageDevice> whole = disk ? disk->wholeDisk() : nullptr;
    std::shared_ptr<MediaEntry> entry = whole ? whole->media() : nullptr;
    constexpr int highest = 64;
    for (int height = 0; entry && height < highest && !entry->isSmartCapable(); ++height)
        entry = entry->parent();
    return entry;
}

} // namespace

TEST_P(PlatformContract, MountsAreListedWhole) {
    int roots = 0;
    for (const MountedFileSystem& mount : mounts(platform().volumes())) {
        EXPECT_FALSE(mount.type.empty());
        EXPECT_THAT(mount.type, IsUtf8());
        EXPECT_EQ(mount.on.substr(0, 1), "/");
        EXPECT_THAT(mount.on, IsUtf8());
        EXPECT_THAT(mount.from, IsUtf8());
        EXPECT_LE(mount.space.freeBlocks, mount.space.blocks) << mount.on;
        EXPECT_TRUE(mount.space.blockSize > 0 || mount.space.blocks == 0) << mount.on;
        roots += mount.isRoot ? 1 : 0;
        EXPECT_TRUE(!mount.isRoot || mount.on == "/");
        EXPECT_TRUE(!mount.isRoot || mount.space.answers);
    }
    EXPECT_EQ(roots, 1);
}

TEST_P(PlatformContract, MountsThatDoNotFitAreLeftOutAndEntriesThatAreNotNeededStay) {
    VolumeService& volumes = platform().volumes();
    const std::vector<MountedFileSystem> all = mounts(volumes);
    std::vector<MountedFileSystem> one(1);
    ASSERT_EQ(volumes.listMountedFileSystems(one), 1);
    EXPECT_EQ(one.front().on, all.front().on);
    EXPECT_EQ(volumes.listMountedFileSystems({}), 0);
    constexpr std::size_t spare = 100;
    std::vector<MountedFileSystem> many(all.size() + spare);
    many.back().on = "as it was";
    EXPECT_LT(volumes.listMountedFileSystems(many), static_cast<std::int32_t>(many.size()));
    EXPECT_EQ(many.back().on, "as it was");
}

TEST_P(PlatformContract, TypesOfVolumesAreNamedOnce) {
    const AcceptedTypes types = platform().volumes().acceptedTypes();
    EXPECT_FALSE(types.names.empty());
    const std::set<std::string_view> once(types.names.begin(), types.names.end());
    EXPECT_EQ(once.size(), types.names.size());
    EXPECT_EQ(platform().volumes().acceptedTypes().names.size(), types.names.size());
    for (const MountedFileSystem& mount : mounts(platform().volumes())) {
        EXPECT_TRUE(!mount.isRoot || types.accept(mount.type, mount.isRoot, mount.dontBrowse)) << mount.type;
    }
}

TEST_P(PlatformContract, TheSpaceOfTheRootIsKnown) {
    const auto space = platform().volumes().space("/");
    ASSERT_TRUE(space);
    EXPECT_GT(space->blockSize, 0u);
    EXPECT_GT(space->blocks, 0u);
    EXPECT_LE(space->freeBlocks, space->blocks);
    EXPECT_TRUE(space->answers);
}

TEST_P(PlatformContract, NoFileSystemHasNoSpaceAndAReason) {
    errno = 0;
    EXPECT_FALSE(platform().volumes().space(nowhere));
    EXPECT_NE(errno, 0);
}

TEST_P(PlatformContract, AListOfMountsThatFailsIsMinusOne) {
    if (machine->isReal())
        return;
    VolumeService& volumes = platform().volumes();
    errno = 0;
    fail("countMountedFileSystems");
    EXPECT_EQ(volumes.countMountedFileSystems(), -1);
    std::vector<MountedFileSystem> entries(1);
    entries.front().on = "as it was";
    fail("listMountedFileSystems");
    EXPECT_EQ(volumes.listMountedFileSystems(entries), -1);
    EXPECT_NE(errno, 0);
    EXPECT_EQ(entries.front().on, "as it was");
    errno = 0;
    fail("space");
    EXPECT_FALSE(volumes.space("/"));
    EXPECT_NE(errno, 0);
}

TEST_P(PlatformContract, OfADeviceThatIsNotThereNothingIsKnown) {
    const auto session = platform().volumes().openSession();
    ASSERT_TRUE(session);
    for (const char* name : {"nosuchdisk7", "", "../etc"}) {
        const auto disk = session->disk(name);
        EXPECT_FALSE(disk && disk->description()) << name;
        EXPECT_FALSE(disk && disk->media()) << name;
    }
}

TEST_P(PlatformContract, DisksBelongToAWholeThatIsWholeItself) {
    const auto session = platform().volumes().openSession();
    ASSERT_TRUE(session);
    int described = 0;
    for (const std::string& name : devices(platform().volumes())) {
        const auto disk = session->disk(name);
        if (!disk)
            continue;
        if (const auto description = disk->description()) {
            ++described;
            EXPECT_THAT(description->volumeName, IsAbsentOrUtf8());
            EXPECT_THAT(description->deviceModel, IsAbsentOrUtf8());
        }
        const auto whole = disk->wholeDisk();
        ASSERT_TRUE(whole) << name;
        EXPECT_TRUE(whole->wholeDisk()) << name;
    }
    EXPECT_TRUE(machine->isReal() || described > 0);
}

TEST_P(PlatformContract, CountersOfADiskNeverDecrease) {
    const auto session = platform().volumes().openSession();
    ASSERT_TRUE(session);
    int counted = 0;
    for (const std::string& name : devices(platform().volumes())) {
        const auto disk = session->disk(name);
        const auto whole = disk ? disk->wholeDisk() : nullptr;
        const auto media = whole ? whole->media() : nullptr;
        const auto first = media ? media->statistics() : std::nullopt;
        const auto second = media ? media->statistics() : std::nullopt;
        ASSERT_EQ(first.has_value(), second.has_value());
        if (!first)
            continue;
        counted += first->bytesRead && first->bytesWritten ? 1 : 0;
        EXPECT_GE(first->bytesRead.value_or(0), 0);
        EXPECT_GE(first->bytesWritten.value_or(0), 0);
        EXPECT_GE(second->bytesRead.value_or(0), first->bytesRead.value_or(0));
        EXPECT_GE(second->bytesWritten.value_or(0), first->bytesWritten.value_or(0));
    }
    EXPECT_TRUE(machine->isReal() || counted > 0);
}

TEST_P(PlatformContract, TheDeviceTreeEnds) {
    const auto session = platform().volumes().openSession();
    ASSERT_TRUE(session);
    for (const std::string& name : devices(platform().volumes())) {
        const auto disk = session->disk(name);
        std::shared_ptr<MediaEntry> entry = disk ? disk->media() : nullptr;
        constexpr int highest = 64;
        int height = 0;
        for (; entry && height < highest; ++height)
            entry = entry->parent();
        EXPECT_FALSE(entry) << name;
    }
}

TEST_P(PlatformContract, TheDiskOfTheRootBelongsToTheSystem) {
    const auto session = platform().volumes().openSession();
    ASSERT_TRUE(session);
    int found = 0;
    for (const MountedFileSystem& mount : mounts(platform().volumes())) {
        const auto disk = mount.isRoot ? session->disk(mount.from.substr(mount.from.rfind('/') + 1)) : nullptr;
        if (!disk)
            continue;
        ++found;
        errno = 0;
        EXPECT_TRUE(disk->isSystemDisk());
        EXPECT_NE(errno, 0);
    }
    if (machine->isReal())
        return;
    EXPECT_EQ(found, 1);
    EXPECT_FALSE(session->disk("spare")->isSystemDisk());
}

TEST_P(PlatformContract, ADisksQuestionThatFailsHasNoAnswer) {
    if (machine->isReal())
        return;
    VolumeService& volumes = platform().volumes();
    const auto session = volumes.openSession();
    const auto disk = session->disk("spare");
    const auto media = disk->wholeDisk()->media();
    const auto capable = capableEntry(session->disk(*devices(volumes).begin()));
    ASSERT_TRUE(media && capable);
    fail("description");
    fail("wholeDisk");
    fail("media");
    fail("statistics");
    fail("parent");
    EXPECT_FALSE(disk->description());
    EXPECT_FALSE(disk->wholeDisk());
    EXPECT_FALSE(disk->media());
    EXPECT_FALSE(media->statistics());
    EXPECT_FALSE(media->parent());
    fail("isSystemDisk");
    errno = 0;
    EXPECT_TRUE(disk->isSystemDisk()) << "that cannot be told";
    EXPECT_NE(errno, 0);
    fail("createSmartPlugIn");
    EXPECT_FALSE(capable->createSmartPlugIn());
    fail("disk");
    fail("openSession");
    EXPECT_FALSE(session->disk("spare"));
    EXPECT_FALSE(volumes.openSession());
}

TEST_P(PlatformContract, AConversationWithADriveHasItsSteps) {
    if (machine->isReal())
        return; // a drive is not asked for a test
    const auto session = platform().volumes().openSession();
    std::shared_ptr<MediaEntry> capable;
    for (const std::string& name : devices(platform().volumes())) {
        if (!capable)
            capable = capableEntry(session->disk(name));
    }
    ASSERT_TRUE(capable);
    const auto plugIn = capable->createSmartPlugIn();
    ASSERT_TRUE(plugIn);
    const auto drive = plugIn->queryInterface();
    ASSERT_TRUE(drive);
    EXPECT_TRUE(drive->enableOperations(true));
    EXPECT_TRUE(drive->enableAutosave(true));
    EXPECT_EQ(drive->returnStatus(), false);
    EXPECT_TRUE(drive->executeOffLineImmediate(false));
    SmartData data{};
    EXPECT_TRUE(drive->readData(data));
    EXPECT_TRUE(drive->validateData(data));
    for (const char* step : {"enableOperations", "enableAutosave", "returnStatus", "executeOffLineImmediate",
                             "readData", "validateData", "queryInterface"})
        fail(step);
    EXPECT_FALSE(drive->enableOperations(false));
    EXPECT_FALSE(drive->enableAutosave(false));
    EXPECT_FALSE(drive->returnStatus());
    EXPECT_FALSE(drive->executeOffLineImmediate(true));
    EXPECT_FALSE(drive->readData(data));
    EXPECT_FALSE(drive->validateData(data));
    EXPECT_FALSE(plugIn->queryInterface());
}

TEST_P(PlatformContract, AnUnmountIsCompletedOnceOnTheQueueOfTheSession) {
    if (machine->isReal())
        return; // no disk is unmounted for a test
    const auto session = platform().volumes().openSession();
    const auto disk = session->disk("spare");
    ASSERT_TRUE(disk);
    session->setQueue(platform().dispatch().backgroundQueue());
    std::atomic<int> calls{0};
    std::atomic<int> mistakes{0};
    disk->unmount({.whole = true}, [&](const std::shared_ptr<StorageDevice>& unmounted, const Dissenter* dissenter) {
        mistakes += unmounted != disk || dissenter || machine->isOnMainThread() ? 1 : 0;
        ++calls;
    });
    EXPECT_EQ(calls, 0) << "before unmount returned";
    ASSERT_TRUE(await([&] { return calls > 0; }));
    disk->unmount({.whole = true}, nullptr);
    disk->eject();
    pass(5'000'000);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(mistakes, 0);
    fail("unmount");
    std::atomic<bool> isRefused{false};
    disk->unmount({.whole = true}, [&](const auto&, const Dissenter* dissenter) {
        isRefused = dissenter && !dissenter->reason.empty() && isUtf8(dissenter->reason);
        ++calls;
    });
    EXPECT_TRUE(await([&] { return calls == 2; }));
    EXPECT_TRUE(isRefused);
    session->setQueue(nullptr);
}

TEST_P(PlatformContract, WithoutAQueueNoCompletionComesAndNothingIsKept) {
    if (machine->isReal())
        return;
    const auto session = platform().volumes().openSession();
    const auto disk = session->disk("spare");
    ASSERT_TRUE(disk);
    const auto held = std::make_shared<int>();
    std::atomic<int> calls{0};
    const auto completion = [&calls, held](const auto&, const Dissenter*) { ++calls; };
    // The completion stands in the queue behind something that takes its time.
    Event isDropped;
    const std::shared_ptr<DispatchQueue> queue = platform().dispatch().serialQueue("contract");
    queue->async([&isDropped] { EXPECT_TRUE(isDropped.await()); });
    session->setQueue(queue);
    disk->unmount({}, completion);
    session->setQueue(nullptr);
    disk->unmount({}, completion);
    EXPECT_EQ(held.use_count(), 2) << "this one's and the completion's own";
    isDropped.happened();
    pass(5'000'000);
    EXPECT_EQ(calls, 0);
}

TEST_P(PlatformContract, VolumesAreObservedUntilTheRelease) {
    std::atomic<int> calls{0};
    const auto held = std::make_shared<int>();
    Observation observation = platform().volumes().observe([&calls, held](const VolumeNotification&) { ++calls; });
    ASSERT_TRUE(observation || machine->isReal());
    if (!machine->isReal()) {
        machine->change(ContractChange::volumes);
        EXPECT_TRUE(await([&] { return calls > 0; }));
    }
    platform().volumes().checkLabel(nowhere);
    observation.reset();
    const int atRelease = calls;
    EXPECT_EQ(held.use_count(), 1);
    machine->change(ContractChange::volumes);
    pass(5'000'000);
    EXPECT_EQ(calls, atRelease);
}

TEST_P(PlatformContract, AVolumeMayHaveAnIcon) {
    const auto icon = platform().volumes().iconForPath("/");
    EXPECT_TRUE(icon || machine->isReal());
    if (icon)
        expectIcon(*icon);
}

TEST_P(PlatformContract, CountersOfDisksAreThoseOfNamedDevicesAndNeverBelowZero) {
    std::vector<DiskOperations> disks;
    if (platform().volumes().diskOperations(disks) != Availability::available)
        return;
    for (const DiskOperations& disk : disks) {
        EXPECT_FALSE(disk.name.empty());
        EXPECT_GE(disk.reads, 0) << disk.name;
        EXPECT_GE(disk.writes, 0) << disk.name;
        EXPECT_GE(disk.operationsNow.value_or(0), 0) << disk.name;
    }
    EXPECT_TRUE(machine->isReal() || !disks.empty());
}

TEST_P(PlatformContract, EachPartOfADiskNamesAWholeOneThatIsTold) {
    std::vector<DiskDevice> devices;
    if (platform().volumes().diskDevices(devices) != Availability::available)
        return;
    for (const DiskDevice& device : devices) {
        const auto isWhole = [&device](const DiskDevice& each) { return each.name == device.whole; };
        EXPECT_TRUE(std::any_of(devices.begin(), devices.end(), isWhole)) << device.name << " of " << device.whole;
        EXPECT_GE(device.size.value_or(0), 0) << device.name;
    }
    EXPECT_TRUE(machine->isReal() || !devices.empty());
}

TEST_P(PlatformContract, WhatFailsToBeToldOfDisksLeavesTheListsAsTheyWere) {
    if (machine->isReal())
        return;
    std::vector<DiskOperations> disks(2);
    std::vector<DiskDevice> devices(2);
    fail("diskOperations");
    fail("diskDevices");
    EXPECT_NE(platform().volumes().diskOperations(disks), Availability::available);
    EXPECT_NE(platform().volumes().diskDevices(devices), Availability::available);
    EXPECT_EQ(disks.size() + devices.size(), 4u);
}

} // namespace sentrel::platform
