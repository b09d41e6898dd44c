// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The machine under the library: one service a subject, each answering single questions with plain values. The probes
/// hold every algorithm; a platform decides nothing.
///
/// An operation that fails gives no value and throws nothing. Where its comment says "with errno set", errno names the
/// reason on every platform. Elsewhere it does where the system tells one in such terms, as Linux mostly does; mach,
/// the device registry, disk arbitration and the dynamic store of macOS have codes of their own, and errno stays as it
/// was.

#include <SentrelKit/Export.h>

#include <memory>

namespace sentrel::platform {

class Clock;
class Desktop;
class Dispatch;
class GraphicsService;
class HostService;
class NetworkService;
class PowerService;
class PreferenceStore;
class ProcessService;
class SensorService;
class VolumeService;

/// All services of one machine. A platform outlives everything that uses it.
class SENTREL_API Platform {
public:
    virtual ~Platform() = default;

    virtual Clock& clock() noexcept = 0;                 ///< the clocks: time since boot and the wall clock
    virtual Dispatch& dispatch() noexcept = 0;           ///< the queues and the main loop
    virtual HostService& host() noexcept = 0;            ///< the host: processor load, memory, uptime, heat
    virtual GraphicsService& graphics() noexcept = 0;    ///< the graphics processors
    virtual VolumeService& volumes() noexcept = 0;       ///< disks and mounted volumes
    virtual NetworkService& network() noexcept = 0;      ///< network interfaces and the configuration of the network
    virtual PowerService& power() noexcept = 0;          ///< power sources and the battery
    virtual ProcessService& processes() noexcept = 0;    ///< processes and running applications
    virtual SensorService& sensors() noexcept = 0;       ///< sensors of heat, fans and electricity
    virtual Desktop& desktop() noexcept = 0;             ///< the desktop: user notifications, opening addresses
    virtual PreferenceStore& preferences() noexcept = 0; ///< the suites of preferences
};

/// The platform in force: the real machine, built on first use, unless an `Override` stands. Any thread.
[[nodiscard]] SENTREL_API Platform& current() noexcept;

/// Puts another platform and its clock in force for a scope, with a session of the probes of its own; what the probes
/// kept for the platform before comes back with it. For tests and demos: made and released on one thread, nested scopes
/// end in reverse order. Set the platform up first where the session's creation must see it. A model stays with the
/// session that it was made with, which it keeps until its own release.
class SENTREL_API Override {
public:
    /// Puts the platform in force; it has to outlive the override.
    explicit Override(Platform& platform);
    /// Puts the platform before it back in force.
    ~Override();
    Override(const Override&) = delete;
    Override& operator=(const Override&) = delete;

private:
    Platform* previous_;
    std::shared_ptr<void> session_;
};

} // namespace sentrel::platform
