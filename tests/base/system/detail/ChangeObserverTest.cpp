// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/detail/ChangeObserver.h>

#include "tests/support/Await.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace sentrel {
namespace {

using Observer = ChangeObserver<int>;

void change(Observer& observer, int value) {
    observer.offer(value);
    observer.tell();
}

TEST(ChangeObserver, HearsEachNewValueOnce) {
    std::vector<int> heard;
    Observer observer([&](int value) { heard.push_back(value); });
    observer.tell();
    EXPECT_TRUE(observer.offer(1));
    EXPECT_TRUE(heard.empty()) << "an offer calls nobody";
    observer.tell();
    observer.tell();
    EXPECT_FALSE(observer.offer(1));
    observer.tell();
    change(observer, 2);
    EXPECT_EQ(heard, (std::vector<int>{1, 2}));
}

TEST(ChangeObserver, HearsWhatChangesInsideItsCallRightAfterIt) {
    std::vector<int> heard;
    int depth = 0;
    std::unique_ptr<Observer> observer;
    observer = std::make_unique<Observer>([&](int value) {
        EXPECT_EQ(++depth, 1) << "one call at a time";
        heard.push_back(value);
        if (value == 1) {
            change(*observer, 2);
            change(*observer, 3);
        }
        --depth;
    });
    change(*observer, 1);
    EXPECT_EQ(heard, (std::vector<int>{1, 3}));
}

TEST(ChangeObserver, LeavesWhatChangesDuringACallToThatCallsThread) {
    Event entered;
    Event goOn;
    std::vector<std::pair<int, std::thread::id>> heard;
    Observer observer([&](int value) {
        heard.emplace_back(value, std::this_thread::get_id());
        if (value == 1) {
            entered.happened();
            EXPECT_TRUE(goOn.await());
        }
    });
    std::thread caller([&] { change(observer, 1); });
    const std::thread::id id = caller.get_id();
    ASSERT_TRUE(entered.await());
    change(observer, 2); // returns at once
    goOn.happened();
    caller.join();
    EXPECT_EQ(heard, (std::vector<std::pair<int, std::thread::id>>{{1, id}, {2, id}}));
}

TEST(ChangeObserver, HearsNothingAfterItWasCancelledInsideItsOwnCallToo) {
    int calls = 0;
    std::unique_ptr<Observer> observer;
    observer = std::make_unique<Observer>([&](int) {
        ++calls;
        change(*observer, 2);
        observer->release();
    });
    change(*observer, 1);
    change(*observer, 3);
    EXPECT_FALSE(observer->offer(4));
    EXPECT_EQ(calls, 1);

    Observer cancelled([&](int) { ++calls; });
    cancelled.offer(1);
    cancelled.cancel();
    cancelled.tell();
    EXPECT_EQ(calls, 1);
}

TEST(ChangeObserver, WaitsAtItsReleaseForACallOnAnotherThread) {
    Event entered;
    Event goOn;
    std::atomic<bool> isOver{false};
    Observer observer([&](int) {
        entered.happened();
        EXPECT_TRUE(goOn.await());
        isOver = true;
    });
    std::thread caller([&] { change(observer, 1); });
    ASSERT_TRUE(entered.await());
    observer.cancel();
    EXPECT_FALSE(isOver) << "that one does not wait";
    std::thread releaser([&] {
        observer.release();
        EXPECT_TRUE(isOver);
    });
    goOn.happened();
    caller.join();
    releaser.join();
}

TEST(ChangeObserver, PassesAnExceptionOnAndGoesOnWithTheNextValue) {
    std::vector<int> heard;
    Observer observer([&](int value) {
        heard.push_back(value);
        if (value == 1)
            throw std::runtime_error("failed");
    });
    observer.offer(1);
    EXPECT_THROW(observer.tell(), std::runtime_error);
    observer.tell();
    change(observer, 2);
    EXPECT_EQ(heard, (std::vector<int>{1, 2}));
}

} // namespace
} // namespace sentrel
