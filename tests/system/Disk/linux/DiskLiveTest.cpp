// SPDX-License-Identifier: Apache-2.0
// The model on the real machine: loop-mounted file systems in a mount namespace of the program's own.

#include <SentrelKit/system/Disk/Disk.h>

#include "tests/support/Allocations.h"
#include "tests/support/Eventually.h"
#include "tests/support/linux/HangingFileSystem.h"
#include "tests/support/linux/LoopDisk.h"
#include "tests/support/linux/MountNamespace.h"

#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/probes/SystemManager.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <list>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace sentrel {
namespace {

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;
using VolumePointer = std::shared_ptr<Disk::Volume>;

const testing::Environment* const ownNamespace = testing::AddGlobalTestEnvironment(new OwnMountNamespace);

VolumePointer find(const Disk& disk, const std::string& device) {
    const Disk::Volumes volumes = disk.volumes();
    const auto volume = volumes.find(device);
    return volume == volumes.end() ? nullptr : volume->second;
}

VolumePointer findByPath(const Disk& disk, const std::string& path) {
    for (const auto& [device, volume] : disk.volumes()) {
        if (volume->path() == path)
            return volume;
    }
    return nullptr;
}

// A device's counters as /proc/diskstats has them: sectors read and written, in bytes.
std::array<std::int64_t, 2> diskstats(const std::string& device) {
    std::ifstream file("/proc/diskstats");
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string deviceMajor, deviceMinor, name;
        std::array<std::int64_t, 7> numbers{};
        fields >> deviceMajor >> deviceMinor >> name;
        for (std::int64_t& number : numbers)
            fields >> number;
        if (name == device)
            return {numbers[2] * 512, numbers[6] * 512};
    }
    return {-1, -1};
}

// What a program prints, a line each.
std::vector<std::string> linesOf(const std::string& command) {
    std::vector<std::string> lines;
    std::FILE* const program = ::popen(command.c_str(), "re");
    std::array<char, 512> line{};
    while (program && std::fgets(line.data(), line.size(), program)) {
        lines.emplace_back(line.data());
        lines.back().pop_back();
    }
    EXPECT_TRUE(program && ::pclose(program) == 0) << command;
    return lines;
}

// What `dd bs=1M conv=fsync` does.
void writeAndSync(const std::string& path, int megabytes) {
    const std::vector<char> block(1 << 20, 'x');
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0);
    for (int i = 0; i < megabytes; ++i)
        ASSERT_EQ(::write(file, block.data(), block.size()), static_cast<ssize_t>(block.size()));
    ASSERT_EQ(::fsync(file), 0);
    ::close(file);
}

// A mounted image and the model, which has sampled what its disk does once.
struct MeasuredImage {
    explicit MeasuredImage(const std::string& label) : image(label, 32) {
        disk.setMeasures({Disk::Measure::activity});
        disk.update();
    }

    struct Mounted : LoopDisk {
        Mounted(const std::string& label, std::uint64_t megabytes) : LoopDisk(label, megabytes) { mount(); }
    };

    const Mounted image;
    Disk disk;
    const VolumePointer volume = find(disk, image.device());
};

class LiveDisk : public testing::Test {
protected:
    void SetUp() override {
        if (!inOwnMountNamespace())
            GTEST_SKIP() << "no right to a mount namespace";
        if (::access("/dev/loop-control", W_OK) != 0)
            GTEST_SKIP() << "no loop devices";
        if (!probes::System->daSession)
            probes::System->daSession = platform::current().volumes().openSession();
        dispatch::backgroundQueue()->async([] {}); // notices are served from the first use of a queue on
    }
};

TEST_F(LiveDisk, HasTheRootVolumeWithTheFiguresOfStatvfs) {
    const Disk disk;
    ASSERT_TRUE(disk.HD());
    struct statvfs status {};
    ASSERT_EQ(::statvfs("/", &status), 0);
    const auto unit = static_cast<std::int64_t>(status.f_frsize);
    EXPECT_EQ(disk.HD()->path(), "/");
    EXPECT_EQ(disk.HD()->total(), static_cast<std::int64_t>(status.f_blocks) * unit);
    EXPECT_NEAR(static_cast<double>(disk.HD()->free()), static_cast<double>(status.f_bfree) * static_cast<double>(unit),
                64e6); // others write meanwhile
    EXPECT_TRUE(disk.HD()->isRootFS());
}

