// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the machine tells about its network: interfaces with their counters, the facts of one interface, whether the
/// Internet can be reached, and the configuration that the host shows (local host name, DNS servers, router).

#include <SentrelKit/Export.h>
#include <SentrelKit/base/util/PropertyList.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/Connection.h>
#include <SentrelKit/platform/InterfaceFacts.h>
#include <SentrelKit/platform/Observation.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel {
class DispatchQueue;
}

namespace sentrel::platform {

/// A raw socket address of the system, as `Net_getAddrInfo` takes it: suitably aligned, as long as its family needs.
/// Empty when an address message carries none.
using SocketAddress = std::span<const std::uint8_t>;

/// One interface of the system's list. Texts, bytes and addresses are views, valid only during the call.
struct InterfaceInfo {
    static constexpr std::uint32_t up = 0x1;            ///< flag: administratively up
    static constexpr std::uint32_t loopback = 0x8;      ///< flag: a loopback interface
    static constexpr std::uint8_t ethernetLinkType = 6; ///< the IANA interface type of Ethernet-like interfaces

    std::string_view name;     ///< of the interface, such as "en0" or "eth0"; valid only during the call
    std::uint32_t index = 0;   ///< stays while the interface exists; one made anew has another
    std::uint32_t flags = 0;   ///< of the bits above
    std::uint8_t linkType = 0; ///< IANA interface type, 1 for all that have no number of their own
    std::span<const std::uint8_t> hardwareAddress; ///< as long as the link has it; empty if it has none
    std::int64_t bytesIn = 0;                      ///< received since the interface exists
    std::int64_t bytesOut = 0;                     ///< sent since the interface exists
    std::span<const SocketAddress> addresses;      ///< one for each address message, in the system's order
};

/// The link state of an interface, as its driver reports it.
struct MediaStatus {
    bool valid = false;  ///< the driver knows its state
    bool active = false; ///< whether there is a link
};

/// The entry of one interface in the system's registry of devices. Used by one thread at a time.
class InterfaceEntry {
public:
    virtual ~InterfaceEntry() = default;

    /// The entry's own properties, among them "IOPrimaryInterface" (bool) and, for a wireless interface,
    /// "IO80211SSID" (text, empty if it cannot be read). Absent on failure.
    virtual std::optional<PropertyList::Dictionary> properties() = 0;

    /// The named property of the entry or of a related device, above or below: "USB Product Name" (text),
    /// "IOLinkSpeed" (integer, bits per second). Holds no value if there is none.
    virtual PropertyList search(std::string_view key) = 0;
};

/// Local host name, DNS servers and router, and notices of their changes. The readers may be called from any thread,
/// with or without notices.
class ConfigurationWatch {
public:
    virtual ~ConfigurationWatch() = default;

    /// Asks for notices of exactly these keys, of "State:/Network/Global/IPv4", "State:/Network/Global/DNS" and
    /// "Setup:/Network/HostNames". Called before `schedule`. False if they cannot be installed.
    virtual bool setNotificationKeys(const std::vector<std::string>& keys) = 0;

    /// From now on `changed` is called on the queue, which is one of this platform's, after each change; what changes
    /// while it runs is told together, by one more call. Called once; the watch outlives the observation. Always
    /// observes something, but for keys that could not be installed no call comes.
    ///
    /// macOS: SCDynamicStoreSetDispatchQueue with the queue's native handle; the release sets no queue. A callout that
    /// stands in the queue already may come all the same: it finds the observer through a context that the store
    /// retains, not the registration.
    [[nodiscard]] virtual Observation schedule(std::shared_ptr<DispatchQueue> queue, std::function<void()> changed) = 0;

    /// The name of this machine. Absent when it has none.
    virtual std::optional<std::string> localHostName() = 0;

