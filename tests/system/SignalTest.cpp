// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Signal.h>

#include "tests/support/Allocations.h"

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace sentrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Owner = std::shared_ptr<int>;
Owner makeOwner() {
    return std::make_shared<int>(0);
}

/// A channel of integers, an owner and the values that its callbacks got, on virtual queues.
class SignalTest : public testing::Test {
protected:
    std::function<void(const int&)> record() {
        return [this](int value) { received.push_back(value); };
    }

    platform::ScriptedPlatform machine;
    platform::Override override{machine};
    Signal<int> signal;
    Signal<int> retaining{true};
    Owner owner = makeOwner();
    std::vector<int> received;
};

TEST_F(SignalTest, StartsWithoutFiresAndWithoutALastValue) {
    EXPECT_EQ(signal.fireCount(), 0);
    EXPECT_EQ(signal.lastDataFired(), std::nullopt);
    EXPECT_FALSE(signal.retainLastData());
    EXPECT_TRUE(retaining.retainLastData());
}

TEST_F(SignalTest, DeliversToEverySubscriptionInOrder) {
    signal.listen(owner, [this](int value) { received.push_back(value); });
    signal.listen(owner, [this](int value) { received.push_back(value * 10); });
    signal.fire(1);
    EXPECT_THAT(received, ElementsAre(1, 10));
}

TEST_F(SignalTest, CarriesNoPayloadWhenItsTypeIsVoid) {
    Signal<void> clicked;
    int clicks = 0;
    bool enabled = true;
    clicked.listen(owner, [&] { ++clicks; })->filter([&] { return enabled; });
    clicked.fire();
    enabled = false;
    clicked.fire();
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(clicked.fireCount(), 2);
}

TEST_F(SignalTest, RepeatsAnEventWithoutPayloadToALateSubscriber) {
    Signal<void> happened(true);
    happened.fire();
    int calls = 0;
    happened.listenPast(owner, [&] { ++calls; });
    EXPECT_EQ(calls, 1);
}

TEST_F(SignalTest, CountsFiresButKeepsNoValueUnlessAskedTo) {
    signal.listenPast(owner, record());
    signal.fire(1);
    EXPECT_EQ(signal.lastDataFired(), std::nullopt);
    EXPECT_EQ(signal.fireCount(), 1);
    received.clear();
    signal.listenPast(owner, record());
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, ReplaysTheLastValueBeforeListenPastReturns) {
    retaining.fire(1);
    retaining.fire(2);
    retaining.listenPast(owner, record());
    EXPECT_THAT(received, ElementsAre(2));
    EXPECT_EQ(retaining.fireCount(), 2);
    retaining.fire(3);
    EXPECT_THAT(received, ElementsAre(2, 3));
}

TEST_F(SignalTest, ListenPastOnceDeliversTheLastValueAndNothingMore) {
    retaining.fire(1);
    retaining.listenPastOnce(owner, record());
    EXPECT_THAT(received, ElementsAre(1));
    retaining.fire(2);
    EXPECT_THAT(received, ElementsAre(1));
    EXPECT_THAT(retaining.listeners(), IsEmpty());
}

TEST_F(SignalTest, ListenPastOnceWithoutALastValueGetsExactlyTheNextFire) {
    retaining.listenPastOnce(owner, record());
    EXPECT_THAT(received, IsEmpty());
    retaining.fire(1);
    retaining.fire(2);
    EXPECT_THAT(received, ElementsAre(1));
}

TEST_F(SignalTest, ListenOnceDeliversOnceAlsoWhenItsCallbackFiresAgain) {
    signal.listenOnce(owner, [this](int value) {
        received.push_back(value);
        signal.fire(value + 1);
    });
    signal.fire(1);
    signal.fire(5);
    EXPECT_THAT(received, ElementsAre(1));
}

