// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The interfaces as the kernel listed them: names, flags, carrier, hardware addresses and addresses, without counters.

#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/linux/network/NetlinkSocket.h>

#include <array>
#include <memory>
#include <net/if.h>
#include <netinet/in.h>

namespace sentrel::platform {

/// One interface of the table.
struct Link {
    std::uint32_t index = 0;
    std::uint32_t flags = 0;
    std::uint8_t linkType = 0;
    std::uint8_t hardwareLength = 0;
    bool carrierKnown = false;
    bool carrier = false;
    InterfaceKind kind = InterfaceKind::physical; ///< as far as this listing tells: a wireless link is a physical one
    OperationalState state = OperationalState::unknown;
    std::uint32_t mtu = 0; ///< 0 if it was not told
    std::array<char, IFNAMSIZ> name{};
    std::array<std::uint8_t, 32> hardware{}; ///< MAX_ADDR_LEN of the kernel
    std::uint32_t firstAddress = 0;
    std::uint32_t addressCount = 0;
};

/// An immutable listing, shared by those who read it.
class LinkTable {
public:
    /// Asks the kernel. Null, with errno set, on failure.
    [[nodiscard]] static std::shared_ptr<const LinkTable> read(NetlinkSocket& socket);

    /// Null if there is none. `guess` is the position at which it probably stands.
    [[nodiscard]] const Link* find(std::uint32_t index, std::size_t guess = 0) const noexcept;
    [[nodiscard]] const Link* find(std::string_view name, std::size_t guess = 0) const noexcept;

    [[nodiscard]] std::size_t position(const Link& link) const noexcept {
        return static_cast<std::size_t>(&link - links_.data());
    }
    [[nodiscard]] std::span<const SocketAddress> addresses(const Link& link) const noexcept;

    /// In the kernel's order.
    [[nodiscard]] std::span<const Link> links() const noexcept { return links_; }

    /// Makes `facts` those of the link, but for what its driver tells.
    void describe(const Link& link, InterfaceLink& facts) const;

    /// Whether an Ethernet-like interface that is up and has carrier has an IPv4 address.
    [[nodiscard]] bool hasActiveIPv4() const noexcept;

    /// Empties the table, then takes the messages of a link and of an address listing, and last `finish`.
    void clearLinks() { links_.clear(); }
    void addLink(const nlmsghdr& message);
    void clearAddresses() { addresses_.clear(); }
    void addAddress(const nlmsghdr& message);
    void finish();

private:
    struct Address {
        std::uint32_t index = 0;
        std::uint32_t length = 0;
        std::uint8_t prefixLength = 0;
        AddressScope scope = AddressScope::global;
        union {
            sockaddr_in v4;
            sockaddr_in6 v6{};
        };
    };

    std::vector<Link> links_; // by index, which is the kernel's order too
    std::vector<std::uint32_t> byName_;
    std::vector<Address> addresses_; // by index, within one in the kernel's order
    std::vector<SocketAddress> views_;
};

} // namespace sentrel::platform
