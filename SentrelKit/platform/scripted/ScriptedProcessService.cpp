// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedProcessService.h>

#include <algorithm>
#include <utility>

namespace sentrel::platform {

namespace {

template <class Value>
std::optional<Value> lookUp(const std::map<std::int32_t, Value>& values, std::int32_t key) noexcept {
    const auto entry = values.find(key);
    return entry == values.end() ? std::nullopt : std::optional<Value>(entry->second);
}

template <class Value>
void assign(std::map<std::int32_t, Value>& values, std::int32_t key, const std::optional<Value>& value) {
    if (value)
        values[key] = *value;
    else
        values.erase(key);
}

} // namespace

std::optional<TaskInfo> ScriptedProcessService::taskInfo(std::int32_t processIdentifier) noexcept {
    if (calls.fails("taskInfo", std::to_string(processIdentifier)))
        return std::nullopt;
    const LockScope scope(lock_);
    return lookUp(figures_, processIdentifier);
}

std::optional<std::uint64_t> ScriptedProcessService::startTime(std::int32_t processIdentifier) noexcept {
    if (calls.fails("startTime", std::to_string(processIdentifier)))
        return std::nullopt;
    const LockScope scope(lock_);
    return lookUp(starts_, processIdentifier);
}

std::optional<std::int32_t> ScriptedProcessService::parent(std::int32_t processIdentifier) noexcept {
    if (calls.fails("parent", std::to_string(processIdentifier)))
        return std::nullopt;
    const LockScope scope(lock_);
    return lookUp(parents_, processIdentifier);
}

RunningApplications ScriptedProcessService::runningApplications() {
    if (calls.fails("runningApplications"))
        return {};
    const LockScope scope(lock_);
    return *set_;
}

Observation ScriptedProcessService::observeRunningApplications(RunningApplicationsObserver observer) {
    calls.record("observeRunningApplications");
    return observers_.add([call = std::move(observer)](const SharedRunningApplications& set) { call(*set); },
                          std::make_shared<ScriptedHandle>(calls, "observation"));
}

void ScriptedProcessService::refreshRunningApplications() {
    calls.record("refreshRunningApplications");
    {
        const LockScope scope(lock_);
        observers_.offer(set_);
    }
    observers_.tell();
}

void ScriptedProcessService::setTaskInfo(std::int32_t processIdentifier, std::optional<TaskInfo> info) {
    const LockScope scope(lock_);
    assign(figures_, processIdentifier, info);
}

void ScriptedProcessService::setStartTime(std::int32_t processIdentifier, std::optional<std::uint64_t> startTime) {
    const LockScope scope(lock_);
    assign(starts_, processIdentifier, startTime);
}

void ScriptedProcessService::setParent(std::int32_t processIdentifier, std::optional<std::int32_t> parent) {
    const LockScope scope(lock_);
    assign(parents_, processIdentifier, parent);
}

void ScriptedProcessService::launch(RunningApplication application) {
    const LockScope scope(lock_);
    RunningApplications set = *set_;
    auto launched = std::make_shared<const RunningApplication>(std::move(application));
    const auto same =
        std::find_if(set.begin(), set.end(), [&](const auto& candidate) { return *candidate == *launched; });
    if (same == set.end())
        set.push_back(std::move(launched));
    else
        *same = std::move(launched);
    set_ = std::make_shared<const RunningApplications>(std::move(set));
}

void ScriptedProcessService::terminate(std::int32_t processIdentifier) {
    const LockScope scope(lock_);
    RunningApplications set = *set_;
    set.erase(std::remove_if(set.begin(), set.end(),
                             [&](const auto& candidate) { return candidate->processIdentifier == processIdentifier; }),
              set.end());
    set_ = std::make_shared<const RunningApplications>(std::move(set));
}

} // namespace sentrel::platform
