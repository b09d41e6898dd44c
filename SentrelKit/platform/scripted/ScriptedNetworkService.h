// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>
#include <SentrelKit/platform/scripted/ScriptedDispatch.h>
#include <SentrelKit/platform/support/Observer.h>

#include <map>

namespace sentrel::platform {

/// One interface of the scripted machine.
struct SENTREL_API ScriptedInterface {
    /// An Ethernet interface that is up and has carrier, without addresses.
    explicit ScriptedInterface(std::string name, std::uint32_t index = 2);

    /// Adds an address message with a numeric IPv4 or IPv6 address; a scope follows it after "%" as a number. An empty
    /// text adds a message without an address, any other text one whose address converts to no text.
    ScriptedInterface& addAddress(const std::string& numeric);

    std::string name;                                                              ///< such as "en0"
    std::uint32_t index;                                                           ///< the system's number of it
    std::uint32_t flags = InterfaceInfo::up;                                       ///< as in InterfaceInfo
    std::uint8_t linkType = InterfaceInfo::ethernetLinkType;                       ///< as in InterfaceInfo
    std::vector<std::uint8_t> hardwareAddress{0x02, 0x00, 0x00, 0x00, 0x00, 0x01}; ///< any number of bytes
    std::int64_t bytesIn = 0;                                                      ///< received, as the counter stands
    std::int64_t bytesOut = 0;                                                     ///< sent, as the counter stands
    std::vector<std::vector<std::uint8_t>> addresses;                              ///< raw socket addresses
    MediaStatus media{true, true};                                                 ///< what `mediaStatus` answers
    PropertyList::Dictionary properties;                                           ///< of its registry entry
    PropertyList::Dictionary related; ///< what a search finds beside the own properties
    bool registered = true;           ///< false: the registry has no entry for it
};

/// A host that can be connected to. What it does takes time of the virtual clock: a wait for it moves the clock on, and
/// runs what comes due meanwhile, on the thread that waits.
struct ScriptedServer {
    /// What comes of its reply, and when.
    struct Piece {
        double seconds = 0; ///< after the piece before, or after the connection was made
        std::string bytes;  ///< at least one
    };

    bool resolves = true;      ///< whether its name has an address
    double connectSeconds = 0; ///< until it accepts a connection; from 2 on the caller gives up (ETIMEDOUT)
    std::vector<Piece> reply;  ///< to whatever it is asked
    bool closes = true;        ///< whether it ends the connection after its reply; else it is silent from then on
};

/// A network made of values. As made it has no interfaces, no configuration and no name, and reaches the Internet. The
/// values are set on the test's thread while no other one asks. Questions about an interface and calls on its entry are
/// recorded with its name; handles are told as "entry en0" and "watch". A question about an interface that is not there
/// fails with ENXIO. A connection is recorded as "connect host port", what is sent and read on it as "write host" and
/// "read host milliseconds", its handle as "connection host".
class SENTREL_API ScriptedNetworkService final : public NetworkService {
public:
    /// A network without interfaces, whose waits let the time of `dispatch` pass.
    explicit ScriptedNetworkService(ScriptedDispatch& dispatch) : dispatch_(dispatch) {}

    bool listInterfaces(const std::function<void(const InterfaceInfo&)>& each) override;
    std::optional<MediaStatus> mediaStatus(std::string_view name) override;
    std::optional<std::unique_ptr<InterfaceEntry>> matchInterface(const std::string& name) override;
    Availability packetCounters(std::vector<InterfaceCounters>& counters) override {
        return calls.answer("packetCounters", packetCountersValue, counters);
    }
    Availability links(std::vector<InterfaceLink>& links) override { return calls.answer("links", linksValue, links); }
    Availability wirelessLinks(std::vector<WirelessLink>& links) override {
        return calls.answer("wirelessLinks", wirelessLinksValue, links);
    }
    /// Unknown if it fails.
    Connectivity connectivity() override { return calls.fails("connectivity") ? Connectivity::unknown : reachable; }
    bool resolves(const std::string& host) override;
    [[nodiscard]] std::unique_ptr<Connection> connect(const std::string& host, std::int32_t port) override;
    std::unique_ptr<ConfigurationWatch> watchConfiguration(const std::string& name) override;

    /// The interface of that name, which must exist.
    ScriptedInterface& interface(std::string_view name);

    /// Delivers one change of the configuration to every scheduled watch with keys, on its queue.
    void change();

    ScriptedCalls calls;                                               ///< what was asked, and how it fails
    std::vector<ScriptedInterface> interfaces;                         ///< in the order in which they are listed
    Connectivity reachable = Connectivity::yes;                        ///< what `connectivity` answers
    std::optional<std::vector<InterfaceCounters>> packetCountersValue; ///< of every interface; absent: unsupported
    std::optional<std::vector<InterfaceLink>> linksValue;              ///< of every interface; absent: unsupported
    std::optional<std::vector<WirelessLink>> wirelessLinksValue;       ///< of the wireless ones; absent: unsupported
    std::map<std::string, ScriptedServer> servers; ///< by name; a host that is not among them is the real network's
    std::optional<std::string> localHostName;      ///< the machine's name, if it has one
    std::optional<PropertyList> ipv4;              ///< the value of "State:/Network/Global/IPv4"
    std::optional<PropertyList> dns;               ///< the value of "State:/Network/Global/DNS"

private:
    [[nodiscard]] const ScriptedInterface* find(std::string_view name) const;

    class Watch;

    [[nodiscard]] std::shared_ptr<Observers<Change>> observersOn(std::shared_ptr<DispatchQueue> queue);

    ScriptedDispatch& dispatch_;
    Lock lock_;
    /// Of the scheduled watches with keys, by their queues.
    std::map<std::shared_ptr<DispatchQueue>, std::shared_ptr<Observers<Change>>> observers_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
