// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/LinuxNetworkService.h>

#include <SentrelKit/base/system/Net.h>
#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>

#include "tests/support/Allocations.h"
#include "tests/support/Eventually.h"
#include "tests/support/Fixtures.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/NetworkNamespace.h"
#include "tests/support/linux/PrivateBus.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace sentrel::platform {
namespace {

/// What a listing tells of one interface, kept.
struct Listed {
    std::string name;
    std::uint32_t index = 0;
    bool up = false;
    bool ethernet = false;
    std::size_t hardwareLength = 0;
    std::int64_t bytesIn = 0;
    std::int64_t bytesOut = 0;
    std::vector<std::string> addresses;
};

/// The service in a network namespace of its own, on this thread.
class LinuxNetworkServiceTest : public testing::Test {
protected:
    void SetUp() override {
        if (!NetworkNamespace::available())
            GTEST_SKIP() << "needs root, network namespaces, veth and ip";
        space_ = std::make_unique<NetworkNamespace>();
        other_ = std::make_unique<NetworkNamespace>();
        scope_ = std::make_unique<NetworkNamespace::Scope>(*space_);
    }

    std::vector<Listed> list() {
        std::vector<Listed> listed;
        listing_ = network_.listInterfaces([&](const InterfaceInfo& info) {
            Listed one;
            one.name = info.name;
            one.index = info.index;
            one.up = (info.flags & InterfaceInfo::up) != 0;
            one.ethernet = info.linkType == InterfaceInfo::ethernetLinkType;
            one.hardwareLength = info.hardwareAddress.size();
            one.bytesIn = info.bytesIn;
            one.bytesOut = info.bytesOut;
            for (const SocketAddress& address : info.addresses) {
                std::array<char, 65> text{};
                if (Net_getAddrInfo(reinterpret_cast<const sockaddr*>(address.data()),
                                    static_cast<std::uint32_t>(address.size()), text.data(), text.size()) == 0)
                    one.addresses.emplace_back(text.data());
            }
            listed.push_back(std::move(one));
        });
        return listed;
    }

    std::optional<Listed> find(const std::string& name) {
        for (Listed& one : list()) {
            if (one.name == name)
                return std::move(one);
        }
        return std::nullopt;
    }

    bool isActive(const std::string& name) {
        const auto media = network_.mediaStatus(name);
        return media && media->valid && media->active;
    }

    PropertyList property(const std::string& name, const std::string& key) {
        const auto entry = network_.matchInterface(name);
        const auto properties = entry && *entry ? (*entry)->properties() : std::nullopt;
        const auto found = properties ? properties->find(key) : PropertyList::Dictionary::const_iterator();
        return properties && found != properties->end() ? found->second : PropertyList();
    }

    InterfaceCounters countersOf(const std::string& name) {
        std::vector<InterfaceCounters> all;
        EXPECT_EQ(network_.packetCounters(all), Availability::available);
        const auto found = std::ranges::find(all, name, &InterfaceCounters::name);
        return found == all.end() ? InterfaceCounters() : *found;
    }

    InterfaceLink linkOf(const std::string& name) {
        std::vector<InterfaceLink> all;
        EXPECT_EQ(network_.links(all), Availability::available);
        const auto found = std::ranges::find(all, name, &InterfaceLink::name);
        return found == all.end() ? InterfaceLink() : *found;
    }

    /// What "ip" tells in JSON of one interface, as Python picks it from the record "s": a text a line.
    static std::vector<std::string> textsOf(const std::string& arguments, const std::string& pick) {
        std::FILE* tool = ::popen(("ip -j " + arguments +
                                   " | /usr/bin/python3 -c \"import json, sys\nfor s in "
                                   "json.load(sys.stdin):\n for each in " +
                                   pick + ":\n  print(each)\"")
                                      .c_str(),
                                  "re");
        std::vector<std::string> texts;
        std::array<char, 256> line{};
        while (tool && std::fgets(line.data(), line.size(), tool)) {
            texts.emplace_back(line.data());
            texts.back().pop_back();
        }
        EXPECT_TRUE(tool && ::pclose(tool) == 0) << arguments;
        return texts;
    }

    static std::vector<std::int64_t> tellsOf(const std::string& arguments, const std::string& pick) {
        std::vector<std::int64_t> numbers;
        for (const std::string& text : textsOf(arguments, pick))
            numbers.push_back(std::stoll(text));
        return numbers;
    }

