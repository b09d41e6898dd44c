// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The storage service of the desktop, org.freedesktop.UDisks2 on the system bus: unmounting and ejecting with the
/// user's own rights.

#include <SentrelKit/platform/linux/common/BusConnection.h>

#include <cstdint>
#include <optional>
#include <string>

namespace sentrel::platform {

struct UdisksAnswer {
    enum class Outcome : std::uint8_t {
        done,
        refused,    ///< the service itself said no
        unavailable ///< no bus, no service, no answer in time, or a device that the service does not know, knows as
                    ///< not mounted (its own mounts may be others) or can do nothing with
    };
    Outcome outcome = Outcome::unavailable;
    std::string reason; ///< why it was refused
};

/// How long a step waits for the service, in milliseconds.
struct UdisksLimits {
    int lookUp = 5000; ///< the service may have to be started for it
    int work = 60000;  ///< unmounting and ejecting: a user may have to be asked for a password
};

/// One conversation with the service, over a connection of its own. Calls wait; one thread at a time, off any queue.
/// Each step has its limit, connecting included: after one that got no answer everything is unavailable at once.
class UdisksClient {
public:
    explicit UdisksClient(UdisksLimits limits = {}) : limits_(limits) {}

    /// Unmounts the file system on the device at that node, unless it is in use: the service's own force would detach
    /// it with the files that are open. What has to be written back is best written before, for it counts against
    /// the limit.
    [[nodiscard]] UdisksAnswer unmount(const std::string& node);

    /// Ejects the drive of the device at that node; a file that serves as a disk is let go.
    [[nodiscard]] UdisksAnswer eject(const std::string& node);

private:
    BusAnswer ask(const std::string& path, const char* interface, const char* method, GVariant* arguments,
                  int milliseconds);
    UdisksAnswer order(const std::string& path, const char* interface, const char* method);
    std::optional<std::string> objectOf(const std::string& node);
    std::optional<std::string> driveOf(const std::string& object);

    const UdisksLimits limits_;
    BusConnection bus_{G_BUS_TYPE_SYSTEM};
    bool isSilent_ = false;
};

} // namespace sentrel::platform
