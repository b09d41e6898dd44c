// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/processes/MacProcessService.h>

#include <SentrelKit/platform/macos/processes/Workspace.h>
#include <SentrelKit/platform/support/UserDirectory.h>

#include <libproc.h>

#include <memory>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr std::uint64_t microsecondsPerSecond = 1'000'000;

// One record of a process, whole.
template <class Record>
bool read(std::int32_t processIdentifier, int flavour, Record& record) noexcept {
    constexpr int size = sizeof(Record);
    return ::proc_pidinfo(processIdentifier, flavour, 0, &record, size) >= size;
}

std::optional<std::uint64_t> readStartTime(std::int32_t processIdentifier) noexcept {
    proc_bsdinfo process{};
    if (!read(processIdentifier, PROC_PIDTBSDINFO, process))
        return std::nullopt;
    return process.pbi_start_tvsec * microsecondsPerSecond + process.pbi_start_tvusec;
}

RunningApplications listRunning() {
    RunningApplications applications;
    for (RunningApplication& application : Workspace::runningApplications()) {
        application.startTime = readStartTime(application.processIdentifier).value_or(0);
        applications.push_back(std::make_shared<const RunningApplication>(std::move(application)));
    }
    return applications;
}

} // namespace

std::optional<TaskInfo> MacProcessService::taskInfo(std::int32_t processIdentifier) noexcept {
    proc_taskinfo task{};
    if (!read(processIdentifier, PROC_PIDTASKINFO, task))
        return std::nullopt;
    return TaskInfo{.userNanoseconds = task.pti_total_user,
                    .systemNanoseconds = task.pti_total_system,
                    .residentBytes = task.pti_resident_size,
                    .threads = task.pti_threadnum};
}

std::optional<std::uint64_t> MacProcessService::startTime(std::int32_t processIdentifier) noexcept {
    return readStartTime(processIdentifier);
}

std::optional<std::int32_t> MacProcessService::parent(std::int32_t processIdentifier) noexcept {
    proc_bsdinfo process{};
    if (!read(processIdentifier, PROC_PIDTBSDINFO, process))
        return std::nullopt;
    return static_cast<std::int32_t>(process.pbi_ppid);
}

// Not asked for yet: proc_pid_rusage, PROC_PIDLISTFDS and KERN_PROCARGS2 tell these three.
Availability MacProcessService::storageBytes(std::int32_t /*processIdentifier*/, StorageBytes& /*bytes*/) noexcept {
    return Availability::unsupported;
}

Availability MacProcessService::openFiles(std::int32_t /*processIdentifier*/, std::uint64_t& /*count*/) noexcept {
    return Availability::unsupported;
}

Availability MacProcessService::commandLine(std::int32_t /*processIdentifier*/,
                                            std::vector<std::string>& /*arguments*/) {
    return Availability::unsupported;
}

Availability MacProcessService::identity(std::int32_t processIdentifier, ProcessIdentity& identity) {
    proc_bsdinfo process{};
    if (!read(processIdentifier, PROC_PIDTBSDINFO, process))
        return Availability::unsupported;
    identity = {.started = static_cast<std::int64_t>(process.pbi_start_tvsec), .user = process.pbi_uid};
    return Availability::available;
}

Availability MacProcessService::userName(std::uint32_t user, std::string& name) {
    return findUserName(user, name);
}

RunningApplications MacProcessService::runningApplications() {
    return listRunning();
}

Observation MacProcessService::observeRunningApplications(RunningApplicationsObserver observer) {
    // The workspace's registration lasts longer than the service. An exception does not pass through the workspace.
    std::call_once(observes_, [this] {
        Workspace::observeRunningApplications([observers = observers_]() noexcept {
            observers->offer(std::make_shared<const RunningApplications>(listRunning()));
            observers->tell();
        });
    });
    return observers_->add(
        [observer = std::move(observer)](const SharedRunningApplications& applications) { observer(*applications); });
}

} // namespace sentrel::platform