TEST_F(LiveDisk, ShowsALoopMountedImageWithinASecondByItsLabel) {
    const LoopDisk image("LIVE VOL", 16);
    const Disk disk;
    EXPECT_FALSE(find(disk, image.device()));

    SteadyClock::duration fastest = 1h; // of three, as the machine may be busy with other things
    for (int i = 0; i < 3; ++i) {
        const SteadyClock::time_point begin = SteadyClock::now();
        image.mount();
        ASSERT_TRUE(eventually([&] { return find(disk, image.device()) != nullptr; }));
        fastest = std::min(fastest, SteadyClock::now() - begin);
        const VolumePointer volume = find(disk, image.device());
        EXPECT_EQ(volume->name(), "LIVE VOL");
        EXPECT_EQ(volume->path(), image.path());
        EXPECT_EQ(volume->fstype(), "ext4");
        EXPECT_EQ(volume->model(), "unknown");
        EXPECT_FALSE(volume->isRootFS());
        image.unmount();
        ASSERT_TRUE(eventually([&] { return find(disk, image.device()) == nullptr; }));
    }
    EXPECT_LT(fastest, 1s);
}

TEST_F(LiveDisk, AgreesWithStatvfsAndDiskstats) {
    const LoopDisk image("AGREE", 32);
    image.mount();
    Disk disk;
    writeAndSync(image.path() + "/file", 4);
    ::sync();
    disk.update();
    const VolumePointer volume = find(disk, image.device());
    ASSERT_TRUE(volume);
    struct statvfs status {};
    ASSERT_EQ(::statvfs(image.path().c_str(), &status), 0);
    const auto unit = static_cast<std::int64_t>(status.f_frsize);
    EXPECT_EQ(volume->total(), static_cast<std::int64_t>(status.f_blocks) * unit);
    EXPECT_EQ(volume->free(), static_cast<std::int64_t>(status.f_bfree) * unit);
    EXPECT_EQ(volume->used(), static_cast<std::int64_t>(status.f_blocks - status.f_bfree) * unit);
    const auto [read, written] = diskstats(image.device());
    EXPECT_EQ(volume->rbytes(), read);
    EXPECT_EQ(volume->wbytes(), written);
    EXPECT_GE(written, 4 << 20);
}

TEST_F(LiveDisk, CountsTheOperationsOfADiskAsTheKernelsTableReadByAnotherProgramDoes) {
    MeasuredImage measured("BUSY");
    ASSERT_TRUE(measured.volume);
    const LoopDisk& image = measured.image;
    Disk& disk = measured.disk;
    const VolumePointer& volume = measured.volume;
    const SteadyClock::time_point begin = SteadyClock::now();
    const auto before = disk.activity(*volume);
    ASSERT_TRUE(before);
    writeAndSync(image.path() + "/file", 16);
    ::sync();
    // What the table says stands between two samples, which show the same once the disk is at rest.
    std::optional<probes::DiskActivity> after;
    std::vector<std::string> told;
    double seconds = 0;
    ASSERT_TRUE(eventually([&] {
        disk.update();
        seconds = std::chrono::duration<double>(SteadyClock::now() - begin).count();
        after = disk.activity(*volume);
        told = linesOf("/usr/bin/python3 -c \"for line in open('/proc/diskstats'):\n f = line.split()\n if f[2] == '" +
                       image.device() +
                       "':\n  print(f[3]); print(f[6]); print(f[7]); print(f[10]); print(f[11]); print(f[12])\"");
        const std::vector<std::string> shown = {std::to_string(after->counters.reads),
                                                std::to_string(after->counters.readTime),
                                                std::to_string(after->counters.writes),
                                                std::to_string(after->counters.writeTime),
                                                std::to_string(after->counters.operationsNow.value()),
                                                std::to_string(after->counters.busyTime.value())};
        return shown == told;
    }));
    EXPECT_GT(after->counters.writes, before->counters.writes);
    EXPECT_GE(after->busy.value(), 0);
    EXPECT_LE(after->busy.value(), 100);
    EXPECT_GT(seconds, 0);
}

