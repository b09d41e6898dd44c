// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/InterfaceMessages.h>

#include "tests/support/Allocations.h"
#include "tests/support/InterfaceList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>

using namespace sentrel::platform;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Bytes = InterfaceList::Bytes;

// An interface with copies of what is only lent.
struct Read {
    std::string name;
    std::uint32_t index;
    std::uint32_t flags;
    std::uint8_t type;
    Bytes hardwareAddress;
    std::int64_t bytesIn;
    std::int64_t bytesOut;
    std::vector<Bytes> addresses;
};

std::vector<Read> read(const Bytes& bytes) {
    std::vector<Read> interfaces;
    InterfaceMessages().read(bytes, [&interfaces](const InterfaceInfo& interface) {
        Read& copy =
            interfaces.emplace_back(Read{std::string(interface.name),
                                         interface.index,
                                         interface.flags,
                                         interface.linkType,
                                         Bytes(interface.hardwareAddress.begin(), interface.hardwareAddress.end()),
                                         interface.bytesIn,
                                         interface.bytesOut,
                                         {}});
        for (const SocketAddress& address : interface.addresses)
            copy.addresses.emplace_back(address.begin(), address.end());
    });
    return interfaces;
}

const Bytes netmask{7, 0, 0, 0, 255, 255, 255};
const Bytes address = InterfaceList::ipv4({192, 0, 2, 1});
const Bytes broadcast = InterfaceList::ipv4({192, 0, 2, 255});

TEST(InterfaceMessages, TellAnInterfaceFieldByField) {
    const auto interfaces = read(InterfaceList()
                                     .add({.name = "bridge100",
                                           .index = 21,
                                           .flags = 0x8943,
                                           .type = 209,
                                           .hardwareAddress = {1, 2, 3, 4, 5, 6},
                                           .bytesIn = std::int64_t{1} << 40,
                                           .bytesOut = 7})
                                     .bytes());
    ASSERT_THAT(interfaces, SizeIs(1));
    EXPECT_EQ(interfaces[0].name, "bridge100");
    EXPECT_EQ(interfaces[0].index, 21u);
    EXPECT_EQ(interfaces[0].flags, 0x8943u);
    EXPECT_EQ(interfaces[0].type, 209);
    EXPECT_THAT(interfaces[0].hardwareAddress, ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_EQ(interfaces[0].bytesIn, std::int64_t{1} << 40);
    EXPECT_EQ(interfaces[0].bytesOut, 7);
    EXPECT_THAT(interfaces[0].addresses, IsEmpty());
}

TEST(InterfaceMessages, ListEachInterfaceWithItsOwnAddressesInOrder) {
    const Bytes second = InterfaceList::ipv4({198, 51, 100, 1});
    const auto interfaces = read(InterfaceList()
                                     .add({.name = "lo0", .index = 1})
                                     .add({.name = "en0", .index = 4})
                                     .address({{2, netmask}, {5, address}, {7, broadcast}})
                                     .address({{5, second}})
                                     .add({.name = "en1", .index = 5})
                                     .bytes());
    ASSERT_THAT(interfaces, SizeIs(3));
    EXPECT_THAT(interfaces[0].addresses, IsEmpty());
    EXPECT_THAT(interfaces[1].addresses, ElementsAre(address, second));
    EXPECT_THAT(interfaces[2].addresses, IsEmpty());
}

TEST(InterfaceMessages, RoundEachAddressUpToEightBytesAndGiveAnEmptyOneEight) {
    for (const Bytes& before : {Bytes(), Bytes{1}, Bytes{7, 1, 2, 3, 4, 5, 6}, Bytes{8, 1, 2, 3, 4, 5, 6, 7},
                                Bytes{9, 1, 2, 3, 4, 5, 6, 7, 8}}) {
        const auto interfaces = read(InterfaceList().add({}).address({{0, before}, {2, before}, {5, address}}).bytes());
        ASSERT_THAT(interfaces, SizeIs(1));
        EXPECT_THAT(interfaces[0].addresses, ElementsAre(address)) << before.size();
    }
}

// A message as a kernel writes it that rounds each address up to four bytes.
Bytes closeTogether(const std::map<int, Bytes>& slots) {
    Bytes list = InterfaceList().add({}).bytes();
    const std::size_t begin = list.size();
    Bytes message = InterfaceList().address({}).bytes();
    for (const auto& [slot, bytes] : slots) {
        message[4] = static_cast<std::uint8_t>(message[4] | 1 << slot);
        message.insert(message.end(), bytes.begin(), bytes.end());
        message.resize(message.size() + (bytes.empty() ? 4 : (4 - bytes.size() % 4) % 4));
    }
    message[0] = static_cast<std::uint8_t>(message.size());
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(begin), message.begin(), message.end());
    return list;
}

