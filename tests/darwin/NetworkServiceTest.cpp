// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/DarwinTest.h"
#include "tests/darwin/doubles/Queues.h"
#include "tests/darwin/doubles/Store.h"
#include "tests/support/InterfaceList.h"

#include <SentrelKit/platform/macos/dispatch/MacDispatch.h>
#include <SentrelKit/platform/macos/network/MacNetworkService.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace darwin;
using namespace sentrel::platform;
using sentrel::Availability;
using sentrel::Observation;
using sentrel::PropertyList;
using sentrel::WirelessLink;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class MacNetwork : public DarwinTest {
protected:
    std::vector<std::string> names() {
        std::vector<std::string> all;
        EXPECT_TRUE(network.listInterfaces([&all](const InterfaceInfo& info) { all.emplace_back(info.name); }));
        return all;
    }

    MacNetworkService network;
};

TEST_F(MacNetwork, ListsInterfacesInTheKernelsOrder) {
    machine().interfaceList = InterfaceList().add({.name = "lo0"}).add({.name = "en0"}).bytes();
    EXPECT_THAT(names(), ElementsAre("lo0", "en0"));
    machine().interfaceList = InterfaceList().add({.name = "en1"}).bytes(); // shorter than what was kept
    EXPECT_THAT(names(), ElementsAre("en1"));
}

