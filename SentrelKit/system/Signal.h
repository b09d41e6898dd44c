// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A typed event channel inside the process: a producer fires it with a value, and every subscription's callback gets
/// the value. A subscription belongs to an owner object, which the channel holds weakly: when the owner goes away, the
/// subscription dies by itself and is dropped by the next fire or subscribe.
///
///     battery.onBatteryChanged().listen(view, [v = std::weak_ptr(view)] { ... })->dispatch(dispatch::mainQueue());
///
/// Threads. A channel has no lock. One producer thread fires it; subscribing, detaching and the settings of a
/// subscription belong to that thread too, or to a moment when nothing fires. From any thread and at any time:
/// releasing an owner, `SignalListener::cancel`, `fireCount`. A callback without queue and without delay runs on the
/// firing thread; one with a delay and no queue runs on the main queue.
///
/// A channel does not keep an owner alive while its callback runs on the firing thread. Where an owner may be released
/// on another thread, or by the callback itself, the callback captures it weakly.
///
/// From inside a callback everything is allowed, the release of the channel included:
/// - a subscription made during a fire gets the next fire (one fired by a later callback of the same fire counts as
///   next);
/// - a subscription detached or cancelled during a fire, or one whose owner is released, gets nothing more, also not
///   what a queue or a delay still holds for it;
/// - an exception of a callback passes through `fire`; the subscriptions behind it miss that value.

#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/system/Mutex/Atomic.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace sentrel {

template <class T>
class Signal;

/// What a channel of payload T stores and calls; a channel of `void` carries no payload.
template <class T>
struct SignalPayload {
    /// What is stored of an event.
    using Value = T;
    /// What a subscription calls.
    using Callback = std::function<void(const T&)>;
    /// What decides whether an event is delivered.
    using Filter = std::function<bool(const T&)>;

    /// Calls a callback or a filter with what was stored.
    template <class Function>
    static auto call(const Function& function, const Value& data) {
        return function(data);
    }
};

/// The payload of a channel that carries no value.
template <>
struct SignalPayload<void> {
    /// What is stored of an event: nothing.
    using Value = std::monostate;
    /// What a subscription calls.
    using Callback = std::function<void()>;
    /// What decides whether an event is delivered.
    using Filter = std::function<bool()>;

    /// Calls a callback or a filter.
    template <class Function>
    static auto call(const Function& function, const Value&) {
        return function();
    }
};

/// One subscription. Channels build them; the handle may be kept or dropped freely. The three settings return the same
/// subscription, to be chained after `listen`.
template <class T>
class SignalListener : public std::enable_shared_from_this<SignalListener<T>> {
    using Payload = SignalPayload<T>;
    using Value = typename Payload::Value;
    friend class Signal<T>;
    class Key {
        friend class Signal<T>;
        Key() = default;
    };

public:
    /// How a subscription is held.
    using Handle = std::shared_ptr<SignalListener>;

    /// For channels alone: `Key` is theirs.
    SignalListener(Key, std::weak_ptr<void> owner, const void* identity, typename Payload::Callback callback)
        : owner_(std::move(owner)), identity_(identity), callback_(std::move(callback)) {}
    SignalListener(const SignalListener&) = delete;
    SignalListener& operator=(const SignalListener&) = delete;

    /// Delivers only values for which the predicate returns true.
    Handle filter(typename Payload::Filter predicate) {
        filter_ = std::move(predicate);
        return this->shared_from_this();
    }

    /// Defers deliveries by so many seconds, on the queue set with `dispatch` or on the main queue. The fires of one
    /// such period make one delivery, of the newest value, one delay after the first of them. A subscription that is
    /// also one-shot never delivers: meant so.
    Handle queue(double delay) {
        if (!queuedData_)
            queuedData_ = std::make_unique<Atomic<std::optional<Value>>>();
        delay_ = delay;
        return this->shared_from_this();
    }

    /// The same with a duration.
    Handle queue(std::chrono::duration<double> delay) { return queue(delay.count()); }

    /// Runs the callback on a queue. A value on its way there does not keep the owner alive: it is dropped if, when its
    /// turn comes, the owner is gone or the subscription was cancelled or detached. During the call the owner is kept.
    Handle dispatch(std::shared_ptr<DispatchQueue> queue) {
        dispatchQueue_ = std::move(queue);
        return this->shared_from_this();
    }

    /// Ends the subscription: nothing more is delivered, a value that waits for its delay or on a queue included; only
    /// a call that already runs finishes. Any thread.
    void cancel() noexcept { cancelled_ = true; }

    /// The owner, or null when the subscription is dead. Any thread.
    [[nodiscard]] std::shared_ptr<void> listener() const noexcept { return isEnded() ? nullptr : owner_.lock(); }

    /// Whether it delivers at most one value.
    [[nodiscard]] bool once() const noexcept { return once_; }

