// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/SystemManager.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/System.h>
#include <SentrelKit/platform/Dispatch.h>
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

// Never destroyed: what still runs while the process ends may use it.
std::shared_ptr<SystemManager>& inForce() {
    static auto& shared = *new std::shared_ptr<SystemManager>;
    return shared;
}

std::shared_ptr<SystemManager> putInForce(std::shared_ptr<SystemManager> session) {
    System = session.get();
    return std::exchange(inForce(), std::move(session));
}

// The session with a platform that is in force for a while; the one before stands aside meanwhile.
class ScopedSession {
public:
    explicit ScopedSession(platform::Platform& platform)
        : previous_(putInForce(std::make_shared<SystemManager>(platform))) {}
    ~ScopedSession() { putInForce(std::move(previous_)); }
    ScopedSession(const ScopedSession&) = delete;
    ScopedSession& operator=(const ScopedSession&) = delete;

private:
    std::shared_ptr<SystemManager> previous_;
};

__attribute__((constructor)) void loadHook() {
    _constructor();
    platform::setSessionMaker([](platform::Platform& platform) -> std::shared_ptr<void> {
        return std::make_shared<ScopedSession>(platform);
    });
}

__attribute__((destructor)) void unloadHook() {
    _destructor();
}

} // namespace

SystemManager::SystemManager(platform::Platform& platform)
    : backgroundQueue(platform.dispatch().backgroundQueue()), platform_(platform) {
    cpuBrand[0] = '-';
    setUpSystemConfiguration();
    daSession = platform.volumes().openSession();
    require(daSession != nullptr, "daSession", "-[SystemManager init]");
}

SystemManager::~SystemManager() = default;

void SystemManager::setUpSystemConfiguration() {
    scSession_ = platform_.network().watchConfiguration("SystemManager");
    require(scSession_ != nullptr, "self->scSession", "-[SystemManager setUpSystemConfiguration]");
    if (!scSession_->setNotificationKeys({ipv4Key, dnsKey, hostNamesKey}))
        System_error("Error installing System Configuration Notification\n");
    scObservation_ = scSession_->schedule(backgroundQueue, [this] { scNotification(); });
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
NetworkConfiguration SystemManager::scNotification() {
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
    return configuration;
}

NetworkConfiguration SystemManager::configuration() const {
    const LockScope scope(lock_);
    return configuration_;
}

void SystemManager::setPublicAddress(const std::string& address) {
    const LockScope scope(lock_);
    publicAddress[address.copy(publicAddress, sizeof publicAddress - 1)] = '\0';
}

PowerSourcesBlock SystemManager::setPowerSources(PowerSourcesBlock block) {
    const LockScope scope(lock_);
    swiftPowerSources_.swap(block);
    return block;
}

PowerSourcesBlock SystemManager::powerSources() const {
    const LockScope scope(lock_);
    return swiftPowerSources_;
}

std::shared_ptr<SystemManager> session() {
    return System->shared_from_this();
}

void _constructor() {
    putInForce(nullptr);
    putInForce(std::make_shared<SystemManager>());
}

void _destructor() {}

void _networkConfigureNotification(NetworkConfigurationBlock block, SystemManager& session) {
    const std::shared_ptr<SystemManager> kept = session.shared_from_this();
    // The one before is released with the parameter, outside the lock.
    {
        const LockScope scope(session.lock_);
        session.swiftNetworkConfigure_.swap(block);
    }
    // Somebody wants to hear: with this use of the queue the watch is served, if it was not yet.
    session.backgroundQueue->async([] {});
    // What was read before a change may be told after it; then the change is told once more.
    NetworkConfiguration told = session.scNotification();
    while (told != session.configuration())
        told = session.scNotification();
}

} // namespace sentrel::probes
