// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/Observer.h>

#include "tests/support/Await.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

void post(Observers<int>& observers, int notice) {
    observers.post(notice);
    observers.tell();
}

void offer(Observers<int>& observers, int value) {
    observers.offer(value);
    observers.tell();
}

TEST(Observers, HearEachNoticeInItsOrder) {
    Observers<int> observers;
    std::vector<int> heard;
    const Observation observation = observers.add([&](int notice) { heard.push_back(notice); });
    observers.tell();
    observers.post(1);
    observers.post(1);
    EXPECT_TRUE(heard.empty()) << "a notice that is left calls nobody";
    observers.tell();
    observers.tell();
    post(observers, 2);
    EXPECT_EQ(heard, (std::vector<int>{1, 1, 2}));
}

TEST(Observers, HearTheNewestOfAValueOnce) {
    Observers<int> observers;
    std::vector<int> heard;
    std::vector<int> heardByLater;
    const Observation observation = observers.add([&](int value) { heard.push_back(value); });
    observers.offer(1);
    offer(observers, 2);
    offer(observers, 2);
    observers.offer(3);
    offer(observers, 2);
    const Observation later = observers.add([&](int value) { heardByLater.push_back(value); });
    offer(observers, 2);
    EXPECT_EQ(heard, (std::vector<int>{2}));
    EXPECT_EQ(heardByLater, (std::vector<int>{2})) << "it had not heard this one";
}

TEST(Observers, ThatAreNewHearWhatIsLeftForThemAlone) {
    Observers<int> observers;
    std::vector<int> heard;
    std::vector<int> heardByLater;
    const Observation observation = observers.add([&](int notice) { heard.push_back(notice); });
    post(observers, 1);
    const Observation later = observers.add([&](int notice) { heardByLater.push_back(notice); });
    observers.postToNew(2);
    observers.postToNew(3);
    observers.tell();
    EXPECT_EQ(heard, (std::vector<int>{1}));
    EXPECT_EQ(heardByLater, (std::vector<int>{2}));
}

TEST(Observers, HearWhatHappensInsideACallRightAfterIt) {
    Observers<int> observers;
    std::vector<int> heard;
    int depth = 0;
    const Observation observation = observers.add([&](int notice) {
        EXPECT_EQ(++depth, 1) << "one call at a time";
        heard.push_back(notice);
        if (notice == 1) {
            post(observers, 2);
            post(observers, 3);
        }
        --depth;
    });
    post(observers, 1);
    EXPECT_EQ(heard, (std::vector<int>{1, 2, 3}));
}

TEST(Observers, LeaveWhatHappensDuringACallToThatCallsThread) {
    Observers<int> observers;
    Event entered;
    Event goOn;
    std::vector<std::pair<int, std::thread::id>> heard;
    const Observation observation = observers.add([&](int notice) {
        heard.emplace_back(notice, std::this_thread::get_id());
        if (notice == 1) {
            entered.happened();
            EXPECT_TRUE(goOn.await());
        }
    });
    std::thread caller([&] { post(observers, 1); });
    const std::thread::id id = caller.get_id();
    ASSERT_TRUE(entered.await());
    post(observers, 2); // returns at once
    goOn.happened();
    caller.join();
    EXPECT_EQ(heard, (std::vector<std::pair<int, std::thread::id>>{{1, id}, {2, id}}));
}

// One that always failed kept those behind it from hearing of anything.
TEST(Observers, AllHearThoughOneFailsWhichHearsTheNextToo) {
    Observers<int> observers;
    std::vector<std::string> heard;
    const Observation failing = observers.add([&](int notice) {
        heard.push_back("failing " + std::to_string(notice));
        throw std::runtime_error("failed");
    });
    const Observation other = observers.add([&](int notice) { heard.push_back("other " + std::to_string(notice)); });
    EXPECT_THROW(post(observers, 1), std::runtime_error);
    EXPECT_THROW(post(observers, 2), std::runtime_error);
    EXPECT_EQ(heard, (std::vector<std::string>{"failing 1", "other 1", "failing 2", "other 2"}));
}

// Another thread that was calling a new observer had the registration return before that call had ended.
TEST(Observers, HaveHeardWhatIsLeftForThemWhenTheirRegistrationReturnsThoughAnotherThreadTells) {
    Observers<int> observers;
    std::vector<int> heard;
    const std::thread::id here = std::this_thread::get_id();
    const Observation observation = observers.addAndTell(
        [&](int notice) {
            EXPECT_EQ(std::this_thread::get_id(), here);
            heard.push_back(notice);
            if (notice == 1)
                std::thread([&] { post(observers, 2); }).join();
        },
        [&] {
            std::thread([&] { post(observers, 1); }).join();
            EXPECT_TRUE(heard.empty()) << "it is called by nobody else";
        });
    EXPECT_EQ(heard, (std::vector<int>{1, 2}));
    post(observers, 3);
    EXPECT_EQ(heard, (std::vector<int>{1, 2, 3}));
}

TEST(Observers, OutliveNoneOfTheirSources) {
    Observers<int> observers;
    const auto source = std::make_shared<int>();
    Observation observation = observers.add([](int) {}, source);
    EXPECT_EQ(source.use_count(), 2);
    EXPECT_EQ(observers.count(), 1U);
    observation.reset();
    EXPECT_EQ(source.use_count(), 1);
    EXPECT_EQ(observers.count(), 0U);
}

TEST(Observers, MayGoBeforeTheirObservations) {
    Observation observation;
    {
        Observers<int> observers;
        observation = observers.add([](int) {});
    }
    EXPECT_TRUE(observation);
    observation.reset();
    EXPECT_FALSE(observation);
}

