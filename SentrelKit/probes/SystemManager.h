// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The one shared session object of the probe layer. The load hook makes it before any other function of the library
/// runs; it lives until the process ends. While another platform is in force (platform::Override), one of that platform
/// stands in its place. It holds the network-configuration watch, the session with the system's disk
/// service, the background queue, two text fields that probes fill, and the two callbacks through which the models hear
/// of changes. Making it starts no thread: changes arrive on the background queue from the first registration, or the
/// first other use of a queue, on.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/HostService.h>

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

/// The network configuration: each figure is absent while it was never known.
struct NetworkConfiguration {
    std::optional<std::string> localhostName;         ///< the machine's own name; absent again when it loses it
    std::optional<std::string> routerAddr;            ///< IPv4 default router, the last known one
    std::optional<std::vector<std::string>> dnsAddrs; ///< DNS servers in the order of asking, the last known ones
};

/// Hears of local host name, router and DNS servers, in this order.
using NetworkConfigurationBlock =
    std::function<void(const std::optional<std::string>& localhostName, const std::optional<std::string>& router,
                       const std::optional<std::vector<std::string>>& dns)>;

/// The connections and the fixed buffers that the probes share; one for each machine in force.
class SENTREL_API SystemManager {
public:
    /// Opens the sessions on the platform in force. Stops the process if one of them cannot be had at all.
    SystemManager();
    ~SystemManager();
    SystemManager(const SystemManager&) = delete;
    SystemManager& operator=(const SystemManager&) = delete;

    /// Reads local host name, DNS servers and router anew. Without a connection the last known servers and router stay;
    /// a connected network without a router has none. Any thread.
    void updateSystemConfigurationProperties();

    /// The configuration as it was last read. Any thread.
    [[nodiscard]] NetworkConfiguration configuration() const;

    char publicAddress[65] = {}; ///< the last public address that was found; empty before. One look-up at a time.
    char cpuBrand[65] = {};      ///< the cleaned processor brand; "-" until it is first asked for
    std::shared_ptr<DispatchQueue> backgroundQueue;            ///< the global queue of background priority
    std::unique_ptr<platform::DiskSession> daSession;          ///< shared by the disk probes; never null
    std::function<void(const BatteryData*)> swiftPowerSources; ///< set by _batteryNotification
    platform::HostLoadTicks prevTicks; ///< of the call of _getCPUData before; zero before the first

private:
    friend SENTREL_API void _networkConfigureNotification(NetworkConfigurationBlock block);

    void setUpSystemConfiguration();

    /// A change of the configuration: reads it anew and tells the registered block.
    void scNotification();

    mutable Lock lock_;
    NetworkConfiguration configuration_ SENTREL_GUARDED_BY(lock_);
    NetworkConfigurationBlock swiftNetworkConfigure_ SENTREL_GUARDED_BY(lock_);
    std::unique_ptr<platform::ConfigurationWatch> scSession_; // the first to go: its callback uses all the others
};

/// The shared object. Not to be confused with the resource registry `sentrel::System`.
SENTREL_API extern SystemManager* System;

/// The load hook: makes the shared object on the platform in force, releasing one that stood before.
SENTREL_API void _constructor();

/// The unload hook. It does nothing: the shared object is never destroyed.
SENTREL_API void _destructor();

/// Registers the block that hears of network-configuration changes, in place of an earlier one, which may be that of
/// the models (they share one, which a model that is made registers anew). It is called once before this returns, on
/// the caller's thread, also without any network; later calls come on the background queue, one at a time. It runs
/// under no lock and may call everything.
SENTREL_API void _networkConfigureNotification(NetworkConfigurationBlock block);

} // namespace sentrel::probes
