// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The machine's network interfaces with their rates and peaks, whether the Internet can be reached, and the
/// configuration that goes with it.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/InterfaceFacts.h>
#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/probes/TrafficRates.h>
#include <SentrelKit/system/MeasureSet.h>
#include <SentrelKit/system/Mutex/Atomic.h>
#include <SentrelKit/system/SystemResource.h>
#include <SentrelKit/system/detail/Measuring.h>

#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sentrel::probes {
struct NetworkData;
}

namespace sentrel {

/// The network model. The registry samples it; readers poll its properties from any thread, and may see some of one
/// sample and some of the next. Its only effect beyond its figures is one user notification, "Connected to Internet",
/// each time the Internet comes back.
class SENTREL_API Network final : public SystemResource {
public:
    /// How far the connection reaches.
    enum class ConnectionType : std::uint8_t {
        none,    ///< no active interface
        local,   ///< interfaces are active, the Internet cannot be reached
        internet ///< the Internet can be reached
    };

    /// One interface.
    ///
    /// Rates follow one rule here and for volumes: (counter now - counter before) * 1000 / milliseconds between the two
    /// samples, where that time is more than 0; else they stay. Nothing is smoothed or clamped: a counter that went
    /// back gives one negative rate. A peak is the highest rate so far, at least 0.
    ///
    /// The object stays the same while the interface is there; one that comes back, or is made anew
    /// under its old name, is a new object. A new object has rates and peaks 0, texts empty and flags false.
    class SENTREL_API Interface {
    public:
        [[nodiscard]] double ibytesps() const noexcept { return ibytesps_; }         ///< bytes received per second
        [[nodiscard]] double obytesps() const noexcept { return obytesps_; }         ///< bytes sent per second
        [[nodiscard]] double peakibytesps() const noexcept { return peakibytesps_; } ///< the highest ibytesps so far
        [[nodiscard]] double peakobytesps() const noexcept { return peakobytesps_; } ///< the highest obytesps so far
        [[nodiscard]] std::int64_t ibytes() const noexcept { return ibytes_; }       ///< bytes received, the counter
        [[nodiscard]] std::int64_t obytes() const noexcept { return obytes_; }       ///< bytes sent, the counter
        [[nodiscard]] std::string ipaddr() const { return ipaddr_.value(); }         ///< the first address, numeric

        // What follows is as it was when the interface was first seen.

        [[nodiscard]] const std::string& mac() const noexcept { return mac_; }       ///< hardware address, or empty
        [[nodiscard]] std::int64_t linkSpeed() const noexcept { return linkSpeed_; } ///< bits per second, 0 if unknown
        [[nodiscard]] bool isPrimary() const noexcept { return isPrimary_; } ///< the default route leads over it
        [[nodiscard]] bool isWifi() const noexcept { return isWifi_; }       ///< it is wireless

        /// The wireless network's name or "Wifi", the USB adapter's product name, or "Ethernet".
        [[nodiscard]] const std::string& name() const noexcept { return name_; }

    private:
        friend class Network;

        void measure(std::int64_t time, const probes::NetworkData& data) noexcept;
        void take(std::int64_t time, const probes::NetworkData& data);
        void add(const Interface& other) noexcept;

        Relaxed<double> ibytesps_;
        Relaxed<double> obytesps_;
        Relaxed<double> peakibytesps_;
        Relaxed<double> peakobytesps_;
        Relaxed<std::int64_t> ibytes_;
        Relaxed<std::int64_t> obytes_;
        std::string mac_; // never changed once other threads see the object, like the four facts below
        Atomic<std::string> ipaddr_;
        std::int64_t timestamp_ = 0; // milliseconds; of the sampling thread alone, like address_, index_ and sample_
        std::string address_;        // as ipaddr_
        std::int64_t linkSpeed_ = 0;
        bool isPrimary_ = false;
        bool isWifi_ = false;
        std::string name_;
        std::uint32_t index_ = 0;
        std::uint64_t sample_ = 0; // the number of the last sample that saw it
    };

    /// From the interface's system name, such as "eth0".
    using Interfaces = std::map<std::string, std::shared_ptr<Interface>, std::less<>>;

    /// Registers with the configuration watch, which reports at once. There may be several models; all hear of changes.
    explicit Network(std::shared_ptr<probes::SystemManager> session = probes::session());
    ~Network() override;
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    [[nodiscard]] SystemResourceType type() const noexcept override { return SystemResourceType::net; }

    /// Takes one sample. The first sample with an interface, and from it on every 32nd, submits a check on the
    /// background queue of whether the Internet can be reached; where it can, that looks the public address up. One
    /// check is under way at a time; a sample that would submit another leaves it to the next sample. What a check
    /// finds out counts only while the connection stands that it asked about.
    void update() override;

    /// `internet` before the first check, so that nothing is announced at start-up.
    [[nodiscard]] ConnectionType connection() const noexcept;

    /// The public address (empty if the echo host told none), or "No Internet"; absent while nothing is known.
    [[nodiscard]] std::optional<std::string> publicAddress() const;

    /// The machine's own name; absent while it has none.
    [[nodiscard]] std::optional<std::string> localhostName() const;
    /// The default router; the last one after a disconnection, none in a connected network without a router.
    [[nodiscard]] std::optional<std::string> router() const;
    /// The DNS servers joined with ", "; the last ones after a disconnection.
    [[nodiscard]] std::optional<std::string> dns() const;