    static std::string nameOf(AddressScope scope) {
        constexpr std::array names = {"global", "site", "link", "host"};
        return names[static_cast<std::size_t>(scope)];
    }

    std::unique_ptr<NetworkNamespace> space_;
    std::unique_ptr<NetworkNamespace> other_;
    std::unique_ptr<NetworkNamespace::Scope> scope_;
    LinuxDispatch dispatch_;
    LinuxNetworkService network_{SystemRoot(), dispatch_};
    bool listing_ = false;
};

TEST_F(LinuxNetworkServiceTest, ListsAnInterfaceWithItsAddressesInTheKernelsOrder) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    space_->ip("addr add 2001:db8::1/64 dev lan0 nodad");
    const auto lan = find("lan0");
    ASSERT_TRUE(lan);
    EXPECT_TRUE(lan->up);
    EXPECT_TRUE(lan->ethernet);
    EXPECT_EQ(lan->hardwareLength, 6U);
    ASSERT_GE(lan->addresses.size(), 2U);
    EXPECT_EQ(lan->addresses[0], "192.0.2.1");
    EXPECT_EQ(lan->addresses[1], "2001:db8::1");
    const auto loopback = find("lo");
    ASSERT_TRUE(loopback);
    EXPECT_FALSE(loopback->ethernet);
}

TEST_F(LinuxNetworkServiceTest, CountsPacketsAsTheSystemsOwnToolDoes) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    space_->ip("neigh replace 192.0.2.2 lladdr 02:00:00:00:00:09 dev lan0");
    ASSERT_EQ(std::system("bash -c 'head -c 100 /dev/zero >/dev/udp/192.0.2.2/9'"), 0);
    // Packets may go on coming meanwhile: what the tool tells lies between two readings.
    const InterfaceCounters before = countersOf("lan0");
    const std::vector<std::int64_t> told = tellsOf("-s link show dev lan0", "[s['stats64'][way][what] for what in "
                                                                            "('packets', 'errors', 'dropped') for way "
                                                                            "in ('rx', 'tx')]");
    const InterfaceCounters after = countersOf("lan0");
    ASSERT_EQ(told.size(), 6U);
    const auto expectBetween = [](std::int64_t least, std::int64_t value, std::int64_t most) {
        EXPECT_LE(least, value);
        EXPECT_LE(value, most);
    };
    expectBetween(before.packetsIn, told[0], after.packetsIn);
    expectBetween(before.packetsOut, told[1], after.packetsOut);
    expectBetween(before.errorsIn, told[2], after.errorsIn);
    expectBetween(before.errorsOut, told[3], after.errorsOut);
    expectBetween(before.dropsIn, told[4], after.dropsIn);
    expectBetween(before.dropsOut.value(), told[5], after.dropsOut.value());
    EXPECT_GT(told[1], 0);
}

TEST_F(LinuxNetworkServiceTest, TellsStateLengthAndAddressesOfLinksAsTheSystemsOwnToolDoes) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    space_->ip("link set lan0 mtu 1400");
    space_->ip("addr add 2001:db8::1/64 dev lan0 nodad");
    space_->ip("addr add fe80::7/10 dev lan0 nodad");
    ASSERT_TRUE(eventually([&] { return linkOf("lan0").state == OperationalState::up; }));
    const InterfaceLink lan = linkOf("lan0");
    EXPECT_EQ(lan.mtu, 1400U);
    EXPECT_EQ(textsOf("link show dev lan0", "[s['operstate'], s['address'], str(s['mtu'])]"),
              (std::vector<std::string>{"UP", lan.mac(), "1400"}));
    std::vector<std::string> addresses;
    for (const InterfaceAddress& address : lan.addresses)
        addresses.push_back(address.text() + '/' + std::to_string(address.prefixLength) + ' ' + nameOf(address.scope));
    EXPECT_EQ(addresses, textsOf("addr show dev lan0", "['%s/%d %s' % (a['local'], a['prefixlen'], a['scope']) for a "
                                                       "in s['addr_info']]"));
    EXPECT_GE(addresses.size(), 3U);
    space_->ip("link set lan0 down");
    EXPECT_EQ(linkOf("lan0").state, OperationalState::down);
    EXPECT_EQ(linkOf("lo").addresses.at(0).scope, AddressScope::host);
}

