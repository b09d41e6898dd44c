// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What is told of network interfaces beyond their bytes: packets, the state and the kind of a link, its addresses, and
/// the radio of a wireless one. Plain values; what a system does not tell is absent, never 0.

#include <SentrelKit/Export.h>

#include <array>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

/// The packet counters of one interface, each since the interface exists.
struct InterfaceCounters {
    std::string name;                       ///< such as "eth0", at most 15 bytes
    std::uint32_t index = 0;                ///< the system's number of it; one made anew has another
    std::int64_t packetsIn = 0;             ///< received
    std::int64_t packetsOut = 0;            ///< sent
    std::int64_t errorsIn = 0;              ///< that came damaged
    std::int64_t errorsOut = 0;             ///< that could not be sent
    std::int64_t dropsIn = 0;               ///< that came well and were thrown away, for want of room say
    std::optional<std::int64_t> dropsOut{}; ///< that were thrown away before they were sent; absent on macOS
};

/// What an interface is.
enum class InterfaceKind : std::uint8_t {
    physical, ///< a device with a wire, or what stands for one in a virtual machine
    virtual_, ///< made by the system and none of the following, such as a veth, a bond, a VLAN or a plain tunnel
    vpn,      ///< a tunnel whose packets are enciphered or handed to a program
    bridge,   ///< joins other interfaces
    loopback, ///< leads back to this machine
    wifi,     ///< wireless
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, InterfaceKind value);

/// The state of a link (RFC 2863, ifOperStatus).
enum class OperationalState : std::uint8_t {
    unknown,        ///< the driver does not tell; such a link may well work
    notPresent,     ///< a part is missing
    down,           ///< it carries nothing
    lowerLayerDown, ///< what it stands on is down; a wire without a partner
    testing,        ///< it is being tested
    dormant,        ///< it waits for something, such as a login
    up,             ///< it carries packets
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, OperationalState value);

/// Whether both ends of a wire may send at once.
enum class Duplex : std::uint8_t {
    half, ///< one after the other
    full, ///< both at once
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Duplex value);

/// How far an address reaches.
enum class AddressScope : std::uint8_t {
    global, ///< everywhere that routes lead; also private and unique local addresses
    site,   ///< within the site
    link,   ///< within the link
    host,   ///< within this machine
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, AddressScope value);

/// One address of an interface.
struct SENTREL_API InterfaceAddress {
    bool isIPv6 = false;                       ///< else IPv4
    std::array<std::uint8_t, 16> bytes{};      ///< in the network's order; of IPv4 the first four
    std::uint8_t prefixLength = 0;             ///< bits: 0 to 32 of IPv4, 0 to 128 of IPv6
    AddressScope scope = AddressScope::global; ///< how far it reaches

    /// The address in numbers, such as "192.0.2.4" or "fe80::7", without prefix and zone.
    [[nodiscard]] std::string text() const;

    /// Whether all four are the same.
    friend bool operator==(const InterfaceAddress&, const InterfaceAddress&) = default;
};

/// The state of one interface's link.
struct SENTREL_API InterfaceLink {
    std::string name;                                   ///< such as "eth0", at most 15 bytes
    std::uint32_t index = 0;                            ///< the system's number of it
    InterfaceKind kind = InterfaceKind::physical;       ///< what it is
    OperationalState state = OperationalState::unknown; ///< of the link
    std::optional<Duplex> duplex{};                     ///< absent where there is no wire, or no partner
    std::optional<std::int64_t> speed{};                ///< of the wire, bits per second; absent as `duplex`
    std::optional<std::uint32_t> mtu{};                 ///< the longest packet, bytes
    std::optional<std::array<std::uint8_t, 6>>
        hardware{};                            ///< hardware address; absent where there is none of six bytes
    std::vector<InterfaceAddress> addresses{}; ///< every one, in the system's order

    /// The hardware address as text, "02:1b:63:84:45:e6"; empty where there is none.
    [[nodiscard]] std::string mac() const;
};

/// The radio of one wireless interface that is a network's client.
struct SENTREL_API WirelessLink {
    std::string name;                     ///< such as "wlan0", at most 15 bytes
    std::uint32_t index = 0;              ///< the system's number of it
    std::optional<std::int32_t> signal{}; ///< of the access point as it comes in, dBm, negative; absent without one
    std::optional<std::int64_t>
        bitRateIn{}; ///< of the last packet received, bits per second; absent without one and on macOS
    std::optional<std::int64_t> bitRateOut{};   ///< of the last packet sent, bits per second; absent without one
    std::optional<std::int64_t> frequency{};    ///< of the channel's primary part, hertz; absent while not tuned
    std::optional<std::int64_t> channelWidth{}; ///< hertz; absent where the system does not tell

    /// The number of the channel with that frequency (IEEE 802.11, channel starting frequencies of the bands at 2.4, 5,
    /// 6 and 60 GHz); absent while not tuned and for a frequency that has none. The same number stands for another
    /// channel in another band.
    [[nodiscard]] std::optional<std::int32_t> channel() const noexcept;
};

} // namespace sentrel
