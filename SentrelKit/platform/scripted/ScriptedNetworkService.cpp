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
    ScriptedEntry(std::optional<PropertyList::Dictionary> properties, PropertyList::Dictionary related)
        : properties_(std::move(properties)), related_(std::move(related)) {}

    std::optional<PropertyList::Dictionary> properties() override { return properties_; }

    PropertyList search(std::string_view key) override {
        if (properties_) {
            if (const auto own = properties_->find(key); own != properties_->end())
                return own->second;
        }
        const auto found = related_.find(key);
        return found == related_.end() ? PropertyList() : found->second;
    }

private:
    std::optional<PropertyList::Dictionary> properties_;
    PropertyList::Dictionary related_;
};

} // namespace

struct ScriptedNetworkService::Listener {
    std::function<void()> changed;
    bool hasKeys = false;
    bool scheduled = false;
};

class ScriptedNetworkService::Watch final : public ConfigurationWatch {
public:
    Watch(ScriptedNetworkService& network, std::shared_ptr<Listener> listener)
        : network_(network), listener_(std::move(listener)) {}

    bool setNotificationKeys(const std::vector<std::string>& keys) override {
        network_.notificationKeys = keys;
        listener_->hasKeys = network_.acceptsKeys;
        return network_.acceptsKeys;
    }
    void schedule() override {
        network_.scheduled = true;
        listener_->scheduled = true;
    }
    std::optional<std::string> localHostName() override { return network_.localHostName; }
    std::optional<PropertyList> value(std::string_view key) override {
        if (key == "State:/Network/Global/IPv4")
            return network_.ipv4;
        return key == "State:/Network/Global/DNS" ? network_.dns : std::nullopt;
    }

private:
    ScriptedNetworkService& network_;
    std::shared_ptr<Listener> listener_;
};

ScriptedInterface::ScriptedInterface(std::string interfaceName, std::uint32_t interfaceIndex)
    : name(std::move(interfaceName)), index(interfaceIndex) {}

ScriptedInterface& ScriptedInterface::addAddress(const std::string& numeric) {
    addresses.push_back(rawAddress(numeric));
    return *this;
}

bool ScriptedNetworkService::listInterfaces(const std::function<void(const InterfaceInfo&)>& each) {
    if (!listsInterfaces) {
        errno = EIO;
        return false;
    }
    for (const ScriptedInterface& entry : interfaces) {
        addresses_.assign(entry.addresses.begin(), entry.addresses.end());
        InterfaceInfo info;
        info.name = entry.name;
        info.index = entry.index;
        info.flags = entry.flags;
        info.linkType = entry.linkType;
        info.hardwareAddress = entry.hardwareAddress;
        info.bytesIn = entry.bytesIn;
        info.bytesOut = entry.bytesOut;
        info.addresses = addresses_;
        each(info);
    }
    return true;
}

std::optional<MediaStatus> ScriptedNetworkService::mediaStatus(std::string_view name) {
    const auto entry = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const ScriptedInterface& candidate) { return candidate.name == name; });
    if (entry == interfaces.end() || !entry->media) {
        errno = ENXIO;
        return std::nullopt;
    }
    return entry->media;
}

std::optional<std::unique_ptr<InterfaceEntry>> ScriptedNetworkService::matchInterface(const std::string& name) {
    if (!matchesInterfaces) {
        errno = EIO;
        return std::nullopt;
    }
    const auto entry = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const ScriptedInterface& candidate) { return candidate.name == name; });
    if (entry == interfaces.end() || !entry->registered)
        return std::unique_ptr<InterfaceEntry>();
    return std::make_unique<ScriptedEntry>(entry->properties, entry->related);
}

ScriptedInterface& ScriptedNetworkService::interface(std::string_view name) {
    const auto entry = std::find_if(interfaces.begin(), interfaces.end(),
                                    [&](const ScriptedInterface& candidate) { return candidate.name == name; });
    SENTREL_ASSERT(entry != interfaces.end());
    return *entry;
}

std::unique_ptr<ConfigurationWatch> ScriptedNetworkService::watchConfiguration(std::function<void()> changed) {
    if (!watches) {
        errno = EIO;
        return nullptr;
    }
    auto listener = std::make_shared<Listener>();
    listener->changed = std::move(changed);
    listeners_.push_back(listener);
    scheduled = false;
    return std::make_unique<Watch>(*this, std::move(listener));
}

void ScriptedNetworkService::change() {
    for (const std::weak_ptr<Listener>& each : listeners_) {
        dispatch_.backgroundQueue()->async([each] {
            const std::shared_ptr<Listener> listener = each.lock();
            if (listener && listener->hasKeys && listener->scheduled)
                listener->changed();
        });
    }
}

} // namespace sentrel::platform
