// SPDX-License-Identifier: Apache-2.0
#include "tests/contract/PlatformContract.h"

#include <SentrelKit/platform/NetworkService.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

constexpr const char* missing = "nosuch7";
constexpr const char* ipv4Key = "State:/Network/Global/IPv4";
constexpr const char* dnsKey = "State:/Network/Global/DNS";
constexpr const char* hostNamesKey = "Setup:/Network/HostNames";
constexpr std::size_t longestName = 15; // bytes of an interface's name

struct Traffic {
    std::uint32_t index = 0;
    std::int64_t in = 0;
    std::int64_t out = 0;
};

std::map<std::string, Traffic> traffic(NetworkService& network) {
    std::map<std::string, Traffic> found;
    EXPECT_TRUE(network.listInterfaces([&](const InterfaceInfo& info) {
        const bool isNew =
            found.try_emplace(std::string(info.name), Traffic{info.index, info.bytesIn, info.bytesOut}).second;
        EXPECT_TRUE(isNew) << info.name << " is listed twice";
    }));
    return found;
}

// A socket address may be read where it lies.
void expectAddress(SocketAddress address) {
    if (address.empty())
        return;
    EXPECT_GE(address.size(), 2u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(address.data()) % alignof(std::uint32_t), 0u);
}

// The text under a key of a value, where it has one.
void expectText(const PropertyList& value, const char* key) {
    const PropertyList* const entry = value.find(key);
    if (!entry)
        return;
    ASSERT_TRUE(entry->as<std::string>());
    EXPECT_FALSE(entry->as<std::string>()->empty());
    EXPECT_THAT(*entry->as<std::string>(), IsUtf8());
}

} // namespace

TEST_P(PlatformContract, InterfacesAreListedWholeAndEachOnce) {
    std::vector<std::uint32_t> indexes;
    int loopbacks = 0;
    ASSERT_TRUE(platform().network().listInterfaces([&](const InterfaceInfo& info) {
        EXPECT_FALSE(info.name.empty());
        EXPECT_LE(info.name.size(), longestName);
        EXPECT_THAT(info.name, IsUtf8());
        EXPECT_GT(info.index, 0u);
        EXPECT_GE(info.bytesIn, 0);
        EXPECT_GE(info.bytesOut, 0);
        loopbacks += (info.flags & InterfaceInfo::loopback) != 0 ? 1 : 0;
        EXPECT_FALSE((info.flags & InterfaceInfo::loopback) != 0 && info.linkType == InterfaceInfo::ethernetLinkType);
        EXPECT_TRUE(info.linkType != InterfaceInfo::ethernetLinkType || info.hardwareAddress.empty() ||
                    info.hardwareAddress.size() >= 6u);
        std::for_each(info.addresses.begin(), info.addresses.end(), &expectAddress);
        indexes.push_back(info.index);
    }));
    std::sort(indexes.begin(), indexes.end());
    EXPECT_EQ(std::adjacent_find(indexes.begin(), indexes.end()), indexes.end());
    EXPECT_GE(loopbacks, 1);
}

TEST_P(PlatformContract, CountersOfAnInterfaceNeverDecrease) {
    const auto before = traffic(platform().network());
    const auto after = traffic(platform().network());
    for (const auto& [name, counted] : before) {
        const auto later = after.find(name);
        if (later == after.end() || later->second.index != counted.index)
            continue; // it went meanwhile
        EXPECT_GE(later->second.in, counted.in);
        EXPECT_GE(later->second.out, counted.out);
    }
}

TEST_P(PlatformContract, TheLinkStateMayBeAskedForWhileInterfacesAreListed) {
    int known = 0;
    ASSERT_TRUE(platform().network().listInterfaces([&](const InterfaceInfo& info) {
        const auto status = platform().network().mediaStatus(info.name);
        known += status && status->valid ? 1 : 0;
    }));
    EXPECT_TRUE(machine->isReal() || known > 0);
}

