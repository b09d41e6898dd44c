// SPDX-License-Identifier: Apache-2.0
#include "tests/support/linux/LoopDisk.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/blkpg.h>
#include <linux/loop.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace sentrel {

namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

struct Attached {
    std::string node;
    int device = -1;
};

// Ties the file to a free loop device. With LO_FLAGS_AUTOCLEAR the open device keeps it until it has other users.
Attached attach(const std::string& file, std::uint32_t flags) {
    const int control = ::open("/dev/loop-control", O_RDWR | O_CLOEXEC);
    const int backing = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
    if (control < 0 || backing < 0)
        fail("loop-control");
    Attached attached;
    for (int attempt = 0; attempt < 100 && attached.device < 0; ++attempt) {
        const int number = ::ioctl(control, LOOP_CTL_GET_FREE);
        const std::string candidate = "/dev/loop" + std::to_string(number);
        const int device = ::open(candidate.c_str(), O_RDWR | O_CLOEXEC);
        loop_config config{};
        config.fd = static_cast<std::uint32_t>(backing);
        config.info.lo_flags = flags;
        if (device >= 0 && ::ioctl(device, LOOP_CONFIGURE, &config) == 0)
            attached = {candidate, device};
        else
            ::close(device); // another test took it in between
    }
    ::close(backing);
    ::close(control);
    if (attached.device < 0)
        fail("no loop device");
    return attached;
}

// Everything is written now, so that nothing but the test writes later.
void makeFileSystem(const std::string& label, const std::string& node) {
    runProgram({"mkfs.ext4", "-q", "-F", "-L", label, "-E", "lazy_itable_init=0,lazy_journal_init=0", node});
}

// The kernels of small machines read no partition tables.
void addPartition(int device, int number, std::int64_t start, std::int64_t length) {
    blkpg_partition part{};
    part.pno = number;
    part.start = start;
    part.length = length;
    blkpg_ioctl_arg argument{};
    argument.op = BLKPG_ADD_PARTITION;
    argument.datalen = sizeof part;
    argument.data = &part;
    if (::ioctl(device, BLKPG, &argument) != 0)
        fail("partition");
}

} // namespace

void runProgram(const std::vector<std::string>& arguments) {
    std::vector<char*> texts;
    for (const std::string& argument : arguments)
        texts.push_back(const_cast<char*>(argument.c_str()));
    texts.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t child = 0;
    const int error = ::posix_spawnp(&child, texts[0], &actions, nullptr, texts.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = -1;
    if (error != 0 || ::waitpid(child, &status, 0) != child || status != 0)
        throw std::runtime_error(arguments[0] + " failed");
}

LoopDisk::LoopDisk(const std::string& label, std::uint64_t megabytes) {
    const std::string image = folder_.path("image");
    folder_.write("image", "");
    folder_.makeFolder("mnt");
    if (::truncate(image.c_str(), static_cast<off_t>(megabytes * 1024 * 1024)) != 0)
        fail("truncate");
    makeFileSystem(label, image);
    const Attached attached = attach(image, 0);
    ::close(attached.device);
    node_ = attached.node;
}

LoopDisk::~LoopDisk() {
    ::umount2(path().c_str(), MNT_DETACH);
    const int device = ::open(node_.c_str(), O_RDONLY | O_CLOEXEC);
    ::ioctl(device, LOOP_CLR_FD);
    ::close(device);
}

void LoopDisk::mount() const {
    if (::mount(node_.c_str(), path().c_str(), "ext4", 0, nullptr) != 0)
        fail("mount");
}

void LoopDisk::unmount() const {
    if (::umount2(path().c_str(), 0) != 0)
        fail("umount");
}

void LoopDisk::setLabel(const std::string& label) const {
    runProgram({"e2label", node_, label});
}

DividedLoopDisk::DividedLoopDisk() {
    constexpr std::int64_t part = 16 << 20; // bytes
    const TemporaryFolder folder;
    folder.write("image", "");
    if (::truncate(folder.path("image").c_str(), 2 * part) != 0)
        fail("truncate");
    const Attached attached = attach(folder.path("image"), LO_FLAGS_PARTSCAN | LO_FLAGS_AUTOCLEAR);
    node_ = attached.node;
    device_ = attached.device;
    for (int number = 1; number <= 2; ++number) {
        addPartition(device_, number, (number - 1) * part, part);
        makeFileSystem("PART", node(number));
    }
}

DividedLoopDisk::~DividedLoopDisk() {
    ::close(device_);
}

void DividedLoopDisk::mount(int part, const std::string& path) const {
    if (::mount(node(part).c_str(), path.c_str(), "ext4", 0, nullptr) != 0)
        fail("mount");
}

} // namespace sentrel
