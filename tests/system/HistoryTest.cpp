// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/History.h>

#include "tests/support/Allocations.h"

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/system/System.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <optional>
#include <thread>
#include <vector>

namespace sentrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(HistoryTest, HasNothingAtFirst) {
    const History<double> history(3);
    EXPECT_EQ(history.length(), 3U);
    EXPECT_EQ(history.count(), 0U);
    EXPECT_THAT(history.values(), IsEmpty());
    EXPECT_THAT(history.points(), IsEmpty());
    EXPECT_EQ(history.last(), std::nullopt);
}

TEST(HistoryTest, KeepsTheLastValuesOldestFirst) {
    History<int> history(3);
    history.append(1);
    history.append(2);
    EXPECT_THAT(history.values(), ElementsAre(1, 2));
    history.append(3);
    history.append(4);
    history.append(5);
    EXPECT_THAT(history.values(), ElementsAre(3, 4, 5));
    EXPECT_EQ(history.last(), 5);
    EXPECT_EQ(history.count(), 5U);
}

TEST(HistoryTest, OfNoLengthKeepsTheNewestValue) {
    History<int> history(0);
    history.append(1);
    history.append(2);
    EXPECT_THAT(history.values(), ElementsAre(2));
}

TEST(HistoryTest, GivesTheChartRoundedPoints) {
    History<double> history(8);
    for (const double value : {0.4, 0.6, -1.5, 1e30, -1e30, std::numeric_limits<double>::quiet_NaN()})
        history.append(value);
    EXPECT_THAT(history.points(), ElementsAre(0, 1, -2, std::numeric_limits<std::int64_t>::max(),
                                              std::numeric_limits<std::int64_t>::min(), 0));
    History<double> small(1);
    small.append(0.125);
    EXPECT_THAT(small.points(1000), ElementsAre(125));
}

TEST(HistoryTest, AppendingNeedsNoMemory) {
    History<double> history(4);
    const std::size_t before = allocations();
    for (int i = 0; i < 100; ++i)
        history.append(i);
    EXPECT_EQ(allocations(), before);
}

// Of several words, which belong together.
struct Reading {
    std::uint64_t number = 0;
    std::uint64_t twice = 0;
    std::uint32_t low = 0;
};

TEST(HistoryTest, AReaderSeesWholeValuesInTheirOrderWhileOthersAreAppended) {
    History<Reading> history(4);
    std::atomic<bool> isOver = false;
    std::thread writer([&] {
        for (std::uint64_t i = 1; i <= 200'000; ++i)
            history.append({i, 2 * i, static_cast<std::uint32_t>(i)});
        isOver = true;
    });
    std::uint64_t newest = 0;
    do {
        const std::vector<Reading> values = history.values();
        ASSERT_LE(values.size(), 4U);
        for (std::size_t i = 0; i < values.size(); ++i) {
            ASSERT_EQ(values[i].twice, 2 * values[i].number);
            ASSERT_EQ(values[i].low, static_cast<std::uint32_t>(values[i].number));
            if (i > 0) {
                ASSERT_EQ(values[i].number, values[i - 1].number + 1);
            }
        }
        if (const std::optional<Reading> last = history.last()) {
            ASSERT_EQ(last->twice, 2 * last->number);
            ASSERT_GE(last->number, newest);
            newest = last->number;
        }
    } while (!isOver);
    writer.join();
    EXPECT_EQ(history.last()->number, 200'000U);
    EXPECT_EQ(history.values().size(), 4U);
}

TEST(HistoryTest, IsFedByTheSamplesOfAModel) {
    ScriptedMachine machine;
    System system;
    History<double> load(2);
    const Observation feeding = system.observeSamples(system.cpu(), [&] { load.append(system.cpu().usage()); });
    system.start(system.cpu());
    for (const std::uint32_t busy : {10U, 30U, 60U}) {
        machine->host().loadTicksValue.user += busy;
        machine->host().loadTicksValue.idle += 100 - busy;
        machine->advance(1.1);
    }
    EXPECT_THAT(load.points(), ElementsAre(30, 60));
}

} // namespace
} // namespace sentrel
