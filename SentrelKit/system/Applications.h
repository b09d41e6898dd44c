// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Running applications, and which of them use the processor and the memory most.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/platform/ProcessService.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/MeasureSet.h>
#include <SentrelKit/system/Mutex/Atomic.h>
#include <SentrelKit/system/SystemResource.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel {

/// The model of the running applications. The registry owns the one instance and samples it every 1.3 seconds once it
/// is asked to (`System::start(apps)`).
///
/// Processes that work for an application, such as a browser's page renderers, are followed too; at each sample their
/// figures are folded into the application's and they show 0 themselves. Who works for whom says the platform where it
/// knows; elsewhere the parent process does, and for a browser engine's processes without one, the name. Only what is
/// tracked is folded into: never a shell, a terminal or a session on Linux.
///
/// The set of applications is read when the model is made and then follows the platform's notice of changes. On Linux
/// there is no such notice: each `update` first looks whether the set changed, so an idle program is never woken.
///
/// `update` and the notices may come on any thread; all other members may be called from any thread. Readers never wait
/// for a sample: they get what the last one published. A notice does not wait for one either: the set that comes during
/// a sample is taken over by the sampling thread, right after it. The figures of a process change under the reader's
/// eyes at the next sample, each by itself. Sources: the running applications of the workspace and proc_pidinfo on
/// macOS; on Linux /proc, the process clocks, the desktop entries and the application scopes of the service manager.
class SENTREL_API Applications final : public SystemResource {
public:
    class Process;

    /// Groups of further facts, each sampled only while it is wanted.
    enum class Measure : std::uint8_t {
        all,     ///< `all`: every tracked process, not only the first three
        threads, ///< Process::threads
        storage, ///< Process::readPerSecond, Process::writtenPerSecond
        files,   ///< Process::openFiles
    };

    /// Reads the set of applications and asks for its changes.
    explicit Applications(std::shared_ptr<probes::SystemManager> session = probes::session());
    ~Applications() override;
    Applications(const Applications&) = delete;
    Applications& operator=(const Applications&) = delete;

    [[nodiscard]] SystemResourceType type() const noexcept override { return SystemResourceType::app; }

    /// Takes one sample: the share and the memory of every tracked process since the sample before.
    void update() override;

    /// The (at most) three that used the processor most, the greatest share first; equal ones in no particular order.
    [[nodiscard]] std::vector<std::shared_ptr<const Process>> cpu() const;

    /// The (at most) three that hold the most memory, the largest first; equal ones in no particular order.
    [[nodiscard]] std::vector<std::shared_ptr<const Process>> mem() const;

    /// From now on these groups of further facts are sampled with the others; none when the model is made. What was
    /// known of a group that is wanted anew is forgotten, and the next sample forgets what is wanted no more. Any
    /// thread.
    void setMeasures(MeasureSet<Measure> wanted);

    /// The groups that are wanted. Any thread.
    [[nodiscard]] MeasureSet<Measure> measures() const noexcept;

    /// Whether the last sample had the facts of a group and, if not, why. Absent while the group is not wanted or was
    /// not sampled since. `storage` and `files` are there if those of one process at least could be read: without
    /// privilege those of other users cannot, and each process tells for itself. Any thread.
    [[nodiscard]] std::optional<Availability> availability(Measure measure) const noexcept;

    /// Every tracked process at the last sample, those that work for an application after the applications: each
    /// `parent` tells whom. Empty unless Measure::all is wanted and was sampled.
    [[nodiscard]] std::vector<std::shared_ptr<const Process>> all() const;

    /// The same into the caller's list, whose memory is used again: for a reader that looks every second.
    void all(std::vector<std::shared_ptr<const Process>>& processes) const;

    /// Whose a process is, and since when it runs, asked now: a call or two to the system, not sampled. The record
    /// stays as it was unless the answer is `available`; `unsupported` if the process has ended meanwhile. Any thread.
    [[nodiscard]] Availability identity(const Process& process, platform::ProcessIdentity& identity) const;

    /// The name of a user, as `identity` tells its number. Returns at once: a directory of users on the network may
    /// take its time, so that the first question about a user has the name looked up on the background queue, and one
    /// that comes later tells it. Absent until then, and where there is no such user. What was found stays as long as
    /// this model; after a failure of the directory the next question has it asked again. Any thread. Linux and macOS:
    /// getpwuid_r.
    [[nodiscard]] std::optional<std::string> userName(std::uint32_t user) const;

    /// The words that a process was started with, asked now. As `identity` otherwise; `denied` where the system keeps
    /// those of other users' processes from this one.
    [[nodiscard]] Availability commandLine(const Process& process, std::vector<std::string>& arguments) const;

    /// The number of tracked processes, those that work for an application included.
    [[nodiscard]] std::int64_t count() const noexcept;

    /// The number of tracked browser-engine processes whose application is not known yet. One stops counting as soon as
    /// its owner is found by name, and counts again if that owner ends before it.
    [[nodiscard]] std::int64_t unresolvedNamedProcesses() const noexcept;

    /// Registers a closure that hears each new count, on the thread that noticed the change. Changes that come while it
    /// runs are told together, as the newest count. It may release this model too: after that no new call begins, and
    /// one that runs on another thread is not waited for.
    [[nodiscard]] Observation observeCount(std::function<void(std::int64_t)> observer);

