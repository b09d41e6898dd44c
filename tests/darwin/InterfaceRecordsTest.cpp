// SPDX-License-Identifier: Apache-2.0
/// The interface list, written through the system's own records: what is read by offsets elsewhere stands where they
/// say.

#include "tests/darwin/DarwinTest.h"

#include <SentrelKit/platform/macos/network/MacNetworkService.h>

#include <net/if.h>
#include <net/if_dl.h>
#include <net/route.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using namespace darwin;
using namespace sentrel::platform;
using testing::ElementsAre;

namespace {

using Bytes = std::vector<std::uint8_t>;

template <class Record>
void append(Bytes& bytes, const Record& record) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(&record);
    bytes.insert(bytes.end(), first, first + sizeof(record));
}

Bytes interfaceMessage() {
    if_msghdr2 message{};
    message.ifm_msglen = sizeof(if_msghdr2) + sizeof(sockaddr_dl);
    message.ifm_version = 5;
    message.ifm_type = RTM_IFINFO2;
    message.ifm_addrs = RTA_IFP;
    message.ifm_flags = 0x8863;
    message.ifm_index = 4;
    message.ifm_snd_len = -1;
    message.ifm_timer = -1;
    message.ifm_data.ifi_type = 1;
    message.ifm_data.ifi_baudrate = ~std::uint64_t{0};
    message.ifm_data.ifi_collisions = ~std::uint64_t{0};
    message.ifm_data.ifi_ibytes = std::uint64_t{5} << 32;
    message.ifm_data.ifi_obytes = std::uint64_t{7} << 32;
    message.ifm_data.ifi_imcasts = ~std::uint64_t{0};
    sockaddr_dl link{};
    link.sdl_len = sizeof(link);
    link.sdl_family = AF_LINK;
    link.sdl_index = 4;
    link.sdl_type = 6;
    link.sdl_nlen = 3;
    link.sdl_alen = 6;
    std::memcpy(link.sdl_data, "en0\x01\x02\x03\x04\x05\x06", 9);
    Bytes bytes;
    append(bytes, message);
    append(bytes, link);
    return bytes;
}

Bytes addressMessage() {
    const Bytes mask{7, 0, 0, 0, 255, 255, 255, 0};
    const Bytes address{16, 2, 0, 0, 192, 0, 2, 7, 0, 0, 0, 0, 0, 0, 0, 0};
    const Bytes broadcast{16, 2, 0, 0, 192, 0, 2, 255, 0, 0, 0, 0, 0, 0, 0, 0};
    ifa_msghdr message{};
    message.ifam_msglen =
        static_cast<unsigned short>(sizeof(message) + mask.size() + address.size() + broadcast.size());
    message.ifam_version = 5;
    message.ifam_type = RTM_NEWADDR;
    message.ifam_addrs = RTA_NETMASK | RTA_IFA | RTA_BRD;
    message.ifam_index = 4;
    message.ifam_metric = -1;
    Bytes bytes;
    append(bytes, message);
    for (const Bytes& each : {mask, address, broadcast})
        bytes.insert(bytes.end(), each.begin(), each.end());
    return bytes;
}

class MacInterfaceRecords : public DarwinTest {};

TEST_F(MacInterfaceRecords, AreReadFieldByField) {
    Bytes& list = machine().interfaceList;
    list = interfaceMessage();
    const Bytes address = addressMessage();
    list.insert(list.end(), address.begin(), address.end());
    int interfaces = 0;
    EXPECT_TRUE(MacNetworkService().listInterfaces([&interfaces](const InterfaceInfo& info) {
        ++interfaces;
        EXPECT_EQ(info.name, "en0");
        EXPECT_EQ(info.index, 4U);
        EXPECT_EQ(info.flags, 0x8863U);
        EXPECT_EQ(info.linkType, 6);
        EXPECT_THAT(info.hardwareAddress, ElementsAre(1, 2, 3, 4, 5, 6));
        EXPECT_EQ(info.bytesIn, std::int64_t{5} << 32);
        EXPECT_EQ(info.bytesOut, std::int64_t{7} << 32);
        ASSERT_EQ(info.addresses.size(), 1U);
        EXPECT_THAT(info.addresses[0], ElementsAre(16, 2, 0, 0, 192, 0, 2, 7, 0, 0, 0, 0, 0, 0, 0, 0));
    }));
    EXPECT_EQ(interfaces, 1);
}

} // namespace