    /// Seconds by which deliveries are deferred, if they are.
    [[nodiscard]] std::optional<double> delay() const noexcept { return delay_; }

private:
    [[nodiscard]] bool isCancelled() const noexcept { return cancelled_; }
    [[nodiscard]] bool isEnded() const noexcept { return isCancelled() || spent_; }
    [[nodiscard]] bool isAlive() const noexcept { return !isEnded() && !owner_.expired(); }
    [[nodiscard]] bool belongsTo(const void* identity) const noexcept { return identity_ == identity; }

    /// Whether the filter lets the value pass. A dead subscription's filter is not asked.
    [[nodiscard]] bool accepts(const Value& data) const {
        return !filter_ || (isAlive() && Payload::call(filter_, data));
    }

    /// Delivers one value; returns whether the subscription is alive afterwards.
    bool dispatchData(const Value& data) {
        if (!isAlive())
            return false;
        if (once_)
            spent_ = true;
        if (delay_)
            enqueue(data);
        else if (dispatchQueue_)
            dispatchQueue_->async([self = this->shared_from_this(), data] { self->deliverOnQueue(data); });
        else
            Payload::call(callback_, data);
        return isAlive();
    }

    // A one-shot subscription is spent by now; its delivery comes all the same.
    void deliverOnQueue(const Value& data) {
        const std::shared_ptr<void> owner = owner_.lock();
        if (owner && !isCancelled())
            Payload::call(callback_, data);
    }

    void enqueue(const Value& data) {
        const bool pending = queuedData_->withValue([&](std::optional<Value>& queued) {
            const bool had = queued.has_value();
            queued = data;
            return had;
        });
        if (pending)
            return;
        const std::shared_ptr<DispatchQueue> queue = dispatchQueue_ ? dispatchQueue_ : sentrel::dispatch::mainQueue();
        queue->after(nanosecondsFromSeconds(*delay_), [weak = this->weak_from_this()] {
            if (const Handle self = weak.lock())
                self->deliverQueued();
        });
    }

    void deliverQueued() {
        const std::optional<Value> data = queuedData_->swap(std::nullopt);
        const std::shared_ptr<void> owner = listener();
        if (data && owner)
            Payload::call(callback_, *data);
    }

    const std::weak_ptr<void> owner_;
    const void* const identity_;
    // Death before the owner's own; the weak pointer itself is never changed, so that any thread may ask it.
    Relaxed<bool> cancelled_;
    Relaxed<bool> spent_; ///< a one-shot subscription that has handed its value out
    bool once_ = false;
    std::optional<double> delay_;
    std::unique_ptr<Atomic<std::optional<Value>>> queuedData_;
    typename Payload::Filter filter_;
    const typename Payload::Callback callback_;
    std::shared_ptr<DispatchQueue> dispatchQueue_;
};

/// The channel. `Signal<void>` fires without a value and its callbacks and filters take none.
template <class T>
class Signal {
    using Payload = SignalPayload<T>;
    using Value = typename Payload::Value;

public:
    /// A subscription of this channel.
    using Listener = SignalListener<T>;
    /// How one is held.
    using Handle = typename Listener::Handle;
    /// What a subscription calls with each value.
    using Callback = typename Payload::Callback;

    /// An empty channel that never fired; with true, it keeps the last value for `listenPast`.
    explicit Signal(bool retainLastData = false) noexcept : retainLastData_(retainLastData) {}
    ~Signal() {
        if (!firing_)
            return;
        Fire* outermost = firing_;
        for (Fire* fire = firing_; fire; fire = fire->outer) {
            fire->channelGone = true;
            outermost = fire;
        }
        outermost->orphans = std::move(signalListeners_);
    }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    /// Publishes a value to every subscription, in the order they were made.
    void fire(const Value& data) requires(!std::is_void_v<T>) { publish(data); }
    /// The same without a value.
    void fire() requires std::is_void_v<T> { publish(Value{}); }

    /// Subscribes. Owners are compared by identity; a null owner's subscription is dead from the start.
    template <class Owner>
    Handle listen(const std::shared_ptr<Owner>& owner, Callback callback) {
        dumpCancelledListeners();
        signalListeners_.push_back(
            std::make_shared<Listener>(typename Listener::Key{}, owner, identity(owner), std::move(callback)));
        return signalListeners_.back();
    }

    /// Subscribes for one delivery.
    template <class Owner>
    Handle listenOnce(const std::shared_ptr<Owner>& owner, Callback callback) {
        Handle subscription = listen(owner, std::move(callback));
        subscription->once_ = true;
        return subscription;
    }

    /// Subscribes and, if a last value is kept, calls the callback with it before returning, on this thread.
    template <class Owner>
    Handle listenPast(const std::shared_ptr<Owner>& owner, Callback callback) {
        Handle subscription = listen(owner, std::move(callback));
        if (const std::optional<Value> last = lastDataFired_)
            Payload::call(subscription->callback_, *last);
        return subscription;
    }

