// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Network.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include "tests/support/Allocations.h"
#include "tests/support/Await.h"
#include "tests/support/EchoHostGuard.h"
#include "tests/support/EchoServer.h"
#include "tests/support/Eventually.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <thread>

namespace sentrel {
namespace {

using platform::Connectivity;
using platform::ScriptedInterface;
using ConnectionType = Network::ConnectionType;

constexpr double interval = 1.1; // seconds between samples, as the registry takes them

/// A machine with one active interface, "en0", and its network model.
class NetworkTest : public testing::Test {
protected:
    NetworkTest() { machine_->network().interfaces = {ScriptedInterface("en0", 2).addAddress("192.0.2.4")}; }

    Network& model() {
        if (!model_)
            model_ = std::make_unique<Network>();
        return *model_;
    }
    /// One sample, an interval after the one before, and what it submitted.
    void sample() {
        machine_->advance(interval);
        model().update();
        machine_->dispatch().runPending();
    }
    void samples(int count) {
        for (int i = 0; i < count; ++i)
            sample();
    }
    void duringTheCheck(const std::function<void()>& meanwhile) {
        machine_->network().calls.onCall([meanwhile](const std::string& call) {
            if (meanwhile && call == "connectivity")
                meanwhile();
        });
    }
    ScriptedInterface& lan() { return machine_->network().interface("en0"); }
    std::shared_ptr<Network::Interface> en0() { return model().interfaces().at("en0"); }
    std::vector<platform::UserNotification> delivered() { return machine_->desktop().delivered(); }

