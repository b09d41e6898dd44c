// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Network.h>

#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/linux/LinuxPlatform.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/Notification.h>

#include "tests/support/Allocations.h"
#include "tests/support/ChildProgram.h"
#include "tests/support/EchoHostGuard.h"
#include "tests/support/EchoServer.h"
#include "tests/support/Eventually.h"
#include "tests/support/Fixtures.h"
#include "tests/support/linux/NetworkNamespace.h"
#include "tests/support/linux/PrivateBus.h"

#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sstream>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace sentrel {
namespace {

using testing::HasSubstr;

std::int64_t nowMilliseconds() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// The kernel's own counters of a link, as its table shows them.
struct KernelCounters {
    std::int64_t in = 0;
    std::int64_t out = 0;
};

KernelCounters kernelCounters(const std::string& name) {
    std::ifstream table("/proc/thread-self/net/dev");
    std::string line;
    while (std::getline(table, line)) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos || line.find(name + ":") == std::string::npos)
            continue;
        std::istringstream numbers(line.substr(colon + 1));
        std::array<std::int64_t, 9> columns{};
        for (std::int64_t& column : columns)
            numbers >> column;
        return {columns[0], columns[8]};
    }
    return {};
}

/// A machine of its own, which is never released, like the process's: a check may be under way on its threads.
platform::LinuxPlatform& immortalMachine() {
    static auto& machines = *new std::vector<platform::LinuxPlatform*>;
    machines.push_back(new platform::LinuxPlatform);
    return *machines.back();
}

/// The real model in a network namespace of its own with a veth link, "lan0", to another one.
class NetworkLive : public testing::Test {
protected:
    void SetUp() override {
        if (!NetworkNamespace::available())
            GTEST_SKIP() << "needs root, network namespaces, veth and ip";
        space_ = std::make_unique<NetworkNamespace>();
        other_ = std::make_unique<NetworkNamespace>();
        scope_ = std::make_unique<NetworkNamespace::Scope>(*space_);
        space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
        override_ = std::make_unique<platform::Override>(machine_);
        model_ = std::make_unique<Network>();
        EXPECT_TRUE(samplesUntil([this] { return model_->interfaces().count("lan0") == 1; }));
    }
    /// Takes samples until the condition holds, as a carrier is told a moment after it changed.
    template <class Condition>
    bool samplesUntil(Condition&& condition) {
        return eventually([&] {
            model_->update();
            return condition();
        });
    }

    /// Runs a test that makes a system manager in a process of its own: the manager lives until the process ends.
    template <class Body>
    static void inOwnProcess(Body&& body) {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        EXPECT_EXIT(
            {
                const bool passed = body();
                std::fflush(nullptr);
                ::_exit(passed && !testing::Test::HasFailure() ? 0 : 1);
            },
            testing::ExitedWithCode(0), "");
    }

    /// Makes a system manager, which watches the configuration of this namespace, and a model that hears of it.
    void watchFromHere() {
        probes::_constructor();
        model_ = std::make_unique<Network>();
    }

    /// Sends datagrams to the other side for a while; whether anybody takes them does not matter.
    void transfer(std::int64_t bytes, std::int64_t milliseconds) {
        const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(9);
        inet_pton(AF_INET, "192.0.2.2", &to.sin_addr);
        const std::string payload(1000, 'x');
        const std::int64_t start = nowMilliseconds();
        for (std::int64_t sent = 0; sent < bytes || nowMilliseconds() - start < milliseconds;) {
            if (sent >= bytes)
                continue;
            if (::sendto(socket, payload.data(), payload.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to) > 0)
                sent += static_cast<std::int64_t>(payload.size());
        }
        ::close(socket);
    }

    std::unique_ptr<NetworkNamespace> space_;
    std::unique_ptr<NetworkNamespace> other_;
    std::unique_ptr<NetworkNamespace::Scope> scope_;
    platform::LinuxPlatform& machine_ = immortalMachine();
    std::unique_ptr<platform::Override> override_;
    std::unique_ptr<Network> model_;
};

