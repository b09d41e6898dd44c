// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The session of the probe layer with one machine: the network-configuration watch, the session with the system's disk
/// service, the background queue, what the probes keep from one call to the next, and the two callbacks through which
/// the models hear of changes. All probes of one machine share one; sessions with several machines stand side by side.
///
/// One is in force: the load hook makes it before any other function of the library runs, and it lives until the
/// process ends. While another platform is in force (platform::Override), one with that platform stands in its place.
/// Making one starts no thread: changes arrive on the background queue from the first registration, or the first other
/// use of a queue, on.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/HostService.h>
#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/platform/Platform.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <typeindex>
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
    /// Whether all three are the same.
    friend bool operator==(const NetworkConfiguration&, const NetworkConfiguration&) = default;
};

/// Hears of local host name, router and DNS servers, in this order.
using NetworkConfigurationBlock =
    std::function<void(const std::optional<std::string>& localhostName, const std::optional<std::string>& router,
                       const std::optional<std::vector<std::string>>& dns)>;

/// Takes what the power sources say, valid only during the call.
using PowerSourcesBlock = std::function<void(const BatteryData*)>;

/// The session. It is held by shared pointers: who works with a machine keeps its session, so that what still runs when
/// the machine is no longer in force ends with the machine that it began with.
class SENTREL_API SystemManager : public std::enable_shared_from_this<SystemManager> {
public:
    /// Opens the connections with the platform, which outlives this. Stops the process if one of them cannot be had at
    /// all.
    explicit SystemManager(platform::Platform& platform = platform::current());
    ~SystemManager();
    SystemManager(const SystemManager&) = delete;
    SystemManager& operator=(const SystemManager&) = delete;

    /// The machine. Any thread.
    [[nodiscard]] platform::Platform& platform() const noexcept { return platform_; }

    /// Reads local host name, DNS servers and router anew. Without a connection the last known servers and router stay;
    /// a connected network without a router has none. Any thread.
    void updateSystemConfigurationProperties();

    /// The configuration as it was last read. Any thread.
    [[nodiscard]] NetworkConfiguration configuration() const;

    /// Writes the field `publicAddress`: look-ups that run at the same time write it one after the other. At most 64
    /// bytes. Any thread.
    void setPublicAddress(const std::string& address);

    /// Keeps the block that hears of the power sources, and gives the one before. Any thread.
    PowerSourcesBlock setPowerSources(PowerSourcesBlock block);

    /// That block; empty before the first. Any thread.
    [[nodiscard]] PowerSourcesBlock powerSources() const;

    /// The one object of a kind that the users of this session share: made at the first call, as T{}, and kept as long
    /// as the session. For the probes and the models, which keep here what a process with one machine would keep in a
    /// static variable. Any thread.
    template <class T>
    [[nodiscard]] T& shared() {
        const LockScope scope(lock_);
        std::shared_ptr<void>& object = shared_[typeid(T)];
        if (!object)
            object = std::make_shared<T>();
        return *static_cast<T*>(object.get());
    }

    char publicAddress[65] = {}; ///< the last public address that was found; empty before. One look-up at a time.
    char cpuBrand[65] = {};      ///< the cleaned processor brand; "-" until it is first asked for
    std::shared_ptr<DispatchQueue> backgroundQueue;   ///< the global queue of background priority
    std::unique_ptr<platform::DiskSession> daSession; ///< shared by the disk probes; never null
    platform::HostLoadTicks prevTicks;                ///< of the call of _getCPUData before; zero before the first

private:
    friend SENTREL_API void _networkConfigureNotification(NetworkConfigurationBlock block, SystemManager& session);

    void setUpSystemConfiguration();

    /// A change of the configuration: reads it anew and tells the registered block. Gives what it told.
    NetworkConfiguration scNotification();

    platform::Platform& platform_;
    mutable Lock lock_;
    NetworkConfiguration configuration_ SENTREL_GUARDED_BY(lock_);
    NetworkConfigurationBlock swiftNetworkConfigure_ SENTREL_GUARDED_BY(lock_);
    PowerSourcesBlock swiftPowerSources_ SENTREL_GUARDED_BY(lock_);
    std::map<std::type_index, std::shared_ptr<void>> shared_ SENTREL_GUARDED_BY(lock_);
    std::unique_ptr<platform::ConfigurationWatch> scSession_;
    Observation scObservation_; // the first to go: its callback uses all the others
};

/// The session in force. Not to be confused with the resource registry `sentrel::System`.
SENTREL_API extern SystemManager* System;

/// The session in force, for who keeps it.
[[nodiscard]] SENTREL_API std::shared_ptr<SystemManager> session();

/// The load hook: puts a session with the platform in force in its place, releasing one that stood before.
SENTREL_API void _constructor();

/// The unload hook. It does nothing: the session in force is never destroyed.
SENTREL_API void _destructor();

/// Registers the block that hears of network-configuration changes, in place of an earlier one, which may be that of
/// the models (they share one, which a model that is made registers anew). It is called once before this returns, on
/// the caller's thread, also without any network, and once more if a change came meanwhile, so that the newest
/// configuration is told last; later calls come on the background queue, one at a time. It runs under no lock and may
/// call everything.
SENTREL_API void _networkConfigureNotification(NetworkConfigurationBlock block, SystemManager& session = *System);

} // namespace sentrel::probes
