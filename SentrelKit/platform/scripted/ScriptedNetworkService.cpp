// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedNetworkService.h>

#include <SentrelKit/base/system/Assert.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>

namespace sentrel::platform {

namespace {

template <class Address>
std::vector<std::uint8_t> bytesOf(const Address& address) {
    std::vector<std::uint8_t> bytes(sizeof address);
    std::memcpy(bytes.data(), &address, sizeof address);
    return bytes;
}

std::vector<std::uint8_t> rawAddress(const std::string& numeric) {
    if (numeric.empty())
        return {};
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    if (inet_pton(AF_INET, numeric.c_str(), &v4.sin_addr) == 1)
        return bytesOf(v4);
    const std::size_t scope = numeric.find('%');
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    if (inet_pton(AF_INET6, numeric.substr(0, scope).c_str(), &v6.sin6_addr) == 1) {
        if (scope != std::string::npos)
            v6.sin6_scope_id = static_cast<std::uint32_t>(std::strtoul(numeric.c_str() + scope + 1, nullptr, 10));
        return bytesOf(v6);
    }
    sockaddr unknown{};
    unknown.sa_family = AF_UNSPEC;
    return bytesOf(unknown);
}

class ScriptedEntry final : public InterfaceEntry {
public:
    ScriptedEntry(ScriptedCalls& calls, const ScriptedInterface& interface)
        : calls_(calls), name_(interface.name), properties_(interface.properties), related_(interface.related),
          handle_(calls, "entry " + name_) {}

    std::optional<PropertyList::Dictionary> properties() override {
        return calls_.fails("properties", name_) ? std::nullopt : std::optional(properties_);
    }

    PropertyList search(std::string_view key) override {
        if (calls_.fails("search", name_ + ' ' + std::string(key)))
            return {};
        if (const auto own = properties_.find(key); own != properties_.end())
            return own->second;
        const auto found = related_.find(key);
        return found == related_.end() ? PropertyList() : found->second;
    }

private:
    ScriptedCalls& calls_;
    const std::string name_;
    const PropertyList::Dictionary properties_;
    const PropertyList::Dictionary related_;
    const ScriptedHandle handle_;
};

class ScriptedConnection final : public Connection {
public:
    ScriptedConnection(ScriptedDispatch& dispatch, ScriptedCalls& calls, std::string host, ScriptedServer server)
        : dispatch_(dispatch), calls_(calls), host_(std::move(host)), server_(std::move(server)),
          handle_(calls, "connection " + host_) {
        due_ = clock().monotonicNanoseconds();
        schedule();
    }

    bool write(std::string_view /*bytes*/) override { return !calls_.fails("write", host_); }

    std::size_t read(std::span<char> bytes, std::int64_t milliseconds) override {
        if (calls_.fails("read", host_ + ' ' + std::to_string(milliseconds)))
            return 0;
        if (next_ == server_.reply.size() && server_.closes)
            return 0;
        const std::int64_t wait = std::max<std::int64_t>(milliseconds, 0) * 1'000'000;
        const std::int64_t left = next_ == server_.reply.size() ? wait + 1 : due_ - clock().monotonicNanoseconds();
        dispatch_.advance(static_cast<double>(std::clamp<std::int64_t>(left, 0, wait)) * 1e-9);
        if (left > wait)
            return 0;
        std::string& piece = server_.reply[next_].bytes;
        const std::size_t count = piece.copy(bytes.data(), bytes.size());
        piece.erase(0, count);
        if (piece.empty()) {
            ++next_;
            schedule();
        }
        return count;
    }

    [[nodiscard]] std::int64_t milliseconds() const override { return clock().monotonicNanoseconds() / 1'000'000; }

private:
    [[nodiscard]] ScriptedClock& clock() const { return dispatch_.clock(); }

    void schedule() {
        if (next_ < server_.reply.size())
            due_ += nanosecondsFromSeconds(server_.reply[next_].seconds);
    }

    ScriptedDispatch& dispatch_;
    ScriptedCalls& calls_;
    const std::string host_;
    ScriptedServer server_;
    std::size_t next_ = 0; // piece
    std::int64_t due_ = 0; // when it comes
    const ScriptedHandle handle_;
};

// The interfaces as they stood when a listing began, and the addresses of the one that is handed out.
struct Listed {
    std::vector<ScriptedInterface> interfaces;
    std::vector<SocketAddress> addresses;

    InterfaceInfo info(const ScriptedInterface& entry) {
        addresses.assign(entry.addresses.begin(), entry.addresses.end());
        InterfaceInfo info;
        info.name = entry.name;
        info.index = entry.index;
        info.flags = entry.flags;
        info.linkType = entry.linkType;
        info.hardwareAddress = entry.hardwareAddress;
        info.bytesIn = entry.bytesIn;
        info.bytesOut = entry.bytesOut;
        info.addresses = addresses;
        return info;
    }
};

} // namespace

class ScriptedNetworkService::Watch final : public ConfigurationWatch {
public:
    explicit Watch(ScriptedNetworkService& network) : network_(network), handle_(network.calls, "watch") {}