TEST_F(SignalTest, StopsAtOnceWhenTheOwnerIsReleased) {
    const auto captured = makeOwner();
    signal.listen(owner, [this, captured](int value) { received.push_back(value); });
    EXPECT_EQ(signal.listeners().size(), 1U);
    owner.reset();
    EXPECT_THAT(signal.listeners(), IsEmpty());
    EXPECT_EQ(captured.use_count(), 2) << "the subscription itself waits for the next fire or subscribe";
    signal.fire(1);
    EXPECT_THAT(received, IsEmpty());
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(SignalTest, DropsDeadSubscriptionsOnTheNextSubscribe) {
    const auto captured = makeOwner();
    signal.listen(owner, [captured](int) {});
    owner.reset();
    const Owner other = makeOwner();
    signal.listen(other, record());
    EXPECT_EQ(captured.use_count(), 1);
    EXPECT_THAT(signal.listeners(), ElementsAre(other));
}

TEST_F(SignalTest, KeepsTheOrderOfThoseThatStayWhenOthersDie) {
    std::vector<Owner> owners;
    for (int i = 0; i < 7; ++i) {
        owners.push_back(makeOwner());
        signal.listen(owners.back(), [this, i](int) { received.push_back(i); });
    }
    for (const std::size_t dead : {0U, 2U, 3U, 6U})
        owners[dead].reset();
    signal.fire(0);
    EXPECT_THAT(received, ElementsAre(1, 4, 5));
    EXPECT_THAT(signal.listeners(), ElementsAre(owners[1], owners[4], owners[5]));
}

TEST_F(SignalTest, NeverDeliversToANullOwner) {
    signal.listen(Owner(), record());
    signal.fire(1);
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, DeliversNothingThatItsFilterRejects) {
    signal.listen(owner, record())->filter([](int value) { return value % 2 == 0; });
    signal.fire(1);
    signal.fire(2);
    EXPECT_THAT(received, ElementsAre(2));
    EXPECT_EQ(signal.fireCount(), 2);
}

TEST_F(SignalTest, QueuesNothingThatItsFilterRejects) {
    signal.listen(owner, record())->filter([](int value) { return value < 10; })->queue(0.5);
    signal.fire(1);
    signal.fire(10);
    machine.advance(1);
    EXPECT_THAT(received, ElementsAre(1));
    signal.fire(11);
    machine.advance(1);
    EXPECT_THAT(received, ElementsAre(1));
}

TEST_F(SignalTest, ARejectedValueDoesNotUseUpAOneShotSubscription) {
    signal.listenOnce(owner, record())->filter([](int value) { return value > 1; });
    signal.fire(1);
    signal.fire(2);
    EXPECT_THAT(received, ElementsAre(2));
}

TEST_F(SignalTest, ReplayIgnoresTheFilterThatIsSetAfterwards) {
    retaining.fire(1);
    retaining.listenPast(owner, record())->filter([](int) { return false; });
    retaining.fire(2);
    EXPECT_THAT(received, ElementsAre(1));
}

TEST_F(SignalTest, CollapsesABurstIntoOneDeliveryOfTheNewestValue) {
    signal.listen(owner, record())->queue(0.5);
    signal.fire(1);
    machine.advance(0.1);
    signal.fire(2);
    machine.advance(0.1);
    signal.fire(3);
    machine.advance(0.29);
    EXPECT_THAT(received, IsEmpty());
    machine.advance(0.02);
    EXPECT_THAT(received, ElementsAre(3));
    machine.advance(5);
    EXPECT_THAT(received, ElementsAre(3));
    signal.fire(4);
    machine.advance(0.5);
    EXPECT_THAT(received, ElementsAre(3, 4));
}

TEST_F(SignalTest, TakesADelayAsADurationToo) {
    signal.listen(owner, record())->queue(std::chrono::milliseconds(500));
    signal.fire(1);
    machine.advance(0.49);
    EXPECT_THAT(received, IsEmpty());
    machine.advance(0.01);
    EXPECT_THAT(received, ElementsAre(1));
}

TEST_F(SignalTest, RunsADelayedDeliveryOnTheMainQueueUnlessGivenAnother) {
    const auto serial = dispatch::serialQueue("listener");
    const DispatchQueue* byDefault = nullptr;
    const DispatchQueue* chosen = nullptr;
    signal.listen(owner, [&](int) { byDefault = machine.dispatch().currentQueue(); })->queue(0.1);
    signal.listen(owner, [&](int) { chosen = machine.dispatch().currentQueue(); })->queue(0.1)->dispatch(serial);
    signal.fire(1);
    machine.advance(0.1);
    EXPECT_EQ(byDefault, dispatch::mainQueue().get());
    EXPECT_EQ(chosen, serial.get());
}

TEST_F(SignalTest, ANewValueMayBeQueuedFromInsideADelayedDelivery) {
    signal
        .listen(owner,
                [this](int value) {
                    received.push_back(value);
                    if (value < 3)
                        signal.fire(value + 1);
                })
        ->queue(0.1);
    signal.fire(1);
    machine.advance(0.1);
    EXPECT_THAT(received, ElementsAre(1));
    machine.advance(0.2);
    EXPECT_THAT(received, ElementsAre(1, 2, 3));
}

TEST_F(SignalTest, AOneShotDelayedSubscriptionNeverDelivers) {
    // Meant: the one shot ends the subscription before the deferred delivery looks for its owner.
    signal.listenOnce(owner, record())->queue(0.1);
    signal.fire(1);
    machine.advance(1);
    signal.fire(2);
    machine.advance(1);
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, DropsAWaitingValueWhenTheOwnerIsReleased) {
    signal.listen(owner, record())->queue(0.1);
    signal.fire(1);
    owner.reset();
    machine.advance(1);
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, DropsAWaitingValueWhenTheSubscriptionIsCancelled) {
    const auto subscription = signal.listen(owner, record())->queue(0.1);
    signal.fire(1);
    subscription->cancel();
    machine.advance(1);
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, DropsAWaitingValueWhenTheOwnerIsDetached) {
    const auto kept = signal.listen(owner, record())->queue(0.1);
    signal.fire(1);
    signal.dettach(owner);
    machine.advance(1);
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, ReleasesAChannelWhoseDeliveryStillWaits) {
    auto channel = std::make_unique<Signal<int>>();
    channel->listen(owner, record())->queue(0.1);
    channel->fire(1);
    channel.reset();
    machine.advance(1);
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, ReleasesAChannelWhoseDeliveryIsOnAQueue) {
    auto channel = std::make_unique<Signal<int>>();
    channel->listen(owner, record())->dispatch(dispatch::backgroundQueue());
    channel->fire(1);
    channel.reset();
    machine.advance(0);
    EXPECT_THAT(received, ElementsAre(1)) << "what was handed to the queue is delivered";
}

TEST_F(SignalTest, HandsTheCallbackToItsQueue) {
    const auto serial = dispatch::serialQueue("listener");
    const DispatchQueue* ranOn = nullptr;
    signal
        .listen(owner,
                [&](int value) {
                    received.push_back(value);
                    ranOn = machine.dispatch().currentQueue();
                })
        ->dispatch(serial);
    signal.fire(1);
    signal.fire(2);
    EXPECT_THAT(received, IsEmpty());
    machine.dispatch().runPending();
    EXPECT_THAT(received, ElementsAre(1, 2));
    EXPECT_EQ(ranOn, serial.get());
}

TEST_F(SignalTest, DeliversAOneShotSubscriptionOnceThroughItsQueue) {
    signal.listenOnce(owner, record())->dispatch(dispatch::mainQueue());
    signal.fire(1);
    signal.fire(2);
    machine.dispatch().runPending();
    EXPECT_THAT(received, ElementsAre(1));
}

// A value on its way used to keep the owner alive: a released owner went on receiving, and under steady fire it never
// died.
TEST_F(SignalTest, DropsAValueOnAQueueWhenItsOwnerIsGone) {
    auto widget = makeOwner();
    const std::weak_ptr<void> watch = widget;
    signal.listen(widget, record())->dispatch(dispatch::mainQueue());
    signal.fire(1);
    widget.reset();
    EXPECT_TRUE(watch.expired());
    machine.dispatch().runPending();
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, KeepsTheOwnerWhileItsCallbackRunsOnAQueue) {
    auto widget = std::make_shared<std::string>("alive");
    std::string seen;
    signal
        .listen(widget,
                [&, plain = widget.get()](int) {
                    widget.reset();
                    seen = *plain;
                })
        ->dispatch(dispatch::mainQueue());
    signal.fire(1);
    machine.dispatch().runPending();
    EXPECT_EQ(seen, "alive");
    EXPECT_THAT(signal.listeners(), IsEmpty());
}

TEST_F(SignalTest, DropsAValueOnAQueueWhenItsSubscriptionIsCancelledOrDetached) {
    const Owner other = makeOwner();
    const auto cancelled = signal.listen(owner, record());
    cancelled->dispatch(dispatch::mainQueue());
    const auto once = signal.listenOnce(owner, record());
    once->dispatch(dispatch::mainQueue());
    signal.listen(other, record())->dispatch(dispatch::mainQueue());
    signal.fire(1);
    cancelled->cancel();
    once->cancel();
    signal.dettach(other);
    machine.dispatch().runPending();
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, DettachRemovesEverySubscriptionOfItsOwnerAndTheDeadOnes) {
    const Owner other = makeOwner();
    Owner dying = makeOwner();
    const auto captured = makeOwner();
    signal.listen(owner, record());
    signal.listen(other, [this](int) { received.push_back(100); });
    signal.listen(dying, [captured](int) {});
    signal.listen(owner, record());
    dying.reset();
    signal.dettach(owner);
    EXPECT_EQ(captured.use_count(), 1);
    signal.fire(1);
    EXPECT_THAT(received, ElementsAre(100));
    EXPECT_THAT(signal.listeners(), ElementsAre(other));
}

TEST_F(SignalTest, TellsOwnersApartByIdentityNotByValue) {
    const Owner twin = std::make_shared<int>(*owner);
    signal.listen(owner, record());
    signal.dettach(twin);
    signal.fire(1);
    EXPECT_THAT(received, ElementsAre(1));
}

TEST_F(SignalTest, KnowsAnOwnerThroughAPointerToAnyOfItsBases) {
    struct Left {
        virtual ~Left() = default;
        int left = 0;
    };
    struct Right {
        virtual ~Right() = default;
        int right = 0;
    };
    struct Both : Left, Right {};
    const auto both = std::make_shared<Both>();
    signal.listen(both, record());
    signal.dettach(std::shared_ptr<Right>(both));
    signal.fire(1);
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, DettachAllListenersRemovesEverySubscription) {
    const Owner other = makeOwner();
    signal.listen(owner, record());
    signal.listen(other, record());
    signal.dettachAllListeners();
    signal.fire(1);
    EXPECT_THAT(received, IsEmpty());
    EXPECT_THAT(signal.listeners(), IsEmpty());
}

TEST_F(SignalTest, CancelEndsASubscription) {
    const auto subscription = signal.listen(owner, record());
    EXPECT_EQ(subscription->listener(), owner);
    subscription->cancel();
    EXPECT_EQ(subscription->listener(), nullptr);
    EXPECT_THAT(signal.listeners(), IsEmpty());
    signal.fire(1);
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, ForgetsTheLastValueWhenToldToKeepNone) {
    retaining.fire(1);
    EXPECT_EQ(retaining.lastDataFired(), 1);
    retaining.setRetainLastData(false);
    EXPECT_EQ(retaining.lastDataFired(), std::nullopt);
    retaining.setRetainLastData(true);
    EXPECT_EQ(retaining.lastDataFired(), std::nullopt);
    retaining.fire(2);
    EXPECT_EQ(retaining.lastDataFired(), 2);
    retaining.clearLastData();
    EXPECT_EQ(retaining.lastDataFired(), std::nullopt);
}

TEST_F(SignalTest, TheValueIsKeptBeforeTheCallbacksRun) {
    std::optional<int> seen;
    retaining.listen(owner, [&](int) { seen = retaining.lastDataFired(); });
    retaining.fire(7);
    EXPECT_EQ(seen, 7);
}

TEST_F(SignalTest, ChainedSettingsReturnTheSameSubscription) {
    const auto subscription = signal.listen(owner, record());
    EXPECT_EQ(subscription->filter([](int) { return true; }), subscription);
    EXPECT_EQ(subscription->queue(0.25), subscription);
    EXPECT_EQ(subscription->dispatch(dispatch::mainQueue()), subscription);
    EXPECT_EQ(subscription->delay(), 0.25);
    EXPECT_FALSE(subscription->once());
    EXPECT_TRUE(signal.listenOnce(owner, record())->once());
}

TEST_F(SignalTest, ASubscriptionMadeDuringAFireGetsTheNextOne) {
    signal.listen(owner, [this](int value) {
        if (value == 1)
            for (int i = 0; i < 100; ++i)
                signal.listen(owner, record());
    });
    signal.fire(1);
    EXPECT_THAT(received, IsEmpty());
    signal.fire(2);
    EXPECT_EQ(received, std::vector<int>(100, 2));
}

TEST_F(SignalTest, ASubscriptionDetachedDuringAFireGetsNothingMore) {
    const Owner later = makeOwner();
    signal.listen(owner, [&](int) { signal.dettach(later); });
    const auto kept = signal.listen(later, record());
    signal.fire(1);
    EXPECT_THAT(received, IsEmpty());
    EXPECT_THAT(signal.listeners(), ElementsAre(owner));
}

TEST_F(SignalTest, NeitherFilterNorCallbackOfADetachedSubscriptionRuns) {
    const Owner later = makeOwner();
    signal.listen(owner, [&](int) { signal.dettach(later); });
    bool asked = false;
    signal.listen(later, record())->filter([&](int) { return asked = true; });
    signal.fire(1);
    EXPECT_FALSE(asked);
}

TEST_F(SignalTest, ACallbackMayDetachItselfWithEverythingItHolds) {
    auto captured = std::make_shared<std::string>("still here");
    const std::weak_ptr<std::string> watch = captured;
    std::string seen;
    signal.listen(owner, [this, &seen, captured = std::move(captured)](int) {
        signal.dettachAllListeners();
        seen = *captured;
    });
    signal.listen(owner, record());
    signal.fire(1);
    EXPECT_EQ(seen, "still here");
    EXPECT_TRUE(watch.expired()) << "removed by the time the fire returns";
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, AnOwnerReleasedByItsOwnCallbackDiesAtOnceAndTheCallbackRunsOn) {
    const std::weak_ptr<int> watch = owner;
    const auto captured = std::make_shared<std::string>("captured");
    std::string seen;
    signal.listen(owner, [&, captured](int) {
        owner.reset();
        EXPECT_TRUE(watch.expired());
        seen = *captured;
    });
    signal.fire(1);
    EXPECT_EQ(seen, "captured");
    signal.fire(2);
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(SignalTest, AnOwnerReleasedByAnEarlierCallbackGetsNothing) {
    Owner later = makeOwner();
    signal.listen(owner, [&](int) { later.reset(); });
    signal.listen(later, record());
    signal.fire(1);
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, FiresNestInsideCallbacks) {
    signal.listen(owner, [this](int value) {
        received.push_back(value);
        if (value == 1) {
            signal.listen(owner, [this](int inner) { received.push_back(inner * 10); });
            signal.fire(2);
        }
    });
    signal.fire(1);
    EXPECT_THAT(received, ElementsAre(1, 2, 20)) << "the new subscription gets the nested fire, not the outer one";
    EXPECT_EQ(signal.fireCount(), 2);
}

TEST_F(SignalTest, ANestedFireLeavesTheListOfTheOuterOneInPlace) {
    Owner dying = makeOwner();
    signal.listen(dying, [&](int) { dying.reset(); });
    signal.listen(owner, [this](int value) {
        received.push_back(value);
        if (value == 1)
            signal.fire(2);
    });
    signal.listen(owner, [this](int value) { received.push_back(value * 10); });
    signal.fire(1);
    EXPECT_THAT(received, ElementsAre(1, 2, 20, 10));
}

TEST_F(SignalTest, AChannelMayBeReleasedByACallbackOfItsOwn) {
    auto channel = std::make_unique<Signal<int>>();
    const auto captured = std::make_shared<std::string>("captured");
    std::string seen;
    channel->listen(owner, [&channel, &seen, captured](int value) {
        if (value == 2) {
            channel.reset();
            seen = *captured;
        } else {
            channel->fire(2);
        }
    });
    channel->listen(owner, record());
    channel->fire(1);
    EXPECT_EQ(seen, "captured");
    EXPECT_EQ(captured.use_count(), 1);
    EXPECT_THAT(received, IsEmpty());
}

TEST_F(SignalTest, AnExceptionOfACallbackPassesThroughAndTheChannelGoesOn) {
    signal.listen(owner, [](int value) {
        if (value == 1)
            throw std::runtime_error("callback");
    });
    signal.listen(owner, record());
    EXPECT_THROW(signal.fire(1), std::runtime_error);
    signal.fire(2);
    EXPECT_THAT(received, ElementsAre(2));
}

TEST_F(SignalTest, WhatADroppedCallbackHeldMaySubscribeFromItsDestructor) {
    struct Resubscribes {
        std::function<void()> subscribe;
        ~Resubscribes() { subscribe(); }
    };
    Owner dying = makeOwner();
    const auto held = [this] { signal.listen(owner, record()); };
    signal.listen(dying, [held = std::shared_ptr<Resubscribes>(new Resubscribes{held})](int) {});
    dying.reset();
    signal.fire(1);
    signal.fire(2);
    EXPECT_THAT(received, testing::Contains(2));
}

TEST_F(SignalTest, AFireWithoutDeadOwnersAllocatesNothing) {
    if (!countsAllocations)
        GTEST_SKIP() << "allocations cannot be counted under the address and the thread sanitizer";
    int sum = 0;
    for (int i = 0; i < 100; ++i)
        signal.listen(owner, [&sum](int value) { sum += value; })->filter([](int value) { return value > 0; });
    const std::size_t before = allocations();
    for (int i = 0; i < 10; ++i)
        signal.fire(i);
    const std::size_t after = allocations();
    EXPECT_EQ(after, before);
    EXPECT_EQ(sum, 4500);
    signal.listen(owner, [](int) {});
    EXPECT_GT(allocations(), after) << "the count works";
}

TEST_F(SignalTest, AHandleMayOutliveItsChannel) {
    auto channel = std::make_unique<Signal<int>>();
    const auto subscription = channel->listen(owner, record());
    channel.reset();
    EXPECT_EQ(subscription->listener(), owner);
    subscription->queue(1)->cancel();
    EXPECT_EQ(subscription->listener(), nullptr);
}

TEST(Signal, OwnersMayDieOnOtherThreadsWhileItFires) {
    Signal<int> signal;
    std::vector<std::shared_ptr<std::atomic<int>>> owners;
    for (int i = 0; i < 400; ++i) {
        owners.push_back(std::make_shared<std::atomic<int>>(0));
        signal.listen(owners.back(), [weak = std::weak_ptr(owners.back())](int value) {
            if (const auto alive = weak.lock())
                alive->fetch_add(value);
        });
    }
    std::vector<std::thread> threads;
    for (std::size_t first = 0; first < 4; ++first) {
        threads.emplace_back([&owners, first] {
            for (std::size_t i = first; i < owners.size(); i += 4) {
                owners[i].reset();
                std::this_thread::yield();
            }
        });
    }
    while (!signal.listeners().empty())
        signal.fire(1);
    for (std::thread& thread : threads)
        thread.join();
    signal.fire(1);
    EXPECT_THAT(signal.listeners(), IsEmpty());
}

TEST(Signal, SubscriptionsMayBeCancelledFromOtherThreadsWhileItFires) {
    Signal<int> signal;
    const Owner owner = makeOwner();
    std::vector<Signal<int>::Handle> handles;
    for (int i = 0; i < 400; ++i)
        handles.push_back(signal.listen(owner, [](int) {}));
    std::thread canceller([&] {
        for (const auto& handle : handles)
            handle->cancel();
    });
    while (!signal.listeners().empty())
        signal.fire(1);
    canceller.join();
    EXPECT_EQ(signal.listeners().size(), 0U);
}

} // namespace
} // namespace sentrel