TEST_F(LiveDisk, GivesTheWritesASecondOfTheTimeBetweenTwoSamples) {
    MeasuredImage measured("RATE");
    ASSERT_TRUE(measured.volume);
    const LoopDisk& image = measured.image;
    Disk& disk = measured.disk;
    const VolumePointer& volume = measured.volume;
    const auto before = disk.activity(*volume);
    const SteadyClock::time_point begin = SteadyClock::now();
    const SteadyClock::time_point end = begin + 300ms;
    do
        writeAndSync(image.path() + "/file", 2);
    while (SteadyClock::now() < end);
    disk.update();
    const double seconds = std::chrono::duration<double>(SteadyClock::now() - begin).count();
    const auto after = disk.activity(*volume);
    ASSERT_TRUE(before && after && after->writesRate);
    const auto writes = static_cast<double>(after->counters.writes - before->counters.writes);
    EXPECT_GT(writes, 0);
    // The model's clock reads a little outside this test's, at both ends.
    EXPECT_NEAR(*after->writesRate * seconds / writes, 1.0, 0.1);
    EXPECT_GT(after->writeLatency.value_or(0), 0);
}

TEST_F(LiveDisk, TellsOfDevicesWhatLsblkDoes) {
    const DividedLoopDisk divided;
    Disk disk;
    disk.setMeasures({Disk::Measure::devices});
    disk.update();
    ASSERT_EQ(disk.availability(Disk::Measure::devices), Availability::available);
    std::map<std::string, std::string> shown;
    for (const DiskDevice& device : disk.devices()) {
        const auto flag = [](const std::optional<bool>& value) { return value.value_or(false) ? "1" : "0"; };
        shown[device.name] = device.whole + ' ' + flag(device.removable) + ' ' + flag(device.readOnly) + ' ' +
                             flag(device.rotational) + ' ' + std::to_string(device.size.value_or(-1));
    }
    const std::vector<std::string> told = linesOf(
        "lsblk -J -b -l -o KNAME,PKNAME,TYPE,RM,RO,ROTA,SIZE | /usr/bin/python3 -c \"import json, sys\nfor d in "
        "json.load(sys.stdin)['blockdevices']:\n part = d['type'] == 'part'\n print(d['kname'], d['pkname'] if part "
        "else d['kname'], int(d['rm']), int(d['ro']), int(d['rota']), d['size'])\"");
    const std::string own = divided.node().substr(divided.node().rfind('/') + 1);
    int parts = 0;
    for (const std::string& line : told) {
        if (line.starts_with("loop") && !line.starts_with(own))
            continue; // of other programs, which may take it away meanwhile
        const std::size_t blank = line.find(' ');
        EXPECT_EQ(shown[line.substr(0, blank)], line.substr(blank + 1)) << line;
        parts += line.starts_with(own) ? 1 : 0;
    }
    EXPECT_EQ(parts, 3) << "the disk and its parts";
}

TEST_F(LiveDisk, CountsInodesAsDfDoes) {
    const LoopDisk image("FILES", 16);
    image.mount();
    Disk disk;
    disk.setMeasures({Disk::Measure::inodes});
    writeAndSync(image.path() + "/file", 1);
    disk.update();
    const VolumePointer volume = find(disk, image.device());
    ASSERT_TRUE(volume);
    const std::optional<Disk::Inodes> inodes = disk.inodes(*volume);
    ASSERT_TRUE(inodes);
    const std::vector<std::string> told = linesOf("df --output=itotal,iused,iavail '" + image.path() + "'");
    ASSERT_EQ(told.size(), 2U);
    std::istringstream numbers(told[1]);
    Disk::Inodes expected;
    numbers >> expected.total >> expected.used >> expected.free;
    EXPECT_EQ(*inodes, expected);
}

TEST_F(LiveDisk, TellsOfDisksWithoutAllocatingOnceWarm) {
    const LoopDisk image("WARM", 16);
    image.mount();
    Disk disk;
    disk.setMeasures({Disk::Measure::activity, Disk::Measure::devices, Disk::Measure::inodes});
    // Others on the machine may mount something meanwhile, which is listed anew.
    EXPECT_TRUE(eventually([&] {
        const std::size_t before = allocations();
        for (int i = 0; i < 10; ++i)
            disk.update();
        return !countsAllocations || allocations() == before;
    }));
}