TEST_F(LinuxNetworkServiceTest, TellsWhatALinkIs) {
    space_->ip("link add lan0 type veth peer name peer0 netns " + other_->path());
    space_->ip("link add br0 type bridge");
    space_->ip("link add ifb7 type ifb");
    space_->ip("tuntap add mode tun name tun0");
    space_->ip("tuntap add mode tap name tap0");
    EXPECT_EQ(linkOf("lo").kind, InterfaceKind::loopback);
    EXPECT_EQ(linkOf("lo").mac(), "") << "a row of zeros is none";
    EXPECT_EQ(linkOf("lan0").kind, InterfaceKind::virtual_);
    EXPECT_EQ(linkOf("br0").kind, InterfaceKind::bridge);
    EXPECT_EQ(linkOf("ifb7").kind, InterfaceKind::virtual_);
    EXPECT_EQ(linkOf("tun0").kind, InterfaceKind::vpn);
    EXPECT_EQ(linkOf("tun0").mac(), "");
    EXPECT_EQ(linkOf("tap0").kind, InterfaceKind::virtual_);
}

TEST_F(LinuxNetworkServiceTest, AsksADriverForTheSettingsOfItsWire) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    space_->ip("link add br0 type bridge");
    ASSERT_TRUE(eventually([&] { return linkOf("lan0").state == OperationalState::up; }));
    EXPECT_EQ(linkOf("lan0").speed, 10'000'000'000) << "what the driver of veth says";
    EXPECT_EQ(linkOf("lan0").duplex, Duplex::full);
    EXPECT_EQ(linkOf("lo").speed, std::nullopt);
    EXPECT_EQ(linkOf("lo").duplex, std::nullopt);
}

TEST_F(LinuxNetworkServiceTest, FollowsLinksThatComeAndGo) {
    EXPECT_EQ(linkOf("none0").index, 0U);
    EXPECT_EQ(countersOf("none0").index, 0U);
    space_->ip("link add none0 type veth peer name none1");
    EXPECT_GT(linkOf("none0").index, 0U);
    EXPECT_GT(countersOf("none0").index, 0U);
    space_->ip("addr add 192.0.2.9/32 dev none0");
    ASSERT_EQ(linkOf("none0").addresses.size(), 1U);
    EXPECT_EQ(linkOf("none0").addresses[0].text(), "192.0.2.9");
    space_->ip("link del none0");
    EXPECT_EQ(linkOf("none0").index, 0U);
    EXPECT_EQ(countersOf("none0").index, 0U);
}

TEST_F(LinuxNetworkServiceTest, AMachineWithoutAWirelessInterfaceHasNoRadios) {
    std::vector<WirelessLink> radios(1);
    EXPECT_EQ(network_.wirelessLinks(radios), Availability::unsupported);
    EXPECT_EQ(radios.size(), 1U);
}

TEST_F(LinuxNetworkServiceTest, TellsOfLinksWithoutAllocatingOnceWarm) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    ASSERT_TRUE(eventually([&] { return linkOf("lan0").state == OperationalState::up; }));
    std::vector<InterfaceCounters> counters;
    std::vector<InterfaceLink> links;
    std::vector<WirelessLink> radios;
    const auto sample = [&] {
        EXPECT_EQ(network_.packetCounters(counters), Availability::available);
        EXPECT_EQ(network_.links(links), Availability::available);
        static_cast<void>(network_.wirelessLinks(radios));
    };
    // The kernel tells of the neighbour's arrival a while after.
    EXPECT_TRUE(eventually([&] {
        const std::size_t before = allocations();
        sample();
        return !countsAllocations || allocations() == before;
    }));
    const std::size_t before = allocations();
    for (int i = 0; i < 20; ++i)
        sample();
    if (countsAllocations) {
        EXPECT_EQ(allocations(), before);
    }
}

TEST_F(LinuxNetworkServiceTest, AnswersTheQuestionsOfOneSampleFromOneListing) {
    space_->ip("link add lan0 type veth peer name peer0 netns " + other_->path());
    {
        const SampleScope sample;
        ASSERT_TRUE(find("lan0"));
        space_->ip("link add late0 type veth peer name late1");
        EXPECT_EQ(countersOf("lan0").name, "lan0");
        EXPECT_EQ(countersOf("late0").name, "") << "it came after the listing";
        EXPECT_EQ(linkOf("late0").name, "");
    }
    EXPECT_EQ(linkOf("late0").name, "late0");
    EXPECT_EQ(countersOf("late0").name, "late0");
    const SampleScope sample;
    EXPECT_TRUE(find("late0"));
}