TEST_P(PlatformContract, AListOfInterfacesThatFailsCallsNobody) {
    if (machine->isReal())
        return;
    fail("listInterfaces");
    errno = 0;
    EXPECT_FALSE(platform().network().listInterfaces([](const InterfaceInfo&) { ADD_FAILURE(); }));
    EXPECT_NE(errno, 0);
}

TEST_P(PlatformContract, AnInterfaceThatIsNotThereHasNoLinkStateAndNoEntry) {
    errno = 0;
    EXPECT_FALSE(platform().network().mediaStatus(missing));
    EXPECT_NE(errno, 0);
    const auto entry = platform().network().matchInterface(missing);
    ASSERT_TRUE(entry) << "the registry can be asked";
    EXPECT_FALSE(*entry);
}

TEST_P(PlatformContract, OfAnInterfacesNameTheFirst15BytesCount) {
    int known = 0;
    for (const auto& [name, counted] : traffic(platform().network())) {
        if (name.size() == longestName && platform().network().mediaStatus(name)) {
            EXPECT_TRUE(platform().network().mediaStatus(name + "tail"));
            ++known;
        }
    }
    EXPECT_TRUE(machine->isReal() || known > 0);
}

TEST_P(PlatformContract, EntriesOfInterfacesTellOfTheirKinds) {
    int primaries = 0;
    int wireless = 0;
    int fast = 0;
    for (const auto& [name, counted] : traffic(platform().network())) {
        const auto entry = platform().network().matchInterface(name);
        ASSERT_TRUE(entry);
        if (!*entry)
            continue;
        const auto own = (*entry)->properties();
        ASSERT_TRUE(own);
        const PropertyList properties(*own);
        if (const PropertyList* const primary = properties.find("IOPrimaryInterface")) {
            ASSERT_TRUE(primary->as<bool>());
            primaries += *primary->as<bool>() ? 1 : 0;
        }
        if (const PropertyList* const network = properties.find("IO80211SSID")) {
            ASSERT_TRUE(network->as<std::string>());
            EXPECT_THAT(*network->as<std::string>(), IsUtf8());
            ++wireless;
        }
        const PropertyList product = (*entry)->search("USB Product Name");
        EXPECT_TRUE(product.empty() || product.as<std::string>());
        const PropertyList speed = (*entry)->search("IOLinkSpeed");
        if (!speed.empty()) {
            ASSERT_TRUE(speed.as<std::int64_t>());
            EXPECT_GE(*speed.as<std::int64_t>(), 0);
            constexpr std::int64_t megabit = 1'000'000; // bits per second, so nothing is slower
            fast += *speed.as<std::int64_t>() >= megabit ? 1 : 0;
        }
        EXPECT_TRUE((*entry)->search("No Such Property").empty());
    }
    EXPECT_LE(primaries, 1);
    if (!machine->isReal()) {
        EXPECT_EQ(primaries, 1);
        EXPECT_GT(wireless, 0);
        EXPECT_GT(fast, 0);
    }
}

TEST_P(PlatformContract, AQuestionAboutAnInterfaceThatFailsHasNoAnswer) {
    if (machine->isReal())
        return;
    NetworkService& network = platform().network();
    std::vector<std::pair<std::string, std::unique_ptr<InterfaceEntry>>> entries;
    for (const auto& [name, counted] : traffic(network)) {
        if (auto entry = network.matchInterface(name); entry && *entry)
            entries.emplace_back(name, std::move(*entry));
    }
    ASSERT_FALSE(entries.empty());
    fail("properties");
    fail("search");
    fail("mediaStatus");
    fail("matchInterface");
    for (const auto& [name, entry] : entries) {
        EXPECT_FALSE(entry->properties());
        EXPECT_TRUE(entry->search("IOLinkSpeed").empty());
        errno = 0;
        EXPECT_FALSE(network.mediaStatus(name));
        EXPECT_NE(errno, 0);
        EXPECT_FALSE(network.matchInterface(name));
    }
}

