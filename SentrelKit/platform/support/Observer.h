// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What keeps the promises of an Observation, for everything that can be observed: a source of notices keeps an
/// Observer for a registration and tells it; a source of many keeps them as Observers.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/ForkGate.h>
#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/Observation.h>

#include <algorithm>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace sentrel::platform {

/// The calls of one observer: one at a time, under no lock, none after its release. Any thread.
class SENTREL_API Observer {
public:
    /// `call` tells the host what happened; it holds what the host gave.
    explicit Observer(std::function<void()> call);
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;

    /// Calls it, or leaves one more call to the thread that is inside one. The caller holds no lock. An exception
    /// passes through.
    void tell();

private:
    friend class sentrel::Observation;
    struct Call;
    struct Thread;

    static Thread& thisThread() noexcept;
    static Lock& lock(); // one for all, as releases look at the calls of others; held for a moment only

    void end() noexcept SENTREL_EXCLUDES(lock());
    void release() noexcept SENTREL_EXCLUDES(lock());
    [[nodiscard]] bool begin() SENTREL_REQUIRES(lock());
    void finish() noexcept SENTREL_EXCLUDES(lock());
    [[nodiscard]] bool isCalled() const noexcept SENTREL_REQUIRES(lock());
    [[nodiscard]] bool isCalledHere() const noexcept;
    [[nodiscard]] bool waitsForThisThread() const noexcept SENTREL_REQUIRES(lock());

    std::function<void()> call_; // of the thread that calls, and after the last call of the one that let it go
    bool isDue_ SENTREL_GUARDED_BY(lock()) = false;
    bool isEnded_ SENTREL_GUARDED_BY(lock()) = false;
    RunningFlag isCalled_ SENTREL_GUARDED_BY(lock());           // by the thread that follows
    const Thread* caller_ SENTREL_GUARDED_BY(lock()) = nullptr; // while it is called
};

/// A notice that says nothing but that something changed.
struct Change {};

/// The observers of one source, each with the notices that it has not heard. Any thread. `post` and `offer` may be
/// called under the lock that orders the notices; `tell` under none.
template <class Notice>
class Observers {
public:
    Observers() = default;
    Observers(const Observers&) = delete;
    Observers& operator=(const Observers&) = delete;

    /// Hears a notice.
    using Function = std::function<void(const Notice&)>;

    /// Registers an observer. `source` is released with its observation.
    [[nodiscard]] Observation add(Function observer, std::shared_ptr<void> source = nullptr) {
        return add(memberOf(std::move(observer)), std::move(source));
    }

    /// Registers an observer that has heard, on this thread, what `first` leaves for it when this returns. Until then
    /// others leave it notices too, but call it not: this thread would not wait for their calls.
    template <class First>
    [[nodiscard]] Observation addAndTell(Function observer, First&& first) {
        const Member member = memberOf(std::move(observer));
        member.notices->isTold = false;
        Observation observation = add(member, nullptr);
        first();
        member.observer->tell();
        member.notices->isTold = true;
        member.observer->tell(); // what was left last and not told
        return observation;
    }

    /// Leaves a notice for all observers, which hear each, in their order.
    void post(const Notice& notice) {
        const LockScope scope(list_->lock);
        for (const Member& member : *list_->members)
            member.notices->waiting.push_back(notice);
    }

    /// Leaves a notice for the observers that none was left for yet.
    void postToNew(const Notice& notice) {
        const LockScope scope(list_->lock);
        for (const Member& member : *list_->members) {
            if (!member.notices->heard && member.notices->waiting.empty())
                member.notices->waiting.push_back(notice);
        }
    }

    /// Leaves the newest of a value that changes for all that did not hear it last; they hear none that it replaced.
    void offer(const Notice& newest) {
        const LockScope scope(list_->lock);
        for (const Member& member : *list_->members) {
            member.notices->waiting.clear();
            if (member.notices->heard != newest)
                member.notices->waiting.push_back(newest);
        }
    }

    /// Tells all observers what was left for them. The first exception passes through once all have been told.
    void tell() const {
        const std::shared_ptr<const Members> members = list_->current();
        std::exception_ptr failure;
        for (const Member& member : *members) {
            if (!member.notices->isTold)
                continue;
            try {
                member.observer->tell();
            } catch (...) {
                if (!failure)
                    failure = std::current_exception();
            }
        }
        if (failure)
            std::rethrow_exception(failure);
    }

    /// How many are registered.
    [[nodiscard]] std::size_t count() const { return list_->current()->size(); }

private:
    struct List;

    // All but the pointer and the flag under the list's lock.
    struct Notices {
        // The next notice; whether others wait.
        std::optional<Notice> take(List& list, bool& areMore) {
            const LockScope scope(list.lock);
            if (waiting.empty())
                return std::nullopt;
            heard = std::move(waiting.front());
            waiting.pop_front();
            areMore = !waiting.empty();
            return heard;
        }

        Observer* observer = nullptr;
        std::deque<Notice> waiting;
        std::optional<Notice> heard; // last
        Relaxed<bool> isTold{true};  // with the others; looked at after a notice was left under the lock
    };

    struct Member {
        std::shared_ptr<Observer> observer;
        std::shared_ptr<Notices> notices;
    };
    using Members = std::vector<Member>;

    // Replaced whole, so that telling copies no list.
    struct List {
        std::shared_ptr<const Members> current() {
            const LockScope scope(lock);
            return members;
        }

        Lock lock; // not held while observers are called
        std::shared_ptr<const Members> members SENTREL_GUARDED_BY(lock) = std::make_shared<const Members>();
    };

    class Registration {
    public:
        Registration(std::shared_ptr<List> list, Member member, std::shared_ptr<void> source)
            : list_(std::move(list)), observer_(member.observer.get()), source_(std::move(source)) {
            const LockScope scope(list_->lock);
            Members members = *list_->members;
            members.push_back(std::move(member));
            list_->members = std::make_shared<const Members>(std::move(members));
        }
        ~Registration() {
            std::shared_ptr<const Members> before; // may be the last to hold a member: released outside the lock
            const LockScope scope(list_->lock);
            Members members = *list_->members;
            std::erase_if(members, [this](const Member& member) { return member.observer.get() == observer_; });
            before = std::exchange(list_->members, std::make_shared<const Members>(std::move(members)));
        }
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;

    private:
        const std::shared_ptr<List> list_;
        const Observer* const observer_;
        const std::shared_ptr<void> source_;
    };

    [[nodiscard]] Member memberOf(Function observer) const {
        auto notices = std::make_shared<Notices>();
        auto calls = std::make_shared<Observer>([list = list_, notices, function = std::move(observer)] {
            bool areMore = false;
            const std::optional<Notice> notice = notices->take(*list, areMore);
            if (areMore)
                notices->observer->tell(); // right after this call
            if (notice)
                function(*notice);
        });
        notices->observer = calls.get(); // whose closure keeps the notices
        return {std::move(calls), std::move(notices)};
    }

    [[nodiscard]] Observation add(const Member& member, std::shared_ptr<void> source) {
        return Observation(member.observer, std::make_shared<Registration>(list_, member, std::move(source)));
    }

    std::shared_ptr<List> list_ = std::make_shared<List>();
};

} // namespace sentrel::platform
