// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/NetworkService.h>

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace sentrel::platform {

/// What a message tells of its interface: what the backends hand on, and the counters of packets, each since the
/// interface exists.
struct InterfaceMessage : InterfaceInfo {
    std::uint8_t kind = 0;                ///< the system's own number of the interface's type (IFT_ of net/if_types.h)
    std::uint8_t hardwareLength = 0;      ///< bytes of the hardware address, whatever stands behind the name
    std::uint32_t mtu = 0;                ///< the longest packet, bytes; 0 if there is none
    std::int64_t baudRate = 0;            ///< bits per second; 0 if not known
    std::int64_t packetsIn = 0;           ///< received
    std::int64_t packetsOut = 0;          ///< sent
    std::int64_t errorsIn = 0;            ///< that came damaged
    std::int64_t errorsOut = 0;           ///< that could not be sent
    std::int64_t dropsIn = 0;             ///< that came and were thrown away
    std::span<const SocketAddress> masks; ///< of each address; the kernel leaves the zeros at its end out
};

/// The interface list of a BSD kernel, as `sysctl` gives it in extended form (NET_RT_IFLIST2): a message for each
/// interface, followed by one for each of its addresses. One thread at a time; one object allocates nothing once it has
/// met the interface with the most addresses.
class InterfaceMessages {
public:
    /// Calls back for each interface, in the list's order, with views into the bytes. A message that is cut short ends
    /// the list; so does one without a length. An interface whose message does not go on with its link-level address is
    /// left out. Addresses are laid out at multiples of 8 bytes; a message that is laid out otherwise carries none.
    void read(std::span<const std::uint8_t> bytes, const std::function<void(const InterfaceInfo&)>& each);
    /// The same with all that the messages tell.
    void readWhole(std::span<const std::uint8_t> bytes, const std::function<void(const InterfaceMessage&)>& each);

private:
    std::vector<SocketAddress> addresses_;
    std::vector<SocketAddress> masks_;
};

} // namespace sentrel::platform