TEST_P(PlatformContract, ConnectivityIsUnknownWhereItCannotBeTold) {
    EXPECT_LE(platform().network().connectivity(), Connectivity::yes);
    if (machine->isReal())
        return;
    fail("connectivity");
    EXPECT_EQ(platform().network().connectivity(), Connectivity::unknown);
}

TEST_P(PlatformContract, PacketCountersAreThoseOfInterfacesAndNeverBelowZero) {
    std::vector<InterfaceCounters> counters;
    if (platform().network().packetCounters(counters) != Availability::available)
        return;
    EXPECT_FALSE(counters.empty());
    for (const InterfaceCounters& each : counters) {
        EXPECT_FALSE(each.name.empty());
        EXPECT_LE(each.name.size(), longestName);
        EXPECT_GT(each.index, 0u);
        for (const std::int64_t counter :
             {each.packetsIn, each.packetsOut, each.errorsIn, each.errorsOut, each.dropsIn, each.dropsOut.value_or(0)})
            EXPECT_GE(counter, 0) << each.name;
    }
}

TEST_P(PlatformContract, LinksAreThoseOfInterfacesWithFiguresInRange) {
    std::vector<InterfaceLink> links;
    if (platform().network().links(links) != Availability::available)
        return;
    EXPECT_FALSE(links.empty());
    for (const InterfaceLink& link : links) {
        EXPECT_FALSE(link.name.empty());
        EXPECT_LE(link.name.size(), longestName);
        EXPECT_GT(link.index, 0u);
        EXPECT_LE(link.kind, InterfaceKind::wifi);
        EXPECT_LE(link.state, OperationalState::up);
        EXPECT_GT(link.speed.value_or(1), 0);
        EXPECT_GT(link.mtu.value_or(1), 0u);
        EXPECT_TRUE(link.mac().empty() || link.mac().size() == 17u);
        for (const InterfaceAddress& address : link.addresses) {
            EXPECT_LE(address.prefixLength, address.isIPv6 ? 128 : 32);
            EXPECT_FALSE(address.text().empty());
        }
    }
}

TEST_P(PlatformContract, RadiosAreInRange) {
    std::vector<WirelessLink> links;
    if (platform().network().wirelessLinks(links) != Availability::available)
        return;
    EXPECT_FALSE(links.empty());
    for (const WirelessLink& link : links) {
        EXPECT_FALSE(link.name.empty());
        EXPECT_LT(link.signal.value_or(-1), 30); // more than any transmitter sends
        EXPECT_GT(link.bitRateIn.value_or(1), 0);
        EXPECT_GT(link.bitRateOut.value_or(1), 0);
        constexpr std::int64_t megahertz = 1'000'000;
        EXPECT_GE(link.frequency.value_or(megahertz), megahertz);
        EXPECT_GE(link.channelWidth.value_or(megahertz), megahertz);
    }
}

TEST_P(PlatformContract, WhatFailsToBeToldOfInterfacesLeavesTheListsAsTheyWere) {
    if (machine->isReal())
        return;
    NetworkService& network = platform().network();
    std::vector<InterfaceCounters> counters(2);
    std::vector<InterfaceLink> links(2);
    std::vector<WirelessLink> radios(2);
    fail("packetCounters");
    fail("links");
    fail("wirelessLinks");
    EXPECT_NE(network.packetCounters(counters), Availability::available);
    EXPECT_NE(network.links(links), Availability::available);
    EXPECT_NE(network.wirelessLinks(radios), Availability::available);
    EXPECT_EQ(counters.size() + links.size() + radios.size(), 6u);
}

TEST_P(PlatformContract, ANumericAddressResolvesWithoutAskingAnyone) {
    EXPECT_TRUE(platform().network().resolves("127.0.0.1"));
}

