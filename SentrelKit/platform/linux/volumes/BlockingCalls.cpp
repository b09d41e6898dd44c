// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/BlockingCalls.h>

#include <SentrelKit/platform/linux/common/OwnThread.h>

#include <chrono>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::chrono::seconds idleBound{30}; // after which a thread without a call goes away

} // namespace

struct BlockingCalls::State {
    explicit State(std::size_t most) : mostThreads(most) {}

    const std::size_t mostThreads;
    Lock lock;
    Condition changed SENTREL_GUARDED_BY(lock);
    std::vector<std::shared_ptr<BlockingCall>> waiting SENTREL_GUARDED_BY(lock);
    std::size_t threads SENTREL_GUARDED_BY(lock) = 0;
    std::size_t idle SENTREL_GUARDED_BY(lock) = 0;
    bool ended SENTREL_GUARDED_BY(lock) = false;
    unsigned process SENTREL_GUARDED_BY(lock) = ForkGate::generation();

    void forgetParentsThreads() SENTREL_REQUIRES(lock);
    bool callThread(const std::shared_ptr<State>& self) SENTREL_REQUIRES(lock);
    [[nodiscard]] std::shared_ptr<BlockingCall> next() SENTREL_REQUIRES(lock);
    void serve();
};

// In the child of a fork, where they do not exist, nor anybody who waits for what they were to call.
void BlockingCalls::State::forgetParentsThreads() {
    if (process == ForkGate::generation())
        return;
    process = ForkGate::generation();
    threads = 0;
    idle = 0;
    waiting.clear();
}

// One for each waiting call, as far as the bound allows.
bool BlockingCalls::State::callThread(const std::shared_ptr<State>& self) {
    changed.notify_one();
    if (waiting.size() <= idle || threads == mostThreads)
        return true;
    if (!runOnOwnThread([self] { self->serve(); }))
        return threads > 0;
    ++threads;
    return true;
}

std::shared_ptr<BlockingCall> BlockingCalls::State::next() {
    const SteadyClock::time_point idleEnd = SteadyClock::now() + idleBound;
    ++idle;
    while (waiting.empty() && !ended && SteadyClock::now() < idleEnd)
        changed.wait_until(lock, idleEnd);
    --idle;
    if (waiting.empty() || ended)
        return nullptr;
    std::shared_ptr<BlockingCall> call = std::move(waiting.front());
    waiting.erase(waiting.begin());
    return call;
}

void BlockingCalls::State::serve() {
    const LockScope scope(lock);
    while (const std::shared_ptr<BlockingCall> call = next()) {
        lock.unlock();
        call->run();
        lock.lock();
    }
    --threads;
}

BlockingCalls::BlockingCalls(std::size_t mostThreads) : state_(std::make_shared<State>(mostThreads)) {}

BlockingCalls::~BlockingCalls() {
    const LockScope scope(state_->lock);
    state_->ended = true;
    state_->waiting.clear();
    state_->changed.notify_all();
}

bool BlockingCalls::start(std::shared_ptr<BlockingCall> call) {
    State& state = *state_;
    const LockScope scope(state.lock);
    state.forgetParentsThreads();
    state.waiting.push_back(std::move(call));
    const bool isStarted = state.callThread(state_);
    if (!isStarted)
        state.waiting.pop_back();
    return isStarted;
}

} // namespace sentrel::platform