TEST_F(LinuxNetworkServiceTest, GivesALinkLocalAddressTheNameOfItsLinkForScope) {
    space_->ip("link add lan0 type veth peer name peer0 netns " + other_->path());
    space_->ip("link set lan0 addrgenmode none");
    space_->ip("addr add fe80::7/64 dev lan0 nodad");
    space_->ip("link set lan0 up");
    ASSERT_TRUE(find("lan0"));
    EXPECT_EQ(find("lan0")->addresses, std::vector<std::string>{"fe80::7%lan0"});
    space_->ip("link set lan0 down");
    space_->ip("link set lan0 name wan7");
    space_->ip("addr replace fe80::7/64 dev wan7 nodad");
    ASSERT_TRUE(find("wan7"));
    EXPECT_EQ(find("wan7")->addresses, std::vector<std::string>{"fe80::7%wan7"});
}

TEST_F(LinuxNetworkServiceTest, TellsTheCarrierOfALink) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    EXPECT_TRUE(isActive("lan0"));
    other_->ip("link set peer0 down");
    EXPECT_TRUE(eventually([&] { return !isActive("lan0"); }));
    other_->ip("link set peer0 up");
    EXPECT_TRUE(eventually([&] { return isActive("lan0"); }));
    EXPECT_FALSE(network_.mediaStatus("none0"));
    EXPECT_EQ(errno, ENODEV);
}

TEST_F(LinuxNetworkServiceTest, SeesALinkGoDownAndUp) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    EXPECT_TRUE(find("lan0")->up);
    space_->ip("link set lan0 down");
    EXPECT_FALSE(find("lan0")->up);
    space_->ip("link set lan0 up");
    EXPECT_TRUE(find("lan0")->up);
}

TEST_F(LinuxNetworkServiceTest, FollowsAnInterfaceThatIsRenamedOrMovedOrMadeAnew) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    const std::uint32_t index = find("lan0")->index;
    space_->ip("link set lan0 down");
    space_->ip("link set lan0 name wan0");
    EXPECT_FALSE(find("lan0"));
    ASSERT_TRUE(find("wan0"));
    EXPECT_EQ(find("wan0")->index, index);
    space_->ip("link set wan0 netns " + other_->path());
    EXPECT_FALSE(find("wan0"));
    other_->ip("link del wan0");
    space_->connect("wan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    ASSERT_TRUE(find("wan0"));
    EXPECT_NE(find("wan0")->index, index);
}

TEST_F(LinuxNetworkServiceTest, SeesAddressesComeAndGo) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    EXPECT_EQ(find("lan0")->addresses.front(), "192.0.2.1");
    space_->ip("addr add 198.51.100.4/24 dev lan0");
    space_->ip("addr del 192.0.2.1/24 dev lan0");
    EXPECT_EQ(find("lan0")->addresses.front(), "198.51.100.4");
}

TEST_F(LinuxNetworkServiceTest, CountsAsTheKernelDoes) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    space_->ip("neigh replace 192.0.2.2 lladdr 02:00:00:00:00:09 dev lan0");
    const auto before = find("lan0");
    ASSERT_EQ(std::system("ping -c 1 -s 1000 -W 1 192.0.2.2 >/dev/null 2>&1 || "
                          "bash -c 'head -c 1000 /dev/zero >/dev/udp/192.0.2.2/9'"),
              0);
    const auto after = find("lan0");
    // Ethernet header 14, IP header 20, UDP or ICMP header 8, 1000 bytes, and what IPv6 sends by itself beside them.
    EXPECT_GE(after->bytesOut - before->bytesOut, 1042);
    std::ifstream table("/proc/thread-self/net/dev");
    std::string line;
    while (std::getline(table, line) && line.find("lan0:") == std::string::npos) {
    }
    std::istringstream numbers(line.substr(line.find(':') + 1));
    std::array<std::int64_t, 16> columns{};
    for (std::int64_t& column : columns)
        numbers >> column;
    const auto again = find("lan0");
    EXPECT_LE(after->bytesOut, columns[8]);
    EXPECT_GE(again->bytesOut, columns[8]);
    EXPECT_LE(after->bytesIn, columns[0]);
    EXPECT_GE(again->bytesIn, columns[0]);
}

