// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedCalls.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>

#include <algorithm>
#include <map>
#include <utility>

namespace sentrel::platform {

namespace {

struct Call {
    std::string_view operation;
    std::string arguments;

    [[nodiscard]] std::string text() const {
        std::string text(operation);
        if (!arguments.empty())
            text.append(" ").append(arguments);
        return text;
    }
};

struct Failure {
    std::string operation;
    ScriptedFailure which;
    int seen = 0; // calls that it fits
};

struct Given {
    const ScriptedHandle* handle; // null once it came back
    std::string what;
};

using Completions = std::vector<std::function<void()>>;

} // namespace

// Handles share it: one may come back after its service is gone.
struct ScriptedCalls::State {
    mutable Lock lock;
    std::vector<Call> calls SENTREL_GUARDED_BY(lock);
    std::vector<Given> handles SENTREL_GUARDED_BY(lock);
    std::vector<Failure> failures SENTREL_GUARDED_BY(lock);
    Hook onCall SENTREL_GUARDED_BY(lock);
    Hook onEntry SENTREL_GUARDED_BY(lock);
    std::map<std::string, Completions, std::less<>> held SENTREL_GUARDED_BY(lock);

    [[nodiscard]] std::vector<std::string> list() const SENTREL_REQUIRES(lock) {
        std::vector<std::string> texts;
        for (const Call& call : calls)
            texts.push_back(call.text());
        return texts;
    }

    void clear() SENTREL_REQUIRES(lock) {
        calls.clear();
        std::erase_if(handles, [](const Given& given) { return !given.handle; });
    }

    // Records a call and runs the hook.
    void record(const Call& call) SENTREL_EXCLUDES(lock) {
        Hook hook;
        {
            const LockScope scope(lock);
            calls.push_back(call);
            hook = onCall;
        }
        if (hook)
            hook(call.text());
    }

    // The errno of the first failure that fits a call, or 0.
    int failureOf(const Call& call) SENTREL_REQUIRES(lock) {
        int error = 0;
        for (Failure& failure : failures) {
            if (failure.operation != call.operation ||
                failure.which.arguments.value_or(call.arguments) != call.arguments)
                continue;
            ++failure.seen;
            if (error == 0 && (failure.which.call == 0 || failure.which.call == failure.seen))
                error = failure.which.error;
        }
        return error;
    }
};

// Tests of samples count what those allocate, not what the record does.
ScriptedCalls::ScriptedCalls() : state_(std::make_shared<State>()) {
    constexpr std::size_t room = 4096;
    const LockScope scope(state_->lock);
    state_->calls.reserve(room);
}

// A completion that was never delivered may hold handles, which tell the state of their end.
ScriptedCalls::~ScriptedCalls() {
    std::map<std::string, Completions, std::less<>> dropped;
    const LockScope scope(state_->lock);
    dropped.swap(state_->held);
}

std::vector<std::string> ScriptedCalls::list() const {
    const LockScope scope(state_->lock);
    return state_->list();
}

std::vector<std::string> ScriptedCalls::take() {
    const LockScope scope(state_->lock);
    std::vector<std::string> texts = state_->list();
    state_->clear();
    return texts;
}

void ScriptedCalls::clear() {
    const LockScope scope(state_->lock);
    state_->clear();
}

std::size_t ScriptedCalls::count(std::string_view operation) const {
    const LockScope scope(state_->lock);
    return static_cast<std::size_t>(std::count_if(state_->calls.begin(), state_->calls.end(),
                                                  [=](const Call& call) { return call.operation == operation; }));
}

std::vector<std::string> ScriptedCalls::handles() const {
    const LockScope scope(state_->lock);
    std::vector<std::string> texts;
    for (const Given& given : state_->handles)
        texts.push_back(given.what);
    return texts;
}

std::vector<std::string> ScriptedCalls::openHandles() const {
    const LockScope scope(state_->lock);
    std::vector<std::string> texts;
    for (const Given& given : state_->handles)
        if (given.handle)
            texts.push_back(given.what);
    return texts;
}

void ScriptedCalls::fail(std::string operation, ScriptedFailure failure) {
    const LockScope scope(state_->lock);
    state_->failures.push_back({std::move(operation), std::move(failure)});
}

void ScriptedCalls::succeed(std::string_view operation) {
    const LockScope scope(state_->lock);
    std::erase_if(state_->failures, [=](const Failure& failure) { return failure.operation == operation; });
}

void ScriptedCalls::succeed() {
    const LockScope scope(state_->lock);
    state_->failures.clear();
}

// The hook before is released outside the lock.
void ScriptedCalls::onCall(Hook hook) {
    const LockScope scope(state_->lock);
    state_->onCall.swap(hook);
}

void ScriptedCalls::onEntry(Hook hook) {
    const LockScope scope(state_->lock);
    state_->onEntry.swap(hook);
}

void ScriptedCalls::hold(std::string operation) {
    const LockScope scope(state_->lock);
    state_->held.try_emplace(std::move(operation));
}

void ScriptedCalls::resume(std::string_view operation) {
    Completions completions;
    {
        const LockScope scope(state_->lock);
        const auto held = state_->held.find(operation);
        if (held == state_->held.end())
            return;
        completions = std::move(held->second);
        state_->held.erase(held);
    }
    for (const auto& completion : completions)
        completion();
}

std::size_t ScriptedCalls::held(std::string_view operation) const {
    const LockScope scope(state_->lock);
    const auto held = state_->held.find(operation);
    return held == state_->held.end() ? 0 : held->second.size();
}

bool ScriptedCalls::fails(std::string_view operation, std::string arguments) const {
    const Call call{operation, std::move(arguments)};
    state_->record(call);
    int error = 0;
    {
        const LockScope scope(state_->lock);
        error = state_->failureOf(call);
    }
    if (error != 0)
        errno = error;
    return error != 0;
}

void ScriptedCalls::record(std::string_view operation, std::string arguments) const {
    state_->record({operation, std::move(arguments)});
}

void ScriptedCalls::entry(std::string_view operation, const std::string& entry) {
    Hook hook;
    {
        const LockScope scope(state_->lock);
        hook = state_->onEntry;
    }
    if (hook)
        hook(Call{operation, entry}.text());
}

void ScriptedCalls::complete(std::string_view operation, std::function<void()> completion) {
    {
        const LockScope scope(state_->lock);
        if (const auto held = state_->held.find(operation); held != state_->held.end()) {
            held->second.push_back(std::move(completion));
            return;
        }
    }
    completion();
}

ScriptedHandle::ScriptedHandle(ScriptedCalls& calls, std::string what) : state_(calls.state_), what_(std::move(what)) {
    const LockScope scope(state_->lock);
    state_->handles.push_back({this, what_});
}

ScriptedHandle::~ScriptedHandle() {
    const LockScope scope(state_->lock);
    state_->calls.push_back({"release", what_});
    const auto given = std::find_if(state_->handles.begin(), state_->handles.end(),
                                    [this](const Given& each) { return each.handle == this; });
    given->handle = nullptr;
}

void ScriptedHandle::record(std::string_view operation) const {
    state_->record({operation, what_});
}

} // namespace sentrel::platform
