#pragma once

/// The one shared session object of the probe layer. The load hook makes it before any other function of the library
/// runs; it lives until the process ends. It holds the network-configuration watch, the background queue, two text
/// fields that probes fill, and the two callbacks through which the models hear of changes.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/Dispatch.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {
class ConfigurationWatch;
class DiskSession;
} // namespace sentrel::platform

namespace sentrel::probes {

struct BatteryData;

/// Hears of the local host name, the router address and the DNS servers; each is absent when there is none. Called on
/// the registering thread once, then on the background queue.
using NetworkConfigurationBlock =
    std::function<void(const std::optional<std::string>& localhostName, const std::optional<std::string>& router,
                       const std::optional<std::vector<std::string>>& dns)>;

class SENTREL_API SystemManager {
public:
    SystemManager();
    ~SystemManager();
    SystemManager(const SystemManager&) = delete;
    SystemManager& operator=(const SystemManager&) = delete;

    char publicAddress[65] = {}; ///< the last public address that was found; empty before
    char cpuBrand[65] = {};      ///< the cleaned processor brand; "-" until it is first asked for
    std::shared_ptr<DispatchQueue> backgroundQueue;
    std::unique_ptr<platform::DiskSession> daSession;
    std::function<void(const BatteryData*)> swiftPowerSources; ///< set by _batteryNotification

private:
};

/// The shared object. Not to be confused with the resource registry `sentrel::System`.
SENTREL_API extern SystemManager* System;

/// The load hook: makes the shared object on the platform in force, releasing one that stood before.
SENTREL_API void _constructor();

} // namespace sentrel::probes