TEST_F(NetworkLive, MeasuresATransferOfKnownSizeWithinTwoPercent) {
    // The answer to the first datagram, that nobody listens, and the neighbour's address are out of the way then.
    transfer(1000, 10);
    constexpr std::int64_t size = 20'000'000;
    model_->update();
    const KernelCounters before = kernelCounters("lan0");
    const std::int64_t start = nowMilliseconds();
    transfer(size, 400);
    model_->update();
    const double seconds = static_cast<double>(nowMilliseconds() - start) / 1000;
    const KernelCounters after = kernelCounters("lan0");
    const auto lan = model_->interfaces().at("lan0");
    const double kernelRate = static_cast<double>(after.out - before.out) / seconds;
    EXPECT_NEAR(lan->obytesps() / kernelRate, 1.0, 0.02);
    // Each datagram has 1042 bytes with its headers.
    EXPECT_NEAR(lan->obytesps() * seconds / (static_cast<double>(size) * 1.042), 1.0, 0.02);
    EXPECT_EQ(lan->peakobytesps(), lan->obytesps());
    const double peak = lan->peakobytesps();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    model_->update();
    EXPECT_LT(lan->obytesps(), peak);
    EXPECT_EQ(lan->peakobytesps(), peak) << "the peak holds";
}

TEST_F(NetworkLive, DropsALinkThatGoesDownAtTheNextSampleAndMakesItANewObject) {
    transfer(1'000'000, 20);
    model_->update();
    const auto before = model_->interfaces().at("lan0");
    EXPECT_GT(before->peakobytesps(), 0.0);
    space_->ip("link set lan0 down");
    model_->update();
    EXPECT_EQ(model_->interfaces().count("lan0"), 0U);
    EXPECT_EQ(model_->connection(), Network::ConnectionType::none);
    space_->ip("link set lan0 up");
    EXPECT_TRUE(samplesUntil([this] { return model_->interfaces().count("lan0") == 1; }));
    const auto after = model_->interfaces().at("lan0");
    EXPECT_NE(after, before);
    EXPECT_EQ(after->peakobytesps(), 0.0);
}

TEST_F(NetworkLive, MakesANewObjectOfALinkThatIsMadeAnewUnderItsName) {
    transfer(1'000'000, 20);
    model_->update();
    const auto before = model_->interfaces().at("lan0");
    space_->ip("link del lan0");
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    EXPECT_TRUE(samplesUntil([&] {
        const Network::Interfaces interfaces = model_->interfaces();
        const auto lan = interfaces.find("lan0");
        return lan != interfaces.end() && lan->second != before;
    }));
    EXPECT_EQ(model_->interfaces().at("lan0")->peakobytesps(), 0.0);
}

TEST_F(NetworkLive, TakesAnAddressFromAServerInAnotherNamespace) {
    std::unique_ptr<EchoServer> server;
    {
        const NetworkNamespace::Scope there(*other_);
        server =
            std::make_unique<EchoServer>(EchoServer::reply("HTTP/1.1 200 OK\r\n\r\nIP: 192.0.2.1\r\n"), "192.0.2.2");
    }
    EXPECT_TRUE(samplesUntil([this] { return model_->connection() == Network::ConnectionType::local; }));
    const EchoHostGuard guard({"192.0.2.2", server->port()});
    EXPECT_TRUE(samplesUntil([this] { return model_->connection() == Network::ConnectionType::internet; }));
    EXPECT_EQ(model_->refreshPublicAddress(), "192.0.2.1");
    space_->ip("link set lan0 down");
    EXPECT_EQ(model_->refreshPublicAddress(), std::nullopt) << "no way to the server";
}

// The block ran under a lock of the service: it waited for itself, and another thread for it.
TEST_F(NetworkLive, ListsInsideTheBlockOfAListingAndOnAnotherThreadMeanwhile) {
    const auto count = [] {
        int interfaces = 0;
        probes::_getNetworkData([&interfaces](auto...) { ++interfaces; });
        return interfaces;
    };
    int blocks = 0;
    probes::_getNetworkData([&](std::int64_t, const char* name, const probes::NetworkData* data) {
        ++blocks;
        EXPECT_EQ(count(), 1);
        std::thread([&count] { EXPECT_EQ(count(), 1); }).join();
        probes::_getNetworkExtra(name,
                                 [](const probes::NetworkExtra* extra) { EXPECT_STREQ(extra->name, "Ethernet"); });
        EXPECT_STREQ(name, "lan0");
        EXPECT_STREQ(data->address, "192.0.2.1");
    });
    EXPECT_EQ(blocks, 1);
}

TEST_F(NetworkLive, MirrorsTheRouterAsItComes) {
    inOwnProcess([this] {
        watchFromHere();
        space_->ip("route add default via 192.0.2.2");
        return samplesUntil([this] { return model_->router() == "192.0.2.2"; });
    });
}

TEST_F(NetworkLive, SamplesWithoutAllocatingAlsoWhereItSubmitsACheck) {
    for (int sample = 0; sample < 64; ++sample)
        model_->update();
    const std::size_t before = allocations();
    for (int sample = 0; sample < 64; ++sample)
        model_->update();
    if (countsAllocations) {
        EXPECT_EQ(allocations(), before);
    }
}

