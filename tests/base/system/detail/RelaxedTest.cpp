// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/detail/Relaxed.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

namespace sentrel {
namespace {

TEST(Relaxed, BeginsAtZeroOrAtItsFirstValueAndTakesNewOnes) {
    EXPECT_EQ(Relaxed<double>(), 0.0);
    Relaxed<std::int64_t> figure(7);
    EXPECT_EQ(figure, 7);
    figure = figure + 1;
    EXPECT_EQ(figure, 8);
}

TEST(Relaxed, ReplacesOnlyTheExpectedValue) {
    Relaxed<std::int64_t> figure;
    figure.replace(1, 2);
    EXPECT_EQ(figure, 0);
    figure.replace(0, 3);
    EXPECT_EQ(figure, 3);
}

// Under the thread sanitizer this tells a plain field from one that several threads may use.
TEST(Relaxed, OneOfSeveralThreadsReplacesItAndAllMayRead) {
    Relaxed<std::int64_t> figure;
    std::vector<std::thread> threads;
    for (std::int64_t value = 1; value <= 4; ++value)
        threads.emplace_back([&figure, value] {
            figure.replace(0, value);
            EXPECT_NE(figure, 0);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_GE(figure, 1);
    EXPECT_LE(figure, 4);
}

} // namespace
} // namespace sentrel
