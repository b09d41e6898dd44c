// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/SystemManager.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/probes/HostProbes.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace sentrel::probes {
namespace {

// What a registered block was told, call by call.
struct Call {
    std::optional<std::string> host;
    std::optional<std::string> router;
    std::optional<std::vector<std::string>> dns;
    const DispatchQueue* queue;
};

NetworkConfigurationBlock recordInto(std::vector<Call>& calls, ScriptedMachine& machine) {
    return [&calls, &machine](const auto& host, const auto& router, const auto& dns) {
        calls.push_back({host, router, dns, machine->dispatch().currentQueue()});
    };
}

PropertyList connectedOver(const char* router) {
    return PropertyList::Dictionary{{"Router", router}};
}

PropertyList servers(PropertyList::List addresses) {
    return PropertyList::Dictionary{{"ServerAddresses", std::move(addresses)}};
}

TEST(SystemManager, StandsBeforeAnythingElseWithADashAsBrand) {
    ASSERT_NE(System, nullptr);
    EXPECT_STREQ(System->cpuBrand, "-");
    EXPECT_STREQ(System->publicAddress, "");
    EXPECT_NE(System->daSession, nullptr);
    EXPECT_EQ(System->backgroundQueue, dispatch::backgroundQueue());
}

TEST(SystemManager, AsksForExactlyTheThreeKeysInTheirOrderAndThenSchedules) {
    ScriptedMachine machine;
    EXPECT_EQ(machine->network().calls.list(),
              (std::vector<std::string>{"watchConfiguration SystemManager",
                                        "setNotificationKeys State:/Network/Global/IPv4 State:/Network/Global/DNS "
                                        "Setup:/Network/HostNames",
                                        "schedule"}));
}

TEST(SystemManager, DeliversOnceAtRegistrationOnTheCallersThreadAlsoWithoutANetwork) {
    ScriptedMachine machine;
    std::vector<Call> calls;
    _networkConfigureNotification(recordInto(calls, machine));
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].host, std::nullopt);
    EXPECT_EQ(calls[0].router, std::nullopt);
    EXPECT_EQ(calls[0].dns, std::nullopt);
    EXPECT_EQ(calls[0].queue, nullptr);
}

TEST(SystemManager, DeliversChangesOnTheBackgroundQueue) {
    ScriptedMachine machine;
    std::vector<Call> calls;
    _networkConfigureNotification(recordInto(calls, machine));
    machine->network().localHostName = "otter";
    machine->network().ipv4 = connectedOver("192.0.2.1");
    machine->network().dns = servers({"192.0.2.53", "2001:db8::53"});
    machine->network().change();
    machine->dispatch().runPending();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[1].host, "otter");
    EXPECT_EQ(calls[1].router, "192.0.2.1");
    EXPECT_EQ(calls[1].dns, (std::vector<std::string>{"192.0.2.53", "2001:db8::53"}));
    EXPECT_EQ(calls[1].queue, machine->dispatch().backgroundQueue().get());
}

TEST(SystemManager, KeepsTheLastDnsServersAndRouterThroughADisconnectionButNotTheHostName) {
    ScriptedMachine machine;
    machine->network().localHostName = "otter";
    machine->network().ipv4 = connectedOver("192.0.2.1");
    machine->network().dns = servers({"192.0.2.53"});
    std::vector<Call> calls;
    _networkConfigureNotification(recordInto(calls, machine));
    machine->network().localHostName = "badger";
    machine->network().ipv4.reset();
    machine->network().dns.reset();
    machine->network().change();
    machine->dispatch().runPending();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[1].host, "badger");
    EXPECT_EQ(calls[1].router, "192.0.2.1"); // deliberate: the last known one
    EXPECT_EQ(calls[1].dns, (std::vector<std::string>{"192.0.2.53"}));
    machine->network().localHostName.reset();
    machine->network().change();
    machine->dispatch().runPending();
    EXPECT_EQ(calls.at(2).host, std::nullopt);
    EXPECT_EQ(System->configuration().routerAddr, "192.0.2.1");
}

