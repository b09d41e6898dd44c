// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/Observer.h>

namespace sentrel::platform {

/// What a thread is inside of, and what it waits for. Its own, but for what it waits for.
struct Observer::Thread {
    const Call* innermost = nullptr;
    const Observer* released = nullptr; ///< whose call it waits for; under the lock
};

/// One call, from its beginning, which has been marked, to its end.
struct Observer::Call {
    explicit Call(Observer& called) : observer(called), outer(std::exchange(thisThread().innermost, this)) {}
    ~Call() {
        observer.finish();
        thisThread().innermost = outer;
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    Observer& observer;
    const Call* const outer;
};

Observer::Thread& Observer::thisThread() noexcept {
    static thread_local Thread thread;
    return thread;
}

// Never destroyed, as the condition: a change may come while the process ends.
Lock& Observer::lock() {
    static Lock& lock = *new Lock;
    return lock;
}

namespace {

Condition& callEnded() {
    static Condition& condition = *new Condition;
    return condition;
}

} // namespace

Observer::Observer(std::function<void()> call) : call_(std::move(call)) {}

void Observer::tell() {
    {
        const LockScope scope(lock());
        isDue_ = true;
    }
    const auto isNext = [this] {
        const LockScope scope(lock());
        return begin();
    };
    while (isNext()) {
        const Call call(*this);
        call_();
    }
}

bool Observer::begin() {
    if (!isDue_ || isEnded_ || isCalled())
        return false;
    isDue_ = false;
    isCalled_ = true;
    caller_ = &thisThread();
    return true;
}

void Observer::finish() noexcept {
    std::function<void()> held; // let go of outside the lock, and before anyone who waits goes on
    {
        const LockScope scope(lock());
        if (isEnded_)
            held.swap(call_);
    }
    held = nullptr;
    const LockScope scope(lock());
    isCalled_ = false;
    callEnded().notify_all();
}

// A call that the thread of a fork is inside goes on in the child too.
bool Observer::isCalled() const noexcept {
    return isCalled_ || isCalledHere();
}

bool Observer::isCalledHere() const noexcept {
    const Call* call = thisThread().innermost;
    while (call && &call->observer != this)
        call = call->outer;
    return call != nullptr;
}

// Directly, or because the thread that calls waits for another call that does. There is no circle: the release that
// would close one does not wait.
bool Observer::waitsForThisThread() const noexcept {
    for (const Observer* each = this; each; each = each->isCalled_ ? each->caller_->released : nullptr) {
        if (each->isCalledHere())
            return true;
    }
    return false;
}

void Observer::end() noexcept {
    const LockScope scope(lock());
    isEnded_ = true;
}

void Observer::release() noexcept {
    std::function<void()> held; // let go of outside the lock
    const LockScope scope(lock());
    Thread& thread = thisThread();
    while (isCalled() && !waitsForThisThread()) {
        thread.released = this;
        callEnded().wait(lock());
        thread.released = nullptr;
    }
    if (!isCalled())
        held.swap(call_);
}

} // namespace sentrel::platform

namespace sentrel {

Observation::Observation(std::shared_ptr<platform::Observer> observer, std::shared_ptr<void> source) noexcept
    : observer_(std::move(observer)), source_(std::move(source)) {}

Observation& Observation::operator=(Observation&& other) noexcept {
    if (this != &other) {
        reset();
        observer_ = std::move(other.observer_);
        source_ = std::move(other.source_);
    }
    return *this;
}

// Emptied first: inside the call that may go on meanwhile this object is another's business.
void Observation::reset() noexcept {
    const std::shared_ptr<platform::Observer> observer = std::move(observer_);
    std::shared_ptr<void> source = std::move(source_);
    if (!observer)
        return;
    observer->end();
    source.reset();
    observer->release();
}

} // namespace sentrel