    bool setNotificationKeys(const std::vector<std::string>& keys) override {
        std::string named;
        for (const std::string& key : keys)
            named.append(named.empty() ? "" : " ").append(key);
        hasKeys_ = !network_.calls.fails("setNotificationKeys", named);
        return hasKeys_;
    }
    Observation schedule(std::shared_ptr<DispatchQueue> queue, std::function<void()> changed) override {
        network_.calls.record("schedule");
        if (!hasKeys_)
            return Observation(std::make_shared<Observer>(std::move(changed))); // which nobody tells
        return network_.observersOn(std::move(queue))->add([call = std::move(changed)](Change) { call(); });
    }
    std::optional<std::string> localHostName() override {
        return network_.calls.fails("localHostName") ? std::nullopt : network_.localHostName;
    }
    std::optional<PropertyList> value(std::string_view key) override {
        if (network_.calls.fails("value", std::string(key)))
            return std::nullopt;
        if (key == "State:/Network/Global/IPv4")
            return network_.ipv4;
        return key == "State:/Network/Global/DNS" ? network_.dns : std::nullopt;
    }

private:
    ScriptedNetworkService& network_;
    bool hasKeys_ = false;
    const ScriptedHandle handle_;
};

ScriptedInterface::ScriptedInterface(std::string interfaceName, std::uint32_t interfaceIndex)
    : name(std::move(interfaceName)), index(interfaceIndex) {}

ScriptedInterface& ScriptedInterface::addAddress(const std::string& numeric) {
    addresses.push_back(rawAddress(numeric));
    return *this;
}

bool ScriptedNetworkService::listInterfaces(const std::function<void(const InterfaceInfo&)>& each) {
    if (calls.fails("listInterfaces"))
        return false;
    // The room of the listing before, taken away: a hook may list too.
    thread_local Listed kept;
    Listed listed = std::exchange(kept, {});
    listed.interfaces = interfaces;
    for (const ScriptedInterface& entry : listed.interfaces) {
        calls.entry("listInterfaces", entry.name);
        each(listed.info(entry));
    }
    kept = std::move(listed);
    return true;
}

const ScriptedInterface* ScriptedNetworkService::find(std::string_view name) const {
    const auto entry = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const ScriptedInterface& candidate) { return candidate.name == name; });
    return entry == interfaces.end() ? nullptr : &*entry;
}

std::optional<MediaStatus> ScriptedNetworkService::mediaStatus(std::string_view name) {
    if (calls.fails("mediaStatus", std::string(name)))
        return std::nullopt;
    const auto asked = [](std::string_view whole) { return whole.substr(0, 15); }; // as much of a name as is passed on
    const auto entry = std::find_if(interfaces.begin(), interfaces.end(), [&](const ScriptedInterface& candidate) {
        return asked(candidate.name) == asked(name);
    });
    if (entry != interfaces.end())
        return entry->media;
    errno = ENXIO;
    return std::nullopt;
}

std::optional<std::unique_ptr<InterfaceEntry>> ScriptedNetworkService::matchInterface(const std::string& name) {
    if (calls.fails("matchInterface", name))
        return std::nullopt;
    const ScriptedInterface* entry = find(name);
    if (!entry || !entry->registered)
        return std::unique_ptr<InterfaceEntry>();
    return std::make_unique<ScriptedEntry>(calls, *entry);
}

ScriptedInterface& ScriptedNetworkService::interface(std::string_view name) {
    const ScriptedInterface* entry = find(name);
    SENTREL_ASSERT(entry);
    return interfaces[static_cast<std::size_t>(entry - interfaces.data())];
}

bool ScriptedNetworkService::resolves(const std::string& host) {
    if (calls.fails("resolves", host))
        return false;
    const auto server = servers.find(host);
    return server == servers.end() ? NetworkService::resolves(host) : server->second.resolves;
}

std::unique_ptr<Connection> ScriptedNetworkService::connect(const std::string& host, std::int32_t port) {
    if (calls.fails("connect", host + ' ' + std::to_string(port)))
        return nullptr;
    const auto found = servers.find(host);
    if (found == servers.end())
        return NetworkService::connect(host, port);
    constexpr double patience = 2;
    const ScriptedServer server = found->second;
    if (!server.resolves) {
        errno = EHOSTUNREACH;
        return nullptr;
    }
    dispatch_.advance(std::min(server.connectSeconds, patience));
    if (server.connectSeconds >= patience) {
        errno = ETIMEDOUT;
        return nullptr;
    }
    return std::make_unique<ScriptedConnection>(dispatch_, calls, host, server);
}

std::unique_ptr<ConfigurationWatch> ScriptedNetworkService::watchConfiguration(const std::string& name) {
    return calls.fails("watchConfiguration", name) ? nullptr : std::make_unique<Watch>(*this);
}

std::shared_ptr<Observers<Change>> ScriptedNetworkService::observersOn(std::shared_ptr<DispatchQueue> queue) {
    const LockScope scope(lock_);
    std::shared_ptr<Observers<Change>>& observers = observers_[std::move(queue)];
    if (!observers)
        observers = std::make_shared<Observers<Change>>();
    return observers;
}

void ScriptedNetworkService::change() {
    const LockScope scope(lock_);
    for (const auto& [queue, observers] : observers_) {
        queue->async([told = observers] {
            told->post({});
            told->tell();
        });
    }
}

} // namespace sentrel::platform
