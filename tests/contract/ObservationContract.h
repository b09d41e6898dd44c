// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The sentences of SentrelKit/platform/Observation.h, for whatever can be observed. A source is a class with
///
///     Observation observe(std::function<void()> observer);
///     void happen();                            // something that every observer hears of, at once or soon; any thread
///     static constexpr bool tellsItself;        // happen() calls the observers, and their exceptions reach its caller
///     static const char* missing();             // what this machine lacks for it, or null; may be left out

#include <SentrelKit/platform/Observation.h>

#include "tests/support/Await.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

namespace sentrel {

/// Lets something happen again and again, on a thread of its own.
template <class Source>
class Happenings {
public:
    explicit Happenings(Source& source)
        : thread_([this, &source] {
              while (!isOver_) {
                  source.happen();
                  std::this_thread::yield();
              }
          }) {}
    ~Happenings() {
        isOver_ = true;
        thread_.join();
    }
    Happenings(const Happenings&) = delete;
    Happenings& operator=(const Happenings&) = delete;

private:
    std::atomic<bool> isOver_{false};
    std::thread thread_;
};

template <class Source>
class ObservationContract : public testing::Test {
protected:
    void SetUp() override {
        if constexpr (requires { Source::missing(); }) {
            if (const char* what = Source::missing())
                GTEST_SKIP() << what;
        }
    }