    /// Subscribes for one delivery: of the last value, before returning and on this thread, if one is kept, else of
    /// the next one fired.
    template <class Owner>
    Handle listenPastOnce(const std::shared_ptr<Owner>& owner, Callback callback) {
        Handle subscription = listen(owner, std::move(callback));
        if (const std::optional<Value> last = lastDataFired_) {
            Payload::call(subscription->callback_, *last);
            subscription->cancel();
        } else {
            subscription->once_ = true;
        }
        return subscription;
    }

    /// The owners that are still alive, in subscription order, one entry a subscription.
    [[nodiscard]] std::vector<std::shared_ptr<void>> listeners() const {
        std::vector<std::shared_ptr<void>> owners;
        for (const Handle& subscription : signalListeners_)
            if (std::shared_ptr<void> owner = subscription->listener())
                owners.push_back(std::move(owner));
        return owners;
    }

    /// Ends and removes every subscription of this owner.
    template <class Owner>
    void dettach(const std::shared_ptr<Owner>& owner) {
        for (const Handle& subscription : signalListeners_)
            if (subscription->belongsTo(identity(owner)))
                subscription->cancel();
        dumpCancelledListeners();
    }

    /// Ends and removes all subscriptions.
    void dettachAllListeners() {
        for (const Handle& subscription : signalListeners_)
            subscription->cancel();
        dumpCancelledListeners();
    }

    /// Number of fires so far. Any thread.
    [[nodiscard]] std::int64_t fireCount() const noexcept { return fireCount_; }

    /// The last value fired, if it is kept.
    [[nodiscard]] std::optional<Value> lastDataFired() const { return lastDataFired_; }

    /// Forgets the last value.
    void clearLastData() { lastDataFired_.reset(); }

    /// Whether the last value is kept. Setting false forgets it at once; setting true keeps the next one fired.
    [[nodiscard]] bool retainLastData() const noexcept { return retainLastData_; }
    /// Whether the last value is kept for `listenPast` from the next fire on.
    void setRetainLastData(bool retain) {
        if (!retain)
            clearLastData();
        retainLastData_ = retain;
    }

private:
    /// One running `fire`; they nest. While one runs the list only grows, so that its walk stays valid.
    struct Fire {
        explicit Fire(Signal& signal) noexcept : channel(signal), outer(signal.firing_) { signal.firing_ = this; }
        ~Fire() {
            if (!channelGone)
                channel.firing_ = outer;
        }
        Fire(const Fire&) = delete;
        Fire& operator=(const Fire&) = delete;

        Signal& channel;
        Fire* const outer;
        bool channelGone = false;
        std::vector<Handle> orphans; ///< the subscriptions of a channel released during its outermost fire
    };

    /// The object's address, the same through a pointer to any of its bases.
    template <class Owner>
    static const void* identity(const std::shared_ptr<Owner>& owner) noexcept {
        if constexpr (std::is_polymorphic_v<Owner>)
            return dynamic_cast<const void*>(owner.get());
        else
            return owner.get();
    }

    void publish(const Value& data) {
        fireCount_ = fireCount() + 1;
        if (retainLastData_)
            lastDataFired_ = data;
        else
            lastDataFired_.reset();
        dumpCancelledListeners();
        {
            Fire fire(*this);
            const std::size_t count = signalListeners_.size();
            for (std::size_t i = 0; i < count; ++i) {
                Listener& subscription = *signalListeners_[i];
                if (subscription.accepts(data))
                    subscription.dispatchData(data);
                if (fire.channelGone)
                    return;
            }
        }
        if (dumpPending_)
            dumpCancelledListeners();
    }

    void dumpCancelledListeners() {
        dumpPending_ = firing_ != nullptr;
        if (dumpPending_)
            return;
        std::size_t kept = 0;
        while (kept < signalListeners_.size() && signalListeners_[kept]->isAlive())
            ++kept;
        if (kept == signalListeners_.size())
            return;
        // Released last: what a callback captured may subscribe or detach from its destructor.
        std::vector<Handle> dead;
        dead.reserve(signalListeners_.size() - kept);
        for (std::size_t i = kept; i < signalListeners_.size(); ++i) {
            if (signalListeners_[i]->isAlive())
                signalListeners_[kept++].swap(signalListeners_[i]);
            else
                dead.push_back(std::move(signalListeners_[i]));
        }
        signalListeners_.resize(kept);
    }

    Relaxed<std::int64_t> fireCount_;
    std::optional<Value> lastDataFired_;
    bool retainLastData_;
    bool dumpPending_ = false;
    Fire* firing_ = nullptr;
    std::vector<Handle> signalListeners_;
};

} // namespace sentrel
