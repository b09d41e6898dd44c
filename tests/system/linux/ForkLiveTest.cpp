// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/settings/UserDefaults.h>
#include <SentrelKit/system/Applications.h>
#include <SentrelKit/system/CPU.h>
#include <SentrelKit/system/Disk/Disk.h>
#include <SentrelKit/system/Memory.h>
#include <SentrelKit/system/Network.h>
#include <SentrelKit/system/Timer.h>

#include "tests/support/ConfigurationFolder.h"
#include "tests/support/Sanitizers.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace sentrel {
namespace {

// Locks of models, processes, volumes and preferences that a thread of the parent held at the fork stayed locked in the
// child: it hung at its first use of them.
TEST(ForkLive, AChildSamplesReadsAndKeepsPreferencesWhileItsParentIsBusy) {
    if (underThreadSanitizer || underAddressSanitizer)
        GTEST_SKIP() << "the sanitizers' own locks may be held by another thread at the fork";
    const ConfigurationFolder folder;
    CPU cpu;
    Memory memory;
    Disk disk;
    Network network;
    Applications applications;
    const UserDefaults defaults("fork.suite");
    const std::vector<std::function<void()>> uses = {
        [&] { cpu.update(), memory.update(), network.update(); },
        [&] { static_cast<void>(network.interfaces()), static_cast<void>(network.aggregated()); },
        [&] { disk.update(), static_cast<void>(disk.volumes()), static_cast<void>(disk.usage()); },
        [&] { applications.update(); },
        [&] { static_cast<void>(applications.cpu()), static_cast<void>(applications.mem()); },
        [&] { defaults.set("key", PropertyList(1)), static_cast<void>(defaults.object("key")); },
    };
    std::atomic<bool> ended{false};
    std::vector<std::thread> busy;
    for (const auto& use : uses)
        busy.emplace_back([&] {
            while (!ended)
                use();
        });
    std::vector<int> failures; // the children's status
    for (int round = 0; round < 50; ++round) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(20);
            for (const auto& use : uses)
                use();
            sem_t ran;
            sem_init(&ran, 0, 0);
            Timer::onBackground([&] { sem_post(&ran); });
            while (sem_wait(&ran) != 0) {
            }
            ::_exit(defaults.set("key", PropertyList(2)) ? 0 : 1);
        }
        int status = 0;
        if (::waitpid(child, &status, 0) != child || status != 0)
            failures.push_back(status);
    }
    ended = true;
    for (std::thread& thread : busy)
        thread.join();
    EXPECT_EQ(failures, std::vector<int>{});
}

} // namespace
} // namespace sentrel
