// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/MeasureSet.h>

#include <gtest/gtest.h>

namespace sentrel {
namespace {

enum class Group { first, second, last = 31 };
using Groups = MeasureSet<Group>;

TEST(MeasureSetTest, HasTheGroupsThatAreNamedAndNoOther) {
    const Groups groups = {Group::second, Group::last};
    EXPECT_FALSE(groups.contains(Group::first));
    EXPECT_TRUE(groups.contains(Group::second));
    EXPECT_TRUE(groups.contains(Group::last));
    EXPECT_FALSE(Groups{}.contains(Group::first));
}

TEST(MeasureSetTest, IsTheSameHoweverItsGroupsAreNamed) {
    EXPECT_EQ((Groups{Group::first, Group::last}), (Groups{Group::last, Group::first, Group::last}));
    EXPECT_FALSE((Groups{Group::first} == Groups{}));
}

TEST(MeasureSetTest, ComesBackFromItsBits) {
    const Groups groups = {Group::first, Group::last};
    EXPECT_EQ(groups.bits(), 0x8000'0001U);
    EXPECT_EQ(Groups::ofBits(groups.bits()), groups);
}

} // namespace
} // namespace sentrel
