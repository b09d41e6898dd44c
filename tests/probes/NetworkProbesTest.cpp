// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/NetworkProbes.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/probes/SystemManager.h>

#include "tests/support/EchoHostGuard.h"
#include "tests/support/EchoServer.h"

#include <chrono>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/socket.h>

namespace sentrel::probes {
namespace {

using platform::ScriptedInterface;
using testing::ElementsAre;
using testing::IsEmpty;

struct Reported {
    std::int64_t time;
    std::string name;
    std::int64_t bytesIn;
    std::int64_t bytesOut;
    std::string address;
    std::string mac;
    std::uint32_t index;
};

std::vector<Reported> listing() {
    std::vector<Reported> reported;
    _getNetworkData([&](std::int64_t time, const char* name, const NetworkData* data) {
        reported.push_back({time, name, data->bytesIn, data->bytesOut, data->address, data->mac, data->index});
    });
    return reported;
}

std::vector<std::string> names() {
    std::vector<std::string> names;
    for (const Reported& each : listing())
        names.push_back(each.name);
    return names;
}

ScriptedInterface ethernet(const std::string& name, std::uint32_t index = 2) {
    return ScriptedInterface(name, index).addAddress("192.0.2.4");
}

TEST(NetworkData, TellsNameCountersAddressAndHardwareAddress) {
    ScriptedMachine machine;
    ScriptedInterface lan = ethernet("en0", 7);
    lan.bytesIn = 5'000'000'000;
    lan.bytesOut = 17;
    lan.hardwareAddress = {0x02, 0x1b, 0x63, 0x84, 0x45, 0xe6};
    machine->network().interfaces = {lan};
    machine->clock().setWallMicroseconds(1'600'000'000'123'000);
    const std::vector<Reported> reported = listing();
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].time, 1'600'000'000'123);
    EXPECT_EQ(reported[0].name, "en0");
    EXPECT_EQ(reported[0].bytesIn, 5'000'000'000);
    EXPECT_EQ(reported[0].bytesOut, 17);
    EXPECT_EQ(reported[0].address, "192.0.2.4");
    EXPECT_EQ(reported[0].mac, "02:1b:63:84:45:e6");
    EXPECT_EQ(reported[0].index, 7U);
}

TEST(NetworkData, ReportsInterfacesInTheSystemsOrder) {
    ScriptedMachine machine;
    machine->network().interfaces = {ethernet("en5", 5), ethernet("en0", 2), ethernet("en3", 3)};
    EXPECT_THAT(names(), ElementsAre("en5", "en0", "en3"));
}

TEST(NetworkData, NeverReportsALoopbackDownInactiveOrOtherwiseLinkedInterface) {
    ScriptedMachine machine;
    ScriptedInterface loopback = ethernet("lo0");
    loopback.flags |= platform::InterfaceInfo::loopback;
    ScriptedInterface down = ethernet("en1");
    down.flags = 0;
    ScriptedInterface inactive = ethernet("en2");
    inactive.media = platform::MediaStatus{true, false};
    ScriptedInterface unsure = ethernet("en3");
    unsure.media = platform::MediaStatus{false, true};
    ScriptedInterface silent = ethernet("en4");
    ScriptedInterface tunnel = ethernet("utun0");
    tunnel.linkType = 1;
    machine->network().calls.fail("mediaStatus", {.arguments = "en4", .error = ENXIO});
    machine->network().interfaces = {loopback, down, inactive, unsure, silent, tunnel};
    EXPECT_THAT(names(), IsEmpty());
}

TEST(NetworkData, DoesNotReportAnInterfaceWithoutAnAddress) {
    ScriptedMachine machine;
    machine->network().interfaces = {ScriptedInterface("en0"), ScriptedInterface("en1").addAddress(""),
                                     ScriptedInterface("en2").addAddress("not an address")};
    EXPECT_THAT(names(), IsEmpty());
}

TEST(NetworkData, TakesTheFirstAddressThatConverts) {
    ScriptedMachine machine;
    ScriptedInterface lan("en0");
    lan.addAddress("").addAddress("not an address").addAddress("2001:db8::9").addAddress("192.0.2.4");
    machine->network().interfaces = {lan};
    ASSERT_EQ(listing().size(), 1U);
    EXPECT_EQ(listing()[0].address, "2001:db8::9");
}

TEST(NetworkData, GivesALinkLocalAddressItsScope) {
    ScriptedMachine machine;
    // The first link of every machine is its loopback interface.
    machine->network().interfaces = {ScriptedInterface("en0").addAddress("fe80::1%1")};
    ASSERT_EQ(listing().size(), 1U);
    EXPECT_EQ(listing()[0].address, "fe80::1%lo");
}

TEST(NetworkData, ReadsAMissingOrShortHardwareAddressAndOneThatBeginsWithZeroAsNone) {
    ScriptedMachine machine;
    for (const std::vector<std::uint8_t>& bytes :
         {std::vector<std::uint8_t>{}, {2, 1, 2}, {0, 0, 0, 0, 0, 0}, {0x00, 0x1b, 0x63, 0x84, 0x45, 0xe6}}) {
        ScriptedInterface lan = ethernet("en0");
        lan.hardwareAddress = bytes;
        machine->network().interfaces = {lan};
        ASSERT_EQ(listing().size(), 1U);
        EXPECT_EQ(listing()[0].mac, ""); // a first byte of zero counts as none: meant so
    }
}

TEST(NetworkData, CapsANameAt65Bytes) {
    ScriptedMachine machine;
    machine->network().interfaces = {ethernet(std::string(100, 'n'))};
    EXPECT_THAT(names(), ElementsAre(std::string(65, 'n')));
}

TEST(NetworkData, SaysThatTheListCannotBeHadAndReportsNothing) {
    ScriptedMachine machine;
    machine->network().interfaces = {ethernet("en0")};
    machine->network().calls.fail("listInterfaces");
    testing::internal::CaptureStderr();
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: _getNetworkData -- Input/output error");
}

// The inner listing took over the texts that the outer one was still handing out.
TEST(NetworkData, MayBeListedAgainFromInsideTheBlock) {
    ScriptedMachine machine;
    machine->network().interfaces = {ethernet("en0", 2)};
    EXPECT_THAT(names(), ElementsAre("en0"));
    std::vector<std::string> seen;
    _getNetworkData([&](std::int64_t, const char* name, const NetworkData* data) {
        machine->network().interfaces.clear();
        for (std::uint32_t index = 3; index < 100; ++index)
            machine->network().interfaces.push_back(ScriptedInterface("wan" + std::to_string(index), index)
                                                        .addAddress("198.51.100." + std::to_string(index)));
        EXPECT_EQ(names().size(), 97U);
        seen.push_back(std::string(name) + " " + data->address + " " + data->mac);
    });
    EXPECT_THAT(seen, ElementsAre("en0 192.0.2.4 02:00:00:00:00:01"));
}

TEST(NetworkData, ListsOnAfterABlockThatThrows) {
    ScriptedMachine machine;
    machine->network().interfaces = {ethernet("en0", 2)};
    EXPECT_THROW(_getNetworkData([](auto...) { throw std::runtime_error("enough"); }), std::runtime_error);
    EXPECT_THAT(names(), ElementsAre("en0"));
}

struct Extra {
    std::int64_t linkSpeed = -1;
    int isPrimary = -1;
    int isWireless = -1;
    std::string name;
    int calls = 0;
};

Extra extraOf(const char* interface) {
    Extra extra;
    _getNetworkExtra(interface, [&](const NetworkExtra* record) {
        extra = {record->linkSpeed, record->isPrimary, record->isWireless, record->name, extra.calls + 1};
    });
    return extra;
}

TEST(NetworkExtra, NamesAWiredInterface) {
    ScriptedMachine machine;
    ScriptedInterface lan("en0");
    lan.properties = PropertyList::Dictionary{{"IOPrimaryInterface", true}};
    lan.related = {{"IOLinkSpeed", std::int64_t{1'000'000'000}}};
    machine->network().interfaces = {lan};
    const Extra extra = extraOf("en0");
    EXPECT_EQ(extra.calls, 1);
    EXPECT_EQ(extra.name, "Ethernet");
    EXPECT_EQ(extra.isPrimary, 1);
    EXPECT_EQ(extra.isWireless, 0);
    EXPECT_EQ(extra.linkSpeed, 1'000'000'000);
}

TEST(NetworkExtra, NamesAWiredUsbAdapterByItsProductName) {
    ScriptedMachine machine;
    ScriptedInterface lan("en5");
    lan.related = {{"USB Product Name", "Gigabit Adapter"}};
    machine->network().interfaces = {lan};
    EXPECT_EQ(extraOf("en5").name, "Gigabit Adapter");
    EXPECT_EQ(extraOf("en5").isPrimary, 0);
    EXPECT_EQ(extraOf("en5").linkSpeed, 0);
}

TEST(NetworkExtra, NamesAWirelessInterfaceByItsNetwork) {
    ScriptedMachine machine;
    ScriptedInterface wireless("en1");
    wireless.properties = PropertyList::Dictionary{{"IO80211SSID", "Garden"}};
    wireless.related = {{"USB Product Name", "Wireless Stick"}};
    machine->network().interfaces = {wireless};
    EXPECT_EQ(extraOf("en1").name, "Garden");
    EXPECT_EQ(extraOf("en1").isWireless, 1);
}

TEST(NetworkExtra, NamesAWirelessInterfaceWithoutANetworkNameWifi) {
    ScriptedMachine machine;
    ScriptedInterface wireless("en1");
    for (const PropertyList& network : {PropertyList(""), PropertyList(7)}) {
        wireless.properties = PropertyList::Dictionary{{"IO80211SSID", network}};
        machine->network().interfaces = {wireless};
        EXPECT_EQ(extraOf("en1").name, "Wifi");
        EXPECT_EQ(extraOf("en1").isWireless, 1);
    }
}

TEST(NetworkExtra, CutsALongNameBetweenCharacters) {
    ScriptedMachine machine;
    ScriptedInterface lan("en5");
    lan.related = {{"USB Product Name", std::string(254, 'x') + "\xc3\xa9"}};
    machine->network().interfaces = {lan};
    EXPECT_EQ(extraOf("en5").name, std::string(254, 'x'));
}

TEST(NetworkExtra, IsSilentOfAnInterfaceThatTheRegistryDoesNotKnow) {
    ScriptedMachine machine;
    machine->network().interfaces = {ScriptedInterface("en0")};
    machine->network().calls.fail("properties");
    testing::internal::CaptureStderr();
    EXPECT_EQ(extraOf("en0").calls, 0) << "its properties cannot be read";
    EXPECT_EQ(extraOf("en9").calls, 0) << "there is none";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(NetworkExtra, SaysThatTheRegistryCannotBeAsked) {
    ScriptedMachine machine;
    machine->network().calls.fail("matchInterface");
    testing::internal::CaptureStderr();
    EXPECT_EQ(extraOf("en0").calls, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: _getNetworkExtra for 'en0' -- Input/output error");
}

TEST(EchoHost, IsNoneUntilOneIsNamed) {
    EXPECT_EQ(echoHost(), std::nullopt);
    const EchoHostGuard guard({"echo.example.org", 8080});
    ASSERT_TRUE(echoHost());
    EXPECT_EQ(echoHost()->name, "echo.example.org");
    EXPECT_EQ(echoHost()->port, 8080);
}

TEST(EchoHost, IsRefusedIfItsNameOrPortIsNone) {
    const EchoHostGuard guard({"echo.example.org", 80});
    for (const EchoHost& bad :
         {EchoHost{"a b", 80}, EchoHost{"a\r\nX: y", 80}, EchoHost{"::1", 80}, EchoHost{"http://a/", 80},
          EchoHost{std::string("a\0b", 3), 80}, EchoHost{"a", 0}, EchoHost{"a", 65536}, EchoHost{"a", -1}})
        EXPECT_FALSE(setEchoHost(bad)) << bad.name << " " << bad.port;
    EXPECT_EQ(echoHost()->name, "echo.example.org");
    EXPECT_TRUE(setEchoHost({}));
    EXPECT_EQ(echoHost(), std::nullopt);
}

// The environment is read once, so each case is a process of its own.
void expectFromEnvironment(const char* name, const char* port, const std::string& expected) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            ::setenv("SENTREL_ECHO_HOST", name, 1);
            if (port)
                ::setenv("SENTREL_ECHO_PORT", port, 1);
            const auto host = echoHost();
            const std::string text = host ? host->name + ":" + std::to_string(host->port) : "none";
            std::exit(text == expected ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(EchoHostDeathTest, ComesFromTheEnvironment) {
    expectFromEnvironment("echo.example.org", nullptr, "echo.example.org:80");
}
TEST(EchoHostDeathTest, TakesItsPortFromTheEnvironment) {
    expectFromEnvironment("localhost", "8080", "localhost:8080");
}
TEST(EchoHostDeathTest, IsNoneWhereTheEnvironmentsNameIsEmpty) {
    expectFromEnvironment("", nullptr, "none");
}
TEST(EchoHostDeathTest, IsNoneWhereTheEnvironmentNamesNonsense) {
    expectFromEnvironment("a b", "80x", "none");
}

TEST(Reachability, IsTheSystemsOwnWordWithoutAnEchoHost) {
    ScriptedMachine machine;
    machine->network().reachable = platform::Connectivity::yes;
    EXPECT_EQ(_isConnectedToInternet(), 1);
    machine->network().reachable = platform::Connectivity::no;
    EXPECT_EQ(_isConnectedToInternet(), 0);
    machine->network().reachable = platform::Connectivity::unknown;
    EXPECT_EQ(_isConnectedToInternet(), 0);
}

TEST(Reachability, IsWhetherTheEchoHostsNameResolves) {
    ScriptedMachine machine;
    machine->network().reachable = platform::Connectivity::no;
    const EchoHostGuard good({"127.0.0.1", 80});
    EXPECT_EQ(_isConnectedToInternet(), 1);
    const EchoHostGuard bad({"no..such..name", 80});
    machine->network().reachable = platform::Connectivity::yes;
    EXPECT_EQ(_isConnectedToInternet(), 0);
}

/// The public address as a server on the loopback interface tells it.
class PublicAddress : public testing::Test {
protected:
    std::optional<std::string> ask(EchoServer::Behaviour behaviour) {
        EchoServer server(std::move(behaviour));
        const EchoHostGuard guard({"127.0.0.1", server.port()});
        const auto start = std::chrono::steady_clock::now();
        const char* address = _getPublicAddress();
        elapsed_ = std::chrono::steady_clock::now() - start;
        requests_ = server.requests();
        if (address) {
            EXPECT_EQ(address, System->publicAddress);
        }
        return address ? std::optional<std::string>(address) : std::nullopt;
    }

    ScriptedMachine machine_;
    std::chrono::steady_clock::duration elapsed_{};
    std::vector<std::string> requests_;
};

TEST_F(PublicAddress, IsAskedForWithExactlyThisRequest) {
    EXPECT_EQ(ask(EchoServer::reply("HTTP/1.1 200 OK\r\n\r\nIP: 203.0.113.7\r\n")), "203.0.113.7");
    EXPECT_THAT(requests_, ElementsAre("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: Close\r\n\r\n"));
}

TEST_F(PublicAddress, MayBeTheFirstBytesOfTheReply) {
    EXPECT_EQ(ask(EchoServer::reply("ip: 203.0.113.7\r\n")), "203.0.113.7");
}

TEST_F(PublicAddress, IsEmptyIfTheReplyHasNone) {
    EXPECT_EQ(ask(EchoServer::reply("HTTP/1.1 200 OK\r\n\r\n")), "");
    EXPECT_EQ(ask(EchoServer::reply("HTTP/1.1 200 OK\r\n\r\nIP 203.0.113.7\r\nIP: 203.0.113.7\r\n")), "");
    EXPECT_EQ(ask(EchoServer::reply("")), "");
}

TEST_F(PublicAddress, ReplacesTheOneBefore) {
    EXPECT_EQ(ask(EchoServer::reply("IP: 203.0.113.7\r\n")), "203.0.113.7");
    EXPECT_EQ(ask(EchoServer::reply("nothing\r\n")), "");
    EXPECT_STREQ(System->publicAddress, "");
}

TEST_F(PublicAddress, IsEmptyIfTheServerResetsTheConnection) {
    const auto address = ask([](int connection) {
        const linger abortive{1, 0};
        ::setsockopt(connection, SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive);
    });
    EXPECT_EQ(address, "");
}

TEST_F(PublicAddress, IsEmptyAfterTwoSecondsOfSilence) {
    EXPECT_EQ(ask([](int connection) {
                  char byte = 0;
                  static_cast<void>(::recv(connection, &byte, 1, 0));
              }),
              "");
    EXPECT_GE(elapsed_, std::chrono::milliseconds(1990));
    EXPECT_LT(elapsed_, std::chrono::seconds(4));
}

TEST_F(PublicAddress, IsEmptyAfterEndlessHeaderLines) {
    EXPECT_EQ(ask([](int connection) {
                  while (EchoServer::send(connection, "X-Header: one more of them\r\n")) {
                  }
              }),
              "");
    EXPECT_LT(elapsed_, std::chrono::seconds(20));
}

TEST_F(PublicAddress, IsEmptyAfterTenMegabytesOfGarbage) {
    EXPECT_EQ(ask([](int connection) {
                  std::string garbage(1 << 20, '\0');
                  for (std::size_t i = 0; i < garbage.size(); ++i)
                      garbage[i] = static_cast<char>((i * 2654435761U) >> 13 | 1);
                  for (int megabyte = 0; megabyte < 10 && EchoServer::send(connection, garbage); ++megabyte) {
                  }
              }),
              "");
}

TEST_F(PublicAddress, IsEmptyAfterZeroBytes) {
    EXPECT_EQ(ask(EchoServer::reply(std::string(4096, '\0') + "IP: 203.0.113.7\r\n")), "");
}

TEST_F(PublicAddress, IsNoneWhereNoConnectionCanBeOpened) {
    std::int32_t port = 0;
    {
        const EchoServer gone(EchoServer::reply(""));
        port = gone.port();
    }
    const EchoHostGuard guard({"127.0.0.1", port});
    std::snprintf(System->publicAddress, sizeof System->publicAddress, "203.0.113.7");
    EXPECT_EQ(_getPublicAddress(), nullptr);
    EXPECT_STREQ(System->publicAddress, "");
}

TEST_F(PublicAddress, IsNoneAndNobodyIsContactedWithoutAnEchoHost) {
    EXPECT_EQ(_getPublicAddress(), nullptr);
}

/// The public address as a server of the scripted machine tells it, in the machine's own time.
class ScriptedPublicAddress : public testing::Test {
protected:
    std::optional<std::string> ask(const platform::ScriptedServer& server) {
        machine_->network().servers["echo.example.org"] = server;
        const std::int64_t before = machine_->clock().monotonicNanoseconds();
        std::optional<std::string> address = lookUpPublicAddress();
        seconds_ = static_cast<double>(machine_->clock().monotonicNanoseconds() - before) * 1e-9;
        return address;
    }

    const EchoHostGuard guard_{{"echo.example.org", 8080}};
    ScriptedMachine machine_;
    double seconds_ = 0;
};

TEST_F(ScriptedPublicAddress, ComesAfterAsLongAsTheServerTakes) {
    platform::ScriptedServer server;
    server.connectSeconds = 1.5;
    server.reply = {{1, "HTTP/1.1 200 OK\r\n\r\nIP: 203"}, {1.9, ".0.113.7\r\n"}};
    EXPECT_EQ(ask(server), "203.0.113.7");
    EXPECT_NEAR(seconds_, 1.5 + 1 + 1.9, 1e-6);
    EXPECT_THAT(machine_->network().calls.list(), testing::Contains("connect echo.example.org 8080"));
    EXPECT_THAT(machine_->network().calls.openHandles(), ElementsAre("watch"));
}

TEST_F(ScriptedPublicAddress, IsNoneWhereNoConnectionIsMadeInTwoSeconds) {
    platform::ScriptedServer server;
    server.connectSeconds = 3;
    EXPECT_EQ(ask(server), std::nullopt);
    EXPECT_NEAR(seconds_, 2, 1e-6);
}

TEST_F(ScriptedPublicAddress, IsEmptyAfterTwoSecondsOfSilence) {
    platform::ScriptedServer server;
    server.reply = {{0, "HTTP/1.1 200 OK\r\n"}};
    server.closes = false;
    EXPECT_EQ(ask(server), "");
    EXPECT_NEAR(seconds_, 2, 1e-6);
    server.reply.push_back({2.1, "IP: 203.0.113.7\r\n"});
    EXPECT_EQ(ask(server), "");
    EXPECT_NEAR(seconds_, 2, 1e-6);
}

TEST_F(ScriptedPublicAddress, IsEmptyAfterThirtySecondsHoweverSteadilyTheReplyTrickles) {
    platform::ScriptedServer server;
    server.reply.assign(100, {1, "X"});
    EXPECT_EQ(ask(server), "");
    EXPECT_NEAR(seconds_, 30, 1e-6);
}

TEST_F(ScriptedPublicAddress, IsNoneOrEmptyWhereAStepFails) {
    platform::ScriptedServer server;
    server.reply = {{0, "IP: 203.0.113.7\r\n"}};
    for (const char* step : {"connect", "write", "read"}) {
        machine_->network().calls.fail(step, {.call = 1});
        EXPECT_EQ(ask(server).value_or(""), "") << step;
        EXPECT_EQ(ask(server), "203.0.113.7") << step;
    }
    server.resolves = false;
    EXPECT_EQ(ask(server), std::nullopt);
    EXPECT_EQ(_isConnectedToInternet(), 0);
    machine_->network().servers["echo.example.org"].resolves = true;
    EXPECT_EQ(_isConnectedToInternet(), 1);
}

} // namespace
} // namespace sentrel::probes