// The key that had a value without the entry was taken for one without a value, and the router before stayed.
TEST(SystemManager, HasNoRouterInAConnectedNetworkWithoutOne) {
    ScriptedMachine machine;
    const PropertyList::Dictionary without;
    const std::vector<std::pair<PropertyList, PropertyList>> cases = {
        {without, without},
        {PropertyList::Dictionary{{"Router", 7}}, PropertyList::Dictionary{{"ServerAddresses", "192.0.2.53"}}},
        {7, 7}};
    for (const auto& [ipv4, dns] : cases) {
        machine->network().ipv4 = connectedOver("192.0.2.1");
        machine->network().dns = servers({"192.0.2.53"});
        System->updateSystemConfigurationProperties();
        EXPECT_EQ(System->configuration().routerAddr, "192.0.2.1");
        machine->network().ipv4 = ipv4;
        machine->network().dns = dns;
        System->updateSystemConfigurationProperties();
        EXPECT_EQ(System->configuration().routerAddr, std::nullopt);
        EXPECT_EQ(System->configuration().dnsAddrs, std::nullopt);
    }
    machine->network().dns = servers({"192.0.2.53", 7, "192.0.2.54"});
    System->updateSystemConfigurationProperties();
    EXPECT_EQ(System->configuration().dnsAddrs, (std::vector<std::string>{"192.0.2.53", "192.0.2.54"}));
}

TEST(SystemManager, CallsOnlyTheBlockThatWasRegisteredLast) {
    ScriptedMachine machine;
    std::vector<Call> first;
    std::vector<Call> second;
    _networkConfigureNotification(recordInto(first, machine));
    _networkConfigureNotification(recordInto(second, machine));
    machine->network().change();
    machine->dispatch().runPending();
    EXPECT_EQ(first.size(), 1U);
    EXPECT_EQ(second.size(), 2U);
}

// The change was told on the background queue, and then, late, what had been read before it.
TEST(SystemManager, TellsTheNewestConfigurationLastWhereAChangeComesDuringARegistration) {
    ScriptedMachine machine;
    machine->network().localHostName = "otter";
    std::vector<std::string> told;
    bool isFirst = true;
    _networkConfigureNotification([&](const auto& host, const auto&...) {
        if (std::exchange(isFirst, false)) {
            machine->network().localHostName = "badger";
            machine->network().change();
            machine->dispatch().runPending();
        }
        told.push_back(host.value());
    });
    EXPECT_EQ(told, (std::vector<std::string>{"badger", "otter", "badger"}));
}

TEST(SystemManager, ABlockMayRegisterAnotherFromInsideItsCall) {
    ScriptedMachine machine;
    std::vector<Call> calls;
    _networkConfigureNotification([&](const auto&...) { _networkConfigureNotification(recordInto(calls, machine)); });
    EXPECT_EQ(calls.size(), 1U);
}

// The block before was released under the lock of the configuration.
TEST(SystemManager, WhatABlockHoldsMayAskForTheConfigurationAsItIsReleased) {
    ScriptedMachine machine;
    struct Held {
        std::optional<std::string>& seen;
        ~Held() { seen = System->configuration().localhostName; }
    };
    machine->network().localHostName = "otter";
    std::optional<std::string> seen;
    _networkConfigureNotification([held = std::shared_ptr<Held>(new Held{seen})](const auto&...) {});
    _networkConfigureNotification([](const auto&...) {});
    EXPECT_EQ(seen, "otter");
}

TEST(SystemManager, ReportsRefusedKeysAndGoesOn) {
    platform::ScriptedPlatform machine;
    machine.network().calls.fail("setNotificationKeys");
    testing::internal::CaptureStderr();
    const platform::Override override(machine);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error installing System Configuration Notification\n");
    EXPECT_EQ(machine.network().calls.count("schedule"), 1U);
    int calls = 0;
    _networkConfigureNotification([&](const auto&...) { ++calls; });
    EXPECT_EQ(calls, 1);
}

TEST(SystemManager, StopsTheProcessWithoutAConfigurationSession) {
    platform::ScriptedPlatform machine;
    machine.network().calls.fail("watchConfiguration");
    EXPECT_DEATH(const platform::Override override(machine),
                 "self->scSession.*-\\[SystemManager setUpSystemConfiguration\\], file SentrelKit, line");
}

TEST(SystemManager, StopsTheProcessWithoutADiskSession) {
    platform::ScriptedPlatform machine;
    machine.volumes().calls.fail("openSession");
    EXPECT_DEATH(const platform::Override override(machine),
                 "\\(daSession\\), function -\\[SystemManager init\\], file SentrelKit, line");
}

