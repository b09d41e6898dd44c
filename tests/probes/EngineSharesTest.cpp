// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/EngineShares.h>

#include "tests/support/Allocations.h"

#include <gtest/gtest.h>
#include <utility>

namespace sentrel::probes {
namespace {

using platform::GraphicsClient;
using platform::GraphicsEngine;
using Clients = std::vector<GraphicsClient>;

constexpr std::int64_t second = 1'000'000'000;

GraphicsClient client(std::uint64_t identifier, std::vector<GraphicsEngine> engines) {
    return {.processor = "0000:00:02.0", .identifier = identifier, .engines = std::move(engines)};
}

class EngineSharesTest : public testing::Test {
protected:
    // The work of the one processor.
    GraphicsWork take(Clients clients, std::int64_t now) {
        shares_.take(clients, now, work_);
        return work_.size() == 1 ? work_[0] : GraphicsWork{.processor = "not one"};
    }
    std::optional<double> use(Clients clients, std::int64_t now) {
        return take(std::move(clients), now).engines.at(0).use;
    }

    EngineShares shares_;
    std::vector<GraphicsWork> work_;
};

TEST_F(EngineSharesTest, AreAbsentAtTheFirstSample) {
    const GraphicsWork first = take({client(1, {{.name = "render", .busy = 500}})}, second);
    EXPECT_EQ(first, (GraphicsWork{.processor = "0000:00:02.0", .clients = 1, .engines = {{.name = "render"}}}));
}

TEST_F(EngineSharesTest, AreSumsOverTheClientsAndEnginesOfAKind) {
    const auto clients = [](std::uint64_t a, std::uint64_t b) {
        return Clients{client(2, {{.name = "video", .busy = a, .count = 2}, {.name = "copy", .busy = a}}),
                       client(1, {{.name = "video", .busy = b, .count = 2}})};
    };
    take(clients(0, 1000), second);
    EXPECT_EQ(take(clients(second, second / 2 + 1000), 3 * second),
              (GraphicsWork{
                  .processor = "0000:00:02.0",
                  .clients = 2,
                  .engines = {{.name = "copy", .count = 1, .use = 50}, {.name = "video", .count = 2, .use = 37.5}}}));
}

TEST_F(EngineSharesTest, CountCyclesOfAllThatPassed) {
    const auto clients = [](std::uint64_t busy, std::uint64_t total) {
        return Clients{client(1, {{.name = "rcs", .busy = busy, .total = total}})};
    };
    EXPECT_FALSE(use(clients(100, 1000), second));
    EXPECT_EQ(use(clients(200, 1400), 2 * second), 25);
    EXPECT_EQ(use(clients(300, 1400), 3 * second), 0) << "none passed";
    EXPECT_EQ(use(clients(300, 1000), 4 * second), 0) << "began anew";
    EXPECT_EQ(use(clients(350, 1100), 5 * second), 50);
}

TEST_F(EngineSharesTest, CountAClientFromItsSecondSampleOn) {
    const GraphicsClient old = client(1, {{.name = "render", .busy = 0}});
    const auto young = [](std::uint64_t busy) { return client(2, {{.name = "render", .busy = busy}}); };
    take({old}, second);
    EXPECT_EQ(use({old, young(60 * second)}, 2 * second), 0);
    EXPECT_EQ(use({young(60 * second + second / 5), old}, 3 * second), 20);
    EXPECT_EQ(use({old}, 4 * second), 0) << "the other has ended";
    EXPECT_EQ(use({old, young(0)}, 5 * second), 0) << "and another one has its number";
    EXPECT_EQ(use({old, young(second)}, 6 * second), 100);
}

TEST_F(EngineSharesTest, LeaveOutWhatWentBackAndStayBelowTheWhole) {
    const auto clients = [](std::uint64_t busy) { return Clients{client(1, {{.name = "render", .busy = busy}})}; };
    take(clients(500), second);
    EXPECT_EQ(use(clients(400), 2 * second), 0);
    EXPECT_EQ(use(clients(400 + 2 * second), 3 * second), 100);
    EXPECT_FALSE(use(clients(400 + 3 * second), 3 * second)) << "no time went by";
    shares_.forget();
    EXPECT_FALSE(use(clients(400 + 4 * second), 4 * second));
}

TEST_F(EngineSharesTest, KeepProcessorsApartAndForgetThoseWithoutClients) {
    GraphicsClient other = client(1, {{.name = "gfx", .busy = 0}});
    other.processor = "0000:0a:00.0";
    other.memory = 7;
    Clients both{other, client(1, {{.name = "render", .busy = 0}})};
    shares_.take(both, second, work_);
    ASSERT_EQ(work_.size(), 2U);
    EXPECT_EQ(work_[0].engines[0].name, "render");
    EXPECT_FALSE(work_[0].memory);
    EXPECT_EQ(work_[1].engines[0].name, "gfx");
    EXPECT_EQ(work_[1].memory, 7U);
    EXPECT_EQ(take({other}, 2 * second), (GraphicsWork{.processor = "0000:0a:00.0",
                                                       .clients = 1,
                                                       .memory = 7,
                                                       .engines = {{.name = "gfx", .count = 1, .use = 0}}}));
    Clients none;
    shares_.take(none, 3 * second, work_);
    EXPECT_TRUE(work_.empty());
}

TEST_F(EngineSharesTest, TakeNoMemoryOnceWarm) {
    Clients clients;
    std::size_t taken = 0;
    for (int sample = 0; sample < 8; ++sample) {
        const Clients now{client(7, {{.name = "render"}, {.name = "copy"}}), client(3, {{.name = "video-enhance"}}),
                          client(5, {{.name = "render"}})};
        clients.resize(now.size());
        for (std::size_t i = 0; i < now.size(); ++i)
            clients[i] = now[i];
        const std::size_t before = allocations();
        shares_.take(clients, (sample + 1) * second, work_);
        taken += sample < 3 ? 0 : allocations() - before;
    }
    if (countsAllocations) {
        EXPECT_EQ(taken, 0U);
    }
}

} // namespace
} // namespace sentrel::probes
