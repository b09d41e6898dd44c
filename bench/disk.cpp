// SPDX-License-Identifier: Apache-2.0
// One sample of the mounted volumes: beside the raw system calls on descriptors that this program keeps open (the
// library must not: a kept descriptor would keep a volume from being unmounted), and beside two peers. The volumes are
// small loop-mounted images in a mount namespace of this program's own; it needs root.
// links: libgtop-2.0 libstatgrab

#include "bench/support/CountAllocations.h"
#include "bench/support/RawFiles.h"

#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/Disk/Disk.h>

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <glibtop.h>
#include <glibtop/fsusage.h>
#include <linux/loop.h>
#include <memory>
#include <sched.h>
#include <statgrab.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

// Before any thread starts.
const bool isApart = ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;

// So many mounted images. The loop devices are new ones and go with them, and their files go with the last mount.
class Images {
public:
    explicit Images(int count) : control_(::open("/dev/loop-control", O_RDWR | O_CLOEXEC)) {
        std::string name = (fs::temp_directory_path() / "sentrel-bench-XXXXXX").string();
        folder_ = mkdtemp(name.data());
        const fs::path first = folder_ / "image";
        const std::string make =
            "truncate -s 1M " + first.string() + " && mkfs.ext4 -q -F -O ^has_journal " + first.string();
        isWhole_ = isApart && control_ >= 0 && std::system(make.c_str()) == 0;
        for (int i = 0; i < count && isWhole_; ++i)
            isWhole_ = add(first, 1000 + i);
    }
    ~Images() {
        for (const std::string& path : paths_)
            ::umount2(path.c_str(), MNT_DETACH);
        for (const int number : numbers_)
            ::ioctl(control_, LOOP_CTL_REMOVE, number);
        ::close(control_);
        fs::remove_all(folder_);
    }
    Images(const Images&) = delete;
    Images& operator=(const Images&) = delete;

    [[nodiscard]] bool isWhole() const { return isWhole_; }

    [[nodiscard]] const std::vector<std::string>& paths() const { return paths_; }
    [[nodiscard]] const std::vector<std::string>& devices() const { return devices_; }

private:
    bool add(const fs::path& first, int number) {
        if (::ioctl(control_, LOOP_CTL_ADD, number) < 0)
            return false;
        numbers_.push_back(number);
        const fs::path image = folder_ / ("image" + std::to_string(number));
        const fs::path point = folder_ / ("mnt" + std::to_string(number));
        fs::copy_file(first, image);
        fs::create_directory(point);
        const std::string device = "loop" + std::to_string(number);
        const int node = ::open(("/dev/" + device).c_str(), O_RDWR | O_CLOEXEC);
        const int backing = ::open(image.c_str(), O_RDWR | O_CLOEXEC);
        loop_config config{};
        config.fd = static_cast<std::uint32_t>(backing);
        config.info.lo_flags = LO_FLAGS_AUTOCLEAR;
        const bool isMounted = ::ioctl(node, LOOP_CONFIGURE, &config) == 0 &&
                               ::mount(("/dev/" + device).c_str(), point.c_str(), "ext4", 0, nullptr) == 0;
        ::close(backing);
        ::close(node);
        if (!isMounted)
            return false;
        devices_.push_back(device);
        paths_.push_back(point.string());
        return true;
    }

    fs::path folder_;
    int control_;
    std::vector<int> numbers_;
    std::vector<std::string> paths_;
    std::vector<std::string> devices_;
    bool isWhole_ = false;
};

// The images of a benchmark, kept while it runs again and again. The root volume is one of its volumes, too.
const Images& imagesFor(benchmark::State& state) {
    static std::unique_ptr<Images> images;
    static std::int64_t count = 0;
    if (!images || count != state.range(0)) {
        images.reset();
        count = state.range(0);
        images = std::make_unique<Images>(static_cast<int>(count) - 1);
    }
    if (!images->isWhole())
        state.SkipWithError("no loop-mounted images");
    return *images;
}

void updateWith(benchmark::State& state, sentrel::MeasureSet<sentrel::Disk::Measure> measures) {
    imagesFor(state);
    if (!sentrel::probes::System->daSession)
        sentrel::probes::System->daSession = sentrel::platform::current().volumes().openSession();
    sentrel::Disk disk;
    if (disk.volumes().size() != static_cast<std::size_t>(state.range(0))) {
        state.SkipWithError("not every image is a volume");
        return;
    }
    disk.setMeasures(measures);
    disk.update();
    disk.update();
    const CountAllocations counting(state);
    for (auto _ : state)
        disk.update();
}

