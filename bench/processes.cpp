// SPDX-License-Identifier: Apache-2.0
// links: libproc2 libgtop-2.0
//
// Processes: one listing and one sample with many processes that wait and a few that ran, beside the raw system calls
// for the same facts and beside two libraries. The times are of one pass over all processes, in processor time of the
// calling thread: no pass waits for anything, and so a machine that is busy with other things spoils them least.

#include "bench/support/RawFiles.h"
#include "bench/support/ThreadSeconds.h"

#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/linux/processes/LinuxProcessService.h>
#include <SentrelKit/system/Applications.h>

#include <benchmark/benchmark.h>
#include <glibtop.h>
#include <glibtop/proclist.h>
#include <glibtop/procmem.h>
#include <glibtop/proctime.h>
#include <libproc2/pids.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace sentrel;

constexpr std::size_t busyCount = 8;

// Many processes that wait, of which the first few run for a moment when told to. It only grows.
class Crowd {
public:
    static const Crowd& of(std::int64_t count) {
        static Crowd crowd;
        while (crowd.ids_.size() < static_cast<std::size_t>(count))
            crowd.add();
        return crowd;
    }

    ~Crowd() {
        for (const pid_t id : ids_)
            ::kill(id, SIGKILL);
        for (const pid_t id : ids_)
            ::waitpid(id, nullptr, 0);
        for (const int end : {tell_[0], tell_[1], answer_[0], answer_[1]})
            ::close(end);
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

    [[nodiscard]] const std::vector<pid_t>& ids() const noexcept { return ids_; }

    // Lets the busy ones run. Each takes one byte, so all of them do.
    void run() const {
        const std::array<char, busyCount> bytes{};
        if (::write(tell_[1], bytes.data(), bytes.size()) != static_cast<ssize_t>(busyCount))
            std::abort();
        for (std::size_t i = 0; i < busyCount; ++i) {
            char byte = 0;
            if (::read(answer_[0], &byte, 1) != 1)
                std::abort();
        }
    }

    // Lets one more process come and go, so that the system's last id moves.
    static void passBy() {
        const pid_t id = ::vfork();
        if (id == 0)
            ::_exit(0);
        ::waitpid(id, nullptr, 0);
    }

    // One more process that waits, and its end.
    static pid_t start() {
        const pid_t id = ::fork();
        if (id == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::pause();
            ::_exit(0);
        }
        return id;
    }
    static void end(pid_t id) {
        ::kill(id, SIGKILL);
        ::waitpid(id, nullptr, 0);
    }

private:
    Crowd() {
        if (::pipe(tell_.data()) != 0 || ::pipe(answer_.data()) != 0)
            std::abort();
    }

    void add() {
        const pid_t id = ::fork();
        if (id < 0)
            std::abort();
        if (id == 0)
            live(ids_.size() < busyCount);
        ids_.push_back(id);
    }

    [[noreturn]] void live(bool isBusy) const {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (char byte = 0; isBusy && ::read(tell_[0], &byte, 1) == 1;) {
            for (int turn = 0; turn < 20000; ++turn)
                benchmark::DoNotOptimize(turn);
            ::usleep(200); // so that each takes only one of the bytes of a round
            if (::write(answer_[1], &byte, 1) != 1)
                break;
        }
        for (;;)
            ::pause();
    }

    std::array<int, 2> tell_{};
    std::array<int, 2> answer_{};
    std::vector<pid_t> ids_;
};

// Runs one pass after another: what comes before each is not counted.
template <class Before, class Pass>
void measure(benchmark::State& state, Before&& before, Pass&& pass) {
    for (auto _ : state) {
        before();
        const double start = threadSeconds();
        pass();
        state.SetIterationTime(threadSeconds() - start);
    }
}

// The raw listing: ids by getdents64 from a kept descriptor.
void listRaw(int folder, std::vector<char>& buffer, std::vector<pid_t>& ids) {
    ids.clear();
    ::lseek(folder, 0, SEEK_SET);
    for (;;) {
        const ssize_t filled = ::getdents64(folder, buffer.data(), buffer.size());
        if (filled <= 0)
            return;
        for (ssize_t at = 0; at < filled;) {
            std::uint16_t length = 0;
            std::memcpy(&length, buffer.data() + at + 16, sizeof length);
            if (const int id = std::atoi(buffer.data() + at + 19); id > 0)
                ids.push_back(id);
            at += length;
        }
    }
}

void readRaw(int folder, pid_t id, const char* name, std::vector<char>& buffer) {
    char path[32];
    std::snprintf(path, sizeof path, "%d/%s", id, name);
    ::readRaw(folder, path, buffer);
}

// Reads the clocks of those ids, which are remembered, and the whole record of those whose clock moved.
void readMoved(int folder, const std::vector<pid_t>& ids, std::vector<timespec>& clocks, std::vector<char>& buffer) {
    for (const pid_t id : ids) {
        timespec time{};
        ::clock_gettime(static_cast<clockid_t>(~static_cast<unsigned>(id) << 3) | 2, &time);
        timespec& before = clocks[static_cast<std::size_t>(id)];
        if (time.tv_nsec == before.tv_nsec && time.tv_sec == before.tv_sec)
            continue;
        before = time;
        readRaw(folder, id, "stat", buffer);
        readRaw(folder, id, "statm", buffer);
    }
}

// How many files a process has open: the folder's size tells it to those who may open the folder.
void countFilesRaw(int folder, pid_t id) {
    char path[32];
    std::snprintf(path, sizeof path, "%d/fd", id);
    struct stat files {};
    const int opened = ::openat(folder, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    benchmark::DoNotOptimize(::fstat(opened, &files));
    ::close(opened);
}

// So many processes come and go before a listing that more ids were given out than are asked for one by one. Both
// listings find the kernel's caches as this leaves them.
void passMany() {
    for (int i = 0; i < 70; ++i)
        Crowd::passBy();
}

void listing_raw(benchmark::State& state) {
    Crowd::of(state.range(0));
    const int folder = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::vector<char> buffer(32768);
    std::vector<pid_t> ids;
    measure(state, passMany, [&] { listRaw(folder, buffer, ids); });
    ::close(folder);
}

void listing_SentrelKit(benchmark::State& state) {
    Crowd::of(state.range(0));
    platform::LinuxProcessService service{platform::SystemRoot()};
    service.refreshRunningApplications();
    measure(state, passMany, [&] { service.refreshRunningApplications(); });
}

// One that was known ended and another started: listed, the new one read, the rule applied, a new set made.
void listing_SentrelKit_new_set(benchmark::State& state) {
    Crowd::of(state.range(0));
    platform::LinuxProcessService service{platform::SystemRoot()};
    service.refreshRunningApplications();
    pid_t passing = Crowd::start();
    service.refreshRunningApplications();
    measure(
        state,
        [&] {
            Crowd::end(passing);
            passing = Crowd::start();
        },
        [&] { service.refreshRunningApplications(); });
    Crowd::end(passing);
}

void listing_SentrelKit_nothing_started(benchmark::State& state) {
    Crowd::of(state.range(0));
    platform::LinuxProcessService service{platform::SystemRoot()};
    service.refreshRunningApplications();
    measure(
        state, [] {}, [&] { service.refreshRunningApplications(); });
}

constexpr std::size_t mostIds = 1U << 22; // PID_MAX_LIMIT

// The floor of a sample: the listing, a process clock each, and the whole record of those whose clock moved.
void sample_raw(benchmark::State& state) {
    const Crowd& crowd = Crowd::of(state.range(0));
    const int folder = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::vector<char> buffer(32768);
    std::vector<pid_t> ids;
    std::vector<timespec> clocks(mostIds);
    const auto pass = [&] {
        listRaw(folder, buffer, ids);
        readMoved(folder, ids, clocks, buffer);
    };
    pass();
    measure(
        state, [&] { crowd.run(); }, pass);
    ::close(folder);
}

// The floor of a sample with every group of further facts: of each process of the crowd also what it read and wrote,
// and its open files.
void everything_raw(benchmark::State& state) {
    const Crowd& crowd = Crowd::of(state.range(0));
    const int folder = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::vector<char> buffer(32768);
    std::vector<pid_t> ids;
    std::vector<timespec> clocks(mostIds);
    const auto pass = [&] {
        listRaw(folder, buffer, ids);
        readMoved(folder, ids, clocks, buffer);
        for (const pid_t id : crowd.ids()) {
            readRaw(folder, id, "io", buffer);
            countFilesRaw(folder, id);
        }
    };
    pass();
    measure(
        state, [&] { crowd.run(); }, pass);
    ::close(folder);
}

// Lets the second reading of new processes pass.
void settle(Applications& applications) {
    applications.update();
    ::usleep(600'000);
    applications.update();
}

void sample_SentrelKit(benchmark::State& state) {
    const Crowd& crowd = Crowd::of(state.range(0));
    Applications applications;
    settle(applications);
    measure(
        state, [&] { crowd.run(); }, [&] { applications.update(); });
    if (applications.count() < state.range(0))
        state.SkipWithError("not all processes are tracked");
}

// The same with every group of further facts.
void everything_SentrelKit(benchmark::State& state) {
    using Measure = Applications::Measure;
    const Crowd& crowd = Crowd::of(state.range(0));
    Applications applications;
    applications.setMeasures({Measure::threads, Measure::storage, Measure::files, Measure::all});
    settle(applications);
    measure(
        state, [&] { crowd.run(); }, [&] { applications.update(); });
    if (applications.count() < state.range(0))
        state.SkipWithError("not all processes are tracked");
}

// The sample without them, after a process came and went: one new id is asked for.
void sample_SentrelKit_one_came_and_went(benchmark::State& state) {
    const Crowd& crowd = Crowd::of(state.range(0));
    Applications applications;
    settle(applications);
    measure(
        state,
        [&] {
            crowd.run();
            Crowd::passBy();
        },
        [&] { applications.update(); });
}

// A clock of a machine that is sampled each 1.3 s, so that the memory of idle processes falls due as it does there.
class SampledClocks final : public platform::ProcessClocks {
public:
    std::optional<std::uint64_t> processNanoseconds(std::int32_t id) noexcept override {
        return kernel_.processNanoseconds(id);
    }
    std::int64_t now() noexcept override { return kernel_.now() + ahead; }

    static inline std::int64_t ahead = 0;

private:
    platform::KernelProcessClocks kernel_;
};

// What a sample asks of the platform, over many samples: all that falls due now and then has its share in it.
void sample_SentrelKit_over_time(benchmark::State& state) {
    const Crowd& crowd = Crowd::of(state.range(0));
    platform::LinuxProcessService service{platform::SystemRoot(), std::make_unique<SampledClocks>()};
    const auto sample = [&] {
        SampledClocks::ahead += 1'300'000'000;
        service.refreshRunningApplications();
        for (const pid_t id : crowd.ids())
            benchmark::DoNotOptimize(service.taskInfo(id));
    };
    for (int i = 0; i < 16; ++i)
        sample();
    measure(
        state, [&] { crowd.run(); }, sample);
}

void sample_libproc2(benchmark::State& state) {
    const Crowd& crowd = Crowd::of(state.range(0));
    std::array<pids_item, 5> items{PIDS_ID_PID, PIDS_TICS_ALL, PIDS_RSS, PIDS_NLWP, PIDS_TICS_BEGAN};
    pids_info* info = nullptr;
    if (procps_pids_new(&info, items.data(), static_cast<int>(items.size())) < 0) {
        state.SkipWithError("procps_pids_new");
        return;
    }
    measure(
        state, [&] { crowd.run(); },
        [&] {
            const pids_fetch* fetched = procps_pids_reap(info, PIDS_FETCH_TASKS_ONLY);
            if (!fetched || fetched->counts->total < state.range(0))
                state.SkipWithError("procps_pids_reap");
        });
    procps_pids_unref(&info);
}

void sample_libgtop(benchmark::State& state) {
    const Crowd& crowd = Crowd::of(state.range(0));
    glibtop_init();
    measure(
        state, [&] { crowd.run(); },
        [&] {
            glibtop_proclist list{};
            pid_t* ids = glibtop_get_proclist(&list, GLIBTOP_KERN_PROC_ALL, 0);
            for (guint64 i = 0; i < list.number; ++i) {
                glibtop_proc_time time{};
                glibtop_get_proc_time(&time, ids[i]);
                glibtop_proc_mem memory{};
                glibtop_get_proc_mem(&memory, ids[i]);
                benchmark::DoNotOptimize(time);
                benchmark::DoNotOptimize(memory);
            }
            g_free(ids);
        });
}

const bool areRegistered = [] {
    for (const int count : {100, 1000, 4000}) {
        const auto add = [count](const char* name, void (*function)(benchmark::State&)) {
            benchmark::RegisterBenchmark(name, function)->Arg(count)->UseManualTime()->Unit(benchmark::kMicrosecond);
        };
        add("listing/raw", listing_raw);
        add("listing/SentrelKit", listing_SentrelKit);
        add("listing/SentrelKit, new set", listing_SentrelKit_new_set);
        add("listing/SentrelKit, nothing started", listing_SentrelKit_nothing_started);
        add("everything/raw", everything_raw);
        add("everything/SentrelKit", everything_SentrelKit);
        add("sample/raw", sample_raw);
        add("sample/SentrelKit", sample_SentrelKit);
        add("sample/SentrelKit, one came and went", sample_SentrelKit_one_came_and_went);
        add("sample/SentrelKit, over time", sample_SentrelKit_over_time);
        add("sample/libproc2", sample_libproc2);
        add("sample/libgtop", sample_libgtop);
    }
    return true;
}();

} // namespace