// The watch was served from the first use of a queue on, and registering was none.
TEST_F(NetworkLive, HearsOfChangesWithoutASampleOrAnyOtherUseOfAQueue) {
    inOwnProcess([this] {
        static auto& unused = *new platform::Override(immortalMachine()); // whose queues nobody used
        static_cast<void>(unused);
        const Network model;
        space_->ip("route add default via 192.0.2.2");
        if (!eventually([&model] { return model.router() == "192.0.2.2"; }))
            return false;
        space_->ip("route del default");
        return eventually([&model] { return model.router() == std::nullopt; });
    });
}

TEST_F(NetworkLive, AnnouncesExactlyOnceOverTheBusThatTheInternetIsBack) {
    const PrivateBus bus;
    if (!bus.runs() || std::system("/usr/bin/python3 -c 'import dbus, gi' 2>/dev/null") != 0)
        GTEST_SKIP() << "needs dbus-daemon and Python with dbus and gi";
    ChildProgram service({"/usr/bin/python3", fixturePath("notifications/service.py"), "body", "good"});
    ASSERT_EQ(service.readLine(), "ready");
    const auto samplesUntilConnected = [this](Network::ConnectionType wanted) {
        return samplesUntil([this, wanted] { return model_->connection() == wanted; });
    };
    EXPECT_TRUE(samplesUntilConnected(Network::ConnectionType::local));
    space_->ip("route add default via 192.0.2.2");
    EXPECT_TRUE(samplesUntilConnected(Network::ConnectionType::internet));
    const std::string call = service.readLine().value_or("nothing");
    EXPECT_THAT(call, HasSubstr(R"("summary": "Network")"));
    EXPECT_THAT(call, HasSubstr(R"("body": "Connected to Internet")"));
    space_->ip("route del default");
    EXPECT_TRUE(samplesUntilConnected(Network::ConnectionType::local));
    // Nothing came in between: the next call is that of the next return, and after it one of our own.
    space_->ip("route add default via 192.0.2.2");
    EXPECT_TRUE(samplesUntilConnected(Network::ConnectionType::internet));
    EXPECT_THAT(service.readLine().value_or("nothing"), HasSubstr("Connected to Internet"));
    for (int i = 0; i < 100; ++i)
        model_->update();
    Notification::notify("Last");
    EXPECT_THAT(service.readLine().value_or("nothing"), HasSubstr("Last"));
}

TEST_F(NetworkLive, SamplesAThousandInterfaces) {
    std::ostringstream commands;
    for (int pair = 0; pair < 500; ++pair)
        commands << "link add a" << pair << " type veth peer name b" << pair << "\naddr add 10." << pair / 250 << "."
                 << pair % 250 << ".1/32 dev a" << pair << "\naddr add 10." << pair / 250 << "." << pair % 250
                 << ".2/32 dev b" << pair << "\nlink set a" << pair << " up\nlink set b" << pair << " up\n";
    testing::internal::CaptureStderr();
    space_->ipBatch(commands.str());
    EXPECT_TRUE(samplesUntil([this] { return model_->interfaces().size() == 1001; }));
    for (int i = 0; i < 10; ++i)
        model_->update();
    EXPECT_EQ(model_->interfaces().size(), 1001U);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(model_->interfaces().at("a499")->ipaddr(), "10.1.249.1");
    EXPECT_EQ(model_->interfaces().at("a499")->name(), "Ethernet");
}

TEST_F(NetworkLive, SamplesReadsChecksAndHearsOfChangesAtOnce) {
    inOwnProcess([this] {
        watchFromHere();
        std::atomic<bool> done{false};
        std::thread reader([&] {
            while (!done) {
                static_cast<void>(model_->aggregated());
                static_cast<void>(model_->router());
                static_cast<void>(model_->dns());
                static_cast<void>(model_->publicAddress());
                static_cast<void>(model_->refreshPublicAddress());
            }
        });
        std::thread changer([&] {
            for (int round = 0; round < 15; ++round)
                space_->ipBatch("route add default via 192.0.2.2\nroute del default\n"
                                "link add flap0 type veth peer name flap1\nlink set flap0 up\n"
                                "link set flap1 up\nlink del flap0\n");
            done = true;
        });
        while (!done)
            model_->update();
        reader.join();
        changer.join();
        return samplesUntil([this] { return model_->interfaces().size() == 1; });
    });
}

} // namespace
} // namespace sentrel
