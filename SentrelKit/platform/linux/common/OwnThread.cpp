// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/OwnThread.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>

#include <cerrno>
#include <csignal>
#include <deque>
#include <system_error>
#include <thread>
#include <utility>

namespace sentrel::platform {

namespace {

// A new thread inherits the mask of the one that makes it.
class SignalsBlocked {
public:
    SignalsBlocked() noexcept {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

} // namespace

bool runOnOwnThread(std::function<void()> work) {
    const SignalsBlocked scope;
    try {
        std::thread(std::move(work)).detach();
        return true;
    } catch (const std::system_error& failure) {
        errno = failure.code().value();
        return false;
    }
}

struct OwnThreadQueue::State {
    Lock lock;
    std::deque<std::function<void()>> waiting SENTREL_GUARDED_BY(lock);
    RunningFlag hasThread SENTREL_GUARDED_BY(lock);

    void serve() {
        for (;;) {
            std::function<void()> work;
            {
                const LockScope scope(lock);
                if (waiting.empty()) {
                    hasThread = false;
                    return;
                }
                work = std::move(waiting.front());
                waiting.pop_front();
            }
            work();
        }
    }
};

OwnThreadQueue::OwnThreadQueue() : state_(std::make_shared<State>()) {}
OwnThreadQueue::~OwnThreadQueue() = default;

bool OwnThreadQueue::async(std::function<void()> work) {
    const LockScope scope(state_->lock);
    if (!state_->hasThread && !runOnOwnThread([state = state_] { state->serve(); }))
        return false;
    state_->hasThread = true;
    state_->waiting.push_back(std::move(work));
    return true;
}

} // namespace sentrel::platform