    /// The value of a key, a dictionary; absent when the key has none. macOS: SCDynamicStoreCopyValue. Keys:
    ///
    /// | key | has a value while | entry | kind |
    /// | --- | --- | --- | --- |
    /// | "State:/Network/Global/IPv4" | IPv4 is connected | "Router" | text: the default router, if there is one |
    /// | "State:/Network/Global/DNS" | there are DNS servers | "ServerAddresses" | list of texts, as they are asked |
    virtual std::optional<PropertyList> value(std::string_view key) = 0;
};

/// The system's own word on whether the Internet can be reached.
enum class Connectivity : std::uint8_t { unknown, no, yes };
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Connectivity value);

/// The questions about the network. Any thread, unless a member says otherwise.
class SENTREL_API NetworkService {
public:
    virtual ~NetworkService() = default;

    /// Calls back once for each interface, in the system's order, with counters that were all taken by one request.
    /// The callback may run under a lock of the service: it takes down what it is given, may ask for the `mediaStatus`,
    /// does not list the interfaces itself and runs nothing of a host. False, with errno set and no call made, on
    /// failure.
    virtual bool listInterfaces(const std::function<void(const InterfaceInfo&)>& each) = 0;

    /// The link state of a named interface; of the name the first 15 bytes count. Absent, with errno set, on failure.
    virtual std::optional<MediaStatus> mediaStatus(std::string_view name) = 0;

    /// The first registry entry of a named interface: null if there is none, absent if the registry cannot be asked.
    virtual std::optional<std::unique_ptr<InterfaceEntry>> matchInterface(const std::string& name) = 0;

    /// Fills the list with the packet counters of every interface, in the system's order, all taken by one request.
    /// Linux: netlink's statistics listing; macOS: the routing sysctl, as for `listInterfaces`. No privilege. Unless
    /// available the list stays as it was. Allocates nothing once warm.
    [[nodiscard]] virtual Availability packetCounters(std::vector<InterfaceCounters>& counters) = 0;

    /// Fills the list with the state of every interface's link, in the system's order. Linux: netlink's link and
    /// address listings and the driver's own settings (ethtool), both read anew only after a notice of a change, so
    /// speed and duplex that are changed by hand under a link that stays up are not seen. macOS: the
    /// routing sysctl and the media status, asked anew each time. No privilege. Unless available the list stays as it
    /// was. Allocates nothing once warm.
    [[nodiscard]] virtual Availability links(std::vector<InterfaceLink>& links) = 0;

    /// Fills the list with the radios of all wireless interfaces, each a client of a network or of none. Unsupported
    /// where there is no wireless interface. Linux: nl80211, no privilege; allocates nothing once warm. macOS:
    /// CWInterface of CoreWLAN (rssiValue, transmitRate, wlanChannel), a framework that is loaded at the first question
    /// and never linked, no privilege; may wait for the system's service, which also allocates. Unsupported where that
    /// framework is not there. One that is switched off has its name and number alone. Unless available the list stays
    /// as it was.
    [[nodiscard]] virtual Availability wirelessLinks(std::vector<WirelessLink>& links) = 0;

    /// Whether the Internet can be reached, as far as the system knows without contacting anyone. May wait a few
    /// seconds for a system service.
    virtual Connectivity connectivity() = 0;

    /// Whether the name of a host resolves to at least one IPv4 address. May wait for the resolver. As it stands here
    /// it asks the system's, which every backend does.
    virtual bool resolves(const std::string& host);

    /// A connection to a host (name or numeric address) and port; each of its addresses is tried for at most 2 seconds.
    /// Null, with errno set, on failure. As it stands here it is a socket, on every backend.
    [[nodiscard]] virtual std::unique_ptr<Connection> connect(const std::string& host, std::int32_t port);

    /// A watch that is not yet scheduled, by the name under which the system lists who watches, if it does. Null on
    /// failure. macOS: SCDynamicStoreCreate.
    virtual std::unique_ptr<ConfigurationWatch> watchConfiguration(const std::string& name) = 0;
};

} // namespace sentrel::platform
