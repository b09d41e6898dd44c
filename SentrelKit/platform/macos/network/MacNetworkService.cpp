// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/network/MacNetworkService.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/platform/macos/common/Values.h>
#include <SentrelKit/platform/macos/network/MacConfigurationWatch.h>
#include <SentrelKit/platform/macos/network/MacInterfaceEntry.h>

#include <SystemConfiguration/SystemConfiguration.h>
#include <net/if.h>
#include <net/if_media.h>
#include <net/route.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/sockio.h>
#include <sys/sysctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace sentrel::platform {

namespace {

using ListName = std::array<int, 6>;

bool ask(ListName& name, void* to, std::size_t& size) {
    return ::sysctl(name.data(), static_cast<u_int>(name.size()), to, &size, nullptr, 0) == 0;
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

Availability MacNetworkService::links(std::vector<InterfaceLink>& /*links*/) {
    return Availability::unsupported;
}

Availability MacNetworkService::wirelessLinks(std::vector<WirelessLink>& /*links*/) {
    return Availability::unsupported;
}

std::optional<MediaStatus> MacNetworkService::mediaStatus(std::string_view name) {
    ifmediareq request{};
    name.copy(request.ifm_name, sizeof(request.ifm_name) - 1);
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (descriptor < 0)
        return std::nullopt;
    const int result = ::ioctl(descriptor, SIOCGIFMEDIA, &request);
    const int error = errno;
    ::close(descriptor);
    errno = error;
    if (result < 0)
        return std::nullopt;
    return MediaStatus{.valid = (request.ifm_status & IFM_AVALID) != 0,
                       .active = (request.ifm_status & IFM_ACTIVE) != 0};
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
