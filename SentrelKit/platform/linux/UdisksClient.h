#pragma once

/// The storage service of the desktop, org.freedesktop.UDisks2 on the system bus: unmounting and ejecting with the
/// user's own rights. Every call blocks until the service answers; call it off any queue.

#include <cstdint>
#include <string>

namespace sentrel::platform {

struct UdisksAnswer {
    enum class Outcome : std::uint8_t {
        done,
        refused,    ///< the service said no, or went away in the middle
        unavailable ///< no bus, no service, or a device it does not know: nothing was tried
    };
    Outcome outcome = Outcome::unavailable;
    std::string reason; ///< why it was refused
};

/// Unmounts the file system on the device at that node. One that is not mounted counts as done.
[[nodiscard]] UdisksAnswer udisksUnmount(const std::string& node, bool force);

/// Ejects the drive of the device at that node; a file that serves as a disk is let go.
[[nodiscard]] UdisksAnswer udisksEject(const std::string& node);

} // namespace sentrel::platform
