// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Network.h>

#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>
#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include "tests/support/Await.h"
#include "tests/support/EchoHostGuard.h"
#include "tests/support/EchoServer.h"
#include "tests/support/Eventually.h"

#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <utility>

namespace sentrel {
namespace {

using platform::ScriptedInterface;

/// A network model on real queues, and an echo host that keeps its first caller waiting until it is let go on.
class NetworkWithASlowEchoHost : public testing::Test {
protected:
    NetworkWithASlowEchoHost() {
        reconnect();
        model_.update();
        EXPECT_TRUE(asked_.await()) << "the check that the first sample submitted";
    }
    ~NetworkWithASlowEchoHost() override { answer(); }

    void disconnect() {
        machine_->network().interfaces.clear();
        model_.update();
    }
    void reconnect() {
        machine_->network().interfaces = {ScriptedInterface("en0", 2).addAddress("192.0.2.4")};
        model_.update();
    }
    void answer() {
        if (!std::exchange(answered_, true))
            letGo_.set_value();
    }

    /// Waits for what still runs on the queues while the machine that it asks is there.
    struct ThatRuns {
        ~ThatRuns() { queues.reset(); }
        std::unique_ptr<platform::LinuxDispatch>& queues;
    };

    Event asked_;
    std::promise<void> letGo_;
    bool answered_ = false;
    EchoServer server_{[this, calls = 0, go = letGo_.get_future().share()](int connection) mutable {
        asked_.happened();
        if (++calls > 1) {
            static_cast<void>(EchoServer::send(connection, "IP: 198.51.100.9\r\n"));
            return;
        }
        // Never silent for as long as a caller waits for a piece.
        while (go.wait_for(std::chrono::milliseconds(200)) != std::future_status::ready)
            static_cast<void>(EchoServer::send(connection, "X-Wait: a little\r\n"));
        static_cast<void>(EchoServer::send(connection, "IP: 203.0.113.7\r\n"));
    }};
    EchoHostGuard guard_{{"127.0.0.1", server_.port()}};
    std::unique_ptr<platform::LinuxDispatch> queues_ = std::make_unique<platform::LinuxDispatch>();
    ScriptedMachine machine_{{.dispatch = queues_.get()}};
    const ThatRuns waits_{queues_};
    Network model_;
};

// Each such check waited for the one before; eight of them filled the background queue, and nothing sampled any more.
TEST_F(NetworkWithASlowEchoHost, LeavesTheBackgroundQueueToTheOthersHoweverOftenTheCarrierFlaps) {
    for (int flap = 0; flap < 20; ++flap) {
        disconnect();
        reconnect();
    }
    Event ran;
    dispatch::backgroundQueue()->async([ran]() mutable { ran.happened(); });
    EXPECT_TRUE(ran.await());
    EXPECT_EQ(server_.requests().size(), 1U);
}

// The late address stayed, and as a known one it was never asked for again.
TEST_F(NetworkWithASlowEchoHost, ForgetsTheAddressOfAConnectionThatHasGone) {
    disconnect();
    answer();
    reconnect();
    EXPECT_TRUE(eventually([this] {
        model_.update();
        return model_.publicAddress().has_value();
    }));
    EXPECT_EQ(model_.publicAddress(), "198.51.100.9");
}

TEST_F(NetworkWithASlowEchoHost, DoesNotWaitForACheckWhereARefreshOnlyClears) {
    disconnect();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(model_.refreshPublicAddress(), std::nullopt);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

} // namespace
} // namespace sentrel
