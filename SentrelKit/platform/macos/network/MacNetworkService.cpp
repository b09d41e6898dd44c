// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/network/MacNetworkService.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/platform/macos/common/Values.h>
#include <SentrelKit/platform/macos/network/MacConfigurationWatch.h>
#include <SentrelKit/platform/macos/network/MacInterfaceEntry.h>
#include <SentrelKit/platform/macos/network/Radios.h>

#include <SystemConfiguration/SystemConfiguration.h>
#include <net/if.h>
#include <net/if_media.h>
#include <net/if_types.h>
#include <net/route.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/sockio.h>
#include <sys/sysctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstddef>

namespace sentrel::platform {

namespace {

using ListName = std::array<int, 6>;

bool ask(ListName& name, void* to, std::size_t& size) {
    return ::sysctl(name.data(), static_cast<u_int>(name.size()), to, &size, nullptr, 0) == 0;
}

// What the driver of an interface tells of its medium; absent, with errno set, where it tells nothing.
std::optional<ifmediareq> mediumOf(std::string_view name) {
    ifmediareq request{};
    name.copy(request.ifm_name, sizeof(request.ifm_name) - 1);
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (descriptor < 0)
        return std::nullopt;
    const int result = ::ioctl(descriptor, SIOCGIFMEDIA, &request);
    const int error = errno;
    ::close(descriptor);
    errno = error;
    return result < 0 ? std::nullopt : std::optional(request);
}

bool isActive(const ifmediareq& medium) noexcept {
    return (medium.ifm_status & IFM_ACTIVE) != 0;
}

InterfaceKind kindOf(const InterfaceMessage& interface, const std::optional<ifmediareq>& medium) noexcept {
    if (medium && (medium->ifm_current & IFM_NMASK) == IFM_IEEE80211)
        return InterfaceKind::wifi;
    switch (interface.kind) {
    case IFT_LOOP:
        return InterfaceKind::loopback;
    case IFT_BRIDGE:
        return InterfaceKind::bridge;
    case IFT_ETHER:
    case IFT_IEEE1394:
    case IFT_CELLULAR:
        return InterfaceKind::physical;
    default: // the system hands the packets of a "utun" to a program, and enciphers those of an "ipsec"
        return interface.name.starts_with("utun") || interface.name.starts_with("ipsec") ? InterfaceKind::vpn
                                                                                         : InterfaceKind::virtual_;
    }
}

OperationalState stateOf(const InterfaceMessage& interface, const std::optional<ifmediareq>& medium) noexcept {
    if ((interface.flags & IFF_UP) == 0)
        return OperationalState::down;
    if (medium && (medium->ifm_status & IFM_AVALID) != 0)
        return isActive(*medium) ? OperationalState::up : OperationalState::lowerLayerDown;
    return (interface.flags & IFF_RUNNING) != 0 ? OperationalState::up : OperationalState::unknown;
}

std::uint8_t leadingOnes(SocketAddress mask, std::size_t offset, std::size_t size) noexcept {
    int count = 0;
    for (std::size_t i = offset; i < std::min(offset + size, mask.size()); ++i) {
        const int ones = std::countl_one(mask[i]);
        count += ones;
        if (ones < 8)
            break;
    }
    return static_cast<std::uint8_t>(count);
}

AddressScope scopeOf(const InterfaceAddress& address) noexcept {
    const auto& bytes = address.bytes;
    if (!address.isIPv6) {
        if (bytes[0] == 127)
            return AddressScope::host;
        return bytes[0] == 169 && bytes[1] == 254 ? AddressScope::link : AddressScope::global;
    }
    if (std::all_of(bytes.begin(), bytes.end() - 1, [](std::uint8_t byte) { return byte == 0; }) && bytes[15] == 1)
        return AddressScope::host;
    if (bytes[0] != 0xfe)
        return AddressScope::global;
    switch (bytes[1] & 0xc0) {
    case 0x80:
        return AddressScope::link;
    case 0xc0:
        return AddressScope::site;
    default:
        return AddressScope::global;
    }
}

// An address begins with its length and its family; those of IPv4 have their bytes at 4, those of IPv6 at 8.
std::optional<InterfaceAddress> addressOf(SocketAddress address, SocketAddress mask) noexcept {
    constexpr std::uint8_t inet = 2;   // AF_INET of this system
    constexpr std::uint8_t inet6 = 30; // AF_INET6
    if (address.size() < 2 || (address[1] != inet && address[1] != inet6))
        return std::nullopt;
    InterfaceAddress record{.isIPv6 = address[1] == inet6};
    const std::size_t offset = record.isIPv6 ? 8 : 4;
    const std::size_t size = record.isIPv6 ? 16 : 4;
    if (address.size() < offset + size)
        return std::nullopt;
    std::copy_n(address.begin() + static_cast<std::ptrdiff_t>(offset), size, record.bytes.begin());
    record.prefixLength = leadingOnes(mask, offset, size);
    record.scope = scopeOf(record);
    if (record.isIPv6 && record.scope == AddressScope::link)
        record.bytes[2] = record.bytes[3] = 0; // the kernel keeps the interface's number there
    return record;
}

void describe(const InterfaceMessage& interface, InterfaceLink& link) {
    const std::optional<ifmediareq> medium = mediumOf(interface.name);
    link.name = interface.name;
    link.index = interface.index;
    link.kind = kindOf(interface, medium);
    link.state = stateOf(interface, medium);
    link.duplex.reset();
    link.speed.reset();
    if (medium && isActive(*medium) && link.kind == InterfaceKind::physical &&
        (medium->ifm_active & (IFM_FDX | IFM_HDX)) != 0) {
        link.duplex = (medium->ifm_active & IFM_FDX) != 0 ? Duplex::full : Duplex::half;
        if (interface.baudRate > 0)
            link.speed = interface.baudRate;
    }
    link.mtu = interface.mtu > 0 ? std::optional(interface.mtu) : std::nullopt;
    link.hardware.reset();
    if (interface.hardwareLength == 6 && interface.hardwareAddress.size() == 6)
        std::copy_n(interface.hardwareAddress.begin(), 6, link.hardware.emplace().begin());
    link.addresses.clear();
    for (std::size_t i = 0; i < interface.addresses.size(); ++i)
        if (const std::optional<InterfaceAddress> address = addressOf(interface.addresses[i], interface.masks[i]))
            link.addresses.push_back(*address);
}

// That of the channel of a number; absent for one that the band does not have.
std::optional<std::int64_t> frequencyOf(long band, long channel) noexcept {
    WirelessLink link;
    const auto at = [&link](long megahertz) { link.frequency = std::int64_t{megahertz} * 1'000'000; };
    switch (band) { // CWChannelBand
    case 1:
        at(channel == 14 ? 2484 : 2407 + 5 * channel);
        break;
    case 2:
        at(5000 + 5 * channel);
        break;
    case 3:
        at(channel == 2 ? 5935 : 5950 + 5 * channel);
        break;
    default:
        return std::nullopt;
    }
    return link.channel() == channel ? link.frequency : std::nullopt;
}

std::optional<std::int64_t> widthOf(long width) noexcept {
    constexpr std::array<std::int64_t, 5> megahertz{0, 20, 40, 80, 160}; // by CWChannelWidth, of which 0 is unknown
    if (width <= 0 || width >= static_cast<long>(megahertz.size()))
        return std::nullopt;
    return megahertz[static_cast<std::size_t>(width)] * 1'000'000;
}

// The framework tells 0 where there is no network, and tells no rate of what comes in.
void describe(const Radio& radio, std::uint32_t index, WirelessLink& link) {
    link = {.name = radio.name, .index = index};
    if (!radio.isOn)
        return;
    if (radio.signal < 0)
        link.signal = static_cast<std::int32_t>(radio.signal);
    if (radio.rate > 0)
        link.bitRateOut = std::llround(radio.rate * 1e6);
    link.frequency = frequencyOf(radio.band, radio.channel);
    if (link.frequency)
        link.channelWidth = widthOf(radio.channelWidth);
}

} // namespace

bool MacNetworkService::readMessages(const std::function<void(const InterfaceMessage&)>& each) {
    ListName name{CTL_NET, PF_ROUTE, 0, 0, NET_RT_IFLIST2, 0};
    std::size_t size = 0;
    if (!ask(name, nullptr, size))
        return false;
    if (list_.size() < size)
        list_.resize(size);
    size = list_.size();
    if (!ask(name, list_.data(), size))
        return false;
    messages_.readWhole(std::span(list_).first(std::min(size, list_.size())), each);
    return true;
}

bool MacNetworkService::listInterfaces(const std::function<void(const InterfaceInfo&)>& each) {
    const LockScope scope(lock_);
    return readMessages([&each](const InterfaceMessage& interface) { each(interface); });
}

Availability MacNetworkService::packetCounters(std::vector<InterfaceCounters>& counters) {
    const LockScope scope(lock_);
    std::size_t count = 0;
    const auto take = [&counters, &count](const InterfaceMessage& interface) {
        if (count == counters.size())
            counters.emplace_back();
        InterfaceCounters& record = counters[count++];
        record.name = interface.name;
        record.index = interface.index;
        record.packetsIn = interface.packetsIn;
        record.packetsOut = interface.packetsOut;
        record.errorsIn = interface.errorsIn;
        record.errorsOut = interface.errorsOut;
        record.dropsIn = interface.dropsIn;
        record.dropsOut.reset();
    };
    if (!readMessages(take))
        return availabilityOf(errno);
    counters.resize(count);
    return Availability::available;
}

Availability MacNetworkService::links(std::vector<InterfaceLink>& links) {
    const LockScope scope(lock_);
    std::size_t count = 0;
    const auto take = [&links, &count](const InterfaceMessage& interface) {
        if (count == links.size())
            links.emplace_back();
        describe(interface, links[count++]);
    };
    if (!readMessages(take))
        return availabilityOf(errno);
    links.resize(count);
    return Availability::available;
}

Availability MacNetworkService::wirelessLinks(std::vector<WirelessLink>& links) {
    const std::optional<std::vector<Radio>> all = radios(); // which may wait: outside the lock
    if (!all)
        return Availability::unsupported;
    const LockScope scope(lock_);
    std::size_t count = 0;
    const auto take = [&](const InterfaceMessage& interface) {
        const auto radio = std::ranges::find(*all, interface.name, &Radio::name);
        if (radio == all->end())
            return;
        if (count == links.size())
            links.emplace_back();
        describe(*radio, interface.index, links[count++]);
    };
    if (!readMessages(take))
        return availabilityOf(errno);
    if (count == 0)
        return Availability::unsupported;
    links.resize(count);
    return Availability::available;
}

std::optional<MediaStatus> MacNetworkService::mediaStatus(std::string_view name) {
    const std::optional<ifmediareq> medium = mediumOf(name);
    if (!medium)
        return std::nullopt;
    return MediaStatus{.valid = (medium->ifm_status & IFM_AVALID) != 0, .active = isActive(*medium)};
}

std::optional<std::unique_ptr<InterfaceEntry>> MacNetworkService::matchInterface(const std::string& name) {
    return findInterfaceEntry(name);
}

Connectivity MacNetworkService::connectivity() {
    // The address of nobody stands for the Internet as a whole: nothing is contacted.
    sockaddr_in anybody{};
    anybody.sin_len = sizeof(anybody);
    anybody.sin_family = AF_INET;
    const CFOwner target(
        SCNetworkReachabilityCreateWithAddress(kCFAllocatorDefault, reinterpret_cast<const sockaddr*>(&anybody)));
    SCNetworkReachabilityFlags flags = 0;
    if (!target || !SCNetworkReachabilityGetFlags(target.get(), &flags))
        return Connectivity::unknown;
    const bool isReachable = (flags & kSCNetworkReachabilityFlagsReachable) != 0 &&
                             (flags & kSCNetworkReachabilityFlagsConnectionRequired) == 0;
    return isReachable ? Connectivity::yes : Connectivity::no;
}

std::unique_ptr<ConfigurationWatch> MacNetworkService::watchConfiguration(const std::string& name) {
    return MacConfigurationWatch::create(name);
}

} // namespace sentrel::platform