TEST_P(PlatformContract, AConnectionThatIsRefusedIsNone) {
    errno = 0;
    constexpr std::int32_t nobodyListens = 1; // the port of a service that is no more
    EXPECT_FALSE(platform().network().connect("127.0.0.1", nobodyListens));
    EXPECT_NE(errno, 0);
}

TEST_P(PlatformContract, TheConfigurationHasItsKinds) {
    const auto watch = platform().network().watchConfiguration("contract");
    ASSERT_TRUE(watch);
    const auto name = watch->localHostName();
    EXPECT_THAT(name, IsAbsentOrUtf8());
    EXPECT_TRUE(!name || !name->empty());
    const auto ipv4 = watch->value(ipv4Key);
    if (ipv4) {
        EXPECT_TRUE(ipv4->as<PropertyList::Dictionary>());
        expectText(*ipv4, "Router");
    }
    const auto dns = watch->value(dnsKey);
    const PropertyList* const servers = dns ? dns->find("ServerAddresses") : nullptr;
    if (servers) {
        ASSERT_TRUE(servers->as<PropertyList::List>());
        for (const PropertyList& server : *servers->as<PropertyList::List>())
            EXPECT_TRUE(server.as<std::string>());
    }
    EXPECT_FALSE(watch->value("State:/No/Such/Key"));
    EXPECT_TRUE(machine->isReal() || (name && ipv4 && servers));
}

TEST_P(PlatformContract, ConfigurationThatCannotBeReadIsAbsent) {
    if (machine->isReal())
        return;
    const auto watch = platform().network().watchConfiguration("contract");
    ASSERT_TRUE(watch);
    fail("localHostName");
    fail("value");
    fail("watchConfiguration");
    EXPECT_FALSE(watch->localHostName());
    EXPECT_FALSE(watch->value(ipv4Key));
    EXPECT_FALSE(platform().network().watchConfiguration("contract"));
}

TEST_P(PlatformContract, AChangeOfTheConfigurationIsHeardOnItsQueueUntilTheRelease) {
    Dispatch& dispatch = platform().dispatch();
    for (const auto& queue : {dispatch.backgroundQueue(), dispatch.serialQueue("contract"), dispatch.mainQueue()}) {
        const bool isMain = queue == dispatch.mainQueue();
        const auto watch = platform().network().watchConfiguration("contract");
        ASSERT_TRUE(watch);
        ASSERT_TRUE(watch->setNotificationKeys({ipv4Key, dnsKey, hostNamesKey}));
        std::atomic<int> calls{0};
        std::atomic<int> mistakes{0};
        const auto held = std::make_shared<int>();
        Observation observation = watch->schedule(queue, [&, held] {
            mistakes += machine->isOnMainThread() != isMain ? 1 : 0;
            ++calls;
        });
        ASSERT_TRUE(observation);
        if (!machine->isReal()) {
            machine->change(ContractChange::configuration);
            EXPECT_TRUE(await([&] { return calls > 0; }));
        }
        observation.reset();
        const int atRelease = calls;
        EXPECT_EQ(held.use_count(), 1);
        machine->change(ContractChange::configuration);
        pass(5'000'000);
        EXPECT_EQ(calls, atRelease);
        EXPECT_EQ(mistakes, 0);
    }
}

TEST_P(PlatformContract, WithoutItsKeysAWatchObservesAndHearsNothing) {
    if (machine->isReal())
        return;
    const auto watch = platform().network().watchConfiguration("contract");
    ASSERT_TRUE(watch);
    fail("setNotificationKeys");
    EXPECT_FALSE(watch->setNotificationKeys({ipv4Key}));
    std::atomic<int> calls{0};
    const Observation observation = watch->schedule(platform().dispatch().backgroundQueue(), [&calls] { ++calls; });
    EXPECT_TRUE(observation);
    machine->change(ContractChange::configuration);
    pass(5'000'000);
    EXPECT_EQ(calls, 0);
}

} // namespace sentrel::platform
