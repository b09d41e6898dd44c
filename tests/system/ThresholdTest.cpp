// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Threshold.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/system/System.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ThresholdTest : public testing::Test {
protected:
    // A threshold whose crossings are kept as texts.
    Threshold& watch(const Threshold::Limits& limits) {
        threshold.emplace(limits);
        threshold->onCrossed().listen(owner, [this](const Threshold::Crossing& crossing) {
            told.push_back((crossing.isCrossed ? "crossed " : "back ") +
                           std::to_string(static_cast<int>(crossing.figure)));
        });
        return *threshold;
    }

    void measure(std::initializer_list<double> figures) {
        for (const double figure : figures) {
            threshold->measure(figure);
            machine->advance(1);
        }
    }

    ScriptedMachine machine;
    const std::shared_ptr<int> owner = std::make_shared<int>();
    std::optional<Threshold> threshold;
    std::vector<std::string> told;
};

TEST_F(ThresholdTest, TellsOnceWhenAFigureRisesToTheLimitAndOnceWhenItIsBack) {
    watch({.limit = 90, .back = 70});
    measure({50, 89, 90, 95, 91});
    EXPECT_THAT(told, ElementsAre("crossed 90"));
    EXPECT_TRUE(threshold->isCrossed());
    measure({69, 50});
    EXPECT_THAT(told, ElementsAre("crossed 90", "back 69"));
    EXPECT_FALSE(threshold->isCrossed());
}

TEST_F(ThresholdTest, BetweenTheLimitAndTheWayBackNothingIsTold) {
    watch({.limit = 90, .back = 70});
    measure({92, 80, 91, 70, 75, 95});
    EXPECT_THAT(told, ElementsAre("crossed 92"));
}

TEST_F(ThresholdTest, ABackAboveTheLimitIsForAFigureThatFalls) {
    watch({.limit = 10, .back = 15});
    measure({50, 10, 5, 15, 16, 50});
    EXPECT_THAT(told, ElementsAre("crossed 10", "back 16"));
}

TEST_F(ThresholdTest, WithoutDistanceEachChangeOfSidesIsTold) {
    watch({.limit = 10, .back = 10});
    measure({9, 10, 9, 11});
    EXPECT_THAT(told, ElementsAre("crossed 10", "back 9", "crossed 11"));
}

TEST_F(ThresholdTest, AFigureHasToStayForTheLeastDurationOnEitherWay) {
    watch({.limit = 90, .back = 70, .leastDuration = std::chrono::seconds(2)});
    measure({95, 95, 50, 95, 96, 97});
    EXPECT_THAT(told, ElementsAre("crossed 97"));
    measure({60, 80, 60, 60, 61});
    EXPECT_THAT(told, ElementsAre("crossed 97", "back 61"));
}

TEST_F(ThresholdTest, AnAbsentFigureAndOneThatIsNoNumberTellNothingAndEndNoDuration) {
    watch({.limit = 90, .back = 70, .leastDuration = std::chrono::seconds(2)});
    measure({95});
    threshold->measure(std::nullopt);
    threshold->measure(std::numeric_limits<double>::quiet_NaN());
    EXPECT_THAT(told, IsEmpty());
    machine->advance(1);
    measure({95});
    EXPECT_THAT(told, ElementsAre("crossed 95"));
}

TEST_F(ThresholdTest, AnInfiniteFigureIsAFigure) {
    Threshold infinite({.limit = 90, .back = 70});
    infinite.measure(std::numeric_limits<double>::infinity());
    EXPECT_TRUE(infinite.isCrossed());
    infinite.measure(-std::numeric_limits<double>::infinity());
    EXPECT_FALSE(infinite.isCrossed());
}

TEST_F(ThresholdTest, MayGoByWhatItTells) {
    threshold.emplace(Threshold::Limits{.limit = 1, .back = 0});
    threshold->onCrossed().listen(owner, [this](const Threshold::Crossing&) { threshold.reset(); });
    threshold->measure(2);
    EXPECT_FALSE(threshold.has_value());
}

TEST_F(ThresholdTest, IsFedByTheSamplesOfAModel) {
    System system;
    Threshold& busy = watch({.limit = 90, .back = 70});
    const Observation feeding = system.observeSamples(system.cpu(), [&] { busy.measure(system.cpu().usage()); });
    system.start(system.cpu());
    for (const std::uint32_t load : {10U, 95U, 96U, 20U}) {
        machine->host().loadTicksValue.user += load;
        machine->host().loadTicksValue.idle += 100 - load;
        machine->advance(1.1);
    }
    EXPECT_THAT(told, ElementsAre("crossed 95", "back 20"));
}

} // namespace
} // namespace sentrel
