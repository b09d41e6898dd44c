// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/LinuxConfigurationWatch.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/linux/network/DefaultRoute.h>
#include <SentrelKit/platform/linux/network/LinkTable.h>
#include <SentrelKit/platform/linux/network/NetlinkSocket.h>
#include <SentrelKit/platform/linux/network/ResolverFile.h>
#include <SentrelKit/platform/support/Observer.h>

#include <array>
#include <cerrno>
#include <linux/rtnetlink.h>
#include <sys/epoll.h>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

constexpr std::string_view ipv4Key = "State:/Network/Global/IPv4";
constexpr std::string_view dnsKey = "State:/Network/Global/DNS";
constexpr std::string_view hostNamesKey = "Setup:/Network/HostNames";

constexpr std::string_view hostNameFile = "/proc/sys/kernel/hostname";
constexpr std::string_view noHostName = "(none)"; // the kernel's name before one is set

std::optional<std::string> readHostName(const SystemRoot& root) {
    std::optional<std::string> name = root.readLine(hostNameFile);
    return name && !name->empty() && *name != noHostName ? name : std::nullopt;
}

// IPv4 is connected where there is a default route, and in a network without one where there is an address.
std::optional<PropertyList> readIPv4(NetlinkSocket& socket) {
    std::optional<DefaultRoute> route;
    if (!readDefaultRoute(socket, AF_INET, route))
        return std::nullopt;
    PropertyList::Dictionary state;
    if (route && !route->router.empty())
        state["Router"] = std::move(route->router);
    if (!route) {
        const std::shared_ptr<const LinkTable> links = LinkTable::read(socket);
        if (!links || !links->hasActiveIPv4())
            return std::nullopt;
    }
    return PropertyList(std::move(state));
}

std::optional<PropertyList> readDNS(const SystemRoot& root) {
    const std::optional<std::vector<std::string>> servers = readNameServers(root);
    if (!servers)
        return std::nullopt;
    return PropertyList(
        PropertyList::Dictionary{{"ServerAddresses", PropertyList::List(servers->begin(), servers->end())}});
}

} // namespace

struct LinuxConfigurationWatch::State {
    explicit State(const SystemRoot& systemRoot) : root(systemRoot), resolver(systemRoot) {}

    /// Takes the value in the place of the last one; true if it is another.
    template <class Value>
    static bool replace(Value& last, Value value) {
        if (value == last)
            return false;
        last = std::move(value);
        return true;
    }

    std::optional<PropertyList> currentIPv4() {
        const LockScope scope(routeLock);
        return readIPv4(routeSocket);
    }

    bool takeRoutes() {
        const LockScope scope(lock);
        // The kernel drops the routes of a link or of an address that goes without a word on each.
        bool concerned = false;
        const bool whole = routeNotices.takeNotices([&](const nlmsghdr& message) {
            const bool route = message.nlmsg_type == RTM_NEWROUTE || message.nlmsg_type == RTM_DELROUTE;
            concerned = concerned || !route || concernsDefaultRoute(message);
        });
        return (concerned || !whole) && replace(lastIPv4, currentIPv4());
    }

    bool takeServers() {
        const LockScope scope(lock);
        return resolver.takeNotices() && replace(lastDNS, readDNS(root));
    }

    bool takeHostName() {
        const LockScope scope(lock);
        return replace(lastHostName, readHostName(root));
    }

    const SystemRoot root;

    Lock routeLock;
    NetlinkSocket routeSocket SENTREL_GUARDED_BY(routeLock){NETLINK_ROUTE};

    Lock lock;
    NetlinkSocket routeNotices SENTREL_GUARDED_BY(lock){NETLINK_ROUTE,
                                                        {RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR, RTNLGRP_IPV4_ROUTE}};
    ResolverFileWatch resolver SENTREL_GUARDED_BY(lock);
    UniqueFd hostName SENTREL_GUARDED_BY(lock);
    std::optional<PropertyList> lastIPv4 SENTREL_GUARDED_BY(lock);
    std::optional<PropertyList> lastDNS SENTREL_GUARDED_BY(lock);
    std::optional<std::string> lastHostName SENTREL_GUARDED_BY(lock);
};

LinuxConfigurationWatch::LinuxConfigurationWatch(const SystemRoot& root, EventSource& events)
    : events_(events), state_(std::make_shared<State>(root)) {}

LinuxConfigurationWatch::~LinuxConfigurationWatch() = default;

bool LinuxConfigurationWatch::setNotificationKeys(const std::vector<std::string>& keys) {
    const LockScope scope(state_->lock);
    bool installed = true;
    for (const std::string& key : keys) {
        if (key == ipv4Key) {
            installed = state_->routeNotices.open() && installed;
        } else if (key == dnsKey) {
            installed = state_->resolver.open() && installed;
        } else if (key == hostNamesKey) {
            state_->hostName = state_->root.open(hostNameFile);
            installed = state_->hostName && installed;
        } else {
            errno = EINVAL;
            installed = false;
        }
    }
    return installed;
}

Observation LinuxConfigurationWatch::schedule(std::shared_ptr<DispatchQueue> queue, std::function<void()> changed) {
    auto observer = std::make_shared<Observer>(std::move(changed));
    auto watches = std::make_shared<std::vector<Observation>>();
    State& state = *state_;
    const LockScope scope(state.lock);
    const auto watch = [&](int descriptor, std::uint32_t events, bool (State::*takeChange)()) {
        if (descriptor >= 0)
            watches->push_back(events_.watch(descriptor, events, [shared = state_, observer, queue, takeChange] {
                if ((*shared.*takeChange)())
                    queue->async([observer] { observer->tell(); });
            }));
    };
    watch(state.routeNotices.descriptor(), EPOLLIN, &State::takeRoutes);
    watch(state.resolver.descriptor(), EPOLLIN, &State::takeServers);
    watch(state.hostName.get(), EPOLLPRI, &State::takeHostName);
    // Read once the watches stand, so that no change falls in between; calls wait until these values are known.
    state.lastIPv4 = state.currentIPv4();
    state.lastDNS = readDNS(state.root);
    state.lastHostName = readHostName(state.root);
    return Observation(std::move(observer), std::move(watches));
}

std::optional<std::string> LinuxConfigurationWatch::localHostName() {
    return readHostName(state_->root);
}

std::optional<PropertyList> LinuxConfigurationWatch::value(std::string_view key) {
    if (key == ipv4Key)
        return state_->currentIPv4();
    if (key == dnsKey)
        return readDNS(state_->root);
    return std::nullopt;
}

} // namespace sentrel::platform