TEST_F(LiveDisk, ShowsTheRateAtWhichAFileIsWritten) {
    const LoopDisk image("RATE", 128);
    image.mount();
    Disk disk;
    ::sync();
    disk.update();
    const VolumePointer volume = find(disk, image.device());
    const std::int64_t begin = volume->timestamp();
    constexpr int megabytes = 64;
    writeAndSync(image.path() + "/file", megabytes);
    disk.update();
    const double seconds = static_cast<double>(volume->timestamp() - begin) / 1000.0;
    const double expected = megabytes * 1048576.0 / seconds;
    EXPECT_NEAR(volume->wbytesps(), expected, expected * 0.05);
}

TEST_F(LiveDisk, FollowsANewLabel) {
    const LoopDisk image("BEFORE", 16);
    image.mount();
    Disk disk;
    const VolumePointer volume = find(disk, image.device());
    ASSERT_TRUE(volume);
    EXPECT_EQ(volume->name(), "BEFORE");
    image.setLabel("AFTER");
    EXPECT_TRUE(eventually([&] {
        disk.update();
        return volume->name() == "AFTER";
    }));
    EXPECT_EQ(find(disk, image.device()), volume);
    EXPECT_EQ(volume->path(), image.path());
}

TEST_F(LiveDisk, KeepsAVolumesObjectWhileASecondOneComesAndGoes) {
    const LoopDisk first("FIRST", 16);
    const LoopDisk second("SECOND", 16);
    first.mount();
    const Disk disk;
    const VolumePointer volume = find(disk, first.device());
    ASSERT_TRUE(volume);
    second.mount();
    ASSERT_TRUE(eventually([&] { return find(disk, second.device()) != nullptr; }));
    EXPECT_EQ(find(disk, first.device()), volume);
    second.unmount();
    ASSERT_TRUE(eventually([&] { return find(disk, second.device()) == nullptr; }));
    EXPECT_EQ(find(disk, first.device()), volume);
}

TEST_F(LiveDisk, KeepsNoVolumeFromBeingUnmounted) {
    const LoopDisk image("FREE", 16);
    image.mount();
    Disk disk;
    for (int i = 0; i < 3; ++i)
        disk.update();
    EXPECT_EQ(::umount2(image.path().c_str(), 0), 0); // EBUSY if a descriptor were kept on it
}

TEST_F(LiveDisk, MissesNotTheLastStateAfterAThousandMounts) {
    const LoopDisk image("LAST", 16);
    const TemporaryFolder folder;
    const Disk disk;
    folder.makeFolder("busy");
    const std::string busy = folder.path("busy");
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(::mount("none", busy.c_str(), "tmpfs", 0, nullptr), 0);
        ASSERT_EQ(::umount2(busy.c_str(), 0), 0);
    }
    image.mount();
    EXPECT_TRUE(eventually([&] { return find(disk, image.device()) != nullptr; }));
}

TEST_F(LiveDisk, ReadsAMountPointWithBlanksLineFeedsAndBackslashes) {
    const LoopDisk image("ODD", 16);
    const TemporaryFolder folder;
    const std::string odd = folder.path("a b\nc\td\\e #");
    ASSERT_EQ(::mkdir(odd.c_str(), 0700), 0);
    ASSERT_EQ(::mount(image.node().c_str(), odd.c_str(), "ext4", 0, nullptr), 0);
    Disk disk;
    disk.update();
    const VolumePointer volume = find(disk, image.device());
    ::umount2(odd.c_str(), MNT_DETACH);
    ASSERT_TRUE(volume);
    EXPECT_EQ(volume->path(), odd);
    EXPECT_GT(volume->total(), 0);
}

// A user-space file system whose program does not even begin to answer.
class DeadFileSystem {
public:
    explicit DeadFileSystem(const std::string& from = "host:/dead") {
        folder_.makeFolder("dead");
        device_ = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
        const std::string options = "fd=" + std::to_string(device_) + ",rootmode=40000,user_id=0,group_id=0";
        mounted_ = device_ >= 0 &&
                   ::mount(from.c_str(), path().c_str(), "fuse.sshfs", MS_NOSUID | MS_NODEV, options.c_str()) == 0;
    }
    ~DeadFileSystem() {
        endServer();
        ::umount2(path().c_str(), MNT_DETACH);
    }
    DeadFileSystem(const DeadFileSystem&) = delete;
    DeadFileSystem& operator=(const DeadFileSystem&) = delete;

