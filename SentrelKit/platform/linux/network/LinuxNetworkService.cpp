// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/LinuxNetworkService.h>

#include <SentrelKit/platform/linux/network/LinuxConfigurationWatch.h>
#include <SentrelKit/platform/linux/network/LinuxInterfaceEntry.h>
#include <SentrelKit/platform/linux/network/NetlinkAttributes.h>

#include <algorithm>
#include <cerrno>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <utility>

namespace sentrel::platform {

namespace {

// The connectivity service of the desktop, where one runs (NMConnectivityState of its D-Bus interface).
constexpr BusObject connectivityService{"org.freedesktop.NetworkManager", "/org/freedesktop/NetworkManager",
                                        "org.freedesktop.DBus.Properties"};
constexpr std::uint32_t connectivityUnknown = 0;
constexpr std::uint32_t connectivityFull = 4;

Connectivity meaningOf(std::uint32_t state) noexcept {
    switch (state) {
    case connectivityUnknown:
        return Connectivity::unknown;
    case connectivityFull:
        return Connectivity::yes;
    default:
        return Connectivity::no;
    }
}

void describeRadio(WirelessQuery& query, const WirelessInterface& radio, WirelessLink& link) {
    link.name = radio.name.data();
    link.index = radio.index;
    link.frequency = radio.frequency;
    link.channelWidth = radio.channelWidth;
    const std::optional<WirelessStation> station = radio.isClient ? query.station(radio.index) : std::nullopt;
    const auto known = [](std::int64_t rate) { return rate != 0 ? std::optional(rate) : std::nullopt; };
    link.signal = station ? station->signal : std::nullopt;
    link.bitRateIn = known(station ? station->bitRateIn : 0);
    link.bitRateOut = known(station ? station->bitRateOut : 0);
}

Connectivity askConnectivityService(BusConnection& bus) {
    const VariantPointer answer =
        bus.call(connectivityService, "Get", g_variant_new("(ss)", connectivityService.service, "Connectivity"),
                 G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NO_AUTO_START);
    if (!answer)
        return Connectivity::unknown;
    GVariant* inner = nullptr;
    g_variant_get(answer.get(), "(v)", &inner);
    const VariantPointer state(inner);
    return g_variant_is_of_type(inner, G_VARIANT_TYPE_UINT32) ? meaningOf(g_variant_get_uint32(inner))
                                                              : Connectivity::unknown;
}

} // namespace

LinuxNetworkService::LinuxNetworkService(SystemRoot root, EventSource& events)
    : root_(std::move(root)), events_(events),
      notices_(NETLINK_ROUTE,
               {RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR, RTNLGRP_IPV6_IFADDR, RTNLGRP_IPV4_ROUTE, RTNLGRP_IPV6_ROUTE}),
      route_(NETLINK_ROUTE), countersRequest_(RTM_GETSTATS, NLM_F_DUMP), bus_(G_BUS_TYPE_SYSTEM) {
    countersRequest_.extra<if_stats_msg>().filter_mask = IFLA_STATS_FILTER_BIT(IFLA_STATS_LINK_64);
}

void LinuxNetworkService::takeNotices() {
    if (noticesTaken_.isOfThisSample())
        return;
    noticesTaken_.set();
    const bool whole = notices_.takeNotices([this](const nlmsghdr& message) SENTREL_NO_THREAD_SAFETY_ANALYSIS {
        switch (message.nlmsg_type) {
        case RTM_NEWROUTE:
        case RTM_DELROUTE:
            routesStale_ = routesStale_ || concernsDefaultRoute(message);
            break;
        default:
            // The kernel drops the routes of a link or of an address that goes without a word on each.
            linksStale_ = true;
            routesStale_ = true;
        }
    });
    if (!whole) {
        linksStale_ = true;
        routesStale_ = true;
    }
}

bool LinuxNetworkService::refreshLinks() {
    takeNotices();
    if (!linksStale_)
        return true;
    std::shared_ptr<const LinkTable> links = LinkTable::read(route_);
    if (!links)
        return false;
    links_ = std::move(links);
    linksStale_ = false;
    return true;
}

bool LinuxNetworkService::refreshRoutes() {
    takeNotices();
    if (!routesStale_)
        return true;
    // A kernel without IPv6 answers with an error, which says as much as an answer without a route.
    const bool answered4 = readDefaultRoute(route_, AF_INET, route4_);
    const bool answered6 = readDefaultRoute(route_, AF_INET6, route6_);
    routesStale_ = !answered4 && !answered6;
    return !routesStale_;
}

bool LinuxNetworkService::readCounters() {
    if (countersRead_.isOfThisSample())
        return true;
    countersRead_.clear();
    const bool isRead = route_.ask(
        countersRequest_, [this]() SENTREL_NO_THREAD_SAFETY_ANALYSIS { counters_.clear(); },
        [this](const nlmsghdr& message) SENTREL_NO_THREAD_SAFETY_ANALYSIS {
            if (const auto counters = parseCounters(message))
                counters_.push_back(*counters);
        });
    if (isRead)
        countersRead_.set();
    return isRead;
}

std::shared_ptr<const LinkTable> LinuxNetworkService::beginListing() {
    const LockScope scope(lock_);
    if (!refreshLinks() || !readCounters())
        return nullptr;
    handingOver_ = true;
    return links_;
}

bool LinuxNetworkService::listInterfaces(const std::function<void(const InterfaceInfo&)>& each) {
    const LockScope listing(listing_);
    const std::shared_ptr<const LinkTable> links = beginListing();
    if (!links)
        return false;
    std::size_t position = 0;
    for (const LinkCounters& counters : counters_) {
        // One that came after the links were listed has given notice and is found the next time.
        const Link* link = links->find(counters.index, position);
        if (!link)
            continue;
        position = links->position(*link);
        handedOver_.store(position++, std::memory_order_relaxed);
        InterfaceInfo info;
        info.name = link->name.data();
        info.index = link->index;
        info.flags = link->flags;
        info.linkType = link->linkType;
        info.hardwareAddress = std::span(link->hardware).first(link->hardwareLength);
        info.bytesIn = counters.bytesIn;
        info.bytesOut = counters.bytesOut;
        info.addresses = links->addresses(*link);
        each(info);
    }
    const LockScope scope(lock_);
    handingOver_ = false;
    return true;
}

// While a listing is handed over, what is asked about its interfaces is answered from the same moment.
bool LinuxNetworkService::currentLinks() {
    return handingOver_ || refreshLinks();
}

std::optional<MediaStatus> LinuxNetworkService::mediaStatus(std::string_view name) {
    const LockScope scope(lock_);
    if (!currentLinks())
        return std::nullopt;
    const Link* link = links_->find(name.substr(0, IFNAMSIZ - 1), handedOver_.load(std::memory_order_relaxed));
    if (!link) {
        errno = ENODEV;
        return std::nullopt;
    }
    return MediaStatus{link->carrierKnown, link->carrier};
}

std::optional<std::unique_ptr<InterfaceEntry>> LinuxNetworkService::matchInterface(const std::string& name) {
    const LockScope scope(lock_);
    if (!currentLinks())
        return std::nullopt;
    const Link* link = links_->find(name, handedOver_.load(std::memory_order_relaxed));
    if (!link)
        return std::unique_ptr<InterfaceEntry>();
    return std::make_unique<LinuxInterfaceEntry>(*this, root_, name, link->index);
}

Availability LinuxNetworkService::packetCounters(std::vector<InterfaceCounters>& counters) {
    const LockScope listing(listing_);
    const LockScope scope(lock_);
    if (!refreshLinks() || !readCounters())
        return availabilityOf(errno);
    std::size_t position = 0;
    for (const LinkCounters& counted : counters_) {
        const Link* link = links_->find(counted.index, position);
        if (!link)
            continue;
        if (position == counters.size())
            counters.emplace_back();
        InterfaceCounters& record = counters[position++];
        record.name = link->name.data();
        record.index = counted.index;
        record.packetsIn = counted.packetsIn;
        record.packetsOut = counted.packetsOut;
        record.errorsIn = counted.errorsIn;
        record.errorsOut = counted.errorsOut;
        record.dropsIn = counted.dropsIn;
        record.dropsOut = counted.dropsOut;
    }
    counters.resize(position);
    return Availability::available;
}

// What drivers are asked for changes with the link, which gives notice.
void LinuxNetworkService::describeLinks() {
    if (describedFrom_ == links_)
        return;
    if (!wireless_.listInterfaces(radios_))
        radios_.clear();
    const std::span<const Link> links = links_->links();
    described_.resize(links.size());
    for (std::size_t place = 0; place < links.size(); ++place) {
        InterfaceLink& facts = described_[place];
        links_->describe(links[place], facts);
        const auto isRadio = [&facts](const WirelessInterface& radio) { return radio.index == facts.index; };
        if (std::ranges::any_of(radios_, isRadio)) {
            facts.kind = InterfaceKind::wifi;
            continue;
        }
        const WireSettings wire = wires_.settings(facts.name);
        facts.speed = wire.speed;
        facts.duplex = wire.duplex;
    }
    describedFrom_ = links_;
}

Availability LinuxNetworkService::links(std::vector<InterfaceLink>& links) {
    const LockScope scope(lock_);
    if (!refreshLinks())
        return availabilityOf(errno);
    describeLinks();
    links = described_;
    return Availability::available;
}

Availability LinuxNetworkService::wirelessLinks(std::vector<WirelessLink>& links) {
    const LockScope scope(lock_);
    if (!refreshLinks())
        return availabilityOf(errno);
    if (withoutRadios_ == links_) // a radio that comes is a link, which gives notice
        return Availability::unsupported;
    if (!wireless_.listInterfaces(radios_)) {
        if (availabilityOf(errno) != Availability::unsupported)
            return availabilityOf(errno);
        radios_.clear();
    }
    if (radios_.empty()) {
        withoutRadios_ = links_;
        return Availability::unsupported;
    }
    links.resize(radios_.size());
    for (std::size_t place = 0; place < radios_.size(); ++place)
        describeRadio(wireless_, radios_[place], links[place]);
    return Availability::available;
}

bool LinuxNetworkService::isPrimary(std::uint32_t index) {
    const LockScope scope(lock_);
    if (!refreshRoutes())
        return false;
    const std::optional<DefaultRoute>& route = route4_ ? route4_ : route6_;
    return route && route->interface == index;
}

std::optional<std::string> LinuxNetworkService::networkName(std::uint32_t index) {
    const LockScope scope(lock_);
    return wireless_.networkName(index);
}

std::int64_t LinuxNetworkService::bitRate(std::uint32_t index) {
    const LockScope scope(lock_);
    return wireless_.bitRate(index);
}

Connectivity LinuxNetworkService::connectivity() {
    {
        const LockScope scope(lock_);
        if (!refreshRoutes())
            return Connectivity::unknown;
        if (!route4_ && !route6_)
            return Connectivity::no;
    }
    const LockScope scope(busLock_);
    const Connectivity word = askConnectivityService(bus_);
    return word == Connectivity::unknown ? Connectivity::yes : word;
}

std::unique_ptr<ConfigurationWatch> LinuxNetworkService::watchConfiguration(const std::string& /*name*/) {
    return std::make_unique<LinuxConfigurationWatch>(root_, events_);
}

} // namespace sentrel::platform