    /// The entry point of the observation of running applications: brings the tracked processes in line with the set.
    /// A notice with a context that is not this object's own is not for it and does nothing.
    void observeValue(std::string_view keyPath, const platform::ProcessService* object,
                      const platform::RunningApplications& change, const void* context);

private:
    class Measurements;
    class Tracking;

    std::shared_ptr<Tracking> tracking_; // a notice or a sample that is under way when the model goes keeps it
};

/// One tracked process: an application, or a process that works for one. Any thread.
class SENTREL_API Applications::Process {
public:
    /// What the platform knows of it. A process that goes on under another name, as by running another program, goes on
    /// as another object.
    [[nodiscard]] const platform::RunningApplication& app() const noexcept { return *app_; }

    /// The localized name, else the bundle identifier, else an empty text.
    [[nodiscard]] std::string name() const;

    /// The application's icon; absent without one.
    [[nodiscard]] const std::optional<Icon>& icon() const noexcept { return app_->icon; }

    /// Resident bytes at the last sample, with those folded into it; 0 after folding into a parent.
    [[nodiscard]] std::uint64_t mem() const noexcept { return mem_; }

    /// Processor share over the last sample interval in percent of the cores that the process can use at most (the
    /// smaller of its threads and the machine's active logical cores), with the shares folded into it, which may take
    /// it above 100; 0 after folding into a parent.
    [[nodiscard]] double cpu() const noexcept { return cpu_; }

    // Facts of the process alone, nothing folded: whoever wants an application with its helpers adds them by `parent`.
    // There is no estimate of the energy that a process takes: no system tells one that holds for another machine.

    /// Threads at the last sample, 1 or more. Absent unless Applications::Measure::threads is wanted and was sampled.
    [[nodiscard]] std::optional<std::int32_t> threads() const noexcept;

    /// Bytes a second that the process read from storage between the last two samples, 0 or more; what it found in the
    /// file cache is not among them. Absent unless Applications::Measure::storage is wanted, at the first sample of the
    /// process, and where it may not be read: without privilege a process of another user. Linux: read_bytes of "io" of
    /// the process in /proc.
    [[nodiscard]] std::optional<double> readPerSecond() const noexcept;

    /// Bytes a second that it wrote to storage, or left to be written. As `readPerSecond` otherwise (write_bytes).
    [[nodiscard]] std::optional<double> writtenPerSecond() const noexcept;

    /// Open files, sockets and the like at the last sample. Absent unless Applications::Measure::files is wanted and
    /// was sampled, and where they may not be counted: without privilege those of another user. Linux: the entries of
    /// "fd" of the process in /proc.
    [[nodiscard]] std::optional<std::uint64_t> openFiles() const noexcept;

    /// The process's number.
    [[nodiscard]] std::int32_t pid() const noexcept { return app_->processIdentifier; }
    [[nodiscard]] std::int32_t ppid() const noexcept { return ppid_; } ///< -1 if it could not be told

    /// The tracked process that this one's figures are folded into, if any.
    [[nodiscard]] std::shared_ptr<const Process> parent() const { return parent_.value(); }

    /// True for a browser engine's process whose owner is found by name.
    [[nodiscard]] bool isUnResolvedName() const noexcept { return isUnResolvedName_; }

    /// For the model: a process without figures yet.
    explicit Process(std::shared_ptr<const platform::RunningApplication> app,
                     probes::SystemManager& session = *probes::System);

private:
    friend class Applications;

    // What a sample needs, under the model's lock.
    struct Sampling {
        std::int32_t pid = 0;
        std::int32_t threads = 0; // 0 where the last sample could not read the process
        std::uint64_t startTime = 0;
        double prevcputime = 0;    // milliseconds
        std::int64_t prevtime = 0; // milliseconds since the epoch; 0 before the baseline
        double cpu = 0;            // its own share, before folding
        std::uint64_t mem = 0;     // its own bytes, before folding
        double foldedCpu = 0;      // while folding
        std::uint64_t foldedMem = 0;
        Process* parent = nullptr; // as parent_ holds it
    };

    // Further facts. What is absent is no figure of its kind.
    static constexpr double noRate = -1;
    static constexpr std::int64_t noCount = -1;
    struct Measured {
        Relaxed<std::int32_t> threads = 0; // 0: absent
        Relaxed<double> readPerSecond = noRate;
        Relaxed<double> writtenPerSecond = noRate;
        Relaxed<std::int64_t> openFiles = noCount;
        platform::StorageBytes storage{}; // at the sample before, under the model's lock
        std::int64_t storageAt = 0;       // milliseconds of the clock that never steps back; 0 without such a sample
    };

    void setParent(const std::shared_ptr<Process>& parent);

    // What each sample touches stands together.
    Relaxed<std::uint64_t> mem_;
    Relaxed<double> cpu_;
    Sampling sampling_;

    const std::shared_ptr<const platform::RunningApplication> app_;
    const std::int32_t ppid_;
    Measured measured_;
    bool isUnResolvedName_ = false; // settled before the object is seen by others, as is the next
    std::string ownerName_;         // by which the owner of such a process is found
    Atomic<std::shared_ptr<Process>> parent_;
};

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Applications::Measure value);

} // namespace sentrel
