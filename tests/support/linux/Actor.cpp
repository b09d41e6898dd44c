// SPDX-License-Identifier: Apache-2.0
#include "tests/support/linux/Actor.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace sentrel {

namespace {

constexpr const char* partVariable = "SENTREL_TEST_ACTOR";
constexpr const char* readyVariable = "SENTREL_TEST_ACTOR_READY";

[[noreturn]] void spin() {
    std::atomic<unsigned> turn{0};
    for (;;)
        turn.fetch_add(1, std::memory_order_relaxed);
}

[[noreturn]] void wait() {
    for (;;)
        ::pause();
}

// Before the other processes of the session, and the session before the other sessions, where the kernel groups so.
void takePrecedence() {
    ::setpriority(PRIO_PROCESS, 0, -20);
    const int group = ::open("/proc/self/autogroup", O_WRONLY | O_CLOEXEC);
    if (group < 0)
        return;
    if (::write(group, "-20", 3) < 0)
        ::perror("autogroup");
    ::close(group);
}

[[noreturn]] void play(const char* text, int ready) {
    Actor::Part part;
    int spins = 0;
    int losesFirstThread = 0;
    if (std::sscanf(text, "%d %d %d %d %d", &part.threads, &spins, &part.helpers, &part.spinningHelpers,
                    &losesFirstThread) != 5)
        std::_Exit(1);
    for (int helper = 0; helper < part.helpers; ++helper) {
        const pid_t parent = ::getpid();
        if (::fork() != 0)
            continue;
        ::close(ready);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            std::_Exit(0);
        if (helper < part.spinningHelpers)
            spin();
        wait();
    }
    for (int thread = 1; thread < part.threads; ++thread)
        std::thread(wait).detach();
    if (::write(ready, "!", 1) != 1)
        std::_Exit(1);
    ::close(ready);
    if (losesFirstThread)
        ::syscall(SYS_exit, 0);
    if (spins)
        spin();
    wait();
}

// Runs before main: a copy with a part never comes as far as that.
const bool isTest = [] {
    if (const char* part = std::getenv(partVariable))
        play(part, std::atoi(std::getenv(readyVariable)));
    return true;
}();

} // namespace

Actor::Actor(const Part& part, const std::string& name) {
    const std::string program = folder_.path(name);
    std::filesystem::copy_file("/proc/self/exe", program);
    int ready[2];
    if (!isTest || ::pipe(ready) != 0)
        throw std::runtime_error("no pipe");
    char text[64];
    std::snprintf(text, sizeof text, "%d %d %d %d %d", part.threads, part.spins ? 1 : 0, part.helpers,
                  part.spinningHelpers, part.losesFirstThread ? 1 : 0);
    ::setenv(partVariable, text, 1);
    ::setenv(readyVariable, std::to_string(ready[1]).c_str(), 1);
    id_ = ::fork();
    if (id_ == 0) {
        ::close(ready[0]);
        ::setsid();
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        takePrecedence();
        ::execl(program.c_str(), name.c_str(), nullptr);
        std::_Exit(127);
    }
    ::unsetenv(partVariable);
    ::unsetenv(readyVariable);
    ::close(ready[1]);
    char answer = 0;
    const bool isReady = id_ > 0 && ::read(ready[0], &answer, 1) == 1;
    ::close(ready[0]);
    if (!isReady)
        throw std::runtime_error("the actor did not start");
}

Actor::~Actor() {
    end();
    collect();
}

void Actor::end() {
    if (!isCollected_)
        ::kill(-id_, SIGKILL);
}

void Actor::collect() {
    if (!isCollected_)
        ::waitpid(id_, nullptr, 0);
    isCollected_ = true;
}

} // namespace sentrel
