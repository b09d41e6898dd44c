#include <SentrelKit/platform/linux/LinuxConfigurationWatch.h>

#include <SentrelKit/base/system/ThreadSafety.h>
#include <SentrelKit/platform/linux/DefaultRoute.h>
#include <SentrelKit/platform/linux/NetlinkSocket.h>
#include <SentrelKit/platform/linux/ResolverFile.h>

#include <array>
#include <cerrno>
#include <linux/rtnetlink.h>
#include <sys/epoll.h>

namespace sentrel::platform {

namespace {

constexpr std::string_view hostNameFile = "/proc/sys/kernel/hostname";
constexpr std::string_view noHostName = "(none)"; // the kernel's name before one is set

std::optional<std::string> readHostName(const SystemRoot& root) {
    std::optional<std::string> name = root.readLine(hostNameFile);
    return name && !name->empty() && *name != noHostName ? name : std::nullopt;
}

std::optional<std::string> readRouter(NetlinkSocket& socket) {
    std::optional<DefaultRoute> route;
    if (!readDefaultRoute(socket, AF_INET, route) || !route || route->router.empty())
        return std::nullopt;
    return std::move(route->router);
}

} // namespace

struct LinuxConfigurationWatch::State {
    State(const SystemRoot& systemRoot, std::function<void()> callback)
        : root(systemRoot), changed(std::move(callback)), resolver(systemRoot) {}

    /// Reads a value again and calls back if it is another.
    template <class Value, class Read>
    void compare(Value& last, Read&& read) SENTREL_REQUIRES(callLock) {
        Value value = read();
        if (value == last)
            return;
        last = std::move(value);
        changed();
    }

    std::optional<std::string> currentRouter() {
        const LockScope scope(routeLock);
        return readRouter(routeSocket);
    }

    void routesMayHaveChanged() {
        const LockScope scope(callLock);
        // The kernel drops the routes of a link or of an address that goes without a word on each.
        bool concerned = false;
        const bool whole = routeNotices.takeNotices([&](const nlmsghdr& message) {
            const bool route = message.nlmsg_type == RTM_NEWROUTE || message.nlmsg_type == RTM_DELROUTE;
            concerned = concerned || !route || concernsDefaultRoute(message);
        });
        if (concerned || !whole)
            compare(lastRouter, [this] { return currentRouter(); });
    }

    void resolverMayHaveChanged() {
        const LockScope scope(callLock);
        if (resolver.takeNotices())
            compare(lastServers, [this] { return readNameServers(root); });
    }

    void hostNameMayHaveChanged() {
        const LockScope scope(callLock);
        compare(lastHostName, [this] { return readHostName(root); });
    }

    const SystemRoot root;
    const std::function<void()> changed;

    Lock routeLock;
    NetlinkSocket routeSocket SENTREL_GUARDED_BY(routeLock){NETLINK_ROUTE};

    Lock callLock; // calls never overlap
    NetlinkSocket routeNotices SENTREL_GUARDED_BY(callLock){NETLINK_ROUTE,
                                                            {RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR, RTNLGRP_IPV4_ROUTE}};
    ResolverFileWatch resolver SENTREL_GUARDED_BY(callLock);
    UniqueFd hostName SENTREL_GUARDED_BY(callLock);
    std::optional<std::string> lastRouter SENTREL_GUARDED_BY(callLock);
    std::optional<std::vector<std::string>> lastServers SENTREL_GUARDED_BY(callLock);
    std::optional<std::string> lastHostName SENTREL_GUARDED_BY(callLock);
};

std::unique_ptr<LinuxConfigurationWatch> LinuxConfigurationWatch::make(const SystemRoot& root, LinuxDispatch& dispatch,
                                                                       std::function<void()> changed) {
    auto state = std::make_shared<State>(root, std::move(changed));
    return std::unique_ptr<LinuxConfigurationWatch>(new LinuxConfigurationWatch(dispatch, std::move(state)));
}

LinuxConfigurationWatch::LinuxConfigurationWatch(LinuxDispatch& dispatch, std::shared_ptr<State> state)
    : dispatch_(dispatch), state_(std::move(state)) {}

LinuxConfigurationWatch::~LinuxConfigurationWatch() = default;

bool LinuxConfigurationWatch::setNotificationKeys(const std::vector<std::string>& keys) {
    const LockScope scope(state_->callLock);
    bool installed = true;
    for (const std::string& key : keys) {
        if (key == "State:/Network/Global/IPv4") {
            installed = state_->routeNotices.open() && installed;
        } else if (key == "State:/Network/Global/DNS") {
            installed = state_->resolver.open() && installed;
        } else if (key == "Setup:/Network/HostNames") {
            state_->hostName = state_->root.open(hostNameFile);
            installed = state_->hostName && installed;
        } else {
            errno = EINVAL;
            installed = false;
        }
    }
    return installed;
}

void LinuxConfigurationWatch::schedule() {
    State& state = *state_;
    const LockScope scope(state.callLock);
    const auto watch = [this](int descriptor, std::uint32_t events, void (State::*notice)()) {
        if (descriptor >= 0)
            watches_.push_back(dispatch_.watch(descriptor, events, [shared = state_, notice] { (*shared.*notice)(); }));
    };
    watch(state.routeNotices.descriptor(), EPOLLIN, &State::routesMayHaveChanged);
    watch(state.resolver.descriptor(), EPOLLIN, &State::resolverMayHaveChanged);
    watch(state.hostName.get(), EPOLLPRI, &State::hostNameMayHaveChanged);
    // Read once the watches stand, so that no change falls in between; calls wait until these values are known.
    state.lastRouter = state.currentRouter();
    state.lastServers = readNameServers(state.root);
    state.lastHostName = readHostName(state.root);
}

std::optional<std::string> LinuxConfigurationWatch::localHostName() {
    return readHostName(state_->root);
}

std::optional<std::vector<std::string>> LinuxConfigurationWatch::dnsServers() {
    return readNameServers(state_->root);
}

std::optional<std::string> LinuxConfigurationWatch::router() {
    return state_->currentRouter();
}

} // namespace sentrel::platform