void update(benchmark::State& state) {
    updateWith(state, {});
}

// With every group of further facts.
void updateWithAll(benchmark::State& state) {
    using Measure = sentrel::Disk::Measure;
    updateWith(state, {Measure::activity, Measure::devices, Measure::inodes, Measure::pressure});
}

// What a mount or unmount brings about.
void listing(benchmark::State& state) {
    imagesFor(state);
    for (auto _ : state) {
        std::int64_t count = 0;
        sentrel::probes::_getDiskData([&](std::int64_t, const sentrel::probes::DiskData*) { ++count; });
        if (count != state.range(0))
            state.SkipWithError("not every image is a volume");
    }
}

std::string rootCounters() {
    struct stat root {};
    ::stat("/", &root);
    return "/sys/dev/block/" + std::to_string(major(root.st_dev)) + ':' + std::to_string(minor(root.st_dev)) + "/stat";
}

std::vector<std::string> paths(const Images& images) {
    std::vector<std::string> paths = images.paths();
    paths.emplace_back("/");
    return paths;
}

void addCounters(const Images& images, RawFiles& files) {
    for (const std::string& device : images.devices())
        files.addRecord("/sys/class/block/" + device + "/stat");
    files.addRecord(rootCounters());
}

// fstatvfs and pread on kept descriptors: what the figures cost at least.
void floorOfUpdate(benchmark::State& state) {
    const Images& images = imagesFor(state);
    RawFiles counters;
    addCounters(images, counters);
    std::vector<int> folders;
    for (const std::string& path : paths(images))
        folders.push_back(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (auto _ : state) {
        for (const int folder : folders) {
            struct statvfs space {};
            if (::fstatvfs(folder, &space) != 0)
                state.SkipWithError("no space");
            benchmark::DoNotOptimize(space);
        }
        if (!counters.read())
            state.SkipWithError("no counters");
    }
    for (const int folder : folders)
        ::close(folder);
}

void readByPath(benchmark::State& state, RawFiles& files) {
    const std::vector<std::string> volumes = paths(imagesFor(state));
    for (auto _ : state) {
        for (const std::string& path : volumes) {
            struct statfs space {};
            if (::statfs(path.c_str(), &space) != 0)
                state.SkipWithError("no space");
            benchmark::DoNotOptimize(space);
        }
        if (!files.read())
            state.SkipWithError("no counters");
    }
}

// statfs by path and pread: the least for a program that keeps no descriptor on a volume.
void floorByPath(benchmark::State& state) {
    RawFiles counters;
    addCounters(imagesFor(state), counters);
    readByPath(state, counters);
}

// The same with the table of all disks and the pressure, unparsed.
void floorOfAll(benchmark::State& state) {
    RawFiles files;
    addCounters(imagesFor(state), files);
    files.addTable("/proc/diskstats");
    files.addRecord("/proc/pressure/io");
    readByPath(state, files);
}

// The space and counters of each volume by its path.
void libgtop(benchmark::State& state) {
    std::vector<std::string> paths = imagesFor(state).paths();
    paths.emplace_back("/");
    glibtop_init();
    for (auto _ : state) {
        for (const std::string& path : paths) {
            glibtop_fsusage usage;
            glibtop_get_fsusage(&usage, path.c_str());
            benchmark::DoNotOptimize(usage);
        }
    }
}

// Space of all file systems and counters of all disks.
void libstatgrab(benchmark::State& state) {
    imagesFor(state);
    sg_init(1);
    for (auto _ : state) {
        std::size_t count = 0;
        benchmark::DoNotOptimize(sg_get_fs_stats(&count));
        benchmark::DoNotOptimize(sg_get_disk_io_stats(&count));
    }
    sg_shutdown();
}

// One number of volumes after the other, so that the images are made once for each.
const bool isRegistered = [] {
    for (const int count : {1, 10, 200}) {
        benchmark::RegisterBenchmark("floorOfUpdate", floorOfUpdate)->Arg(count)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("floorByPath", floorByPath)->Arg(count)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("update", update)->Arg(count)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("floorOfAll", floorOfAll)->Arg(count)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("updateWithAll", updateWithAll)->Arg(count)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("listing", listing)->Arg(count)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("libgtop", libgtop)->Arg(count)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("libstatgrab", libstatgrab)->Arg(count)->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

} // namespace
