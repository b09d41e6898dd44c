// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Applications.h>

#include <SentrelKit/platform/linux/processes/LinuxProcessService.h>

#include "tests/support/Eventually.h"
#include "tests/support/linux/Actor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace sentrel {
namespace {

double processMilliseconds(pid_t id) {
    clockid_t clock = 0;
    timespec time{};
    if (::clock_getcpuclockid(id, &clock) != 0 || ::clock_gettime(clock, &time) != 0)
        return 0;
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

std::size_t entriesOf(const char* folder) {
    const auto begin = std::filesystem::directory_iterator(folder);
    return static_cast<std::size_t>(std::distance(begin, std::filesystem::directory_iterator()));
}

std::shared_ptr<const Applications::Process> find(const Applications& applications, pid_t id) {
    for (const auto& process : applications.cpu()) {
        if (process->pid() == id)
            return process;
    }
    return nullptr;
}

// What two samples some two seconds apart show of a process, and what its clock showed.
struct Measure {
    std::optional<double> share; // absent if it is not among the first three
    double given = 0;            // percent of one core that the machine really gave to `worker`
};

Measure measure(Applications& applications, pid_t application, pid_t worker) {
    using Clock = std::chrono::steady_clock;
    applications.update();
    const double before = processMilliseconds(worker);
    const Clock::time_point start = Clock::now();
    std::this_thread::sleep_for(std::chrono::seconds(2)); // the length of the measure, not a wait for something
    applications.update();
    const double milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    const double after = processMilliseconds(worker);
    const auto process = find(applications, application);
    return {process ? std::optional(process->cpu()) : std::nullopt, (after - before) * 100 / milliseconds};
}

// On a machine that others keep busy too, the share is compared with what the process got.
void expectShare(const Measure& measured, double cores) {
    if (!measured.share && measured.given < 50)
        GTEST_SKIP() << "the machine is too busy: the process got " << measured.given << " % of a core";
    ASSERT_TRUE(measured.share);
    EXPECT_NEAR(*measured.share, measured.given / cores, 3);
    if (measured.given > 99) {
        EXPECT_NEAR(*measured.share, 100 / cores, 3);
    }
}

double activeCores() {
    return static_cast<double>(::sysconf(_SC_NPROCESSORS_ONLN));
}

TEST(ApplicationsLive, ShowAProcessThatSpinsOneThread) {
    const Actor actor({.spins = true}, "one-thread-spinner");
    Applications applications;
    expectShare(measure(applications, actor.id(), actor.id()), 1);
    const auto process = find(applications, actor.id());
    ASSERT_TRUE(process);
    EXPECT_EQ(process->name(), "one-thread-spinner");
    EXPECT_EQ(process->ppid(), ::getpid());
    EXPECT_FALSE(process->parent());
}

TEST(ApplicationsLive, ShowAProcessWithEightThreadsAgainstTheCoresItCouldUse) {
    const Actor actor({.threads = 8, .spins = true}, "eight-thread-spinner");
    Applications applications;
    expectShare(measure(applications, actor.id(), actor.id()), std::min(8.0, activeCores()));
}

TEST(ApplicationsLive, FoldTheHelpersThatAProcessForks) {
    const Actor actor({.helpers = 3, .spinningHelpers = 1}, "forker");
    Applications applications;
    EXPECT_TRUE(eventually([&] {
        applications.update();
        const auto process = find(applications, actor.id());
        return process && process->cpu() > 5;
    })) << "the work is a helper's";
    for (const auto& other : applications.cpu()) {
        if (other->ppid() == actor.id()) {
            EXPECT_EQ(other->cpu(), 0);
            EXPECT_EQ(other->mem(), 0U);
        }
    }
}

TEST(ApplicationsLive, ShowTheKernelsResidentFigure) {
    const Actor actor({.spins = true}, "resident");
    Applications applications;
    EXPECT_TRUE(eventually([&] {
        applications.update();
        std::ifstream file("/proc/" + std::to_string(actor.id()) + "/statm");
        std::uint64_t size = 0;
        std::uint64_t resident = 0;
        file >> size >> resident;
        const auto process = find(applications, actor.id());
        return process && process->mem() == resident * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    }));
}

// The kernel's clocks, with samples 1.3 s apart.
class SampledClocks final : public platform::ProcessClocks {
public:
    explicit SampledClocks(std::int64_t& ahead) : ahead_(ahead) {}
    std::optional<std::uint64_t> processNanoseconds(std::int32_t id) noexcept override {
        return kernel_.processNanoseconds(id);
    }
    std::int64_t now() noexcept override { return kernel_.now() + ahead_; }

private:
    platform::KernelProcessClocks kernel_;
    std::int64_t& ahead_;
};

// It was absent from each sample that found it waiting for one of its commands.
TEST(ApplicationsLive, HaveABusyScriptInEverySample) {
    const pid_t script = ::fork();
    if (script == 0) {
        ::execl("/bin/sh", "sh", "-c", "while :; do i=0; while [ $i -lt 2000 ]; do i=$((i+1)); done; sleep 0.005; done",
                nullptr);
        std::_Exit(127);
    }
    std::int64_t ahead = 0;
    platform::LinuxProcessService service{platform::SystemRoot(), std::make_unique<SampledClocks>(ahead)};
    static_cast<void>(service.runningApplications());
    int listed = 0;
    for (int sample = 0; sample < 10; ++sample) {
        const double before = processMilliseconds(script);
        EXPECT_TRUE(eventually([&] { return processMilliseconds(script) > before + 40; }));
        ahead += 1'300'000'000;
        for (const auto& application : service.runningApplications())
            listed += application->processIdentifier == script;
    }
    ::kill(script, SIGKILL);
    ::waitpid(script, nullptr, 0);
    EXPECT_EQ(listed, 10);
}

TEST(ApplicationsLive, NoticeThatAnApplicationStartedAndEnded) {
    Applications applications;
    std::weak_ptr<const Applications::Process> followed;
    {
        const Actor actor({.spins = true}, "passing");
        ASSERT_TRUE(eventually([&] {
            applications.update();
            followed = find(applications, actor.id());
            return !followed.expired();
        }));
    }
    EXPECT_TRUE(eventually([&] {
        applications.update();
        return followed.expired();
    }));
}

TEST(ApplicationsLive, StartNoThreadAndKeepFewDescriptors) {
    const Applications first; // opens what is kept
    const std::size_t threads = entriesOf("/proc/self/task");
    const std::size_t descriptors = entriesOf("/proc/self/fd");
    Applications applications;
    for (int sample = 0; sample < 10; ++sample)
        applications.update();
    EXPECT_EQ(entriesOf("/proc/self/task"), threads);
    EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
}

TEST(ApplicationsLive, SurviveTenThousandShortLivedProcesses) {
    Applications applications;
    const std::size_t descriptors = entriesOf("/proc/self/fd");
    const pid_t starter = ::fork();
    if (starter == 0) {
        ::execl("/bin/sh", "sh", "-c", "i=0; while [ $i -lt 10000 ]; do (:); i=$((i+1)); done", nullptr);
        std::_Exit(127);
    }
    int status = -1;
    int samples = 0;
    while (::waitpid(starter, &status, WNOHANG) == 0) {
        applications.update();
        ++samples;
        for (const auto& process : applications.cpu())
            EXPECT_TRUE(std::isfinite(process->cpu()));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_GT(samples, 10);
    EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
    // Nothing stale is left: what is tracked is what a newcomer finds.
    EXPECT_TRUE(eventually([&] {
        applications.update();
        platform::LinuxProcessService newcomer{platform::SystemRoot()};
        return static_cast<std::size_t>(applications.count()) == newcomer.runningApplications().size();
    }));
}

TEST(ApplicationsLive, LetTwoModelsAndReadersWorkAtOnce) {
    Applications first;
    Applications second;
    std::atomic<bool> done{false};
    const auto token = first.observeCount([](std::int64_t count) { EXPECT_GE(count, 0); });
    const auto sampling = [&done](Applications& applications) {
        while (!done) {
            applications.update();
            std::this_thread::yield();
        }
    };
    std::thread firstSampler(sampling, std::ref(first));
    std::thread secondSampler(sampling, std::ref(second));
    std::thread reader([&] {
        while (!done) {
            for (const auto& process : first.cpu())
                EXPECT_TRUE(std::isfinite(process->cpu()) && process->pid() > 1);
            for (const auto& process : second.mem())
                EXPECT_TRUE(process->parent() != process && process->name().size() < 256);
            std::this_thread::yield();
        }
    });
    for (int turn = 0; turn < 5; ++turn) {
        const Actor actor({.helpers = 2});
        const Applications passing; // registers and leaves while sets are told
        EXPECT_GT(passing.count(), 0);
    }
    done = true;
    firstSampler.join();
    secondSampler.join();
    reader.join();
}

} // namespace
} // namespace sentrel
