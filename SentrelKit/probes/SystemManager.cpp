// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/SystemManager.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/System.h>
#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/platform/detail/Session.h>

#include <utility>

namespace sentrel::probes {

SystemManager* System = nullptr;

namespace {

// The keys of the system's configuration store that are watched.
constexpr const char* ipv4Key = "State:/Network/Global/IPv4";
constexpr const char* dnsKey = "State:/Network/Global/DNS";
constexpr const char* hostNamesKey = "Setup:/Network/HostNames";

std::optional<std::string> text(const PropertyList* entry) {
    const std::string* content = entry ? entry->as<std::string>() : nullptr;
    return content ? std::optional(*content) : std::nullopt;
}

std::optional<std::vector<std::string>> texts(const PropertyList* entry) {
    const PropertyList::List* list = entry ? entry->as<PropertyList::List>() : nullptr;
    if (!list)
        return std::nullopt;
    std::vector<std::string> contents;
    for (const PropertyList& each : *list)
        if (const std::string* content = each.as<std::string>())
            contents.push_back(*content);
    return contents;
}

// Reports of this object name the operation as its own platform's tools do.
void require(bool condition, const char* text, const char* operation, int line = __builtin_LINE()) {
    if (!condition)
        assertionFailed(text, operation, "SentrelKit", line);
}

// The manager of a platform that is in force for a while; the one before stands aside meanwhile.
class ScopedManager {
public:
    ScopedManager() { _constructor(); }
    ~ScopedManager() {
        delete System;
        System = previous_;
    }
    ScopedManager(const ScopedManager&) = delete;
    ScopedManager& operator=(const ScopedManager&) = delete;

private:
    SystemManager* previous_ = std::exchange(System, nullptr);
};

__attribute__((constructor)) void loadHook() {
    _constructor();
    platform::setSessionMaker([]() -> std::shared_ptr<void> { return std::make_shared<ScopedManager>(); });
}

__attribute__((destructor)) void unloadHook() {
    _destructor();
}

} // namespace

SystemManager::SystemManager() : backgroundQueue(dispatch::backgroundQueue()) {
    cpuBrand[0] = '-';
    setUpSystemConfiguration();
    daSession = platform::current().volumes().openSession();
    require(daSession != nullptr, "daSession", "-[SystemManager init]");
}

SystemManager::~SystemManager() = default;

void SystemManager::setUpSystemConfiguration() {
    scSession_ = platform::current().network().watchConfiguration([this] { scNotification(); });
    require(scSession_ != nullptr, "self->scSession", "-[SystemManager setUpSystemConfiguration]");
    if (!scSession_->setNotificationKeys({ipv4Key, dnsKey, hostNamesKey}))
        System_error("Error installing System Configuration Notification\n");
    scSession_->schedule();
}

void SystemManager::updateSystemConfigurationProperties() {
    // Reading stays under the lock, so that of two refreshes the later reading also stands last.
    const LockScope scope(lock_);
    configuration_.localhostName = scSession_->localHostName();
    // A key without a value leaves its field: meant so. The last known DNS servers and router survive a
    // disconnection. A value without the entry empties it: a connected network without a router has none.
    if (const std::optional<PropertyList> dns = scSession_->value(dnsKey))
        configuration_.dnsAddrs = texts(dns->find("ServerAddresses"));
    if (const std::optional<PropertyList> ipv4 = scSession_->value(ipv4Key))
        configuration_.routerAddr = text(ipv4->find("Router"));
}

// The block may release this object.
void SystemManager::scNotification() {
    updateSystemConfigurationProperties();
    NetworkConfiguration configuration;
    NetworkConfigurationBlock block;
    {
        const LockScope scope(lock_);
        configuration = configuration_;
        block = swiftNetworkConfigure_;
    }
    if (block)
        block(configuration.localhostName, configuration.routerAddr, configuration.dnsAddrs);
}

NetworkConfiguration SystemManager::configuration() const {
    const LockScope scope(lock_);
    return configuration_;
}

void _constructor() {
    delete std::exchange(System, nullptr);
    System = new SystemManager;
}

void _destructor() {}

void _networkConfigureNotification(NetworkConfigurationBlock block) {
    // The one before is released with the parameter, outside the lock.
    {
        const LockScope scope(System->lock_);
        System->swiftNetworkConfigure_.swap(block);
    }
    // Somebody wants to hear: with this use of the queue the watch is served, if it was not yet.
    System->backgroundQueue->async([] {});
    System->scNotification();
}

} // namespace sentrel::probes
