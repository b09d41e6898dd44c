// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/processes/MacProcessService.h>

#include <SentrelKit/platform/macos/processes/Workspace.h>
#include <SentrelKit/platform/support/UserDirectory.h>

#include <libproc.h>
#include <sys/resource.h>
#include <sys/sysctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
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

// Why a question about a process failed: one that has ended is not there.
Availability availabilityOfProcess(int error) noexcept {
    return error == ESRCH ? Availability::unsupported : availabilityOf(error);
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

std::optional<std::vector<std::string>> parseProcessArguments(std::string_view bytes) {
    std::int32_t count = 0;
    if (bytes.size() < sizeof(count))
        return std::nullopt;
    std::memcpy(&count, bytes.data(), sizeof(count));
    bytes.remove_prefix(sizeof(count));
    const auto takeText = [&bytes] {
        const std::string_view text = bytes.substr(0, bytes.find('\0'));
        bytes.remove_prefix(std::min(text.size() + 1, bytes.size()));
        return text;
    };
    takeText(); // the program's path
    bytes.remove_prefix(std::min(bytes.find_first_not_of('\0'), bytes.size()));
    std::vector<std::string> words;
    for (; count > 0 && !bytes.empty(); --count)
        words.emplace_back(takeText());
    if (count != 0)
        return std::nullopt;
    return words;
}

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

Availability MacProcessService::storageBytes(std::int32_t processIdentifier, StorageBytes& bytes) noexcept {
    rusage_info_v2 use{};
    // The call takes the record's address as that of a pointer: its declaration has it so.
    if (::proc_pid_rusage(processIdentifier, RUSAGE_INFO_V2, reinterpret_cast<rusage_info_t*>(&use)) != 0)
        return availabilityOfProcess(errno);
    bytes = {.read = use.ri_diskio_bytesread, .written = use.ri_diskio_byteswritten};
    return Availability::available;
}

// The size that the kernel tells without a buffer is more than there are.
Availability MacProcessService::openFiles(std::int32_t processIdentifier, std::uint64_t& count) noexcept {
    constexpr std::size_t most = std::size_t{1} << 20; // beyond what a process may open
    const LockScope scope(filesLock_);
    if (files_.empty())
        files_.resize(1024);
    for (;;) {
        const auto size = static_cast<int>(files_.size() * sizeof(proc_fdinfo));
        errno = 0; // a process may have none open
        const int filled = ::proc_pidinfo(processIdentifier, PROC_PIDLISTFDS, 0, files_.data(), size);
        if (filled <= 0 && errno != 0)
            return availabilityOfProcess(errno);
        if (filled < size || files_.size() >= most) {
            count = static_cast<std::uint64_t>(std::max(filled, 0)) / sizeof(proc_fdinfo);
            return Availability::available;
        }
        files_.resize(files_.size() * 2);
    }
}

Availability MacProcessService::commandLine(std::int32_t processIdentifier, std::vector<std::string>& arguments) {
    std::array<int, 2> limit{CTL_KERN, KERN_ARGMAX};
    int most = 0;
    std::size_t size = sizeof(most);
    if (::sysctl(limit.data(), static_cast<u_int>(limit.size()), &most, &size, nullptr, 0) != 0 || most <= 0)
        return Availability::failed;
    std::string bytes(static_cast<std::size_t>(most), '\0');
    std::array<int, 3> name{CTL_KERN, KERN_PROCARGS2, processIdentifier};
    size = bytes.size();
    if (::sysctl(name.data(), static_cast<u_int>(name.size()), bytes.data(), &size, nullptr, 0) != 0) {
        // It says the same of a process that has ended and of one that is another user's.
        const bool isRefused = errno == EINVAL;
        if (!readStartTime(processIdentifier))
            return Availability::unsupported;
        return isRefused ? Availability::denied : availabilityOf(errno);
    }
    std::optional<std::vector<std::string>> words = parseProcessArguments(std::string_view(bytes).substr(0, size));
    if (!words)
        return Availability::failed;
    arguments = std::move(*words);
    return Availability::available;
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
