// SPDX-License-Identifier: Apache-2.0
#define FUSE_USE_VERSION 31

#include "tests/support/linux/HangingFileSystem.h"

#include "tests/support/Eventually.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fuse3/fuse.h>
#include <new>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace sentrel {

// Shared with the server, which is a process of its own: were it this one, and this one ended by a signal while a
// question waits, the kernel would wait for the answer for ever.
struct HangingFileSystem::State {
    std::uint64_t blocks = 0;
    std::atomic<bool> isMounted{false};
    std::atomic<bool> hangs{false};
    std::atomic<int> waiting{0};

    // Each question passes here before it is answered.
    static State& asked() {
        auto& state = *static_cast<State*>(fuse_get_context()->private_data);
        ++state.waiting;
        while (state.hangs)
            ::usleep(1000);
        --state.waiting;
        return state;
    }

    static void* start(fuse_conn_info* /*connection*/, fuse_config* config) {
        config->entry_timeout = 0;
        config->attr_timeout = 0;
        config->negative_timeout = 0;
        return fuse_get_context()->private_data;
    }

    static int getattr(const char* path, struct stat* status, fuse_file_info* /*file*/) {
        asked();
        if (std::strcmp(path, "/") != 0 && std::strcmp(path, "/inside") != 0)
            return -ENOENT;
        status->st_mode = S_IFDIR | 0755;
        status->st_nlink = 2;
        return 0;
    }

    static int statfs(const char* /*path*/, struct statvfs* status) {
        status->f_blocks = asked().blocks;
        status->f_bfree = status->f_blocks / 4;
        status->f_bsize = 4096;
        status->f_frsize = 4096;
        return 0;
    }

    [[noreturn]] void serve(std::vector<std::string> options, const std::string& path) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        std::vector<char*> texts;
        for (std::string& option : options)
            texts.push_back(option.data());
        fuse_args arguments = FUSE_ARGS_INIT(static_cast<int>(texts.size()), texts.data());
        fuse_operations operations{};
        operations.init = &State::start;
        operations.getattr = &State::getattr;
        operations.statfs = &State::statfs;
        fuse* const session = fuse_new(&arguments, &operations, sizeof(operations), this);
        if (session && fuse_mount(session, path.c_str()) == 0) {
            isMounted = true;
            fuse_loop(session);
        }
        ::_exit(1);
    }
};

HangingFileSystem::HangingFileSystem(const std::string& from, std::uint64_t blocks, const std::string& subtype,
                                     const std::string& path) {
    folder_.makeFolder("mnt");
    path_ = folder_.path("mnt");
    void* const memory = ::mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    state_ = new (memory) State;
    state_->blocks = blocks;
    server_ = ::fork();
    if (server_ == 0)
        state_->serve({"test", "-o", "fsname=" + from + ",subtype=" + subtype}, path_);
    if (server_ < 0 ||
        !eventually([this] { return state_->isMounted || ::waitpid(server_, nullptr, WNOHANG) == server_; }) ||
        !state_->isMounted)
        throw std::runtime_error("no user-space file system");
    if (path.empty())
        return;
    // Moved, because a mount looks at the folder, which another one may keep from answering.
    if (::mount(path_.c_str(), path.c_str(), nullptr, MS_MOVE, nullptr) != 0)
        throw std::runtime_error("no move");
    path_ = path;
}

HangingFileSystem::~HangingFileSystem() {
    ::kill(server_, SIGKILL); // who waits is told that nobody will answer
    ::waitpid(server_, nullptr, 0);
    ::umount2(path_.c_str(), MNT_DETACH);
    ::munmap(state_, sizeof(State));
}

void HangingFileSystem::hang() {
    state_->hangs = true;
}

void HangingFileSystem::answer() {
    state_->hangs = false;
}

bool HangingFileSystem::isAsked() {
    return eventually([this] { return state_->waiting > 0; });
}

} // namespace sentrel
