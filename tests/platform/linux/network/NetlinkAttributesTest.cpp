// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/NetlinkAttributes.h>

#include "tests/support/linux/NetlinkMessage.h"

#include <gtest/gtest.h>
#include <linux/rtnetlink.h>

namespace sentrel::platform {
namespace {

NetlinkMessage message() {
    NetlinkMessage message(RTM_NEWLINK, ifinfomsg{});
    message.addText(1, "name").add(2, std::uint32_t{7}).add(9, std::uint32_t{9});
    return message;
}

TEST(NetlinkAttributes, GivesWhatIsThereByItsType) {
    const NetlinkMessage whole = message();
    const NetlinkAttributes<2> attributes(payloadOf(whole.get()), sizeof(ifinfomsg));
    EXPECT_EQ(attributes.text(1), "name");
    EXPECT_EQ(attributes.value<std::uint32_t>(2, 0), 7U);
    EXPECT_EQ(attributes.value<std::uint16_t>(2, 5), 5U) << "of another size";
    EXPECT_FALSE(attributes.has(0));
    EXPECT_EQ(attributes.value<std::uint32_t>(0, 3), 3U);
    EXPECT_EQ(attributes.text(0), "");
}

TEST(NetlinkAttributes, ReadsNothingBeyondTheEndOfACutMessage) {
    const NetlinkMessage whole = message();
    const NetlinkBytes bytes = payloadOf(whole.get());
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        // Bytes of their own, so that a sanitizer sees a read past their end.
        const std::vector<std::uint8_t> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
        const NetlinkAttributes<2> attributes(cut, sizeof(ifinfomsg));
        EXPECT_EQ(attributes.has(1), size >= sizeof(ifinfomsg) + NLA_HDRLEN + 5) << size;
        EXPECT_EQ(headerOf<ifinfomsg>(cut) != nullptr, size >= sizeof(ifinfomsg)) << size;
    }
}

} // namespace
} // namespace sentrel::platform
