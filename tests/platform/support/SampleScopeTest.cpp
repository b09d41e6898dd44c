// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/SampleScope.h>

#include <gtest/gtest.h>
#include <thread>

namespace sentrel::platform {
namespace {

TEST(SampleScope, IsANewSampleEachTimeAndNoneOutside) {
    EXPECT_EQ(SampleScope::current(), 0U);
    std::uint64_t first = 0;
    {
        const SampleScope scope;
        first = SampleScope::current();
        EXPECT_NE(first, 0U);
    }
    EXPECT_EQ(SampleScope::current(), 0U);
    const SampleScope scope;
    EXPECT_NE(SampleScope::current(), 0U);
    EXPECT_NE(SampleScope::current(), first);
}

TEST(SampleScope, WithinAnotherIsPartOfIt) {
    const SampleScope outer;
    const std::uint64_t sample = SampleScope::current();
    {
        const SampleScope inner;
        EXPECT_EQ(SampleScope::current(), sample);
    }
    EXPECT_EQ(SampleScope::current(), sample);
}

TEST(SampleScope, IsOfItsThreadAlone) {
    const SampleScope scope;
    const std::uint64_t mine = SampleScope::current();
    std::uint64_t outside = 1;
    std::uint64_t others = 0;
    std::thread([&] {
        outside = SampleScope::current();
        const SampleScope other;
        others = SampleScope::current();
    }).join();
    EXPECT_EQ(outside, 0U);
    EXPECT_NE(others, mine);
}

TEST(SampleMark, HoldsForTheSampleInWhichItWasSet) {
    SampleMark mark;
    mark.set();
    EXPECT_FALSE(mark.isOfThisSample()) << "outside of a sample everything is read anew";
    {
        const SampleScope scope;
        EXPECT_FALSE(mark.isOfThisSample());
        mark.set();
        EXPECT_TRUE(mark.isOfThisSample());
        std::thread([&mark] {
            const SampleScope other;
            EXPECT_FALSE(mark.isOfThisSample());
        }).join();
        mark.clear();
        EXPECT_FALSE(mark.isOfThisSample());
        mark.set();
    }
    EXPECT_FALSE(mark.isOfThisSample());
    const SampleScope next;
    EXPECT_FALSE(mark.isOfThisSample());
}

} // namespace
} // namespace sentrel::platform
