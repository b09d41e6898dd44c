#include <SentrelKit/probes/SystemManager.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/System.h>
#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/VolumeService.h>

#include <utility>

namespace sentrel::probes {

SystemManager* System = nullptr;

namespace {

// The keys of the system's configuration store that are watched, in the order in which they are handed over.
const std::vector<std::string>& notificationKeys() {
    static const std::vector<std::string> keys = {"State:/Network/Global/IPv4", "State:/Network/Global/DNS",
                                                  "Setup:/Network/HostNames"};
    return keys;
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

/// A change of the configuration: refreshes the shared object and tells the registered block.
void scNotification() {
    if (!System)
        return; // a change that comes while the object is being made: its first reading follows
    System->updateSystemConfigurationProperties();
    NetworkConfiguration configuration;
    NetworkConfigurationBlock block;
    {
        const LockScope scope(System->lock_);
        configuration = System->configuration_;
        block = System->swiftNetworkConfigure_;
    }
    if (block)
        block(configuration.localhostName, configuration.routerAddr, configuration.dnsAddrs);
}

SystemManager::SystemManager() : backgroundQueue(dispatch::backgroundQueue()) {
    cpuBrand[0] = '-';
    setUpSystemConfiguration();
    daSession = platform::current().volumes().openSession();
    require(daSession != nullptr, "daSession", "-[SystemManager init]");
}

SystemManager::~SystemManager() = default;

void SystemManager::setUpSystemConfiguration() {
    scSession_ = platform::current().network().watchConfiguration(scNotification);
    require(scSession_ != nullptr, "self->scSession", "-[SystemManager setUpSystemConfiguration]");
    if (!scSession_->setNotificationKeys(notificationKeys()))
        System_error("Error installing System Configuration Notification\n");
    scSession_->schedule();
}

void SystemManager::updateSystemConfigurationProperties() {
    // Reading stays under the lock, so that of two refreshes the later reading also stands last.
    const LockScope scope(lock_);
    configuration_.localhostName = scSession_->localHostName();
    // Deliberate: the last known DNS servers and router survive a disconnection.
    if (std::optional<std::vector<std::string>> servers = scSession_->dnsServers())
        configuration_.dnsAddrs = std::move(servers);
    if (std::optional<std::string> router = scSession_->router())
        configuration_.routerAddr = std::move(router);
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
    {
        const LockScope scope(System->lock_);
        System->swiftNetworkConfigure_ = std::move(block);
    }
    scNotification();
}

} // namespace sentrel::probes