TEST_F(LinuxNetworkServiceTest, ListsAThousandInterfacesAfterMoreNoticesThanItsBufferHolds) {
    ASSERT_TRUE(find("lo"));
    std::ostringstream commands;
    for (int pair = 0; pair < 500; ++pair)
        commands << "link add a" << pair << " type veth peer name b" << pair << "\n";
    for (int pair = 0; pair < 500; ++pair)
        commands << "addr add 10." << pair / 250 << "." << pair % 250 << ".1/32 dev a" << pair << "\nlink set a" << pair
                 << " up\nlink set b" << pair << " up\n";
    space_->ipBatch(commands.str());
    const std::vector<Listed> listed = list();
    EXPECT_TRUE(listing_);
    EXPECT_EQ(listed.size(), 1001U);
    EXPECT_TRUE(eventually([&] { return isActive("a499"); }));
    EXPECT_EQ(find("a499")->addresses.front(), "10.1.249.1");
    space_->ip("link set b499 down");
    EXPECT_TRUE(eventually([&] { return !isActive("a499"); })) << "it still hears of changes";
}

TEST_F(LinuxNetworkServiceTest, AsksAgainWhereAListingIsInterrupted) {
    std::ostringstream commands;
    for (int pair = 0; pair < 60; ++pair)
        commands << "link add a" << pair << " type veth peer name b" << pair << "\n";
    space_->ipBatch(commands.str());
    std::atomic<bool> done{false};
    std::thread flapping([&] {
        while (!done)
            space_->ipBatch("link add flap0 type veth peer name flap1\nlink del flap0\n");
    });
    for (int round = 0; round < 100; ++round) {
        std::map<std::string, int> names;
        for (const Listed& one : list())
            ++names[one.name];
        if (!listing_)
            continue; // gave up after many attempts, which is a failure that the probe reports
        for (int pair = 0; pair < 60; ++pair)
            EXPECT_EQ(names["a" + std::to_string(pair)], 1) << "in round " << round;
    }
    done = true;
    flapping.join();
    EXPECT_FALSE(list().empty());
    EXPECT_TRUE(listing_);
}

TEST_F(LinuxNetworkServiceTest, CallsTheInterfaceOfTheDefaultRoutePrimary) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    space_->connect("lan1", "198.51.100.1", *other_, "peer1", "198.51.100.2");
    EXPECT_EQ(property("lan0", "IOPrimaryInterface"), PropertyList(false));
    space_->ip("route add default via 192.0.2.2 metric 100");
    EXPECT_EQ(property("lan0", "IOPrimaryInterface"), PropertyList(true));
    space_->ip("route add default via 198.51.100.2 metric 50");
    EXPECT_EQ(property("lan0", "IOPrimaryInterface"), PropertyList(false));
    EXPECT_EQ(property("lan1", "IOPrimaryInterface"), PropertyList(true));
    space_->ip("link set lan1 down");
    EXPECT_EQ(property("lan0", "IOPrimaryInterface"), PropertyList(true));
}

TEST_F(LinuxNetworkServiceTest, TakesTheIPv6RouteWhereThereIsNoOther) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    space_->ip("addr add 2001:db8::1/64 dev lan0 nodad");
    space_->ip("route add ::/0 via 2001:db8::2 dev lan0");
    EXPECT_EQ(property("lan0", "IOPrimaryInterface"), PropertyList(true));
    EXPECT_EQ(network_.connectivity(), Connectivity::yes);
}

TEST_F(LinuxNetworkServiceTest, SaysThatNothingCanBeReachedWithoutADefaultRoute) {
    EXPECT_EQ(network_.connectivity(), Connectivity::no);
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    EXPECT_EQ(network_.connectivity(), Connectivity::no);
    space_->ip("route add default via 192.0.2.2");
    EXPECT_EQ(network_.connectivity(), Connectivity::yes);
    other_->ip("link set peer0 down");
    EXPECT_TRUE(eventually([&] { return network_.connectivity() == Connectivity::no; })) << "there is no carrier";
}