    /// Who waits is told that nobody will answer, and so is who asks from then on.
    void endServer() { ::close(std::exchange(device_, -1)); }

    [[nodiscard]] bool isMounted() const { return mounted_; }
    [[nodiscard]] std::string path() const { return folder_.path("dead"); }

private:
    TemporaryFolder folder_;
    int device_ = -1;
    bool mounted_ = false;
};

TEST_F(LiveDisk, SamplesOnBesideAFileSystemThatNeverAnswers) {
    if (::access("/dev/fuse", R_OK | W_OK) != 0)
        GTEST_SKIP() << "no user-space file systems";
    const LoopDisk image("ALIVE", 32);
    image.mount();
    const DeadFileSystem dead;
    ASSERT_TRUE(dead.isMounted());

    testing::internal::CaptureStderr();
    const SteadyClock::time_point begin = SteadyClock::now();
    Disk disk;
    EXPECT_LT(SteadyClock::now() - begin, 10s);
    ASSERT_TRUE(findByPath(disk, dead.path()));
    const VolumePointer alive = find(disk, image.device());
    ASSERT_TRUE(alive);

    std::vector<SteadyClock::duration> durations;
    for (int i = 0; i < 21; ++i) {
        const SteadyClock::time_point start = SteadyClock::now();
        disk.update();
        durations.push_back(SteadyClock::now() - start);
    }
    std::sort(durations.begin(), durations.end());
    EXPECT_LT(durations[durations.size() / 2], 5ms); // the middle one, as the machine may be busy with other things
    EXPECT_EQ(findByPath(disk, dead.path())->total(), 0);
    EXPECT_FALSE(findByPath(disk, dead.path())->answers());
    EXPECT_EQ(findByPath(disk, dead.path())->lastAnswer(), 0);
    EXPECT_TRUE(alive->answers());

    const std::int64_t before = alive->wbytes();
    writeAndSync(image.path() + "/file", 2);
    disk.update();
    EXPECT_GE(alive->wbytes(), before + (2 << 20));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Error: statfs failed for '" + dead.path() + "' -- " + std::strerror(ETIMEDOUT) + "\n")
        << "once, and not at each sample";
}

TEST_F(LiveDisk, TellsOfAShareThatStopsAnsweringAndAnswersAgain) {
    if (::access("/dev/fuse", R_OK | W_OK) != 0)
        GTEST_SKIP() << "no user-space file systems";
    const LoopDisk image("ALIVE", 16);
    image.mount();
    HangingFileSystem share("host:/share");
    testing::internal::CaptureStderr();
    Disk disk;
    const VolumePointer volume = findByPath(disk, share.path());
    const VolumePointer alive = find(disk, image.device());
    ASSERT_TRUE(volume && alive);
    EXPECT_TRUE(volume->answers());
    share.hang();
    ASSERT_TRUE(endsThough(share, [&] {
        EXPECT_TRUE(eventually([&] {
            disk.update();
            return !volume->answers();
        }));
    }));
    const std::int64_t last = volume->lastAnswer();
    EXPECT_LE(last, volume->timestamp());
    EXPECT_GT(last, 0);
    EXPECT_EQ(volume->total(), 1000 * 4096);
    EXPECT_TRUE(alive->answers());
    share.answer();
    EXPECT_TRUE(eventually([&] {
        disk.update();
        return volume->answers();
    }));
    EXPECT_GT(volume->lastAnswer(), last);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Error: statfs failed for '" + share.path() + "' -- " + std::strerror(ETIMEDOUT) + "\n");
}

TEST_F(LiveDisk, TellsOfAShareWhoseServerIsGone) {
    if (::access("/dev/fuse", R_OK | W_OK) != 0)
        GTEST_SKIP() << "no user-space file systems";
    auto dead = std::make_unique<DeadFileSystem>();
    ASSERT_TRUE(dead->isMounted());
    dead->endServer();
    testing::internal::CaptureStderr();
    Disk disk;
    const VolumePointer volume = findByPath(disk, dead->path());
    ASSERT_TRUE(volume);
    disk.update();
    EXPECT_FALSE(volume->answers());
    EXPECT_NE(testing::internal::GetCapturedStderr().find(std::strerror(ENOTCONN)), std::string::npos);
}

