// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Processes and running applications, one question at a time. Any thread may ask. A process that has ended, that is a
/// zombie, or that belongs to another user (unless the caller is privileged) is a failure like any other: no value, and
/// nothing is printed.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/Icon.h>
#include <SentrelKit/platform/Observation.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

/// What the kernel accounts to one process, all its threads together, ended threads included.
/// macOS: PROC_PIDTASKINFO; Linux: the process clock, "stat" of the process in /proc.
struct TaskInfo {
    std::uint64_t userNanoseconds = 0;   ///< processor time in programs
    std::uint64_t systemNanoseconds = 0; ///< processor time in the kernel
    std::uint64_t residentBytes = 0;     ///< memory that the process occupies
    std::int32_t threads = 0;            ///< threads now
    std::uint64_t startTime = 0; ///< as in RunningApplication; 0 where it does not come with the figures (macOS)
};

/// What a process has read from storage and written to it so far, in bytes: not what it found in the file cache.
struct StorageBytes {
    std::uint64_t read = 0;    ///< fetched from the devices
    std::uint64_t written = 0; ///< sent to the devices, or about to be
    /// Whether both are the same.
    friend bool operator==(const StorageBytes&, const StorageBytes&) = default;
};

/// Whose a process is, and since when it runs.
struct ProcessIdentity {
    std::int64_t started = 0; ///< seconds since the epoch
    std::uint32_t user = 0;   ///< the number of its effective user
    /// Whether both are the same.
    friend bool operator==(const ProcessIdentity&, const ProcessIdentity&) = default;
};

/// A running application, or an auxiliary process of one. A plain value that never changes: where the name of a process
/// changes, as when it runs another program, a new value with the same identity takes its place in the set.
struct RunningApplication {
    std::int32_t processIdentifier = 0; ///< the process's number
    std::uint64_t startTime = 0; ///< when the process started, in the platform's own unit; tells a reused id; 0 unknown
    std::optional<std::string> localizedName{};    ///< the name to show; absent where it has none
    std::optional<std::string> bundleIdentifier{}; ///< macOS: of the bundle; Linux: the desktop entry's id
    std::optional<Icon> icon{};                    ///< macOS: of the running application; Linux: of the desktop entry

    /// The id of the application that this process works for; its own id for an application. Absent where the platform
    /// has no word on it (macOS): then the parent process decides.
    std::optional<std::int32_t> owner{};

    /// Identity: the same process, whatever it is called by now.
    friend bool operator==(const RunningApplication& a, const RunningApplication& b) noexcept {
        return a.processIdentifier == b.processIdentifier && a.startTime == b.startTime;
    }
};

/// The set of running applications, each owner before the processes that work for it.
using RunningApplications = std::vector<std::shared_ptr<const RunningApplication>>;

/// A set that nobody changes any more.
using SharedRunningApplications = std::shared_ptr<const RunningApplications>;

/// Hears the whole new set after a change.
using RunningApplicationsObserver = std::function<void(const RunningApplications& applications)>;

/// The questions about processes.
class SENTREL_API ProcessService {
public:
    virtual ~ProcessService() = default;

    /// The process's figures; absent if the system does not give all of them. Ids are not judged: 0 and 1 are asked for
    /// like any other.
    [[nodiscard]] virtual std::optional<TaskInfo> taskInfo(std::int32_t processIdentifier) noexcept = 0;

    /// When the process started, as in RunningApplication. macOS: PROC_PIDTBSDINFO; Linux: "stat" of the process in
    /// /proc.
    [[nodiscard]] virtual std::optional<std::uint64_t> startTime(std::int32_t processIdentifier) noexcept = 0;

    /// The id of the process's parent. macOS: PROC_PIDTBSDINFO; Linux: "stat" of the process in /proc.
    [[nodiscard]] virtual std::optional<std::int32_t> parent(std::int32_t processIdentifier) noexcept = 0;

    // The further facts fill the caller's record, which stays as it was unless the answer is `available`. `denied`: the
    // process is another user's, and this one is not privileged; `unsupported`: there is none of that id, or the system
    // does not tell.

    /// What the process has read and written. Takes no memory. Linux: "io" of the process in /proc (read_bytes,
    /// write_bytes), of one's own processes alone unless privileged. macOS: proc_pid_rusage, likewise.
    [[nodiscard]] virtual Availability storageBytes(std::int32_t processIdentifier, StorageBytes& bytes) noexcept = 0;

    /// How many files, sockets and the like the process holds open. Takes no memory. Linux: the entries of "fd" of the
    /// process in /proc, of one's own processes alone unless privileged. macOS: PROC_PIDLISTFDS, likewise.
    [[nodiscard]] virtual Availability openFiles(std::int32_t processIdentifier, std::uint64_t& count) noexcept = 0;

    /// Whose the process is, and since when it runs. Linux: the owner and "stat" of the process in /proc, of any
    /// process that is to be seen. macOS: PROC_PIDTBSDINFO.
    [[nodiscard]] virtual Availability identity(std::int32_t processIdentifier, ProcessIdentity& identity) = 0;

    /// The words that the process was started with, the program's first; none for a thread of the kernel. A process may
    /// write others over them. Linux: "cmdline" of the process in /proc, the first 2 MiB. macOS: KERN_PROCARGS2.
    [[nodiscard]] virtual Availability commandLine(std::int32_t processIdentifier,
                                                   std::vector<std::string>& arguments) = 0;

    /// The name of the user of that number, from the system's directory of users, which may lie on the network: this
    /// may take long, and is nothing for a thread that others wait for. The name stays as it was unless the answer is
    /// `available`; `unsupported`: there is no such user.
    [[nodiscard]] virtual Availability userName(std::uint32_t user, std::string& name) = 0;

    /// The running applications at this moment. macOS: NSWorkspace runningApplications.
    [[nodiscard]] virtual RunningApplications runningApplications() = 0;

    /// Registers an observer of the set. It is called on the thread that noticed the change, with ever newer sets;
    /// changes that come while it runs are told together, as the newest set. A new observer may hear a set that it
    /// already knows.
    ///
    /// macOS: one key-value observation of runningApplications for all observers, by an object that lives as long as
    /// the service: taking a key-value observation back while another thread delivers is not safe there, so it is never
    /// taken back. The object reads the set, offers it and tells.
    [[nodiscard]] virtual Observation observeRunningApplications(RunningApplicationsObserver observer) = 0;

    /// Looks whether the set changed and tells the observers before it returns, all but those that are running already.
    /// Platforms that tell of changes by themselves (macOS) do nothing here. On Linux nobody tells: this call is when
    /// the set is looked at, and without it no observer is called, no thread runs and nothing wakes.
    virtual void refreshRunningApplications() = 0;
};

} // namespace sentrel::platform
