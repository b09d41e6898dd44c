// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Disk/Disk.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/probes/SystemManager.h>

#include "tests/support/Await.h"

#include <atomic>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace host {

using namespace sentrel;
using namespace sentrel::platform;

// The seam's devices have another name than the model, so that a host may open both namespaces.
static_assert(std::is_same_v<Disk, sentrel::Disk>);

} // namespace host

namespace sentrel {
namespace {

using platform::DiskStatistics;
using platform::VolumeNotification;
using testing::ElementsAre;
using VolumePointer = std::shared_ptr<Disk::Volume>;

class DiskModel : public testing::Test {
protected:
    DiskModel() { probes::System->daSession = volumes().openSession(); }

    platform::ScriptedVolumeService& volumes() { return machine_->volumes(); }
    void advance(double seconds) { machine_->advance(seconds); }

    void count(const std::string& device, std::int64_t read, std::int64_t written) {
        volumes().disks[device].statistics = DiskStatistics{read, written};
    }

    // Mounts and lets the model see it.
    void mountLater(const std::string& device, const std::string& path) {
        volumes().mount(device, path);
        volumes().notify({VolumeNotification::Kind::didMount, {}, {}, path});
        advance(0);
    }

    // What they write.
    std::string samplesOf(Disk& disk, int count) {
        testing::internal::CaptureStderr();
        for (int i = 0; i < count; ++i) {
            advance(1.1);
            disk.update();
        }
        return testing::internal::GetCapturedStderr();
    }

    static std::vector<std::string> devicesOf(const Disk& disk) {
        std::vector<std::string> devices;
        for (const auto& [device, volume] : disk.volumes())
            devices.push_back(device);
        return devices;
    }

private:
    ScriptedMachine machine_;
};

TEST_F(DiskModel, IsOfTheDiskKind) {
    EXPECT_EQ(Disk().type(), SystemResourceType::disk);
}

TEST_F(DiskModel, ListsTheVolumesWhenItIsMade) {
    volumes().mount("disk1", "/", 1000, 400);
    volumes().icons.insert_or_assign("/", Icon::named("drive-harddisk"));
    volumes().disks["disk1"].description = platform::DiskDescription{"Startup", "SSD 1 TB"};
    volumes().disks["disk1"].smartAncestor = 0;
    count("disk1", 10, 20);

    const Disk disk;

    ASSERT_THAT(devicesOf(disk), ElementsAre("disk1"));
    const VolumePointer volume = disk.volumes().at("disk1");
    EXPECT_EQ(volume->name(), "Startup");
    EXPECT_EQ(volume->device(), "disk1");
    EXPECT_EQ(volume->path(), "/");
    EXPECT_EQ(volume->fstype(), "apfs");
    EXPECT_EQ(volume->model(), "SSD 1 TB");
    EXPECT_EQ(volume->free(), 400 * 4096);
    EXPECT_EQ(volume->used(), 600 * 4096);
    EXPECT_EQ(volume->total(), 1000 * 4096);
    EXPECT_EQ(volume->rbytes(), 10);
    EXPECT_EQ(volume->wbytes(), 20);
    EXPECT_EQ(volume->rbytesps(), 0.0);
    EXPECT_EQ(volume->wbytesps(), 0.0);
    EXPECT_EQ(volume->timestamp(), 1'500'000'000'000);
    EXPECT_EQ(volume->icon(), Icon::named("drive-harddisk"));
    EXPECT_TRUE(volume->isRootFS());
    ASSERT_TRUE(volume->smart());
    EXPECT_EQ(volume->smart()->capable, 1);
    EXPECT_EQ(disk.HD(), volume);
}

TEST_F(DiskModel, HasNoIconAndNoHealthWhereTheyCannotBeHad) {
    volumes().mount("disk1", "/");
    const Disk disk;
    EXPECT_FALSE(disk.volumes().at("disk1")->icon());
    EXPECT_FALSE(disk.volumes().at("disk1")->smart());
}

TEST(Volume, StartsEmpty) {
    const Disk::Volume volume;
    EXPECT_EQ(volume.name(), "");
    EXPECT_EQ(volume.device(), "");
    EXPECT_EQ(volume.path(), "");
    EXPECT_EQ(volume.fstype(), "");
    EXPECT_EQ(volume.model(), "");
    EXPECT_EQ(volume.free(), 0);
    EXPECT_EQ(volume.used(), 0);
    EXPECT_EQ(volume.total(), 0);
    EXPECT_EQ(volume.wbytes(), 0);
    EXPECT_EQ(volume.rbytes(), 0);
    EXPECT_EQ(volume.wbytesps(), 0.0);
    EXPECT_EQ(volume.rbytesps(), 0.0);
    EXPECT_EQ(volume.timestamp(), 0);
    EXPECT_FALSE(volume.icon());
    EXPECT_FALSE(volume.isRootFS());
    EXPECT_FALSE(volume.smart());
    EXPECT_FALSE(volume.smartStatus());
    EXPECT_EQ(volume.usagePercent(), 0);
    EXPECT_FALSE(volume.answers());
    EXPECT_EQ(volume.lastAnswer(), 0);
}

TEST_F(DiskModel, TellsThatAVolumeStoppedAnsweringAndKeepsItsFigures) {
    volumes().mount("disk1", "/", 1000, 400);
    count("disk1", 1000, 2000);
    Disk disk;
    const VolumePointer volume = disk.volumes().at("disk1");
    EXPECT_TRUE(volume->answers());
    EXPECT_EQ(volume->lastAnswer(), volume->timestamp());
    advance(1.1);
    disk.update();
    EXPECT_TRUE(volume->answers());
    const std::int64_t last = volume->lastAnswer();
    EXPECT_EQ(last, volume->timestamp());

    volumes().mounts.front().space.answers = false; // figures of before, with counters of now
    count("disk1", 1000 + 550, 2000);
    advance(1.1);
    disk.update();
    EXPECT_FALSE(volume->answers());
    EXPECT_EQ(volume->lastAnswer(), last);
    EXPECT_EQ(volume->timestamp(), last + 1100);
    EXPECT_EQ(volume->free(), 400 * 4096);
    EXPECT_DOUBLE_EQ(volume->rbytesps(), 500.0);

    volumes().mounts.front().space.answers = true;
    advance(1.1);
    disk.update();
    EXPECT_TRUE(volume->answers());
    EXPECT_EQ(volume->lastAnswer(), last + 2200);
}

TEST_F(DiskModel, CountsAVolumeWhoseSpaceFailsAsOneThatDoesNotAnswer) {
    volumes().mount("disk1", "/", 1000, 400);
    Disk disk;
    const VolumePointer volume = disk.volumes().at("disk1");
    const std::int64_t last = volume->lastAnswer();
    volumes().calls.fail("space", {.error = ENOTCONN});
    testing::internal::CaptureStderr();
    advance(1.1);
    disk.update();
    EXPECT_FALSE(volume->answers());
    EXPECT_EQ(volume->lastAnswer(), last);
    EXPECT_EQ(volume->free(), 400 * 4096);
    const Disk later; // the mount table has its figures, but nobody answered for them
    EXPECT_FALSE(later.volumes().at("disk1")->answers());
    EXPECT_EQ(later.volumes().at("disk1")->lastAnswer(), 0);
    EXPECT_EQ(later.volumes().at("disk1")->total(), 1000 * 4096);
    testing::internal::GetCapturedStderr();
    volumes().calls.succeed();
    advance(1.1);
    disk.update();
    EXPECT_TRUE(volume->answers());
}

TEST_F(DiskModel, TellsAVolumeThatMayNotBeAskedFromOneThatDoesNotAnswer) {
    volumes().mount("disk1", "/", 1000, 400);
    Disk disk;
    const VolumePointer volume = disk.volumes().at("disk1");
    EXPECT_EQ(volume->access(), Availability::available);
    testing::internal::CaptureStderr();
    for (const auto& [error, access] :
         {std::pair(EACCES, Availability::denied), std::pair(EPERM, Availability::denied),
          std::pair(ENOTCONN, Availability::failed), std::pair(EACCES, Availability::denied)}) {
        volumes().calls.succeed();
        volumes().calls.fail("space", {.error = error});
        disk.update();
        EXPECT_EQ(volume->access(), access) << error;
        EXPECT_FALSE(volume->answers()) << error;
    }
    volumes().mount("disk2", "/later"); // a listing does not know better
    EXPECT_EQ(volume->access(), Availability::denied);
    testing::internal::GetCapturedStderr();
    volumes().calls.succeed();
    disk.update();
    EXPECT_EQ(volume->access(), Availability::available);
}

// A share that never answers wrote a line at each sample: 78,545 in a day.
TEST_F(DiskModel, TellsOnceOfAVolumeThatDoesNotAnswerAndOnceThatItDoes) {
    volumes().mount("disk1", "/");
    volumes().mount("share", "/share", 0, 0);
    volumes().calls.fail("space", {.arguments = "/share", .error = ETIMEDOUT});
    const std::string begin = "Error: statfs failed for '/share' -- Connection timed out\n";
    testing::internal::CaptureStderr();
    Disk disk;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), begin);
    EXPECT_EQ(samplesOf(disk, 100), "");
    testing::internal::CaptureStderr();
    mountLater("disk2", "/other"); // a listing is no news either
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    volumes().calls.succeed();
    EXPECT_EQ(samplesOf(disk, 50), "");
    EXPECT_EQ(samplesOf(disk, 50), "statfs works again for '/share'\n");
    EXPECT_EQ(samplesOf(disk, 50), "");
    volumes().calls.fail("space", {.arguments = "/share", .error = ENOTCONN});
    EXPECT_EQ(samplesOf(disk, 50), "Error: statfs failed for '/share' -- Transport endpoint is not connected\n");
}

