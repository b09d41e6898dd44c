// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Processes and running applications of a Linux machine. The rule that tells applications stands in ApplicationRule.h;
/// what is read when, in ProcessTable.h.
///
/// The set is looked at by `runningApplications` and `refreshRunningApplications`, never by itself. A name is, for an
/// application scope, what the scope's desktop entry says in the user's language; otherwise, and for all that works for
/// an application, the program's own name.

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/ProcessService.h>
#include <SentrelKit/platform/linux/processes/ProcessTable.h>
#include <SentrelKit/platform/support/Observer.h>

#include <cstdint>
#include <memory>
#include <string>

namespace sentrel::platform {

class LinuxProcessService final : public ProcessService {
public:
    /// On the real root with the kernel's clocks; elsewhere with those of captured files.
    explicit LinuxProcessService(const SystemRoot& root);
    LinuxProcessService(const SystemRoot& root, std::unique_ptr<ProcessClocks> clocks);
    ~LinuxProcessService() override;
    LinuxProcessService(const LinuxProcessService&) = delete;
    LinuxProcessService& operator=(const LinuxProcessService&) = delete;

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
    void refreshRunningApplications() override;

private:
    void look() SENTREL_REQUIRES(lock_);
    void takeStock() SENTREL_REQUIRES(lock_);
    [[nodiscard]] std::shared_ptr<const RunningApplication> describe(const ProcessEntry& entry) SENTREL_REQUIRES(lock_);
    [[nodiscard]] std::string programName(const ProcessFacts& facts) SENTREL_REQUIRES(lock_);

    const SystemRoot root_;
    Lock lock_;
    ProcessTable table_ SENTREL_GUARDED_BY(lock_);
    SharedRunningApplications set_ SENTREL_GUARDED_BY(lock_);
    Observers<SharedRunningApplications> observers_; // offered under the lock, told without it
};

} // namespace sentrel::platform