// The manager used to stay that of the machine before, and one made for a machine stayed when that machine was gone.
TEST(SystemManager, EachMachineInForceHasASessionOfItsOwn) {
    SystemManager* const real = System;
    {
        platform::ScriptedPlatform outer;
        outer.network().localHostName = "otter";
        outer.host().loadTicksValue = platform::HostLoadTicks{.user = 100, .system = 0, .idle = 100, .nice = 0};
        const platform::Override outerScope(outer);
        SystemManager* const outerSession = System;
        EXPECT_NE(outerSession, real);
        System->updateSystemConfigurationProperties();
        CPUData data{};
        _getCPUData(&data);
        EXPECT_EQ(data.user, 50);
        {
            platform::ScriptedPlatform inner;
            inner.network().localHostName = "badger";
            inner.host().loadTicksValue = platform::HostLoadTicks{.user = 101, .system = 0, .idle = 101 * 3, .nice = 0};
            const platform::Override innerScope(inner);
            _networkConfigureNotification([](const auto& host, const auto&...) { EXPECT_EQ(host, "badger"); });
            _getCPUData(&data);
            EXPECT_EQ(data.user, 25) << "the load since the machine's start, not since another machine's sample";
        }
        EXPECT_EQ(System, outerSession);
        EXPECT_EQ(System->configuration().localhostName, "otter");
        outer.host().loadTicksValue = platform::HostLoadTicks{.user = 101, .system = 0, .idle = 101, .nice = 0};
        _getCPUData(&data);
        EXPECT_EQ(data.user, 50);
    }
    EXPECT_EQ(System, real);
}

TEST(SystemManager, SessionsWithSeveralMachinesStandSideBySide) {
    platform::ScriptedPlatform machines[2];
    machines[0].host().brandValue = "Otter(R)";
    machines[0].host().loadTicksValue = platform::HostLoadTicks{.user = 100, .system = 0, .idle = 100, .nice = 0};
    machines[1].host().brandValue = "Badger(R)";
    machines[1].host().loadTicksValue = platform::HostLoadTicks{.user = 100, .system = 0, .idle = 300, .nice = 0};
    const auto first = std::make_shared<SystemManager>(machines[0]);
    auto second = std::make_shared<SystemManager>(machines[1]);
    CPUData data{};
    _getCPUData(&data, *first);
    EXPECT_EQ(data.user, 50);
    _getCPUData(&data, *second);
    EXPECT_EQ(data.user, 25);
    EXPECT_STREQ(_getCPUBrand(*first), "Otter");
    EXPECT_STREQ(_getCPUBrand(*second), "Badger");
    EXPECT_STREQ(first->cpuBrand, "Otter");
    first->setPublicAddress("192.0.2.1");
    EXPECT_STREQ(second->publicAddress, "");
    EXPECT_STREQ(System->publicAddress, "");
    second.reset();
    machines[0].host().loadTicksValue.user += 1;
    _getCPUData(&data, *first);
    EXPECT_EQ(data.user, 100);
}

TEST(SystemManager, KeepsOneObjectOfAKindForAllItsUsersAsLongAsItLives) {
    platform::ScriptedPlatform machine;
    auto session = std::make_shared<SystemManager>(machine);
    const auto other = std::make_shared<SystemManager>(machine);
    auto& kept = session->shared<std::shared_ptr<int>>();
    kept = std::make_shared<int>(7);
    const std::weak_ptr<int> number = kept;
    EXPECT_EQ(&session->shared<std::shared_ptr<int>>(), &kept);
    EXPECT_EQ(other->shared<std::shared_ptr<int>>(), nullptr);
    EXPECT_EQ(session->shared<int>(), 0);
    session.reset();
    EXPECT_TRUE(number.expired());
}

TEST(SystemManager, APublicAddressIsCutToItsField) {
    ScriptedMachine machine;
    System->setPublicAddress(std::string(100, 'a'));
    EXPECT_EQ(System->publicAddress, std::string(64, 'a'));
}

TEST(SystemManager, TheLoadHookReplacesAnObjectThatStoodBefore) {
    ScriptedMachine machine;
    SystemManager* const before = System;
    std::strcpy(before->cpuBrand, "something");
    _constructor();
    EXPECT_STREQ(System->cpuBrand, "-");
}

} // namespace
} // namespace sentrel::probes