    ScriptedMachine machine_;
    std::unique_ptr<Network> model_;
};

TEST_F(NetworkTest, BeginsAsIfConnectedAndWithoutInterfaces) {
    EXPECT_EQ(model().type(), SystemResourceType::net);
    EXPECT_EQ(model().connection(), ConnectionType::internet);
    EXPECT_EQ(model().publicAddress(), std::nullopt);
    EXPECT_EQ(model().localhostName(), std::nullopt);
    EXPECT_EQ(model().router(), std::nullopt);
    EXPECT_EQ(model().dns(), std::nullopt);
    EXPECT_TRUE(model().interfaces().empty());
}

TEST_F(NetworkTest, ShowsNoRatesAtTheFirstSampleOfAnInterface) {
    lan().bytesIn = 1'000'000;
    lan().bytesOut = 2'000'000;
    lan().hardwareAddress = {0x02, 0x1b, 0x63, 0x84, 0x45, 0xe6};
    lan().properties = PropertyList::Dictionary{{"IOPrimaryInterface", true}, {"IO80211SSID", "Garden"}};
    lan().related = {{"IOLinkSpeed", std::int64_t{54'000'000}}};
    sample();
    ASSERT_EQ(model().interfaces().size(), 1U);
    EXPECT_EQ(en0()->ibytesps(), 0.0);
    EXPECT_EQ(en0()->obytesps(), 0.0);
    EXPECT_EQ(en0()->peakibytesps(), 0.0);
    EXPECT_EQ(en0()->ibytes(), 1'000'000);
    EXPECT_EQ(en0()->obytes(), 2'000'000);
    EXPECT_EQ(en0()->mac(), "02:1b:63:84:45:e6");
    EXPECT_EQ(en0()->ipaddr(), "192.0.2.4");
    EXPECT_EQ(en0()->name(), "Garden");
    EXPECT_EQ(en0()->linkSpeed(), 54'000'000);
    EXPECT_TRUE(en0()->isPrimary());
    EXPECT_TRUE(en0()->isWifi());
}

TEST_F(NetworkTest, DerivesRatesPerSecondAndKeepsTheirPeaks) {
    sample();
    lan().bytesIn += 110'000;
    lan().bytesOut += 11'000;
    sample();
    EXPECT_DOUBLE_EQ(en0()->ibytesps(), 100'000.0);
    EXPECT_DOUBLE_EQ(en0()->peakibytesps(), 100'000.0);
    EXPECT_DOUBLE_EQ(en0()->obytesps(), 10'000.0);
    lan().bytesIn += 55'000;
    sample();
    EXPECT_DOUBLE_EQ(en0()->ibytesps(), 50'000.0);
    EXPECT_DOUBLE_EQ(en0()->peakibytesps(), 100'000.0);
    EXPECT_DOUBLE_EQ(en0()->obytesps(), 0.0);
    EXPECT_DOUBLE_EQ(en0()->peakobytesps(), 10'000.0);
}

TEST_F(NetworkTest, LeavesRatesAndPeaksAsTheyWereWithoutTimeBetweenTwoSamples) {
    sample();
    lan().bytesIn += 110'000;
    sample();
    lan().bytesIn += 110'000;
    model().update();
    EXPECT_DOUBLE_EQ(en0()->ibytesps(), 100'000.0);
    EXPECT_DOUBLE_EQ(en0()->peakibytesps(), 100'000.0);
    EXPECT_EQ(en0()->ibytes(), 220'000);
    machine_->clock().setWallMicroseconds(1'000'000);
    lan().bytesIn += 110'000;
    model().update();
    EXPECT_DOUBLE_EQ(en0()->ibytesps(), 100'000.0) << "a clock set back";
}

// One rule for networks and disks: no rate is bent.
TEST_F(NetworkTest, ShowsANegativeRateWhereACounterWentBack) {
    lan().bytesIn = 5'000'000;
    sample();
    lan().bytesIn += 110'000;
    lan().bytesOut += 110'000;
    sample();
    lan().bytesIn = 500;
    lan().bytesOut += 110'000;
    sample();
    EXPECT_DOUBLE_EQ(en0()->ibytesps(), (500 - 5'110'000) * 1000.0 / 1100);
    EXPECT_DOUBLE_EQ(en0()->peakibytesps(), 100'000.0);
    EXPECT_DOUBLE_EQ(en0()->obytesps(), 100'000.0);
    lan().bytesIn += 55'000;
    sample();
    EXPECT_DOUBLE_EQ(en0()->ibytesps(), 50'000.0);
}

TEST_F(NetworkTest, KeepsTheObjectOfAnInterfaceThatStays) {
    sample();
    const auto before = en0();
    lan().addresses.clear();
    lan().addAddress("198.51.100.1");
    lan().hardwareAddress.back() = 9;
    lan().properties = PropertyList::Dictionary{{"IO80211SSID", "Garden"}};
    sample();
    EXPECT_EQ(en0(), before);
    EXPECT_EQ(en0()->ipaddr(), "198.51.100.1");
    EXPECT_EQ(en0()->mac(), "02:00:00:00:00:01") << "only read when it is first seen";
    EXPECT_FALSE(en0()->isWifi()) << "only read when it is first seen";
}

TEST_F(NetworkTest, DropsAnInterfaceThatGoesAndMakesANewObjectOfOneThatComesBack) {
    sample();
    lan().bytesIn += 110'000;
    sample();
    const auto before = en0();
    lan().media = platform::MediaStatus{true, false};
    sample();
    EXPECT_TRUE(model().interfaces().empty());
    lan().media = platform::MediaStatus{true, true};
    sample();
    EXPECT_NE(en0(), before);
    EXPECT_EQ(en0()->ibytesps(), 0.0);
    EXPECT_EQ(en0()->peakibytesps(), 0.0);
}

TEST_F(NetworkTest, MakesANewObjectOfAnInterfaceThatWasMadeAnewBetweenTwoSamples) {
    sample();
    lan().bytesIn += 110'000;
    sample();
    const auto before = en0();
    lan().index = 9;
    lan().bytesIn = 7;
    sample();
    EXPECT_NE(en0(), before);
    EXPECT_EQ(en0()->ibytesps(), 0.0);
    EXPECT_EQ(en0()->peakibytesps(), 0.0);
    EXPECT_EQ(en0()->ibytes(), 7);
}

TEST_F(NetworkTest, KeepsOneInterfaceWhileAnotherComesAndGoes) {
    sample();
    const auto before = en0();
    machine_->network().interfaces.push_back(ScriptedInterface("en1", 3).addAddress("192.0.2.5"));
    sample();
    EXPECT_EQ(model().interfaces().size(), 2U);
    EXPECT_EQ(en0(), before);
    machine_->network().interfaces.pop_back();
    sample();
    EXPECT_EQ(model().interfaces().size(), 1U);
    EXPECT_EQ(en0(), before);
    lan().name = "wan0";
    sample();
    EXPECT_EQ(model().interfaces().count("en0"), 0U);
    ASSERT_EQ(model().interfaces().count("wan0"), 1U);
    EXPECT_NE(model().interfaces().at("wan0"), before) << "another name is another interface";
}

TEST_F(NetworkTest, SumsAllInterfaces) {
    EXPECT_EQ(model().aggregated()->ibytes(), 0);
    machine_->network().interfaces.push_back(ScriptedInterface("en1", 3).addAddress("192.0.2.5"));
    ScriptedInterface& second = machine_->network().interface("en1");
    sample();
    lan().bytesIn += 110'000;
    lan().bytesOut += 22'000;
    second.bytesIn += 11'000;
    sample();
    const auto sum = model().aggregated();
    EXPECT_DOUBLE_EQ(sum->ibytesps(), 110'000.0);
    EXPECT_DOUBLE_EQ(sum->obytesps(), 20'000.0);
    EXPECT_DOUBLE_EQ(sum->peakibytesps(), 110'000.0);
    EXPECT_DOUBLE_EQ(sum->peakobytesps(), 20'000.0);
    EXPECT_EQ(sum->ibytes(), 121'000);
    EXPECT_EQ(sum->obytes(), 22'000);
    EXPECT_EQ(sum->name(), "");
    EXPECT_EQ(sum->ipaddr(), "");
    EXPECT_EQ(sum->mac(), "");
    EXPECT_EQ(sum->linkSpeed(), 0);
    EXPECT_FALSE(sum->isPrimary());
}

TEST_F(NetworkTest, ChecksTheInternetAtTheFirstSampleWithAnInterfaceAndThenAtEvery32nd) {
    machine_->network().reachable = Connectivity::no;
    machine_->advance(interval);
    model().update();
    EXPECT_EQ(model().connection(), ConnectionType::internet) << "submitted, not yet run";
    machine_->dispatch().runPending();
    EXPECT_EQ(model().connection(), ConnectionType::local);
    machine_->network().reachable = Connectivity::yes;
    samples(31);
    EXPECT_EQ(model().connection(), ConnectionType::local);
    sample();
    EXPECT_EQ(model().connection(), ConnectionType::internet);
}

TEST_F(NetworkTest, ChecksOnTheBackgroundQueue) {
    machine_->advance(interval);
    const DispatchQueue* queue = nullptr;
    machine_->dispatch().backgroundQueue()->async([&] { queue = machine_->dispatch().currentQueue(); });
    model().update();
    machine_->dispatch().runPending();
    EXPECT_EQ(queue, dispatch::backgroundQueue().get());
}

TEST_F(NetworkTest, AnnouncesNothingAtStartUp) {
    samples(100);
    EXPECT_EQ(model().connection(), ConnectionType::internet);
    EXPECT_TRUE(delivered().empty());
}

TEST_F(NetworkTest, AnnouncesOnceThatTheInternetIsBack) {
    machine_->network().reachable = Connectivity::no;
    sample();
    EXPECT_EQ(model().publicAddress(), "No Internet");
    EXPECT_EQ(model().connection(), ConnectionType::local);
    machine_->network().reachable = Connectivity::yes;
    samples(32);
    ASSERT_EQ(delivered().size(), 1U);
    EXPECT_EQ(delivered()[0].title, "Network");
    EXPECT_EQ(delivered()[0].text, "Connected to Internet");
    EXPECT_EQ(delivered()[0].sound, machine_->desktop().defaultSoundName());
    EXPECT_EQ(delivered()[0].actionButtonTitle, std::nullopt);
    EXPECT_FALSE(delivered()[0].hasReplyButton);
    EXPECT_EQ(model().publicAddress(), std::nullopt) << "there is no echo host";
    samples(100);
    EXPECT_EQ(delivered().size(), 1U);
    machine_->network().reachable = Connectivity::no;
    samples(32);
    machine_->network().reachable = Connectivity::yes;
    samples(32);
    EXPECT_EQ(delivered().size(), 2U) << "once for each return";
}

TEST_F(NetworkTest, ForgetsEverythingWhileThereIsNoInterfaceAndChecksAtOnceAfterIt) {
    machine_->network().reachable = Connectivity::no;
    sample();
    const std::vector<ScriptedInterface> interfaces = std::move(machine_->network().interfaces);
    machine_->network().interfaces.clear();
    sample();
    EXPECT_EQ(model().connection(), ConnectionType::none);
    EXPECT_EQ(model().publicAddress(), std::nullopt);
    EXPECT_TRUE(model().interfaces().empty());
    machine_->network().interfaces = interfaces;
    machine_->network().reachable = Connectivity::yes;
    sample();
    EXPECT_EQ(model().connection(), ConnectionType::internet);
    EXPECT_EQ(delivered().size(), 1U);
}

TEST_F(NetworkTest, KeepsNoInterfaceWhereTheListCannotBeHad) {
    sample();
    machine_->network().calls.fail("listInterfaces");
    testing::internal::CaptureStderr();
    sample();
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(model().interfaces().empty());
    EXPECT_EQ(model().connection(), ConnectionType::none);
}

TEST_F(NetworkTest, TellsOfAListThatCannotBeHadOnceAndOfItsEnd) {
    const auto lines = [this](int count) {
        testing::internal::CaptureStderr();
        samples(count);
        return testing::internal::GetCapturedStderr();
    };
    machine_->network().calls.fail("listInterfaces", {.error = ENOBUFS});
    EXPECT_EQ(lines(100), "Error: _getNetworkData -- No buffer space available");
    machine_->network().calls.succeed();
    EXPECT_EQ(lines(50), "");
    EXPECT_EQ(lines(50), "\n_getNetworkData works again\n");
    EXPECT_EQ(lines(50), "");
}

// Where containers come and go there is a new interface at every sample.
TEST_F(NetworkTest, TellsOnceOfInterfacesOfWhichNoMoreIsKnown) {
    machine_->network().calls.fail("matchInterface", {.error = EIO});
    testing::internal::CaptureStderr();
    for (std::uint32_t i = 3; i < 100; ++i) {
        machine_->network().interfaces = {ScriptedInterface("veth" + std::to_string(i), i).addAddress("192.0.2.4")};
        sample();
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error: _getNetworkExtra for 'veth3' -- Input/output error");
}

TEST_F(NetworkTest, LooksThePublicAddressUpOnceAndAgainAfterTheInternetWasAway) {
    EchoServer server(EchoServer::reply("HTTP/1.1 200 OK\r\n\r\nIP: 203.0.113.7\r\n"));
    const EchoHostGuard guard({"127.0.0.1", server.port()});
    samples(100);
    EXPECT_EQ(model().publicAddress(), "203.0.113.7");
    EXPECT_EQ(server.requests().size(), 1U) << "a known address is not asked for again";
    ASSERT_TRUE(probes::setEchoHost({"no..such..name", server.port()}));
    samples(32);
    EXPECT_EQ(model().publicAddress(), "No Internet");
    EXPECT_EQ(model().connection(), ConnectionType::local);
    ASSERT_TRUE(probes::setEchoHost({"127.0.0.1", server.port()}));
    samples(32);
    EXPECT_EQ(model().publicAddress(), "203.0.113.7");
    EXPECT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(delivered().size(), 1U);
}

TEST_F(NetworkTest, KeepsAnEmptyPublicAddressWhereTheEchoHostTellsNone) {
    EchoServer server(EchoServer::reply("nothing\r\n"));
    const EchoHostGuard guard({"127.0.0.1", server.port()});
    samples(100);
    EXPECT_EQ(model().publicAddress(), ""); // and does not ask again: meant so
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(NetworkTest, RefreshesThePublicAddressWhenTold) {
    EchoServer server(EchoServer::reply("IP: 203.0.113.7\r\n"));
    const EchoHostGuard guard({"127.0.0.1", server.port()});
    EXPECT_EQ(model().refreshPublicAddress(), "203.0.113.7");
    EXPECT_EQ(model().publicAddress(), "203.0.113.7");
    machine_->network().interfaces.clear();
    sample();
    EXPECT_EQ(model().refreshPublicAddress(), std::nullopt) << "there is no Internet to ask";
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(NetworkTest, ForgetsThePublicAddressWhereARefreshFindsNoServer) {
    {
        EchoServer server(EchoServer::reply("IP: 203.0.113.7\r\n"));
        const EchoHostGuard guard({"127.0.0.1", server.port()});
        EXPECT_EQ(model().refreshPublicAddress(), "203.0.113.7");
    }
    EXPECT_EQ(model().refreshPublicAddress(), std::nullopt);
}

TEST_F(NetworkTest, MirrorsTheConfigurationFromTheStart) {
    machine_->network().localHostName = "workbench";
    machine_->network().ipv4 = PropertyList::Dictionary{{"Router", "192.0.2.1"}};
    machine_->network().dns =
        PropertyList::Dictionary{{"ServerAddresses", PropertyList::List{"192.0.2.53", "2001:db8::53"}}};
    EXPECT_EQ(model().localhostName(), "workbench");
    EXPECT_EQ(model().router(), "192.0.2.1");
    EXPECT_EQ(model().dns(), "192.0.2.53, 2001:db8::53");
}

TEST_F(NetworkTest, FollowsTheConfiguration) {
    machine_->network().ipv4 = PropertyList::Dictionary{{"Router", "192.0.2.1"}};
    machine_->network().dns = PropertyList::Dictionary{{"ServerAddresses", PropertyList::List{"192.0.2.53"}}};
    EXPECT_EQ(model().dns(), "192.0.2.53");
    machine_->network().localHostName = "renamed";
    machine_->network().ipv4.reset();
    machine_->network().dns.reset();
    machine_->network().change();
    machine_->dispatch().runPending();
    EXPECT_EQ(model().localhostName(), "renamed");
    EXPECT_EQ(model().router(), "192.0.2.1") << "outlives a disconnection";
    EXPECT_EQ(model().dns(), "192.0.2.53") << "outlives a disconnection";
    machine_->network().ipv4 = PropertyList::Dictionary{};
    machine_->network().change();
    machine_->dispatch().runPending();
    EXPECT_EQ(model().router(), std::nullopt) << "connected, without a router";
}

// A second model's registration took the place of the first one's, which never heard of a change again.
TEST_F(NetworkTest, SeveralModelsFollowTheConfigurationTogether) {
    Network& first = model();
    auto second = std::make_unique<Network>();
    const Network third;
    const auto change = [this](const char* name) {
        machine_->network().localHostName = name;
        machine_->network().change();
        machine_->dispatch().runPending();
    };
    change("otter");
    EXPECT_EQ(first.localhostName(), "otter");
    EXPECT_EQ(second->localhostName(), "otter");
    EXPECT_EQ(third.localhostName(), "otter");
    second.reset();
    change("badger");
    EXPECT_EQ(first.localhostName(), "badger");
    EXPECT_EQ(third.localhostName(), "badger");
}

TEST_F(NetworkTest, MayGoWhileACheckIsStillToRun) {
    machine_->advance(interval);
    model().update();
    model_.reset();
    machine_->network().reachable = Connectivity::no;
    machine_->dispatch().runPending();
    machine_->network().change();
    machine_->dispatch().runPending();
}

// The sample that submits a check took memory for it.
TEST_F(NetworkTest, SamplesWithoutAllocatingAlsoWhereItSubmitsACheck) {
    samples(64); // what the queue keeps for the next closures is there then
    std::size_t taken = 0;
    for (int round = 0; round < 64; ++round) {
        lan().bytesIn += 100;
        machine_->advance(interval);
        const std::size_t before = allocations();
        model().update();
        taken += allocations() - before;
        machine_->dispatch().runPending();
    }
    if (countsAllocations) {
        EXPECT_EQ(taken, 0U);
    }
}

// Each sample after one without an interface submitted one more check, whether or not the one before had ended.
TEST_F(NetworkTest, SubmitsNoCheckWhileOneIsUnderWay) {
    const auto asked = [this] { return machine_->network().calls.count("connectivity"); };
    const std::vector<ScriptedInterface> interfaces = machine_->network().interfaces;
    for (int flap = 0; flap < 20; ++flap) {
        machine_->network().interfaces.clear();
        model().update();
        machine_->network().interfaces = interfaces;
        model().update();
    }
    machine_->dispatch().runPending();
    EXPECT_EQ(asked(), 1U);
    EXPECT_EQ(model().connection(), ConnectionType::internet) << "the check asked about the newest connection";
    samples(20);
    EXPECT_EQ(asked(), 2U) << "the check of the last return, which had been put off";
}

TEST_F(NetworkTest, ChecksANewConnectionAsSoonAsTheCheckOfTheOneBeforeHasEnded) {
    const std::vector<ScriptedInterface> interfaces = machine_->network().interfaces;
    duringTheCheck([&] {
        duringTheCheck(nullptr);
        machine_->network().interfaces.clear();
        model().update();
        machine_->network().interfaces = interfaces;
        model().update();
    });
    sample();
    EXPECT_EQ(model().connection(), ConnectionType::none) << "the answer was about the connection before";
    sample();
    EXPECT_EQ(model().connection(), ConnectionType::internet);
}

// The answer made an Internet connection of no connection, and announced it.
TEST_F(NetworkTest, PassesOverAnAnswerThatComesAfterTheConnectionWent) {
    for (const Connectivity answer : {Connectivity::yes, Connectivity::no}) {
        machine_->network().interfaces = {ScriptedInterface("en0", 2).addAddress("192.0.2.4")};
        machine_->network().reachable = answer;
        duringTheCheck([&] {
            machine_->network().interfaces.clear();
            model().update();
        });
        sample();
        EXPECT_EQ(model().connection(), ConnectionType::none);
        EXPECT_EQ(model().publicAddress(), std::nullopt);
        EXPECT_TRUE(delivered().empty());
    }
}

// Both wrote the one text of the system manager, and read each other's.
TEST_F(NetworkTest, TwoModelsLookThePublicAddressUpAtOnce) {
    EchoServer server([calls = 0](int connection) mutable {
        static_cast<void>(EchoServer::send(connection, ++calls % 2 ? "IP: 203.0.113.7\r\n" : "IP: 198.51.100.99\r\n"));
    });
    const EchoHostGuard guard({"127.0.0.1", server.port()});
    const auto refresh = [](Network& own) {
        for (int round = 0; round < 20; ++round)
            EXPECT_THAT(own.refreshPublicAddress().value_or("none"), testing::AnyOf("203.0.113.7", "198.51.100.99"));
    };
    Network one; // the queues of the scripted machine are for one thread
    Network two;
    std::thread other(refresh, std::ref(one));
    refresh(two);
    other.join();
    EXPECT_EQ(server.requests().size(), 40U);
}

TEST_F(NetworkTest, IsReadFromOtherThreadsWhileItSamplesAndChecks) {
    EchoServer server(EchoServer::reply("IP: 203.0.113.7\r\n"));
    const EchoHostGuard guard({"127.0.0.1", server.port()});
    sample();
    std::atomic<bool> done{false};
    std::thread reader([&] {
        while (!done) {
            static_cast<void>(model().aggregated());
            for (const auto& [name, interface] : model().interfaces())
                static_cast<void>(interface->ipaddr().size() + interface->name().size() + name.size());
            static_cast<void>(model().connection());
            static_cast<void>(model().publicAddress());
            static_cast<void>(model().dns());
        }
    });
    std::thread refresher([&] {
        while (!done)
            static_cast<void>(model().refreshPublicAddress());
    });
    for (int round = 0; round < 200; ++round) {
        lan().bytesIn += 100;
        lan().index = round % 20 == 0 ? lan().index + 1 : lan().index;
        machine_->network().localHostName = std::to_string(round);
        machine_->network().change();
        sample();
    }
    done = true;
    reader.join();
    refresher.join();
    EXPECT_EQ(model().publicAddress(), "203.0.113.7");
}

/// A model with all that may be told of an interface.
class NetworkMeasures : public NetworkTest {
protected:
    using Measure = Network::Measure;

    NetworkMeasures() {
        platform::ScriptedNetworkService& network = machine_->network();
        lan().properties = PropertyList::Dictionary{{"IOPrimaryInterface", true}};
        network.packetCountersValue =
            std::vector<InterfaceCounters>{{.name = "lo0", .index = 1}, {.name = "en0", .index = 2, .packetsIn = 100}};
        InterfaceLink link;
        link.name = "en0";
        link.index = 2;
        link.mtu = 1500;
        link.addresses = {{.bytes = {192, 0, 2, 4}, .prefixLength = 24}};
        network.linksValue = std::vector<InterfaceLink>{link};
        network.wirelessLinksValue = std::vector<WirelessLink>{{.name = "en0", .index = 2, .signal = -50}};
    }
    std::vector<InterfaceCounters>& counters() { return *machine_->network().packetCountersValue; }
    std::vector<std::string> asked() {
        std::vector<std::string> calls = machine_->network().calls.list();
        std::erase_if(calls, [](const std::string& call) {
            return call != "packetCounters" && call != "links" && call != "wirelessLinks";
        });
        return calls;
    }
};

TEST_F(NetworkMeasures, NothingIsAskedOrShownUntilItIsWanted) {
    sample();
    EXPECT_THAT(asked(), testing::IsEmpty());
    EXPECT_EQ(model().measures(), MeasureSet<Measure>{});
    EXPECT_THAT(model().traffic(), testing::IsEmpty());
    EXPECT_THAT(model().links(), testing::IsEmpty());
    EXPECT_THAT(model().wireless(), testing::IsEmpty());
    EXPECT_EQ(model().primaryTraffic(), std::nullopt);
    EXPECT_EQ(model().availability(Measure::traffic), std::nullopt);
}

TEST_F(NetworkMeasures, OnlyWhatIsWantedIsAskedOnceASample) {
    model().setMeasures({Measure::links});
    sample();
    EXPECT_THAT(asked(), testing::ElementsAre("links"));
    EXPECT_EQ(model().availability(Measure::links), Availability::available);
    EXPECT_EQ(model().availability(Measure::traffic), std::nullopt);
    ASSERT_EQ(model().links().size(), 1U);
    EXPECT_EQ(model().links()[0].mtu, 1500U);
    EXPECT_EQ(model().links()[0].addresses[0].text(), "192.0.2.4");
    model().setMeasures({Measure::wireless});
    EXPECT_THAT(model().links(), testing::IsEmpty());
    sample();
    EXPECT_THAT(asked(), testing::ElementsAre("links", "wirelessLinks"));
    EXPECT_EQ(model().wireless().at(0).signal, -50);
}

TEST_F(NetworkMeasures, TrafficHasRatesFromTheSecondSampleOn) {
    model().setMeasures({Measure::traffic});
    sample();
    ASSERT_EQ(model().traffic().size(), 2U);
    EXPECT_EQ(model().traffic()[1].counters.packetsIn, 100);
    EXPECT_EQ(model().traffic()[1].packetsInRate, std::nullopt);
    counters()[1].packetsIn += 110;
    sample();
    EXPECT_NEAR(model().traffic()[1].packetsInRate.value(), 100, 1e-9);
    EXPECT_NEAR(model().primaryTraffic()->packetsInRate.value(), 100, 1e-9);
    EXPECT_EQ(model().primaryTraffic()->counters.name, "en0");
}

TEST_F(NetworkMeasures, RatesFollowTheClockThatNeverStepsBackAndNotTheIntervalThatWasAskedFor) {
    model().setMeasures({Measure::traffic});
    sample();
    machine_->clock().setWallMicroseconds(1'000'000); // back by decades
    counters()[1].packetsIn += 110;
    machine_->advance(9.9);
    sample();
    EXPECT_NEAR(model().traffic()[1].packetsInRate.value(), 10, 1e-9);
}

TEST_F(NetworkMeasures, WithoutAPrimaryInterfaceThereIsNoTrafficOfOne) {
    lan().properties.clear();
    model().setMeasures({Measure::traffic});
    sample();
    EXPECT_EQ(model().primaryTraffic(), std::nullopt);
    EXPECT_EQ(model().traffic().size(), 2U);
}

TEST_F(NetworkMeasures, TrafficThatIsWantedAnewBeginsAnew) {
    model().setMeasures({Measure::traffic});
    sample();
    sample();
    EXPECT_TRUE(model().traffic()[1].packetsInRate);
    model().setMeasures({});
    EXPECT_THAT(model().traffic(), testing::IsEmpty());
    sample();
    model().setMeasures({Measure::traffic});
    EXPECT_THAT(model().traffic(), testing::IsEmpty()) << "nothing of before";
    sample();
    EXPECT_EQ(model().traffic().at(1).packetsInRate, std::nullopt);
}

TEST_F(NetworkMeasures, WhatFailsIsEmptySaysWhyAndComesBack) {
    platform::ScriptedCalls& calls = machine_->network().calls;
    model().setMeasures({Measure::traffic, Measure::links, Measure::wireless});
    sample();
    EXPECT_EQ(model().traffic().size(), 2U);
    for (const char* operation : {"packetCounters", "links", "wirelessLinks"})
        calls.fail(operation, {.error = EACCES});
    sample();
    for (const Measure measure : {Measure::traffic, Measure::links, Measure::wireless})
        EXPECT_EQ(model().availability(measure), Availability::denied);
    EXPECT_THAT(model().traffic(), testing::IsEmpty());
    EXPECT_THAT(model().links(), testing::IsEmpty());
    EXPECT_THAT(model().wireless(), testing::IsEmpty());
    EXPECT_EQ(model().interfaces().size(), 1U) << "the others go on";
    calls.succeed();
    counters()[1].packetsIn += 220;
    sample();
    EXPECT_NEAR(model().traffic().at(1).packetsInRate.value(), 100, 1e-9) << "over both gaps";
    EXPECT_EQ(model().wireless().size(), 1U);
}

TEST_F(NetworkMeasures, WhatASystemDoesNotHaveIsUnsupported) {
    machine_->network().wirelessLinksValue.reset();
    model().setMeasures({Measure::wireless});
    sample();
    EXPECT_EQ(model().availability(Measure::wireless), Availability::unsupported);
}

TEST_F(NetworkMeasures, AListIsFilledInTheMemoryOfTheReader) {
    model().setMeasures({Measure::traffic, Measure::links, Measure::wireless});
    sample();
    std::vector<probes::InterfaceTraffic> traffic(5);
    std::vector<InterfaceLink> links(5);
    std::vector<WirelessLink> wireless(5);
    const auto* const place = traffic.data();
    model().traffic(traffic);
    model().links(links);
    model().wireless(wireless);
    EXPECT_EQ(traffic.size(), 2U);
    EXPECT_EQ(traffic.data(), place);
    EXPECT_EQ(links.size(), 1U);
    EXPECT_EQ(wireless.size(), 1U);
    model().setMeasures({});
    model().traffic(traffic);
    EXPECT_THAT(traffic, testing::IsEmpty());
}

} // namespace
} // namespace sentrel
