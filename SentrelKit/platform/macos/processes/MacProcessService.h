// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/ProcessService.h>
#include <SentrelKit/platform/support/Observer.h>

#include <libproc.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The words that a process was started with, out of what the control interface gives (KERN_PROCARGS2): their number,
/// an int, the program's path, zeros, then each word with a zero after it, and the environment. Absent if it is not of
/// that form.
[[nodiscard]] std::optional<std::vector<std::string>> parseProcessArguments(std::string_view bytes);

/// The kernel's process information, and the workspace's running applications.
class MacProcessService final : public ProcessService {
public:
    std::optional<TaskInfo> taskInfo(std::int32_t processIdentifier) noexcept override;
    std::optional<std::uint64_t> startTime(std::int32_t processIdentifier) noexcept override;
    std::optional<std::int32_t> parent(std::int32_t processIdentifier) noexcept override;
    Availability storageBytes(std::int32_t processIdentifier, StorageBytes& bytes) noexcept override;
    Availability openFiles(std::int32_t processIdentifier, std::uint64_t& count) noexcept override;
    Availability identity(std::int32_t processIdentifier, ProcessIdentity& identity) override;
    Availability commandLine(std::int32_t processIdentifier, std::vector<std::string>& arguments) override;
    Availability userName(std::uint32_t user, std::string& name) override;
    RunningApplications runningApplications() override;
    Observation observeRunningApplications(RunningApplicationsObserver observer) override;
    void refreshRunningApplications() override {} // the workspace tells by itself

private:
    Lock filesLock_;
    std::vector<proc_fdinfo> files_ SENTREL_GUARDED_BY(filesLock_); // memory for a list
    std::once_flag observes_;
    using Set = Observers<SharedRunningApplications>;
    const std::shared_ptr<Set> observers_ = std::make_shared<Set>();
};

} // namespace sentrel::platform