    Source source;
};

TYPED_TEST_SUITE_P(ObservationContract);

TYPED_TEST_P(ObservationContract, AnObserverHearsUntilItsReleaseAndOthersAfterIt) {
    Event first;
    Event second;
    Observation observation = this->source.observe([&] { first.happened(); });
    const Observation other = this->source.observe([&] { second.happened(); });
    ASSERT_TRUE(observation);
    this->source.happen();
    ASSERT_TRUE(first.await());
    ASSERT_TRUE(second.await());
    observation.reset();
    EXPECT_FALSE(observation);
    const int calls = first.count();
    const int before = second.count();
    this->source.happen();
    EXPECT_TRUE(second.await(before + 1));
    EXPECT_EQ(first.count(), calls);
}

TYPED_TEST_P(ObservationContract, AReleaseWaitsForACallOnAnotherThread) {
    Event entered;
    Event isReleasing;
    std::atomic<bool> hasReturned{false};
    std::atomic<bool> isOver{false};
    Observation observation = this->source.observe([&] {
        entered.happened();
        EXPECT_TRUE(isReleasing.await());
        for (int turn = 0; turn < 1000 && !hasReturned; ++turn)
            std::this_thread::yield();
        EXPECT_FALSE(hasReturned);
        isOver = true;
    });
    std::thread caller([&] { this->source.happen(); });
    ASSERT_TRUE(entered.await());
    isReleasing.happened();
    observation.reset();
    hasReturned = true;
    EXPECT_TRUE(isOver);
    caller.join();
    EXPECT_EQ(entered.count(), 1);
}

TYPED_TEST_P(ObservationContract, NothingRunsOrBeginsAfterAReleaseWhileNoticesAreDelivered) {
    const Happenings happenings(this->source);
    for (int round = 0; round < 10; ++round) {
        Event heard;
        std::atomic<bool> isReleased{false};
        Observation observation = this->source.observe([&] {
            EXPECT_FALSE(isReleased);
            heard.happened();
            std::this_thread::yield();
            EXPECT_FALSE(isReleased);
        });
        ASSERT_TRUE(heard.await());
        observation.reset();
        isReleased = true;
    }
}

TYPED_TEST_P(ObservationContract, ReleasedInsideItsOwnCallOnlyThatCallStillRuns) {
    int calls = 0;
    Event entered;
    Observation observation;
    Event isSet; // an observer may hear as soon as it is registered
    observation = this->source.observe([&] {
        EXPECT_TRUE(isSet.await());
        ++calls;
        std::thread([&] { this->source.happen(); }).join();
        observation.reset();
        entered.happened();
    });
    isSet.happened();
    this->source.happen();
    ASSERT_TRUE(entered.await());
    Event other;
    const Observation last = this->source.observe([&] { other.happened(); });
    this->source.happen();
    EXPECT_TRUE(other.await());
    EXPECT_EQ(calls, 1);
}

TYPED_TEST_P(ObservationContract, AnObserverMayReleaseAnotherInsideItsCall) {
    std::atomic<bool> isReleased{false};
    std::atomic<int> running{0};
    Event isSet;
    Event heard;
    Observation first;
    Observation second;
    first = this->source.observe([&] {
        EXPECT_TRUE(isSet.await());
        if (isReleased)
            return;
        second.reset();
        EXPECT_EQ(running, 0);
        isReleased = true;
        heard.happened();
    });
    second = this->source.observe([&] {
        EXPECT_FALSE(isReleased);
        ++running;
        std::this_thread::yield();
        --running;
    });
    isSet.happened();
    this->source.happen();
    ASSERT_TRUE(heard.await());
    this->source.happen();
    first.reset();
    EXPECT_TRUE(isReleased);
}

TYPED_TEST_P(ObservationContract, CallsNeverOverlap) {
    std::atomic<int> depth{0};
    Event heard;
    const Observation observation = this->source.observe([&] {
        EXPECT_EQ(++depth, 1);
        std::this_thread::yield();
        --depth;
        heard.happened();
    });
    const Happenings happenings(this->source);
    const Happenings others(this->source);
    EXPECT_TRUE(heard.await(20));
}

// Another thread does what a lock held around the call would keep it from.
TYPED_TEST_P(ObservationContract, InsideACallEverythingIsAllowed) {
    Event heard;
    Event heardByOther;
    Observation other;
    const Observation observation = this->source.observe([&] {
        if (heard.count() == 0) {
            std::thread([&] {
                this->source.happen();
                static_cast<void>(this->source.observe([] {}));
            }).join();
            other = this->source.observe([&] { heardByOther.happened(); });
            this->source.happen();
        }
        heard.happened();
    });
    this->source.happen();
    ASSERT_TRUE(heard.await());
    this->source.happen();
    EXPECT_TRUE(heardByOther.await());
}

TYPED_TEST_P(ObservationContract, WhatAnObserverCapturedIsLetGoBeforeItsReleaseReturns) {
    const auto captured = std::make_shared<Event>();
    Observation observation = this->source.observe([captured] { captured->happened(); });
    this->source.happen();
    ASSERT_TRUE(captured->await());
    observation.reset();
    EXPECT_EQ(captured.use_count(), 1);
}

TYPED_TEST_P(ObservationContract, AnExceptionPassesThroughAndTheOthersHearAllTheSame) {
    if constexpr (TypeParam::tellsItself) {
        int failures = 0;
        int heard = 0;
        const Observation failing = this->source.observe([&] {
            ++failures;
            throw std::runtime_error("failed");
        });
        const Observation other = this->source.observe([&] { ++heard; });
        EXPECT_THROW(this->source.happen(), std::runtime_error);
        EXPECT_THROW(this->source.happen(), std::runtime_error);
        EXPECT_EQ(failures, 2);
        EXPECT_EQ(heard, 2);
    }
}

REGISTER_TYPED_TEST_SUITE_P(ObservationContract, AnObserverHearsUntilItsReleaseAndOthersAfterIt,
                            AReleaseWaitsForACallOnAnotherThread,
                            NothingRunsOrBeginsAfterAReleaseWhileNoticesAreDelivered,
                            ReleasedInsideItsOwnCallOnlyThatCallStillRuns, AnObserverMayReleaseAnotherInsideItsCall,
                            CallsNeverOverlap, InsideACallEverythingIsAllowed,
                            WhatAnObserverCapturedIsLetGoBeforeItsReleaseReturns,
                            AnExceptionPassesThroughAndTheOthersHearAllTheSame);

} // namespace sentrel
