#pragma once

/// The machine under the library: one service a subject, each answering single questions with plain values. The probes
/// hold every algorithm; a platform decides nothing.

#include <SentrelKit/Export.h>

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
class VolumeService;

/// All services of one machine. A platform outlives everything that uses it.
class SENTREL_API Platform {
public:
    virtual ~Platform() = default;

    virtual Clock& clock() noexcept = 0;
    virtual Dispatch& dispatch() noexcept = 0;
    virtual HostService& host() noexcept = 0;
    virtual GraphicsService& graphics() noexcept = 0;
    virtual VolumeService& volumes() noexcept = 0;
    virtual NetworkService& network() noexcept = 0;
    virtual PowerService& power() noexcept = 0;
    virtual ProcessService& processes() noexcept = 0;
    virtual Desktop& desktop() noexcept = 0;
    virtual PreferenceStore& preferences() noexcept = 0;
};

/// The platform in force: the real machine, built on first use, unless an `Override` stands. Any thread.
[[nodiscard]] SENTREL_API Platform& current() noexcept;

/// Puts another platform and its clock in force for a scope. For tests and demos: made and released on one thread,
/// nested scopes end in reverse order.
class SENTREL_API Override {
public:
    explicit Override(Platform& platform) noexcept;
    ~Override();
    Override(const Override&) = delete;
    Override& operator=(const Override&) = delete;

private:
    Platform* previous_;
};

/// Builds the real machine. Each backend folder defines it once; `current()` calls it once.
[[nodiscard]] Platform& makeNative();

} // namespace sentrel::platform