TEST(InterfaceMessages, RoundedToFourBytesAreReadWhereThatIsTheSame) {
    for (std::uint8_t length = 5; length <= 8; ++length) { // netmasks of 8 to 32 bits, without their zeros
        Bytes mask(length);
        mask[0] = length;
        EXPECT_THAT(read(closeTogether({{2, mask}, {5, address}, {7, broadcast}})).at(0).addresses,
                    ElementsAre(address));
    }
    EXPECT_THAT(read(closeTogether({{2, netmask}, {5, address}, {7, {}}})).at(0).addresses, ElementsAre(address));
}

// What came after a mask of 28 bytes, or of none, was read four bytes too far on: there began another "address".
TEST(InterfaceMessages, RoundedToFourBytesWithAnAddressOfOddLengthCarryNone) {
    Bytes long28(28);
    long28[0] = 28;
    long28[1] = 30;                                              // IPv6
    const Bytes misleading = InterfaceList::ipv4({16, 2, 0, 0}); // reads as an address of its own from its middle on
    Bytes link(20);
    link[0] = 20;
    link[1] = 18;
    for (const auto& slots :
         {std::map<int, Bytes>{{2, long28}, {5, long28}}, std::map<int, Bytes>{{2, {}}, {5, misleading}},
          std::map<int, Bytes>{{2, {}}, {5, misleading}, {7, broadcast}},
          std::map<int, Bytes>{{2, netmask}, {4, link}, {5, address}, {7, broadcast}},
          std::map<int, Bytes>{{4, link}, {5, misleading}}})
        EXPECT_THAT(read(closeTogether(slots)).at(0).addresses, ElementsAre(Bytes()));
}

TEST(InterfaceMessages, WithoutALinkLevelAddressAreNoInterface) {
    Bytes bytes = InterfaceList().add({.name = "en0"}).bytes();
    bytes[161] = 2; // the family of the address behind the message
    EXPECT_THAT(read(bytes), IsEmpty());
}

TEST(InterfaceMessages, WithoutTheInterfacesAddressCarryAnEmptyOne) {
    const auto interfaces = read(InterfaceList().add({}).address({{2, netmask}, {7, broadcast}}).address({}).bytes());
    ASSERT_THAT(interfaces, SizeIs(1));
    EXPECT_THAT(interfaces[0].addresses, ElementsAre(Bytes(), Bytes()));
}

TEST(InterfaceMessages, StopCollectingAddressesAtAnotherType) {
    const auto interfaces =
        read(InterfaceList().add({}).address({{5, address}}).other(15).address({{5, broadcast}}).add({}).bytes());
    ASSERT_THAT(interfaces, SizeIs(2));
    EXPECT_THAT(interfaces[0].addresses, ElementsAre(address));
    EXPECT_THAT(interfaces[1].addresses, IsEmpty());
}

TEST(InterfaceMessages, TakeAtMost65BytesOfANameAndTheHardwareAddressBehindAllOfIt) {
    const auto interfaces = read(InterfaceList().add({.name = std::string(100, 'x')}).bytes());
    ASSERT_THAT(interfaces, SizeIs(1));
    EXPECT_EQ(interfaces[0].name, std::string(65, 'x'));
    EXPECT_THAT(interfaces[0].hardwareAddress, ElementsAre(0xa4, 0x83, 0xe7, 0x01, 0x02, 0x03));
}

TEST(InterfaceMessages, CutShortEndTheList) {
    const Bytes whole = InterfaceList().add({.name = "en0"}).add({.name = "en1"}).bytes();
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_THAT(read(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))),
                    SizeIs(size < whole.size() / 2 ? 0 : 1));
}

TEST(InterfaceMessages, WithoutALengthEndTheList) {
    Bytes bytes = InterfaceList().add({}).add({}).bytes();
    bytes[bytes.size() / 2] = 0;
    bytes[bytes.size() / 2 + 1] = 0;
    EXPECT_THAT(read(bytes), SizeIs(1));
}

TEST(InterfaceMessages, TooShortForWhatTheyAnnounceGiveNothingOfIt) {
    // Cut inside the link-level address: no hardware address; before it: no interface.
    Bytes bytes = InterfaceList().add({.name = "en0"}).bytes();
    bytes.resize(172);
    bytes[0] = 172;
    EXPECT_THAT(read(bytes).at(0).hardwareAddress, IsEmpty());
    bytes.resize(164);
    bytes[0] = 164;
    EXPECT_THAT(read(bytes), IsEmpty());
}

TEST(InterfaceMessages, AllocateNothingOnceWarm) {
    if (!sentrel::countsAllocations)
        GTEST_SKIP() << "the sanitizers' own operators allocate";
    const Bytes bytes = InterfaceList().add({}).address({{5, address}}).address({{5, broadcast}}).bytes();
    InterfaceMessages messages;
    std::size_t addresses = 0;
    const std::function<void(const InterfaceInfo&)> each = [&](const InterfaceInfo& interface) {
        addresses += interface.addresses.size();
    };
    messages.read(bytes, each);
    const std::size_t before = sentrel::allocations();
    messages.read(bytes, each);
    EXPECT_EQ(sentrel::allocations(), before);
    EXPECT_EQ(addresses, 4u);
}

} // namespace