TEST_F(LinuxNetworkServiceTest, TakesTheWordOfTheConnectivityServiceWhereOneRuns) {
    const PrivateBus bus;
    if (!bus.runs() || std::system("/usr/bin/python3 -c 'import dbus, gi' 2>/dev/null") != 0)
        GTEST_SKIP() << "needs dbus-daemon and Python with dbus and gi";
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    space_->ip("route add default via 192.0.2.2");
    struct Case {
        const char* word;
        Connectivity meaning;
    };
    for (const Case& each :
         {Case{"4", Connectivity::yes}, Case{"3", Connectivity::no}, Case{"2", Connectivity::no},
          Case{"1", Connectivity::no}, Case{"0", Connectivity::yes}, Case{"text", Connectivity::yes}}) {
        ChildProgram service({"/usr/bin/python3", fixturePath("connectivity/service.py"), each.word});
        ASSERT_EQ(service.readLine(), "ready");
        EXPECT_EQ(network_.connectivity(), each.meaning) << each.word;
    }
    EXPECT_EQ(network_.connectivity(), Connectivity::yes) << "the service is gone";
}

TEST_F(LinuxNetworkServiceTest, KnowsTheSpeedOfAWiredLink) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    const auto entry = network_.matchInterface("lan0");
    ASSERT_TRUE(entry && *entry);
    // veth reports 10 Gbit/s.
    EXPECT_EQ((*entry)->search("IOLinkSpeed"), PropertyList(std::int64_t{10'000'000'000}));
    EXPECT_TRUE((*entry)->search("USB Product Name").empty());
    EXPECT_TRUE((*entry)->search("IOSomethingElse").empty());
    EXPECT_TRUE(property("lan0", "IO80211SSID").empty());
    const auto loopback = network_.matchInterface("lo");
    ASSERT_TRUE(loopback && *loopback);
    EXPECT_TRUE((*loopback)->search("IOLinkSpeed").empty());
}

TEST_F(LinuxNetworkServiceTest, HasNoEntryForAnInterfaceThatIsNotThere) {
    const auto entry = network_.matchInterface("none0");
    ASSERT_TRUE(entry);
    EXPECT_FALSE(*entry);
}

TEST_F(LinuxNetworkServiceTest, FindsTheUsbProductAboveADeviceOfTheSameInterfaceOnly) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    const TemporaryFolder tree;
    const std::string usb = "sys/devices/pci0000:00/usb1/1-2";
    tree.write(usb + "/idVendor", "0b95\n");
    tree.write(usb + "/product", "Gigabit Adapter\n");
    tree.makeFolder(usb + "/1-2:1.0/net/lan0");
    tree.link(usb + "/1-2:1.0/net/lan0/device", "../..");
    tree.write(usb + "/1-2:1.0/net/lan0/ifindex", std::to_string(find("lan0")->index) + "\n");
    tree.link("sys/class/net/lan0", "../../devices/pci0000:00/usb1/1-2/1-2:1.0/net/lan0");
    LinuxNetworkService network(SystemRoot(tree.path()), dispatch_);
    const auto product = [&] { return (*network.matchInterface("lan0").value()).search("USB Product Name"); };
    EXPECT_EQ(product(), PropertyList("Gigabit Adapter"));
    tree.write(usb + "/1-2:1.0/net/lan0/ifindex", "99999\n");
    EXPECT_TRUE(product().empty()) << "an interface of another network namespace";
}

TEST_F(LinuxNetworkServiceTest, CallsADeviceWirelessWhoseDriverOnlySaysSoInTheDeviceTree) {
    space_->connect("wlan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    const TemporaryFolder tree;
    tree.makeFolder("sys/class/net/wlan0/wireless");
    LinuxNetworkService network(SystemRoot(tree.path()), dispatch_);
    const auto properties = network.matchInterface("wlan0").value()->properties();
    ASSERT_TRUE(properties);
    EXPECT_EQ(properties->at("IO80211SSID"), PropertyList(""));
}

TEST_F(LinuxNetworkServiceTest, AnswersInAForkedChildWithoutDisturbingItsParent) {
    space_->connect("lan0", "192.0.2.1", *other_, "peer0", "192.0.2.2");
    ASSERT_TRUE(find("lan0"));
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(find("lan0") && listing_ ? 0 : 1);
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(find("lan0"));
}

} // namespace
} // namespace sentrel::platform