std::size_t countEntries(const char* folder) {
    DIR* const entries = ::opendir(folder);
    std::size_t count = 0;
    while (entries && ::readdir(entries))
        ++count;
    ::closedir(entries);
    return count;
}

// Each sample would have left a thread behind for each mount, were there no bound to the questions.
TEST_F(LiveDisk, HoldsNoMoreThreadsNorDescriptorsTheLongerAHundredSharesDoNotAnswer) {
    if (::access("/dev/fuse", R_OK | W_OK) != 0)
        GTEST_SKIP() << "no user-space file systems";
    const LoopDisk image("ALIVE", 16);
    image.mount();
    std::list<DeadFileSystem> dead;
    for (int share = 0; share < 100; ++share)
        ASSERT_TRUE(dead.emplace_back("host:/dead" + std::to_string(share)).isMounted());
    testing::internal::CaptureStderr();
    Disk disk;
    const VolumePointer alive = find(disk, image.device());
    ASSERT_TRUE(alive);
    disk.update();
    const std::size_t threads = countEntries("/proc/self/task");
    const std::size_t descriptors = countEntries("/proc/self/fd");
    const std::size_t before = allocations();
    for (int sample = 0; sample < 100; ++sample)
        disk.update();
    EXPECT_TRUE(!countsAllocations || allocations() == before);
    EXPECT_LE(countEntries("/proc/self/task"), threads);
    EXPECT_LE(countEntries("/proc/self/fd"), descriptors);
    EXPECT_TRUE(alive->answers());
    for (const DeadFileSystem& share : dead)
        EXPECT_FALSE(findByPath(disk, share.path())->answers()) << share.path();
    testing::internal::GetCapturedStderr();
}

// Making the model waited for ever, and so did a sample, with the lock that readers needed.
TEST_F(LiveDisk, WorksOnBesideALocalDiskBelowAFileSystemThatStoppedAnswering) {
    if (::access("/dev/fuse", R_OK | W_OK) != 0)
        GTEST_SKIP() << "no user-space file systems";
    const LoopDisk image("ALIVE", 16);
    image.mount();
    const LoopDisk below("BELOW", 16);
    HangingFileSystem above("host:/above");
    ASSERT_EQ(::mount(below.node().c_str(), above.inside().c_str(), "ext4", 0, nullptr), 0);
    above.hang();
    testing::internal::CaptureStderr();
    std::unique_ptr<Disk> disk;
    ASSERT_TRUE(endsThough(above, [&] {
        disk = std::make_unique<Disk>();
        disk->update();
        static_cast<void>(disk->usage());
        ASSERT_TRUE(find(*disk, below.device()));
        EXPECT_FALSE(find(*disk, below.device())->smartStatus());
        image.setLabel("AFTER");
        EXPECT_TRUE(eventually([&] {
            disk->update();
            return find(*disk, image.device())->name() == "AFTER";
        }));
    }));
    const VolumePointer volume = find(*disk, below.device());
    EXPECT_EQ(volume->name(), "BELOW");
    EXPECT_EQ(volume->path(), above.inside());
    EXPECT_EQ(volume->total(), 0);
    above.answer();
    EXPECT_TRUE(eventually([&] {
        disk->update();
        return volume->total() > 0;
    }));
    testing::internal::GetCapturedStderr();
}

TEST_F(LiveDisk, TakesTheTotalOfAShareThatAnswersLate) {
    if (::access("/dev/fuse", R_OK | W_OK) != 0)
        GTEST_SKIP() << "no user-space file systems";
    HangingFileSystem share("host:/late", 1000);
    share.hang();
    testing::internal::CaptureStderr();
    Disk disk;
    const VolumePointer volume = findByPath(disk, share.path());
    ASSERT_TRUE(volume);
    EXPECT_EQ(volume->total(), 0);
    share.answer();
    EXPECT_TRUE(eventually([&] {
        disk.update();
        return volume->total() > 0;
    }));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(volume->total(), 1000 * 4096);
    EXPECT_EQ(volume->usagePercent(), 75);
}

} // namespace
} // namespace sentrel