TEST(Observation, KeepsWhatItWasMovedAndReleasesWhatItKeptBefore) {
    Observers<int> observers;
    int first = 0;
    int second = 0;
    Observation observation = observers.add([&](int) { ++first; });
    Observation moved = std::move(observation);
    EXPECT_FALSE(observation); // NOLINT(bugprone-use-after-move): a moved one is empty
    EXPECT_TRUE(moved);
    post(observers, 1);
    moved = observers.add([&](int) { ++second; });
    post(observers, 2);
    observation.reset();
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

TEST(Observation, LetsGoOfWhatItsObserverCapturedBeforeTheReleaseReturns) {
    Observers<int> observers;
    const auto captured = std::make_shared<int>();
    Observation observation = observers.add([captured](int) {});
    post(observers, 1);
    observation.reset();
    EXPECT_EQ(captured.use_count(), 1);

    // From inside the call only that call's end can.
    observation = observers.add([captured, &observation](int) {
        observation.reset();
        EXPECT_EQ(captured.use_count(), 2);
    });
    post(observers, 2);
    EXPECT_EQ(captured.use_count(), 1);
}

TEST(Observation, LetsItsSourceGoBeforeItWaitsForTheLastCall) {
    Observers<int> observers;
    Event entered;
    Event isReleasing;
    struct Source {
        Event& event;
        ~Source() { event.happened(); }
    };
    Observation observation = observers.add(
        [&](int) {
            entered.happened();
            EXPECT_TRUE(isReleasing.await());
        },
        std::make_shared<Source>(Source{isReleasing}));
    EXPECT_TRUE(isReleasing.await()); // of the one that was moved from
    std::thread caller([&] { post(observers, 1); });
    ASSERT_TRUE(entered.await());
    observation.reset();
    EXPECT_EQ(isReleasing.count(), 2);
    caller.join();
}

// Each waited for the other's call.
TEST(Observation, OfTwoThatReleaseEachOtherFromInsideTheirCallsOneWaits) {
    for (int round = 0; round < 20; ++round) {
        Observers<int> first;
        Observers<int> second;
        Event entered;
        std::atomic<int> running{0};
        std::atomic<int> waited{0};
        Observation one;
        Observation other;
        const auto release = [&](Observation& whose) {
            ++running;
            entered.happened();
            EXPECT_TRUE(entered.await(2));
            whose.reset();
            waited += running == 1 ? 1 : 0;
            --running;
        };
        one = first.add([&](int) { release(other); });
        other = second.add([&](int) { release(one); });
        std::thread caller([&] { post(first, 1); });
        post(second, 1);
        caller.join();
        EXPECT_EQ(waited, 1) << "the one whose release would not have closed the circle";
        post(first, 2);
        post(second, 2);
        EXPECT_EQ(entered.count(), 2);
    }
}

// The same with a third between them.
TEST(Observation, ACircleOfThreeReleasesEndsToo) {
    Observers<int> observers[3];
    Observation observations[3];
    Event entered;
    std::vector<std::thread> callers;
    for (int i = 0; i < 3; ++i)
        observations[i] = observers[i].add([&, i](int) {
            entered.happened();
            EXPECT_TRUE(entered.await(3));
            observations[(i + 1) % 3].reset();
        });
    for (Observers<int>& each : observers)
        callers.emplace_back([&] { post(each, 1); });
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(entered.count(), 3);
}

// What a call holds at its end may be an observation whose call waits for that end.
TEST(Observation, MayBeCapturedByAnObserverThatItsOwnReleases) {
    Observers<int> first;
    Observers<int> second;
    Event entered;
    Event isReleasing;
    Observation one;
    auto other = std::make_shared<Observation>();
    struct Source {
        Event& event;
        ~Source() { event.happened(); }
    };
    *other = second.add([&](int) {
        entered.happened();
        EXPECT_TRUE(entered.await(2));
        one.reset();
    });
    one = first.add(
        [&, other](int) {
            entered.happened();
            EXPECT_TRUE(isReleasing.await());
        },
        std::shared_ptr<Source>(new Source{isReleasing}));
    other.reset(); // the first observer alone keeps it now
    std::thread caller([&] { post(first, 1); });
    post(second, 1);
    caller.join();
    EXPECT_EQ(second.count(), 0U);
}

bool holdsInAChild(const std::function<bool()>& check) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(10);
        ::_exit(check() ? 0 : 1);
    }
    int status = 0;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

TEST(Observation, MayBeReleasedInAChildWhoseParentWasInsideACall) {
    Observers<int> observers;
    Event entered;
    Event goOn;
    std::atomic<int> calls{0};
    Observation observation = observers.add([&](int notice) {
        ++calls;
        if (notice != 1)
            return;
        entered.happened();
        EXPECT_TRUE(goOn.await());
    });
    std::thread caller([&] { post(observers, 1); });
    ASSERT_TRUE(entered.await());
    EXPECT_TRUE(holdsInAChild([&] {
        post(observers, 2); // the call of the thread that is gone does not keep others out
        observation.reset();
        post(observers, 3);
        return calls == 2;
    }));
    goOn.happened();
    caller.join();
    EXPECT_EQ(calls, 1);
}

TEST(Observation, MayBeReleasedInAChildThatWasForkedInsideItsCall) {
    Observers<int> observers;
    Observation observation;
    int calls = 0;
    const auto captured = std::make_shared<int>();
    observation = observers.add([&, captured](int notice) {
        ++calls;
        if (notice != 1)
            return;
        EXPECT_TRUE(holdsInAChild([&] {
            post(observers, 2);
            if (calls != 1)
                return false; // calls never overlap in the child either
            observation.reset();
            return captured.use_count() == 2;
        }));
    });
    post(observers, 1);
    post(observers, 3);
    EXPECT_EQ(calls, 2);
}

} // namespace
} // namespace sentrel::platform