TEST_F(DiskModel, TellsOnceOfAVolumeThatStopsAnsweringThoughItsFiguresStand) {
    volumes().mount("disk1", "/", 1000, 400);
    Disk disk;
    EXPECT_EQ(samplesOf(disk, 3), "");
    volumes().mounts.front().space.answers = false;
    EXPECT_EQ(samplesOf(disk, 100), "Error: statfs failed for '/' -- Connection timed out\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(disk.usage(), 60); // asked for by a host, at each look
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    volumes().mounts.front().space.answers = true;
    EXPECT_EQ(samplesOf(disk, 100), "statfs works again for '/'\n");
}

// A share that is slow misses every other sample.
TEST_F(DiskModel, TellsOnceOfAVolumeThatAnswersNowAndThen) {
    volumes().mount("disk1", "/");
    Disk disk;
    std::string lines;
    for (int i = 0; i < 100; ++i) {
        volumes().mounts.front().space.answers = i % 2 != 0;
        lines += samplesOf(disk, 1);
    }
    EXPECT_EQ(lines, "Error: statfs failed for '/' -- Connection timed out\n");
}

TEST_F(DiskModel, TellsOnceThatADriveCannotBeAsked) {
    volumes().mount("disk1", "/");
    volumes().disks["disk1"].smartAncestor = 0;
    const Disk disk;
    const VolumePointer volume = disk.volumes().at("disk1");
    volumes().calls.fail("openSession", {.error = EMFILE});
    testing::internal::CaptureStderr();
    for (int i = 0; i < 100; ++i)
        EXPECT_FALSE(volume->smartStatus());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: DASessionCreate -- Too many open files");
}

TEST_F(DiskModel, TellsInAListingTooWhetherAVolumeAnswers) {
    volumes().mount("disk1", "/", 1000, 400);
    volumes().mount("share", "/share", 0, 0).space.answers = false; // never did
    const Disk disk;
    const VolumePointer share = disk.volumes().at("share");
    EXPECT_FALSE(share->answers());
    EXPECT_EQ(share->lastAnswer(), 0);
    volumes().mounts.back().space = {4096, 10, 5};
    mountLater("disk2", "/other");
    EXPECT_TRUE(share->answers());
    EXPECT_EQ(share->lastAnswer(), share->timestamp());
    volumes().mounts[1].space.answers = false;
    mountLater("disk3", "/third");
    EXPECT_FALSE(share->answers());
    EXPECT_EQ(share->total(), 10 * 4096);
}

TEST_F(DiskModel, DerivesRatesFromTheCountersOfTheLastGap) {
    volumes().mount("disk1", "/");
    count("disk1", 1000, 2000);
    Disk disk;
    count("disk1", 1000 + 550, 2000 + 2200);
    advance(1.1);
    disk.update();
    const VolumePointer volume = disk.volumes().at("disk1");
    EXPECT_DOUBLE_EQ(volume->rbytesps(), 500.0);
    EXPECT_DOUBLE_EQ(volume->wbytesps(), 2000.0);
    EXPECT_EQ(volume->rbytes(), 1550);
    EXPECT_EQ(volume->wbytes(), 4200);
    EXPECT_EQ(volume->timestamp(), 1'500'000'001'100);

    advance(1.1); // nothing moved: no smoothing
    disk.update();
    EXPECT_EQ(volume->rbytesps(), 0.0);
    EXPECT_EQ(volume->wbytesps(), 0.0);
}

TEST_F(DiskModel, ShowsAFreshVolumeWithoutRatesUntilTheNextSample) {
    volumes().mount("disk1", "/");
    Disk disk;
    count("disk2", 5'000'000, 6'000'000);
    mountLater("disk2", "/b");
    const VolumePointer volume = disk.volumes().at("disk2");
    EXPECT_EQ(volume->rbytesps(), 0.0);
    EXPECT_EQ(volume->wbytesps(), 0.0);
    count("disk2", 5'001'000, 6'000'000);
    advance(1);
    disk.update();
    EXPECT_DOUBLE_EQ(volume->rbytesps(), 1000.0);
}

TEST_F(DiskModel, KeepsItsRatesInTwoSamplesOfOneMillisecond) {
    volumes().mount("disk1", "/");
    count("disk1", 0, 0);
    Disk disk;
    count("disk1", 700, 0);
    advance(1);
    disk.update();
    count("disk1", 9000, 0);
    advance(0.0004);
    disk.update();
    const VolumePointer volume = disk.volumes().at("disk1");
    EXPECT_DOUBLE_EQ(volume->rbytesps(), 700.0);
    EXPECT_EQ(volume->rbytes(), 9000); // the counters move on all the same
}

TEST_F(DiskModel, KeepsItsRatesWhenTheClockStepsBack) {
    volumes().mount("disk1", "/");
    count("disk1", 0, 0);
    Disk disk;
    count("disk1", 700, 0);
    advance(1);
    disk.update();
    advance(-1);
    auto& clock = static_cast<platform::ScriptedClock&>(platform::current().clock());
    clock.setWallMicroseconds(1'400'000'000'000'000);
    disk.update();
    EXPECT_DOUBLE_EQ(disk.volumes().at("disk1")->rbytesps(), 700.0);
    EXPECT_EQ(disk.volumes().at("disk1")->timestamp(), 1'400'000'000'000);
}

// Meant: nothing clamps it.
TEST_F(DiskModel, GivesANegativeRateForACounterThatWentBack) {
    volumes().mount("disk1", "/");
    count("disk1", 5000, 5000);
    Disk disk;
    count("disk1", 4000, 5000);
    advance(1);
    disk.update();
    EXPECT_DOUBLE_EQ(disk.volumes().at("disk1")->rbytesps(), -1000.0);
}

TEST_F(DiskModel, SurvivesCountersAtTheEndsOfTheirRange) {
    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    volumes().mount("disk1", "/");
    count("disk1", least, most);
    Disk disk;
    count("disk1", most, least);
    advance(1);
    disk.update();
    EXPECT_DOUBLE_EQ(disk.volumes().at("disk1")->rbytesps(), -1.0); // the difference keeps its low 64 bits
    EXPECT_DOUBLE_EQ(disk.volumes().at("disk1")->wbytesps(), 1.0);
}

// The record of a sample began with zeros: -1e12 bytes per second, and the same upwards a sample later.
TEST_F(DiskModel, KeepsCountersThatASampleDoesNotFind) {
    volumes().mount("disk1", "/");
    count("disk1", 1'000'000'000'000, 2'000'000'000'000);
    Disk disk;
    const VolumePointer volume = disk.volumes().at("disk1");
    const auto expectNoRate = [&] {
        EXPECT_EQ(volume->rbytesps(), 0.0);
        EXPECT_EQ(volume->wbytesps(), 0.0);
        EXPECT_EQ(volume->rbytes(), 1'000'000'000'000);
        EXPECT_EQ(volume->wbytes(), 2'000'000'000'000);
    };
    volumes().calls.fail("statistics");
    advance(1);
    disk.update();
    expectNoRate();
    mountLater("disk2", "/b"); // a listing gives 0 for what it does not find
    expectNoRate();
    volumes().calls.succeed();
    advance(1);
    disk.update();
    expectNoRate();

    volumes().disks["disk1"].statistics = DiskStatistics{std::nullopt, 2'000'000'000'500};
    advance(1);
    disk.update();
    EXPECT_EQ(volume->rbytesps(), 0.0);
    EXPECT_DOUBLE_EQ(volume->wbytesps(), 500.0);
}

TEST_F(DiskModel, LeavesAVolumeAsItWasWhenItsSpaceCannotBeHad) {
    volumes().mount("disk1", "/");
    count("disk1", 1, 1);
    Disk disk;
    count("disk1", 500, 500);
    advance(1);
    volumes().calls.fail("space");
    testing::internal::CaptureStderr();
    disk.update();
    testing::internal::GetCapturedStderr();
    const VolumePointer volume = disk.volumes().at("disk1");
    EXPECT_EQ(volume->rbytes(), 1);
    EXPECT_EQ(volume->timestamp(), 1'500'000'000'000);
    EXPECT_EQ(volume->rbytesps(), 0.0);

    volumes().calls.succeed(); // the next rate spans both gaps
    advance(1);
    disk.update();
    EXPECT_DOUBLE_EQ(volume->rbytesps(), 249.5);
}

TEST_F(DiskModel, FollowsSpaceButKeepsTheFirstTotal) {
    volumes().mount("disk1", "/", 1000, 400);
    Disk disk;
    volumes().mounts[0].space = {4096, 2000, 100};
    disk.update();
    const VolumePointer volume = disk.volumes().at("disk1");
    EXPECT_EQ(volume->free(), 100 * 4096);
    EXPECT_EQ(volume->used(), 1900 * 4096);
    EXPECT_EQ(volume->total(), 1000 * 4096);
}

// The placeholder of a share that answers late became its total: 0 percent for as long as it was mounted.
TEST_F(DiskModel, TakesTheTotalFromTheFirstRealAnswer) {
    volumes().mount("disk1", "/");
    volumes().mounts[0].space = {};
    volumes().calls.fail("space");
    testing::internal::CaptureStderr();
    Disk disk;
    disk.update();
    const VolumePointer volume = disk.volumes().at("disk1");
    EXPECT_EQ(volume->total(), 0);
    EXPECT_EQ(volume->usagePercent(), 0);
    EXPECT_EQ(disk.usage(), 0);
    testing::internal::GetCapturedStderr();

    volumes().calls.succeed();
    volumes().mounts[0].space = {4096, 1000, 400};
    disk.update();
    EXPECT_EQ(volume->total(), 1000 * 4096);
    EXPECT_EQ(volume->usagePercent(), 60);
    EXPECT_EQ(disk.usage(), 60);

    volumes().mounts[0].space = {4096, 2000, 400}; // and no later one
    disk.update();
    EXPECT_EQ(volume->total(), 1000 * 4096);
}

TEST_F(DiskModel, TakesTheTotalFromAListingOrFromItsUsageAsWell) {
    volumes().mount("disk1", "/");
    volumes().mount("disk2", "/b");
    volumes().mounts[0].space = {};
    volumes().mounts[1].space = {};
    Disk disk;
    volumes().mounts[0].space = {4096, 1000, 400};
    EXPECT_EQ(disk.usage(), 60);
    EXPECT_EQ(disk.HD()->total(), 1000 * 4096);
    volumes().mounts[1].space = {4096, 500, 400};
    mountLater("disk3", "/c");
    EXPECT_EQ(disk.volumes().at("disk2")->total(), 500 * 4096);
}

TEST_F(DiskModel, KeepsASpaceThatAListingCannotMeasure) {
    volumes().mount("disk1", "/", 1000, 400);
    Disk disk;
    volumes().mounts[0].space = {};
    volumes().calls.fail("space");
    testing::internal::CaptureStderr();
    mountLater("disk2", "/b");
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(disk.volumes().at("disk1")->used(), 600 * 4096);
    EXPECT_EQ(disk.volumes().at("disk1")->free(), 400 * 4096);
}

TEST_F(DiskModel, KeepsAVolumesObjectAndRatesWhenASecondOneIsMounted) {
    volumes().mount("disk1", "/");
    count("disk1", 0, 0);
    Disk disk;
    count("disk1", 300, 0);
    advance(1);
    disk.update();
    const VolumePointer before = disk.volumes().at("disk1");
    mountLater("disk2", "/b");
    EXPECT_THAT(devicesOf(disk), ElementsAre("disk1", "disk2"));
    EXPECT_EQ(disk.volumes().at("disk1"), before);
    EXPECT_DOUBLE_EQ(before->rbytesps(), 300.0);
}

TEST_F(DiskModel, TakesAnotherSampleOfAKnownVolumeWhenItListsAnew) {
    volumes().mount("disk1", "/");
    count("disk1", 0, 0);
    Disk disk;
    count("disk1", 300, 0);
    advance(2);
    mountLater("disk2", "/b");
    EXPECT_DOUBLE_EQ(disk.volumes().at("disk1")->rbytesps(), 150.0);
    EXPECT_EQ(disk.volumes().at("disk1")->timestamp(), 1'500'000'002'000);
}

TEST_F(DiskModel, KeepsTheFirstFactsOfAKnownVolume) {
    volumes().mount("disk1", "/", 1000, 400);
    volumes().icons.insert_or_assign("/", Icon::named("first"));
    volumes().disks["disk1"].description = platform::DiskDescription{"Old", "First model"};
    volumes().disks["disk1"].smartAncestor = 0;
    Disk disk;

    volumes().mounts[0].type = "hfs";
    volumes().mounts[0].isRoot = false;
    volumes().mounts[0].on = "/moved";
    volumes().mounts[0].space = {4096, 2000, 400};
    volumes().icons.insert_or_assign("/moved", Icon::named("second"));
    volumes().disks["disk1"].description = platform::DiskDescription{"New", "Second model"};
    volumes().disks["disk1"].smartAncestor = std::nullopt;
    disk.handleMountNotifications({});
    advance(0);

    const VolumePointer volume = disk.volumes().at("disk1");
    EXPECT_EQ(volume->model(), "First model");
    EXPECT_EQ(volume->fstype(), "apfs");
    EXPECT_EQ(volume->total(), 1000 * 4096);
    EXPECT_EQ(volume->icon(), Icon::named("first"));
    EXPECT_TRUE(volume->isRootFS());
    EXPECT_TRUE(volume->smart());
    EXPECT_EQ(volume->name(), "New");
    EXPECT_EQ(volume->path(), "/moved");
}

TEST_F(DiskModel, AsksADriveForItsHealthOnlyWhenItsVolumeIsNew) {
    volumes().mount("disk1", "/");
    volumes().disks["disk1"].smartAncestor = 0;
    Disk disk;
    volumes().calls.clear();
    disk.update();
    disk.handleMountNotifications({});
    advance(0);
    EXPECT_THAT(volumes().calls.list(), testing::Not(testing::Contains("createSmartPlugIn")));
}

TEST_F(DiskModel, DropsAVolumeThatIsNoLongerMountedAndLeavesItsLastFigures) {
    volumes().mount("disk1", "/");
    volumes().mount("disk2", "/b", 500, 200);
    Disk disk;
    const VolumePointer gone = disk.volumes().at("disk2");
    volumes().unmount("/b");
    volumes().notify({VolumeNotification::Kind::didUnmount, {}, {}, "/b"});
    advance(0);
    EXPECT_THAT(devicesOf(disk), ElementsAre("disk1"));
    EXPECT_EQ(gone->free(), 200 * 4096);
}

TEST_F(DiskModel, MakesANewObjectForAVolumeThatCameBack) {
    volumes().mount("disk2", "/b");
    Disk disk;
    const VolumePointer before = disk.volumes().at("disk2");
    volumes().unmount("/b");
    disk.handleMountNotifications({});
    advance(0);
    mountLater("disk2", "/b");
    EXPECT_NE(disk.volumes().at("disk2"), before);
}

TEST_F(DiskModel, ReturnsFromAMountNoticeBeforeItListsOnTheBackgroundQueue) {
    volumes().mount("disk1", "/");
    Disk disk;
    volumes().mount("disk2", "/b");
    disk.handleMountNotifications({});
    EXPECT_THAT(devicesOf(disk), ElementsAre("disk1"));
    advance(0);
    EXPECT_THAT(devicesOf(disk), ElementsAre("disk1", "disk2"));
}

TEST_F(DiskModel, MergesNoticesThatCameBeforeTheListingBeganAndMissesNoneAfter) {
    volumes().mount("disk1", "/");
    Disk disk;
    volumes().calls.clear();
    for (int i = 0; i < 1000; ++i)
        volumes().notify({VolumeNotification::Kind::didMount, {}, {}, "/x"});
    advance(0);
    EXPECT_EQ(volumes().calls.count("listMountedFileSystems"), 1U);
    volumes().notify({VolumeNotification::Kind::didMount, {}, {}, "/x"});
    advance(0);
    EXPECT_EQ(volumes().calls.count("listMountedFileSystems"), 2U);
}

TEST_F(DiskModel, KeepsTheLaterOfTwoMountsOfOneDevice) {
    volumes().mount("disk2", "/a");
    volumes().mount("disk2", "/b");
    const Disk disk;
    EXPECT_EQ(disk.volumes().at("disk2")->path(), "/b");
}

// Two shares whose last part is the same were one volume.
TEST_F(DiskModel, TellsSharesOfOneNameApart) {
    volumes().mount("", "/n/1").from = "host1:/export";
    Disk disk;
    const VolumePointer first = disk.volumes().at("export");
    volumes().mount("", "/n/2", 500, 200).from = "host2:/export";
    mountLater("disk1", "/");
    EXPECT_THAT(devicesOf(disk), ElementsAre("disk1", "export", "host2:/export"));
    EXPECT_EQ(disk.volumes().at("export"), first);
    const VolumePointer second = disk.volumes().at("host2:/export");
    EXPECT_EQ(first->path(), "/n/1");
    EXPECT_EQ(second->path(), "/n/2");
    EXPECT_EQ(second->name(), "export");
    EXPECT_EQ(second->device(), "host2:/export");
    advance(1);
    disk.update();
    EXPECT_EQ(first->free(), 400 * 4096);
    EXPECT_EQ(second->free(), 200 * 4096);
}

TEST_F(DiskModel, KeepsTheNamesOfVolumesForAsLongAsTheyAreMounted) {
    volumes().mount("", "/1").from = "tank/a/data";
    volumes().mount("", "/2").from = "tank/b/data";
    Disk disk;
    const VolumePointer second = disk.volumes().at("tank/b/data");
    volumes().unmount("/1");
    disk.handleMountNotifications({});
    advance(0);
    EXPECT_THAT(devicesOf(disk), ElementsAre("tank/b/data"));
    volumes().mount("", "/1").from = "tank/a/data"; // now the later one in the table
    disk.handleMountNotifications({});
    advance(0);
    EXPECT_THAT(devicesOf(disk), ElementsAre("data", "tank/b/data"));
    EXPECT_EQ(disk.volumes().at("data")->path(), "/1");
    EXPECT_EQ(disk.volumes().at("tank/b/data"), second);
}

TEST_F(DiskModel, HasANameForASourceThatIsAnothersLastPart) {
    volumes().mount("", "/1").from = "tank/data";
    volumes().mount("", "/2").from = "data";
    volumes().mount("", "/3").from = "data 2/data";
    volumes().mount("", "/4").from = "/data";
    const Disk disk;
    EXPECT_THAT(devicesOf(disk), ElementsAre("/data", "data", "data 2", "data 2/data"));
}

// A share that took the place of another one between two listings showed the other one's facts.
TEST_F(DiskModel, MakesANewObjectForAnotherSourceOfTheSameName) {
    volumes().mount("", "/n").from = "host1:/export";
    Disk disk;
    const VolumePointer before = disk.volumes().at("export");
    volumes().mounts[0].from = "host2:/export";
    volumes().mounts[0].space = {4096, 9, 3};
    disk.handleMountNotifications({});
    advance(0);
    EXPECT_THAT(devicesOf(disk), ElementsAre("export"));
    EXPECT_NE(disk.volumes().at("export"), before);
    EXPECT_EQ(disk.volumes().at("export")->total(), 9 * 4096);
}

// The root volume was to be had before it was filled: a reader saw empty texts for as long as its drive took to answer.
TEST_F(DiskModel, HasNoRootVolumeBeforeAllItsFactsAreThere) {
    volumes().mount("disk2", "/b");
    Disk disk;
    volumes().mount("disk1", "/");
    volumes().disks["disk1"].smartAncestor = 0;
    count("disk1", 1, 2);
    std::size_t looks = 0;
    volumes().calls.onCall([&](const std::string& /*operation*/) {
        ++looks;
        EXPECT_EQ(disk.HD(), nullptr);
        EXPECT_THAT(devicesOf(disk), ElementsAre("disk2"));
    });
    disk.handleMountNotifications({});
    advance(0);
    EXPECT_GT(looks, 0U);
    ASSERT_TRUE(disk.HD());
    EXPECT_EQ(disk.HD(), disk.volumes().at("disk1"));
    EXPECT_EQ(disk.HD()->name(), "disk1");
    EXPECT_EQ(disk.HD()->path(), "/");
    EXPECT_EQ(disk.HD()->rbytes(), 1);
    EXPECT_TRUE(disk.HD()->smart());
}

// A reader waited for a sample that held the lock of the set while it asked file systems.
TEST_F(DiskModel, IsReadAndRenamedWhileASampleOrAListingAsksTheMachine) {
    volumes().mount("disk1", "/");
    Disk disk;
    int operations = 0;
    const auto readAndRename = [&](const std::string& /*operation*/) {
        Event done;
        const std::string name = disk.HD()->name();
        std::thread reader([&] {
            EXPECT_EQ(disk.volumes().size(), 1U);
            EXPECT_EQ(disk.HD()->path(), "/");
            disk.handleRenameNotification(
                {VolumeNotification::Kind::didRename, name, "name " + std::to_string(++operations), "/"});
            disk.handleMountNotifications({});
            done.happened();
        });
        const bool isDone = done.await();
        ASSERT_TRUE(isDone); // else the reader waits for this very call, and joining it would wait for ever
        reader.join();
    };
    volumes().calls.onCall(readAndRename);
    disk.update();
    EXPECT_GT(operations, 0);
    EXPECT_EQ(disk.HD()->name(), "name " + std::to_string(operations));
    const int before = operations;
    volumes().calls.onCall([&](const std::string& operation) {
        if (operations < before + 20)
            readAndRename(operation);
    });
    advance(0);
    EXPECT_EQ(operations, before + 20);
}

// The listing had read the old name, and brought it back.
TEST_F(DiskModel, KeepsANameThatCameDuringAListing) {
    volumes().mount("disk1", "/");
    volumes().disks["disk1"].description = platform::DiskDescription{"Old", {}};
    Disk disk;
    volumes().mount("disk2", "/b");
    volumes().disks["disk2"].description = platform::DiskDescription{"Fresh", {}};
    volumes().calls.onCall([&](const std::string& operation) {
        if (operation != "space /b")
            return;
        disk.handleRenameNotification({VolumeNotification::Kind::didRename, "Old", "New", "/new"});
        disk.handleRenameNotification({VolumeNotification::Kind::didRename, "Fresh", "Named", "/named"});
    });
    disk.handleMountNotifications({});
    advance(0);
    EXPECT_EQ(disk.volumes().at("disk1")->name(), "New");
    EXPECT_EQ(disk.volumes().at("disk1")->path(), "/new");
    EXPECT_EQ(disk.volumes().at("disk2")->name(), "Named");
}

TEST_F(DiskModel, ListsOnceMoreWhenANoticeComesDuringAListing) {
    volumes().mount("disk1", "/");
    Disk disk;
    int notices = 0;
    volumes().calls.onCall([&](const std::string& operation) {
        if (operation == "listMountedFileSystems" && ++notices <= 2)
            volumes().notify({VolumeNotification::Kind::didMount, {}, {}, "/x"});
    });
    disk.handleMountNotifications({});
    advance(0);
    EXPECT_EQ(notices, 3);
}

TEST_F(DiskModel, RenamesAVolumeButKeepsItsKey) {
    volumes().mount("disk2", "/Volumes/Old");
    volumes().mount("disk3", "/Volumes/Other");
    volumes().disks["disk2"].description = platform::DiskDescription{"Old", {}};
    Disk disk;
    const VolumePointer volume = disk.volumes().at("disk2");
    volumes().notify({VolumeNotification::Kind::didRename, "Old", "New", "/Volumes/New"});
    EXPECT_THAT(devicesOf(disk), ElementsAre("disk2", "disk3"));
    EXPECT_EQ(disk.volumes().at("disk2"), volume);
    EXPECT_EQ(volume->name(), "New");
    EXPECT_EQ(volume->path(), "/Volumes/New");
    EXPECT_EQ(volume->device(), "disk2");
    EXPECT_EQ(disk.volumes().at("disk3")->name(), "disk3");
}

// A timer looked at the labels of all volumes for ever, sampled or not.
TEST_F(DiskModel, LooksForANewLabelInASampleThatSawSomethingWritten) {
    volumes().mount("disk1", "/");
    volumes().mount("disk2", "/b");
    count("disk1", 1000, 1000);
    count("disk2", 1000, 1000);
    Disk disk;
    const auto looked = [&] {
        std::vector<std::string> paths;
        for (const std::string& call : volumes().calls.take()) {
            if (call.starts_with("checkLabel "))
                paths.push_back(call.substr(call.find(' ') + 1));
        }
        return paths;
    };
    disk.update();
    EXPECT_THAT(looked(), ElementsAre());
    count("disk1", 2000, 1000);
    count("disk2", 1000, 2000);
    disk.update();
    EXPECT_THAT(looked(), ElementsAre("/b"));
    disk.update();
    EXPECT_THAT(looked(), ElementsAre());
}

TEST_F(DiskModel, RenamesEveryVolumeOfThatName) {
    volumes().mount("disk2", "/a");
    volumes().mount("disk3", "/b");
    volumes().disks["disk2"].description = platform::DiskDescription{"Same", {}};
    volumes().disks["disk3"].description = platform::DiskDescription{"Same", {}};
    Disk disk;
    disk.handleRenameNotification({VolumeNotification::Kind::didRename, "Same", "New", "/c"});
    EXPECT_EQ(disk.volumes().at("disk2")->name(), "New");
    EXPECT_EQ(disk.volumes().at("disk3")->name(), "New");
    EXPECT_EQ(disk.volumes().at("disk3")->path(), "/c");
}

TEST_F(DiskModel, IgnoresARenameThatLacksOneOfItsThreeTexts) {
    volumes().mount("disk2", "/a");
    volumes().disks["disk2"].description = platform::DiskDescription{"Old", {}};
    Disk disk;
    constexpr auto kind = VolumeNotification::Kind::didRename;
    const std::vector<VolumeNotification> incomplete = {
        {kind, std::nullopt, "New", "/b"}, {kind, "Old", std::nullopt, "/b"}, {kind, "Old", "New", std::nullopt}};
    for (const VolumeNotification& notification : incomplete) {
        disk.handleRenameNotification(notification);
        EXPECT_EQ(disk.volumes().at("disk2")->name(), "Old");
        EXPECT_EQ(disk.volumes().at("disk2")->path(), "/a");
    }
}

TEST_F(DiskModel, HearsNothingOnceItIsGone) {
    volumes().mount("disk1", "/");
    {
        Disk disk;
        disk.handleMountNotifications({});
    }
    volumes().calls.clear();
    advance(0); // the listing that was still scheduled
    volumes().notify({VolumeNotification::Kind::didMount, {}, {}, "/x"});
    advance(0);
    EXPECT_THAT(volumes().calls.list(), testing::IsEmpty());
}

TEST_F(DiskModel, WorksWithoutNotices) {
    volumes().mount("disk1", "/");
    volumes().calls.fail("observe");
    Disk disk;
    disk.update();
    EXPECT_THAT(devicesOf(disk), ElementsAre("disk1"));
}

TEST_F(DiskModel, MeasuresTheRootVolumesUsageOnEachRead) {
    volumes().mount("disk1", "/", 1000, 400);
    const Disk disk;
    EXPECT_EQ(disk.usage(), 60);
    volumes().mounts[0].space.freeBlocks = 105;
    EXPECT_EQ(disk.usage(), 89); // 89.5, truncated
    EXPECT_EQ(disk.HD()->used(), 895 * 4096);
}

TEST_F(DiskModel, HasNoUsageWithoutARootVolumeOrWithoutItsSpace) {
    volumes().mount("disk2", "/b");
    EXPECT_EQ(Disk().usage(), 0);
    EXPECT_EQ(Disk().HD(), nullptr);
    volumes().mount("disk1", "/");
    const Disk disk;
    volumes().calls.fail("space");
    testing::internal::CaptureStderr();
    EXPECT_EQ(disk.usage(), 0);
    testing::internal::GetCapturedStderr();
}

TEST_F(DiskModel, KeepsTheRootVolumeOnceItWasSeen) {
    volumes().mount("disk1", "/");
    Disk disk;
    const VolumePointer root = disk.HD();
    volumes().unmount("/");
    disk.handleMountNotifications({});
    advance(0);
    EXPECT_TRUE(disk.volumes().empty());
    EXPECT_EQ(disk.HD(), root);
}

TEST_F(DiskModel, GivesAVolumesUsageInPercent) {
    struct Case {
        std::uint64_t blocks;
        std::uint64_t freeBlocks;
        int percent;
    };
    const std::vector<Case> cases = {{1000, 400, 60}, {3, 1, 66}, {1000, 1, 99}, {1000, 0, 100},
                                     {1000, 1000, 0}, {0, 0, 0},  {10, 11, 246}, // -10 percent in 8 bits: meant so
                                     {100, 0, 100}};
    for (const Case& each : cases) {
        SCOPED_TRACE(std::to_string(each.blocks) + " " + std::to_string(each.freeBlocks));
        volumes().mounts.clear();
        volumes().mount("disk1", "/", each.blocks, each.freeBlocks);
        const Disk disk;
        EXPECT_EQ(disk.volumes().at("disk1")->usagePercent(), each.percent);
    }
}

// Meant: of 300 percent the low 8 bits.
TEST_F(DiskModel, KeepsEightBitsOfAUsageBeyondTheirRange) {
    volumes().mount("disk1", "/", 100, 0);
    Disk disk;
    volumes().mounts[0].space = {4096, 300, 0};
    disk.update();
    EXPECT_EQ(disk.volumes().at("disk1")->usagePercent(), 300 - 256);
    EXPECT_EQ(disk.usage(), 300 - 256);
}

TEST_F(DiskModel, HasNoUsageOfARootWithoutATotal) {
    volumes().mount("disk1", "/", 0, 0);
    const Disk disk;
    EXPECT_EQ(disk.usage(), 0);
}

TEST_F(DiskModel, EjectsAVolumeAndLeavesItToTheUnmountNotice) {
    volumes().mount("disk2", "/b");
    Disk disk;
    volumes().calls.clear();
    EXPECT_TRUE(disk.volumes().at("disk2")->eject());
    advance(0);
    EXPECT_THAT(volumes().calls.list(), testing::Contains("eject disk2"));
    EXPECT_THAT(devicesOf(disk), ElementsAre("disk2"));
}

TEST_F(DiskModel, SaysWhenAnEjectCouldNotBeStarted) {
    volumes().mount("disk2", "/b");
    const Disk disk;
    volumes().disks.clear();
    EXPECT_FALSE(disk.volumes().at("disk2")->eject());
}

// The disk whose name the share's last part is was unmounted.
TEST_F(DiskModel, EjectingAShareTouchesNoDisk) {
    volumes().mount("disk2", "/net", 100, 50, "nfs").from = "server:/disk2";
    const Disk disk;
    ASSERT_TRUE(disk.volumes().contains("disk2"));
    EXPECT_FALSE(disk.volumes().at("disk2")->eject());
    advance(0);
    EXPECT_THAT(volumes().calls.list(), testing::Each(testing::Not(testing::StartsWith("unmount"))));
}

// Once its eject took the root volume along, and lastly by force.
TEST_F(DiskModel, DoesNotEjectAVolumeBesideTheRoot) {
    volumes().mount("disk1s1", "/");
    volumes().mount("disk1s2", "/data");
    for (const char* part : {"disk1s1", "disk1s2"})
        volumes().disks[part].whole = "disk1";
    const Disk disk;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(disk.volumes().at("disk1s2")->eject());
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("Error: "));
    advance(0);
    EXPECT_THAT(volumes().calls.list(), testing::Each(testing::Not(testing::StartsWith("unmount"))));
}

using DiskModelDeathTest = DiskModel;
TEST_F(DiskModelDeathTest, StopsWhenTheRootVolumeIsEjected) {
    volumes().mount("disk1", "/");
    const Disk disk;
    EXPECT_DEATH(static_cast<void>(disk.HD()->eject()), "Cannot unmount/eject the root filesystem");
}

TEST_F(DiskModel, AsksTheDriveAnewForItsStatusAndKeepsTheStoredRecord) {
    volumes().mount("disk1", "/");
    volumes().disks["disk1"].smartAncestor = 0;
    volumes().disks["disk1"].drive.data[2] = 194;
    volumes().disks["disk1"].drive.data[7] = 30;
    const Disk disk;
    const VolumePointer volume = disk.volumes().at("disk1");

    volumes().disks["disk1"].drive.data[7] = 55;
    volumes().disks["disk1"].drive.exceeded = true;
    const auto status = volume->smartStatus();
    ASSERT_TRUE(status);
    EXPECT_FALSE(status->status);
    EXPECT_EQ(status->temp, 55.0);
    EXPECT_EQ(volume->smart()->healthy, 1);
    EXPECT_EQ(volume->smart()->temperature, 30.0);
}

TEST_F(DiskModel, HasNoStatusWithoutAStoredRecordNorFromADriveThatIsGone) {
    volumes().mount("disk1", "/");
    volumes().mount("disk2", "/b");
    volumes().disks["disk1"].smartAncestor = 0;
    const Disk disk;
    volumes().calls.clear();
    EXPECT_FALSE(disk.volumes().at("disk2")->smartStatus());
    EXPECT_THAT(volumes().calls.list(), testing::IsEmpty()); // without asking
    volumes().disks.erase("disk1");
    EXPECT_FALSE(disk.volumes().at("disk1")->smartStatus());
}

class DiskMeasures : public DiskModel {
protected:
    using Measure = Disk::Measure;

    DiskMeasures() {
        volumes().mount("disk1s1", "/");
        volumes().mount("server:/export", "/net");
        volumes().mounts.back().from = "server:/export";
        volumes().diskOperationsValue =
            std::vector<DiskOperations>{{.name = "disk1", .reads = 100, .busyTime = 0}, {.name = "disk1s1"}};
        volumes().diskDevicesValue =
            std::vector<DiskDevice>{{.name = "disk1", .alias = {}, .whole = "disk1", .rotational = true},
                                    {.name = "disk1s1", .alias = {}, .whole = "disk1"}};
    }

    void sample(Disk& disk) {
        advance(1);
        disk.update();
    }
    std::size_t asked(const char* operation) { return volumes().calls.count(operation); }
    static VolumePointer at(const Disk& disk, const std::string& path) {
        for (const auto& [device, volume] : disk.volumes()) {
            if (volume->path() == path)
                return volume;
        }
        return nullptr;
    }
};

TEST_F(DiskMeasures, NothingIsAskedOrShownUntilItIsWanted) {
    Disk disk;
    sample(disk);
    EXPECT_EQ(asked("diskOperations") + asked("diskDevices"), 0U);
    EXPECT_TRUE(disk.activity().empty() && disk.devices().empty());
    EXPECT_FALSE(disk.activity(*disk.HD()));
    EXPECT_FALSE(disk.device(*disk.HD()));
    EXPECT_FALSE(disk.inodes(*disk.HD()));
    EXPECT_FALSE(disk.pressure());
    EXPECT_EQ(disk.availability(Measure::activity), std::nullopt);
}

TEST_F(DiskMeasures, TheActivityOfAVolumeIsThatOfItsWholeDisk) {
    Disk disk;
    disk.setMeasures({Measure::activity});
    sample(disk);
    EXPECT_EQ(disk.availability(Measure::activity), Availability::available);
    EXPECT_EQ(disk.activity().size(), 2U);
    EXPECT_FALSE(disk.activity(*disk.HD())->readsRate) << "the first sample";
    volumes().diskOperationsValue->at(0).reads += 20;
    *volumes().diskOperationsValue->at(0).busyTime += 500;
    advance(1);
    sample(disk);
    EXPECT_EQ(disk.activity(*disk.HD())->counters.name, "disk1");
    EXPECT_DOUBLE_EQ(disk.activity(*disk.HD())->readsRate.value(), 10);
    EXPECT_DOUBLE_EQ(disk.activity(*disk.HD())->busy.value(), 25);
    EXPECT_FALSE(disk.activity(*at(disk, "/net"))) << "on no disk of this machine";
    EXPECT_TRUE(disk.devices().empty()) << "which nobody wanted";
}

TEST_F(DiskMeasures, ActivityThatIsWantedAnewBeginsAnew) {
    Disk disk;
    disk.setMeasures({Measure::activity});
    sample(disk);
    disk.setMeasures({});
    EXPECT_TRUE(disk.activity().empty());
    sample(disk);
    disk.setMeasures({Measure::activity});
    sample(disk);
    EXPECT_FALSE(disk.activity().at(0).readsRate);
}

TEST_F(DiskMeasures, DevicesAreReadOnceUntilOneComesOrGoesOrSomethingIsMounted) {
    Disk disk;
    disk.setMeasures({Measure::devices});
    sample(disk);
    sample(disk);
    EXPECT_EQ(asked("diskDevices"), 1U);
    EXPECT_EQ(disk.device(*disk.HD())->whole, "disk1");
    EXPECT_EQ(disk.devices().at(0).rotational, true);
    volumes().diskOperationsValue->push_back({.name = "disk2"});
    volumes().diskDevicesValue->push_back({.name = "disk2", .alias = "vault", .whole = "disk2"});
    sample(disk);
    EXPECT_EQ(asked("diskDevices"), 2U);
    EXPECT_EQ(disk.devices().size(), 3U);
    mountLater("mapper/vault", "/vault");
    sample(disk);
    sample(disk);
    EXPECT_EQ(asked("diskDevices"), 3U);
    EXPECT_EQ(disk.device(*at(disk, "/vault"))->name, "disk2") << "by its other name";
}

TEST_F(DiskMeasures, DevicesWithoutCountersAreReadOnceToo) {
    volumes().diskOperationsValue->pop_back(); // the part counts nothing of its own
    Disk disk;
    disk.setMeasures({Measure::devices});
    sample(disk);
    sample(disk);
    EXPECT_EQ(asked("diskDevices"), 1U);
    EXPECT_EQ(disk.devices().size(), 2U);
    volumes().diskOperationsValue->at(0).name = "disk2";
    sample(disk);
    EXPECT_EQ(asked("diskDevices"), 2U) << "another disk in the place of the first";
}

TEST_F(DiskMeasures, WhatFailsIsEmptySaysWhyAndComesBack) {
    Disk disk;
    disk.setMeasures({Measure::activity, Measure::devices});
    volumes().calls.fail("diskDevices", {.error = EACCES});
    sample(disk);
    EXPECT_EQ(disk.availability(Measure::activity), Availability::available);
    EXPECT_EQ(disk.availability(Measure::devices), Availability::denied);
    EXPECT_TRUE(disk.devices().empty());
    volumes().calls.fail("diskOperations", {.error = EIO});
    sample(disk);
    EXPECT_EQ(disk.availability(Measure::activity), Availability::failed);
    EXPECT_TRUE(disk.activity().empty());
    volumes().calls.succeed();
    sample(disk);
    EXPECT_EQ(disk.devices().size(), 2U);
    EXPECT_TRUE(disk.activity().at(0).readsRate) << "over both gaps";
    volumes().diskOperationsValue.reset();
    sample(disk);
    EXPECT_EQ(disk.availability(Measure::devices), Availability::unsupported);
}

TEST_F(DiskMeasures, InodesComeWithTheSpaceOfAVolume) {
    Disk disk;
    disk.setMeasures({Measure::inodes});
    sample(disk);
    EXPECT_EQ(disk.availability(Measure::inodes), Availability::unsupported) << "no volume counts them";
    volumes().mounts[0].space.inodes = 1000;
    volumes().mounts[0].space.freeInodes = 300;
    const std::size_t before = asked("space");
    sample(disk);
    EXPECT_EQ(asked("space") - before, 2U) << "one question a volume";
    EXPECT_EQ(disk.availability(Measure::inodes), Availability::available);
    EXPECT_EQ(disk.inodes(*disk.HD()), (Disk::Inodes{700, 300, 1000}));
    EXPECT_FALSE(disk.inodes(*at(disk, "/net")));
    volumes().mounts[0].space.freeInodes = 5000;
    sample(disk);
    EXPECT_EQ(disk.inodes(*disk.HD()), (Disk::Inodes{0, 1000, 1000})) << "never more than there can be";
}

TEST_F(DiskMeasures, TellOfPressureAndFireWhenItCrossesAThreshold) {
    ScriptedMachine machine;
    machine->host().pressureValues[2] = Pressure{{1, 2, 3, 4}, PressureShare{5, 6, 7, 8}};
    Disk disk;
    disk.setMeasures({Measure::pressure});
    disk.update();
    EXPECT_EQ(disk.pressure(), machine->host().pressureValues[2]);
    const auto owner = std::make_shared<int>();
    int fires = 0;
    disk.onPressure().listen(owner, [&] { ++fires; });
    EXPECT_EQ(disk.setPressureThreshold(PressureThreshold{}), Availability::available);
    machine->host().press(PressureResource::io);
    machine->advance(0);
    EXPECT_EQ(fires, 1);
    machine->host().pressureValues[2].reset();
    disk.update();
    EXPECT_EQ(disk.availability(Measure::pressure), Availability::unsupported);
    EXPECT_FALSE(disk.pressure());
}

TEST_F(DiskMeasures, AreReadFromOtherThreadsWhileTheyAreSampledAndTurnedOnAndOff) {
    Disk disk;
    std::atomic<bool> done{false};
    std::thread reader([&] {
        std::vector<probes::DiskActivity> activity;
        std::vector<DiskDevice> devices;
        while (!done) {
            disk.activity(activity);
            disk.devices(devices);
            static_cast<void>(disk.activity(*disk.HD()));
            static_cast<void>(disk.inodes(*disk.HD()));
            static_cast<void>(disk.pressure());
        }
    });
    std::thread changer([&] {
        while (!done) {
            disk.setMeasures({Measure::activity, Measure::devices, Measure::inodes, Measure::pressure});
            disk.setMeasures({Measure::activity});
        }
    });
    for (int round = 0; round < 200; ++round)
        sample(disk);
    done = true;
    reader.join();
    changer.join();
    disk.setMeasures({Measure::activity});
    sample(disk);
    EXPECT_EQ(disk.activity().size(), 2U);
}

TEST_F(DiskMeasures, AVolumeAsksItsDriveForAllItTells) {
    volumes().disks["disk1s1"].whole = "disk1";
    volumes().disks["disk1"].smartAncestor = 1;
    platform::SmartData& data = volumes().disks["disk1"].drive.data;
    data[2] = 9; // power-on hours
    data[7] = 100;
    const Disk disk;
    probes::SmartDetails details;
    EXPECT_EQ(disk.HD()->smartDetails(details), Availability::available);
    EXPECT_EQ(details.powerOnHours, 100);
    EXPECT_EQ(details.healthy, true);
    EXPECT_EQ(at(disk, "/net")->smartDetails(details), Availability::unsupported);
    EXPECT_EQ(details.powerOnHours, 100) << "as it was";
    EXPECT_EQ(Disk::Volume().smartDetails(details), Availability::failed);
}

} // namespace
} // namespace sentrel
