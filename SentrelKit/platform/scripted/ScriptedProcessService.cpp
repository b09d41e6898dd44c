// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedProcessService.h>

#include <algorithm>
#include <utility>

namespace sentrel::platform {

namespace {

template <class Key, class Value>
std::optional<Value> lookUp(const std::map<Key, Value>& values, Key key) {
    const auto entry = values.find(key);
    return entry == values.end() ? std::nullopt : std::optional<Value>(entry->second);
}

template <class Key, class Value>
void assign(std::map<Key, Value>& values, Key key, std::optional<Value> value) {
    if (value)
        values[key] = std::move(*value);
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

template <class Value>
Availability ScriptedProcessService::answer(const char* operation, std::int32_t processIdentifier,
                                            std::optional<Value> Facts::*fact, Value& result) const {
    if (calls.fails(operation, std::to_string(processIdentifier)))
        return availabilityOf(errno);
    const LockScope scope(lock_);
    const auto entry = facts_.find(processIdentifier);
    if (entry == facts_.end() || !(entry->second.*fact))
        return Availability::unsupported;
    result = *(entry->second.*fact);
    return Availability::available;
}

Availability ScriptedProcessService::storageBytes(std::int32_t processIdentifier, StorageBytes& bytes) noexcept {
    return answer("storageBytes", processIdentifier, &Facts::storageBytes, bytes);
}

Availability ScriptedProcessService::openFiles(std::int32_t processIdentifier, std::uint64_t& count) noexcept {
    return answer("openFiles", processIdentifier, &Facts::openFiles, count);
}

Availability ScriptedProcessService::identity(std::int32_t processIdentifier, ProcessIdentity& identity) {
    return answer("identity", processIdentifier, &Facts::identity, identity);
}

Availability ScriptedProcessService::commandLine(std::int32_t processIdentifier, std::vector<std::string>& arguments) {
    return answer("commandLine", processIdentifier, &Facts::commandLine, arguments);
}

Availability ScriptedProcessService::userName(std::uint32_t user, std::string& name) {
    if (calls.fails("userName", std::to_string(user)))
        return availabilityOf(errno);
    const LockScope scope(lock_);
    const std::optional<std::string> known = lookUp(users_, user);
    if (!known)
        return Availability::unsupported;
    name = *known;
    return Availability::available;
}

void ScriptedProcessService::setUserName(std::uint32_t user, std::optional<std::string> name) {
    const LockScope scope(lock_);
    assign(users_, user, std::move(name));
}

void ScriptedProcessService::setFacts(std::int32_t processIdentifier, Facts facts) {
    const LockScope scope(lock_);
    facts_.insert_or_assign(processIdentifier, std::move(facts));
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