TEST_F(MacNetwork, TellsTheStateAndTheAddressesOfEachLink) {
    using Bytes = InterfaceList::Bytes;
    const Bytes mask{7, 0, 0, 0, 255, 255, 254}; // the zeros at its end are left out
    const Bytes linkLocal{28, 30, 0, 0, 0, 0, 0, 0, 0xfe, 0x80, 0, 4, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 7, 0, 0, 0, 0};
    Bytes mask6(28, 0);
    mask6[0] = 28;
    std::fill_n(mask6.begin() + 8, 8, std::uint8_t{0xff});
    machine().interfaceList =
        InterfaceList()
            .add({.name = "lo0", .index = 1, .flags = 0x8049, .type = 24, .hardwareAddress = {}, .mtu = 16384})
            .address({{2, Bytes{5, 0, 0, 0, 255}}, {5, InterfaceList::ipv4({127, 0, 0, 1})}})
            .add({.name = "en0", .index = 4, .baudRate = 1'000'000'000})
            .address({{2, mask}, {5, InterfaceList::ipv4({192, 0, 2, 7})}})
            .address({{2, mask6}, {5, linkLocal}})
            .add({.name = "en1", .index = 5})
            .add({.name = "en5", .index = 6, .flags = 0x8822})
            .add({.name = "utun0", .index = 7, .flags = 0x8051, .type = 1, .hardwareAddress = {}, .mtu = 1380})
            .add({.name = "en6", .index = 8})
            .bytes();
    machine().mediaStatus = {{"en0", 3}, {"en1", 3}, {"en5", 1}, {"en6", 1}};
    machine().media = {{"en0", 0x100020 | 16}, {"en1", 0x80}, {"en6", 0x100020}}; // 1000baseT, a radio
    std::vector<sentrel::InterfaceLink> links;
    ASSERT_EQ(network.links(links), sentrel::Availability::available);
    ASSERT_EQ(links.size(), 6u);
    EXPECT_EQ(links[0].kind, sentrel::InterfaceKind::loopback);
    EXPECT_EQ(links[0].state, sentrel::OperationalState::up);
    EXPECT_EQ(links[0].mtu, 16384u);
    EXPECT_FALSE(links[0].hardware);
    ASSERT_EQ(links[0].addresses.size(), 1u);
    EXPECT_EQ(links[0].addresses[0].prefixLength, 8);
    EXPECT_EQ(links[0].addresses[0].scope, sentrel::AddressScope::host);
    EXPECT_EQ(links[1].kind, sentrel::InterfaceKind::physical);
    EXPECT_EQ(links[1].duplex, sentrel::Duplex::full);
    EXPECT_EQ(links[1].speed, 1'000'000'000);
    EXPECT_EQ(links[1].mac(), "a4:83:e7:01:02:03");
    ASSERT_EQ(links[1].addresses.size(), 2u);
    EXPECT_EQ(links[1].addresses[0].text(), "192.0.2.7");
    EXPECT_EQ(links[1].addresses[0].prefixLength, 23);
    EXPECT_EQ(links[1].addresses[0].scope, sentrel::AddressScope::global);
    EXPECT_EQ(links[1].addresses[1].text(), "fe80::200:0:0:7") << "without the interface's number in it";
    EXPECT_EQ(links[1].addresses[1].prefixLength, 64);
    EXPECT_EQ(links[1].addresses[1].scope, sentrel::AddressScope::link);
    EXPECT_EQ(links[2].kind, sentrel::InterfaceKind::wifi);
    EXPECT_FALSE(links[2].duplex || links[2].speed);
    EXPECT_EQ(links[3].state, sentrel::OperationalState::down);
    EXPECT_EQ(links[4].kind, sentrel::InterfaceKind::vpn);
    EXPECT_EQ(links[4].state, sentrel::OperationalState::up);
    EXPECT_EQ(links[5].state, sentrel::OperationalState::lowerLayerDown);
    EXPECT_FALSE(links[5].duplex) << "no partner";

    failures::plan("sysctl", ENOMEM);
    EXPECT_EQ(network.links(links), sentrel::Availability::failed);
    EXPECT_EQ(links.size(), 6u);
}

class MacRadios : public MacNetwork {
protected:
    MacRadios() : links(2) { links[0].name = "as it was"; }
    void SetUp() override {
        MacNetwork::SetUp();
        machine().interfaceList =
            InterfaceList().add({.name = "lo0", .index = 1}).add({.name = "en0", .index = 4}).bytes();
    }

    // The link of a single interface.
    WirelessLink link(const Radio& radio) {
        machine().radios = {radio};
        EXPECT_EQ(network.wirelessLinks(links), Availability::available);
        EXPECT_EQ(links.size(), 1u);
        return links.at(0);
    }

    std::vector<WirelessLink> links;
};

TEST_F(MacRadios, TellWhatTheyHearAndHowTheySend) {
    const WirelessLink wireless =
        link({.name = "en0", .isOn = true, .signal = -61, .rate = 866.7, .channel = 149, .band = 2, .channelWidth = 3});
    EXPECT_EQ(wireless.name, "en0");
    EXPECT_EQ(wireless.index, 4u);
    EXPECT_EQ(wireless.signal, -61);
    EXPECT_EQ(wireless.bitRateOut, 866'700'000);
    EXPECT_EQ(wireless.bitRateIn, std::nullopt) << "which the framework does not tell";
    EXPECT_EQ(wireless.frequency, 5'745'000'000);
    EXPECT_EQ(wireless.channel(), 149);
    EXPECT_EQ(wireless.channelWidth, 80'000'000);
}

TEST_F(MacRadios, HaveTheFrequencyOfTheirChannelInItsBand) {
    struct Channel {
        long band;
        long number;
        std::optional<std::int64_t> megahertz;
    };
    for (const Channel& channel :
         {Channel{1, 1, 2412}, Channel{1, 13, 2472}, Channel{1, 14, 2484}, Channel{2, 36, 5180}, Channel{2, 165, 5825},
          Channel{3, 1, 5955}, Channel{3, 2, 5935}, Channel{3, 233, 7115}, Channel{0, 6, {}}, Channel{4, 6, {}},
          Channel{1, 0, {}}, Channel{1, 15, {}}, Channel{2, -1, {}}, Channel{3, 234, {}}}) {
        const WirelessLink tuned =
            link({.name = "en0", .isOn = true, .channel = channel.number, .band = channel.band, .channelWidth = 1});
        ASSERT_EQ(tuned.frequency.has_value(), channel.megahertz.has_value()) << channel.band << ' ' << channel.number;
        if (channel.megahertz) {
            EXPECT_EQ(*tuned.frequency, *channel.megahertz * 1'000'000);
            EXPECT_EQ(tuned.channel(), channel.number);
            EXPECT_EQ(tuned.channelWidth, 20'000'000);
        } else {
            EXPECT_FALSE(tuned.channelWidth);
        }
    }
}

TEST_F(MacRadios, HaveNoWidthThatNobodyKnows) {
    for (const long width : {0L, -1L, 5L})
        EXPECT_FALSE(link({.name = "en0", .isOn = true, .channel = 6, .band = 1, .channelWidth = width}).channelWidth);
}

TEST_F(MacRadios, WithoutANetworkHaveNoSignalAndNoRate) {
    const WirelessLink idle = link({.name = "en0", .isOn = true, .channel = 6, .band = 1, .channelWidth = 1});
    EXPECT_FALSE(idle.signal || idle.bitRateOut || idle.bitRateIn);
    EXPECT_EQ(idle.channel(), 6);
}

TEST_F(MacRadios, ThatAreSwitchedOffHaveTheirNameAlone) {
    const WirelessLink off =
        link({.name = "en0", .isOn = false, .signal = -61, .rate = 54, .channel = 6, .band = 1, .channelWidth = 1});
    EXPECT_EQ(off.name, "en0");
    EXPECT_EQ(off.index, 4u);
    EXPECT_FALSE(off.signal || off.bitRateOut || off.frequency || off.channelWidth);
}

TEST_F(MacRadios, AreUnsupportedWithoutTheFrameworkOrAnInterface) {
    const std::vector<std::optional<std::vector<Radio>>> none{std::nullopt, std::vector<Radio>(),
                                                              std::vector<Radio>{{.name = "en9", .isOn = true}}};
    for (const auto& radios : none) {
        machine().radios = radios;
        EXPECT_EQ(network.wirelessLinks(links), Availability::unsupported);
    }
    EXPECT_EQ(links.size(), 2u);
    EXPECT_EQ(links[0].name, "as it was");
}

TEST_F(MacRadios, FailWithTheListOfInterfaces) {
    machine().radios = {{.name = "en0", .isOn = true}};
    failures::plan("sysctl", EPERM);
    EXPECT_EQ(network.wirelessLinks(links), Availability::denied);
    failures::plan("sysctl", ENOMEM, 2);
    EXPECT_EQ(network.wirelessLinks(links), Availability::failed);
    EXPECT_EQ(links[0].name, "as it was");
}

TEST_F(MacNetwork, ThatCannotBeListedFailsAtEitherQuestionAndCallsNobody) {
    machine().interfaceList = InterfaceList().add({}).bytes();
    for (const int call : {1, 2}) {
        failures::plan("sysctl", ENOMEM, call);
        errno = 0;
        EXPECT_FALSE(network.listInterfaces([](const InterfaceInfo&) { ADD_FAILURE(); }));
        EXPECT_EQ(errno, ENOMEM);
    }
}

TEST_F(MacNetwork, TellsBothBitsOfTheLinkState) {
    machine().mediaStatus = {{"en0", 3}, {"en1", 1}, {"en2", 2}};
    EXPECT_TRUE(network.mediaStatus("en0")->valid);
    EXPECT_TRUE(network.mediaStatus("en0")->active);
    EXPECT_TRUE(network.mediaStatus("en1")->valid);
    EXPECT_FALSE(network.mediaStatus("en1")->active);
    EXPECT_FALSE(network.mediaStatus("en2")->valid);
    errno = 0;
    EXPECT_FALSE(network.mediaStatus("utun0"));
    EXPECT_EQ(errno, ENXIO);
}

TEST_F(MacNetwork, WithoutASocketHasNoLinkState) {
    machine().mediaStatus = {{"en0", 3}};
    failures::plan("socket", EMFILE);
    errno = 0;
    EXPECT_FALSE(network.mediaStatus("en0"));
    EXPECT_EQ(errno, EMFILE);
}

TEST_F(MacNetwork, AsksForTheFirst15BytesOfALongName) {
    machine().mediaStatus = {{std::string(15, 'x'), 3}};
    EXPECT_TRUE(network.mediaStatus(std::string(40, 'x')));
}

TEST_F(MacNetwork, ReadsTheFirstEntryOfAnInterfaceAndWhatIsAbove) {
    RegistryEntry& controller = machine().registry.add({.name = "USB10_100_1000LAN",
                                                        .classes = {"IOUSBHostDevice"},
                                                        .properties = {{"USB Product Name", "A USB adapter"}}});
    controller.add({.name = "en5",
                    .classes = {"IOEthernetInterface", "IONetworkInterface"},
                    .properties = {{"BSD Name", "en5"}, {"IOPrimaryInterface", true}, {"IOLinkSpeed", 1000000000}}});
    const auto found = network.matchInterface("en5");
    ASSERT_TRUE(found && *found);
    EXPECT_EQ((*found)->properties()->at("IOPrimaryInterface"), PropertyList(true));
    EXPECT_EQ((*found)->search("USB Product Name"), PropertyList("A USB adapter"));
    EXPECT_EQ((*found)->search("IOLinkSpeed"), PropertyList(1000000000));
    EXPECT_TRUE((*found)->search("IO80211SSID").empty());
    EXPECT_TRUE((*found)->search("\xff").empty());
    failures::plan("IORegistryEntryCreateCFProperties", KERN_FAILURE);
    EXPECT_FALSE((*found)->properties());
}

TEST_F(MacNetwork, TellsAnInterfaceThatTheRegistryDoesNotKnowFromARegistryThatCannotBeAsked) {
    const auto none = network.matchInterface("en5");
    ASSERT_TRUE(none);
    EXPECT_FALSE(*none);
    failures::plan("IOServiceGetMatchingServices", KERN_FAILURE);
    EXPECT_FALSE(network.matchInterface("en5"));
    failures::plan("IOBSDNameMatching", KERN_FAILURE);
    EXPECT_FALSE(network.matchInterface("en5"));
}

TEST_F(MacNetwork, TakesTheSystemsWordOnConnectivity) {
    EXPECT_EQ(network.connectivity(), Connectivity::no);
    machine().reachability = 2;
    EXPECT_EQ(network.connectivity(), Connectivity::yes);
    machine().reachability = 2 | 4; // a connection would have to be made first
    EXPECT_EQ(network.connectivity(), Connectivity::no);
    failures::plan("SCNetworkReachabilityGetFlags", 1);
    EXPECT_EQ(network.connectivity(), Connectivity::unknown);
    failures::plan("SCNetworkReachabilityCreateWithAddress", 1);
    EXPECT_EQ(network.connectivity(), Connectivity::unknown);
}

class MacConfiguration : public MacNetwork {
protected:
    static constexpr const char* key = "State:/Network/Global/IPv4";
    void SetUp() override {
        MacNetwork::SetUp();
        dispatch = std::make_unique<MacDispatch>();
        watch = network.watchConfiguration("test");
        ASSERT_TRUE(watch);
        ASSERT_TRUE(watch->setNotificationKeys({key, "State:/Network/Global/DNS"}));
    }
    void TearDown() override {
        watch.reset();
        dispatch.reset();
        EXPECT_THAT(store::names(), IsEmpty());
        MacNetwork::TearDown();
    }

    std::unique_ptr<MacDispatch> dispatch;
    std::unique_ptr<ConfigurationWatch> watch;
};

TEST_F(MacConfiguration, IsReadFromTheStore) {
    EXPECT_FALSE(watch->localHostName());
    EXPECT_FALSE(watch->value(key));
    EXPECT_FALSE(watch->value("\xff"));
    machine().localHostName = "tower";
    machine().storeKeys[key] = PropertyList::Dictionary{{"Router", "192.0.2.1"}};
    EXPECT_EQ(watch->localHostName(), "tower");
    EXPECT_EQ(watch->value(key), machine().storeKeys[key]);
}

TEST_F(MacConfiguration, ChangesAreHeardOnTheBackgroundQueueForTheKeysAskedFor) {
    std::vector<std::string> heard;
    const Observation observation =
        watch->schedule(dispatch->backgroundQueue(), [&heard] { heard.push_back(queues::running()); });
    store::change(key);
    EXPECT_THAT(heard, IsEmpty());
    queues::advance(0);
    EXPECT_THAT(heard, ElementsAre("background"));
    store::change("State:/Network/Global/IPv6");
    queues::advance(0);
    EXPECT_THAT(heard, ElementsAre("background"));
}

TEST_F(MacConfiguration, ChangesAreHeardOnWhicheverQueueItIsScheduledOnWhichItKeeps) {
    std::vector<std::string> heard;
    Observation observation =
        watch->schedule(dispatch->serialQueue("one after the other"), [&heard] { heard.push_back(queues::running()); });
    store::change(key);
    queues::advance(0);
    observation = {};
    EXPECT_THAT(heard, ElementsAre("one after the other"));
}

TEST_F(MacConfiguration, OfAReleasedObservationIsNotHeardThoughACalloutStandsInTheQueue) {
    int heard = 0;
    Observation observation = watch->schedule(dispatch->backgroundQueue(), [&heard] { ++heard; });
    store::change(key);
    observation.reset();
    queues::advance(0);
    store::change(key);
    queues::advance(0);
    EXPECT_EQ(heard, 0);
}

TEST_F(MacConfiguration, MayBeReleasedFromInsideItsCall) {
    int heard = 0;
    Observation observation;
    observation = watch->schedule(dispatch->backgroundQueue(), [&] {
        ++heard;
        observation.reset();
    });
    store::change(key);
    store::change(key);
    queues::advance(0);
    EXPECT_EQ(heard, 1);
}

TEST_F(MacConfiguration, WhoseKeysAreRefusedSaysSo) {
    failures::plan("SCDynamicStoreSetNotificationKeys", 1);
    EXPECT_FALSE(watch->setNotificationKeys({key}));
    EXPECT_FALSE(watch->setNotificationKeys({"\xff"}));
}

TEST_F(MacConfiguration, ThatCannotBeReachedHasNoWatch) {
    failures::plan("SCDynamicStoreCreate", 1);
    EXPECT_FALSE(network.watchConfiguration("test"));
    EXPECT_FALSE(network.watchConfiguration("\xff"));
    EXPECT_THAT(store::names(), ElementsAre("test"));
}

} // namespace
