// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/LinkTable.h>

#include <SentrelKit/platform/linux/network/NetlinkAttributes.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <net/if_arp.h>

namespace sentrel::platform {

namespace {

// IANA interface types (ifType).
constexpr std::uint8_t ianaOther = 1;
constexpr std::uint8_t ianaLoopback = 24;

std::uint8_t ianaTypeOf(unsigned short hardwareType) noexcept {
    switch (hardwareType) {
    case ARPHRD_ETHER:
        return InterfaceInfo::ethernetLinkType;
    case ARPHRD_LOOPBACK:
        return ianaLoopback;
    default:
        return ianaOther;
    }
}

// What the kernel calls the kind of a link that it made itself (IFLA_INFO_KIND); a device has none. A "tun" without a
// link layer hands packets of a network to a program, one with Ethernet frames (tap) serves virtual machines mostly.
InterfaceKind kindOf(const ifinfomsg& header, std::string_view made) noexcept {
    constexpr std::array<std::string_view, 5> enciphered = {"wireguard", "ovpn", "xfrm", "vti", "vti6"};
    if ((header.ifi_flags & IFF_LOOPBACK) != 0)
        return InterfaceKind::loopback;
    if (made.empty())
        return InterfaceKind::physical;
    if (made == "bridge")
        return InterfaceKind::bridge;
    const bool handsPackets = made == "tun" && header.ifi_type == ARPHRD_NONE;
    return handsPackets || std::ranges::find(enciphered, made) != enciphered.end() ? InterfaceKind::vpn
                                                                                   : InterfaceKind::virtual_;
}

AddressScope scopeOf(std::uint8_t scope) noexcept {
    if (scope >= RT_SCOPE_HOST)
        return AddressScope::host;
    if (scope >= RT_SCOPE_LINK)
        return AddressScope::link;
    return scope >= RT_SCOPE_SITE ? AddressScope::site : AddressScope::global;
}

std::string_view nameOf(const Link& link) noexcept {
    return link.name.data();
}

} // namespace

std::shared_ptr<const LinkTable> LinkTable::read(NetlinkSocket& socket) {
    auto table = std::make_shared<LinkTable>();
    NetlinkRequest links(RTM_GETLINK, NLM_F_DUMP);
    links.extra<ifinfomsg>().ifi_family = AF_UNSPEC;
    mnl_attr_put_u32(&links.header(), IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS);
    NetlinkRequest addresses(RTM_GETADDR, NLM_F_DUMP);
    addresses.extra<ifaddrmsg>().ifa_family = AF_UNSPEC;
    LinkTable& filled = *table;
    if (!socket.ask(
            links, [&] { filled.clearLinks(); }, [&](const nlmsghdr& message) { filled.addLink(message); }) ||
        !socket.ask(
            addresses, [&] { filled.clearAddresses(); }, [&](const nlmsghdr& message) { filled.addAddress(message); }))
        return nullptr;
    table->finish();
    return table;
}

void LinkTable::addLink(const nlmsghdr& message) {
    const auto* header = headerOf<ifinfomsg>(payloadOf(message));
    if (message.nlmsg_type != RTM_NEWLINK || !header || header->ifi_index <= 0)
        return;
    const NetlinkAttributes<IFLA_CARRIER> attributes(payloadOf(message), sizeof(ifinfomsg));
    Link link;
    link.index = static_cast<std::uint32_t>(header->ifi_index);
    link.flags = header->ifi_flags;
    link.linkType = ianaTypeOf(header->ifi_type);
    const NetlinkAttributes<IFLA_INFO_KIND> made(attributes.bytes(IFLA_LINKINFO));
    link.kind = kindOf(*header, made.text(IFLA_INFO_KIND));
    // RFC 2863's states, as the kernel numbers them (IF_OPER_UNKNOWN to IF_OPER_UP).
    const auto state = attributes.value<std::uint8_t>(IFLA_OPERSTATE, 0);
    if (state <= static_cast<std::uint8_t>(OperationalState::up))
        link.state = static_cast<OperationalState>(state);
    link.mtu = attributes.value<std::uint32_t>(IFLA_MTU, 0);
    const std::string_view name = attributes.text(IFLA_IFNAME);
    std::copy_n(name.data(), std::min(name.size(), link.name.size() - 1), link.name.data());
    const NetlinkBytes hardware = attributes.bytes(IFLA_ADDRESS);
    link.hardwareLength = static_cast<std::uint8_t>(std::min(hardware.size(), link.hardware.size()));
    std::copy_n(hardware.data(), link.hardwareLength, link.hardware.data());
    link.carrierKnown = attributes.has(IFLA_CARRIER);
    link.carrier = attributes.value<std::uint8_t>(IFLA_CARRIER, 0) != 0;
    links_.push_back(link);
}

void LinkTable::addAddress(const nlmsghdr& message) {
    const auto* header = headerOf<ifaddrmsg>(payloadOf(message));
    if (message.nlmsg_type != RTM_NEWADDR || !header)
        return;
    const NetlinkAttributes<IFA_LOCAL> attributes(payloadOf(message), sizeof(ifaddrmsg));
    // On a point-to-point link IFA_ADDRESS is the other end's.
    const NetlinkBytes bytes = attributes.has(IFA_LOCAL) ? attributes.bytes(IFA_LOCAL) : attributes.bytes(IFA_ADDRESS);
    Address address;
    address.index = header->ifa_index;
    address.prefixLength = header->ifa_prefixlen;
    address.scope = scopeOf(header->ifa_scope);
    if (header->ifa_family == AF_INET && bytes.size() == sizeof(in_addr)) {
        address.v4 = sockaddr_in{};
        address.v4.sin_family = AF_INET;
        std::memcpy(&address.v4.sin_addr, bytes.data(), bytes.size());
        address.length = sizeof(sockaddr_in);
    } else if (header->ifa_family == AF_INET6 && bytes.size() == sizeof(in6_addr)) {
        address.v6.sin6_family = AF_INET6;
        std::memcpy(&address.v6.sin6_addr, bytes.data(), bytes.size());
        if (IN6_IS_ADDR_LINKLOCAL(&address.v6.sin6_addr))
            address.v6.sin6_scope_id = header->ifa_index;
        address.length = sizeof(sockaddr_in6);
    }
    addresses_.push_back(address);
}

void LinkTable::finish() {
    const auto byIndex = [](const auto& a, const auto& b) { return a.index < b.index; };
    std::stable_sort(links_.begin(), links_.end(), byIndex);
    std::stable_sort(addresses_.begin(), addresses_.end(), byIndex);
    views_.clear();
    for (const Address& address : addresses_)
        views_.emplace_back(reinterpret_cast<const std::uint8_t*>(&address.v6), address.length);
    byName_.clear();
    for (Link& link : links_) {
        byName_.push_back(static_cast<std::uint32_t>(&link - links_.data()));
        const auto [first, last] = std::equal_range(addresses_.begin(), addresses_.end(), link, byIndex);
        link.firstAddress = static_cast<std::uint32_t>(first - addresses_.begin());
        link.addressCount = static_cast<std::uint32_t>(last - first);
    }
    std::sort(byName_.begin(), byName_.end(),
              [this](std::uint32_t a, std::uint32_t b) { return nameOf(links_[a]) < nameOf(links_[b]); });
}

void LinkTable::describe(const Link& link, InterfaceLink& facts) const {
    facts.name = nameOf(link);
    facts.index = link.index;
    facts.kind = link.kind;
    facts.state = link.state;
    facts.duplex.reset();
    facts.speed.reset();
    facts.mtu = link.mtu != 0 ? std::optional(link.mtu) : std::nullopt;
    std::array<std::uint8_t, 6> hardware{};
    std::copy_n(link.hardware.data(), hardware.size(), hardware.data());
    const bool hasHardware = link.hardwareLength == hardware.size() && hardware != std::array<std::uint8_t, 6>{};
    facts.hardware = hasHardware ? std::optional(hardware) : std::nullopt;
    facts.addresses.clear();
    for (const Address& each : std::span(addresses_).subspan(link.firstAddress, link.addressCount)) {
        if (each.length == 0)
            continue;
        InterfaceAddress& address = facts.addresses.emplace_back();
        address.isIPv6 = each.length == sizeof(sockaddr_in6);
        if (address.isIPv6)
            std::memcpy(address.bytes.data(), &each.v6.sin6_addr, sizeof(in6_addr));
        else
            std::memcpy(address.bytes.data(), &each.v4.sin_addr, sizeof(in_addr));
        const std::uint8_t longest = address.isIPv6 ? 128 : 32;
        address.prefixLength = std::min(each.prefixLength, longest);
        address.scope = each.scope;
    }
}

const Link* LinkTable::find(std::uint32_t index, std::size_t guess) const noexcept {
    if (guess < links_.size() && links_[guess].index == index)
        return &links_[guess];
    const auto link = std::lower_bound(links_.begin(), links_.end(), index,
                                       [](const Link& a, std::uint32_t wanted) { return a.index < wanted; });
    return link != links_.end() && link->index == index ? &*link : nullptr;
}

const Link* LinkTable::find(std::string_view name, std::size_t guess) const noexcept {
    if (guess < links_.size() && nameOf(links_[guess]) == name)
        return &links_[guess];
    const auto place =
        std::lower_bound(byName_.begin(), byName_.end(), name,
                         [this](std::uint32_t a, std::string_view wanted) { return nameOf(links_[a]) < wanted; });
    return place != byName_.end() && nameOf(links_[*place]) == name ? &links_[*place] : nullptr;
}

std::span<const SocketAddress> LinkTable::addresses(const Link& link) const noexcept {
    return std::span(views_).subspan(link.firstAddress, link.addressCount);
}

bool LinkTable::hasActiveIPv4() const noexcept {
    return std::any_of(links_.begin(), links_.end(), [this](const Link& link) {
        const std::span<const SocketAddress> all = addresses(link);
        return (link.flags & InterfaceInfo::up) != 0 && link.linkType == InterfaceInfo::ethernetLinkType &&
               link.carrier && std::any_of(all.begin(), all.end(), [](const SocketAddress& address) {
                   return address.size() == sizeof(sockaddr_in);
               });
    });
}

} // namespace sentrel::platform