    /// The interfaces of the last sample, in no promised order.
    [[nodiscard]] Interfaces interfaces() const { return prevInterfaces_.value(); }

    /// A new object with the sums of rates, peaks and counters over all current interfaces.
    [[nodiscard]] std::shared_ptr<Interface> aggregated() const;

    /// Forgets the public address and, where the Internet can be reached, looks it up and gives it; absent where it
    /// cannot be had. A look-up waits for the echo host, so this is not for the main thread; it never waits for a check
    /// that is under way. Any other thread.
    std::optional<std::string> refreshPublicAddress();

    /// Groups of further facts, each sampled only while it is wanted.
    enum class Measure : std::uint8_t {
        traffic,  ///< `traffic` and `primaryTraffic`
        links,    ///< `links`
        wireless, ///< `wireless`
    };

    /// From the next sample on these groups are sampled too, and no others. A group that is not wanted costs nothing.
    /// Any thread.
    void setMeasures(MeasureSet<Measure> wanted) noexcept { measuring_.setWanted(wanted); }

    /// The groups that are wanted; none at first. Any thread.
    [[nodiscard]] MeasureSet<Measure> measures() const noexcept { return measuring_.wanted(); }

    /// What the last sample said of a group; absent while the group is not wanted or was not sampled since. The facts
    /// of a group are absent unless it is available. Any thread.
    [[nodiscard]] std::optional<Availability> availability(Measure measure) const noexcept {
        return measuring_.availability(measure);
    }

    // The lists of the groups: empty unless the group is available. Of every interface, also of those that
    // `interfaces` leaves out, in the system's order. Any thread, under a short lock; the form that fills a list lets a
    // reader use its memory again.

    /// Packets, errors and drops of each interface, with what they come to a second since the sample before. Linux: the
    /// 64-bit link statistics over netlink (rx_packets, tx_packets, rx_errors, tx_errors, rx_dropped, tx_dropped);
    /// macOS: if_data64 of the routing sysctl, without drops on the way out. No privilege.
    [[nodiscard]] std::vector<probes::InterfaceTraffic> traffic() const;
    /// The same into a list.
    void traffic(std::vector<probes::InterfaceTraffic>& list) const;

    /// The traffic of the interface among `interfaces` that is primary; absent without one.
    [[nodiscard]] std::optional<probes::InterfaceTraffic> primaryTraffic() const;

    /// Kind, state, wire and addresses of each interface. Linux: netlink's link and address listings and the driver's
    /// settings (ethtool), asked only after a change; macOS: the routing sysctl and SIOCGIFMEDIA. No privilege.
    [[nodiscard]] std::vector<InterfaceLink> links() const;
    /// The same into a list.
    void links(std::vector<InterfaceLink>& list) const;

    /// Signal, bit rates and channel of each wireless interface; unsupported where there is none. Linux: nl80211's
    /// interfaces and the station of each that is a client; macOS: CoreWLAN, loaded at the first question: rssiValue,
    /// transmitRate and wlanChannel of each CWInterface, without the rate of what comes in. No privilege.
    [[nodiscard]] std::vector<WirelessLink> wireless() const;
    /// The same into a list.
    void wireless(std::vector<WirelessLink>& list) const;

private:
    struct Reachability;
    class Checks;
    class Models;

    void mirror(const probes::NetworkConfiguration& configuration);
    void sample(std::int64_t time, const char* name, const probes::NetworkData& data);
    [[nodiscard]] std::shared_ptr<Interface> discover(const char* name, const probes::NetworkData& data) const;
    [[nodiscard]] std::shared_ptr<Interface> known(const char* name, std::uint32_t index) const;
    void sampleMeasures();

    const std::shared_ptr<probes::SystemManager> session_;
    Atomic<Interfaces> prevInterfaces_;
    std::int64_t nextNetworkCheck_ = 0; // samples left; of the sampling thread alone, like the six below
    std::uint64_t samples_ = 0;
    std::size_t seen_ = 0;                                                  // by the current sample
    std::size_t position_ = 0;                                              // in the current sample's listing
    std::vector<std::pair<std::string, std::shared_ptr<Interface>>> order_; // the interfaces as they were listed last
    Interfaces added_;                                                      // by the current sample
    std::shared_ptr<Reachability> reachability_;                            // shared with a check that is under way
    Measuring<Measure> measuring_;
    probes::TrafficRates rates_; // of the sampling thread, like the four lists that are filled before they are shown
    std::vector<InterfaceCounters> nextCounters_;
    std::vector<probes::InterfaceTraffic> nextTraffic_;
    std::vector<InterfaceLink> nextLinks_;
    std::vector<WirelessLink> nextWireless_;
    Atomic<std::vector<probes::InterfaceTraffic>> traffic_;
    Atomic<std::vector<InterfaceLink>> links_;
    Atomic<std::vector<WirelessLink>> wireless_;
    Atomic<std::optional<std::string>> localhostName_;
    Atomic<std::optional<std::string>> router_;
    Atomic<std::optional<std::string>> dns_;
    Observation observation_; // the first to go: its calls use all the others
};

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Network::ConnectionType value);

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Network::Measure value);

} // namespace sentrel
