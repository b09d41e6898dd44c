// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/ProcessService.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>
#include <SentrelKit/platform/support/Observer.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

/// Processes made of values. As made there are none. A process that was not set up, or was taken away, fails every
/// question. Questions about a process are recorded with its id. Any thread.
class SENTREL_API ScriptedProcessService final : public ProcessService {
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

    /// Tells the observers of the set as it stands; they hear nothing before.
    void refreshRunningApplications() override;

    ScriptedCalls calls; ///< what was asked, and how it fails

    /// What the service answers about an id; without a value the question fails.
    void setTaskInfo(std::int32_t processIdentifier, std::optional<TaskInfo> info);
    /// What the service answers when asked for the start of an id; without a value the question fails.
    void setStartTime(std::int32_t processIdentifier, std::optional<std::uint64_t> startTime);

    /// What the service answers when asked for the parent of an id; without a value the question fails.
    void setParent(std::int32_t processIdentifier, std::optional<std::int32_t> parent);

    /// What the service answers of the further facts of an id; those without a value are unsupported. They can be made
    /// to fail by "storageBytes", "openFiles", "identity" and "commandLine".
    struct Facts {
        std::optional<StorageBytes> storageBytes{};            ///< read and written
        std::optional<std::uint64_t> openFiles{};              ///< open files
        std::optional<ProcessIdentity> identity{};             ///< owner and start
        std::optional<std::vector<std::string>> commandLine{}; ///< the words that it was started with
    };
    /// Sets the further facts of an id; none as made.
    void setFacts(std::int32_t processIdentifier, Facts facts);

    /// Names the user of a number; without a name there is none, as made.
    void setUserName(std::uint32_t user, std::optional<std::string> name);

    /// Adds an application to the set's end, or puts it in the place of the one with the same identity.
    void launch(RunningApplication application);

    /// Takes the applications of an id out of the set. Their figures stay until they are taken away too.
    void terminate(std::int32_t processIdentifier);

private:
    template <class Value>
    [[nodiscard]] Availability answer(const char* operation, std::int32_t processIdentifier,
                                      std::optional<Value> Facts::*fact, Value& result) const;

    mutable Lock lock_;
    std::map<std::int32_t, TaskInfo> figures_ SENTREL_GUARDED_BY(lock_);
    std::map<std::int32_t, std::uint64_t> starts_ SENTREL_GUARDED_BY(lock_);
    std::map<std::int32_t, std::int32_t> parents_ SENTREL_GUARDED_BY(lock_);
    std::map<std::int32_t, Facts> facts_ SENTREL_GUARDED_BY(lock_);
    std::map<std::uint32_t, std::string> users_ SENTREL_GUARDED_BY(lock_);
    SharedRunningApplications set_ SENTREL_GUARDED_BY(lock_) = std::make_shared<RunningApplications>();
    Observers<SharedRunningApplications> observers_; // offered under the lock, told without it
};

} // namespace sentrel::platform
