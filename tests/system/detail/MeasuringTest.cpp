// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/detail/Measuring.h>

#include <gtest/gtest.h>

#include <optional>

namespace sentrel {
namespace {

enum class Group { cores, pressure };

TEST(MeasuringTest, NothingIsWantedAtFirst) {
    const Measuring<Group> measuring;
    EXPECT_EQ(measuring.wanted(), MeasureSet<Group>{});
    EXPECT_EQ(measuring.availability(Group::cores), std::nullopt);
    EXPECT_FALSE(measuring.has(Group::cores));
}

TEST(MeasuringTest, AGroupIsOfNoKnownAvailabilityUntilItWasSampled) {
    Measuring<Group> measuring;
    measuring.setWanted({Group::cores});
    EXPECT_TRUE(measuring.wants(Group::cores));
    EXPECT_FALSE(measuring.wants(Group::pressure));
    EXPECT_EQ(measuring.availability(Group::cores), std::nullopt);
    measuring.note(Group::cores, Availability::denied);
    EXPECT_EQ(measuring.availability(Group::cores), Availability::denied);
    EXPECT_FALSE(measuring.has(Group::cores));
    measuring.note(Group::cores, Availability::available);
    EXPECT_TRUE(measuring.has(Group::cores));
}

TEST(MeasuringTest, AGroupThatIsNoLongerWantedShowsNothing) {
    Measuring<Group> measuring;
    measuring.setWanted({Group::cores, Group::pressure});
    measuring.note(Group::cores, Availability::available);
    measuring.note(Group::pressure, Availability::available);
    measuring.setWanted({Group::pressure});
    EXPECT_FALSE(measuring.has(Group::cores));
    EXPECT_TRUE(measuring.has(Group::pressure));
}

TEST(MeasuringTest, AGroupThatIsWantedAnewShowsNothingOldAndTheOthersStay) {
    Measuring<Group> measuring;
    measuring.setWanted({Group::cores, Group::pressure});
    measuring.note(Group::cores, Availability::available);
    measuring.note(Group::pressure, Availability::available);
    measuring.setWanted({Group::pressure});
    measuring.setWanted({Group::cores, Group::pressure});
    EXPECT_EQ(measuring.availability(Group::cores), std::nullopt);
    EXPECT_EQ(measuring.availability(Group::pressure), Availability::available);
}

TEST(MeasuringTest, WhatASampleStillSaysOfAGroupThatIsNotWantedIsNotShown) {
    Measuring<Group> measuring;
    measuring.note(Group::cores, Availability::available);
    EXPECT_FALSE(measuring.has(Group::cores));
    measuring.setWanted({Group::cores});
    EXPECT_FALSE(measuring.has(Group::cores));
}

} // namespace
} // namespace sentrel
