// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/UniqueFd.h>

#include <string>

namespace sentrel::platform {

/// Opening device nodes and sending them driver commands. The one place where a test puts a drive of its own.
class DeviceControl {
public:
    virtual ~DeviceControl() = default;

    /// Opens a device node for commands only: waits for no medium. Empty, with errno set, on failure.
    [[nodiscard]] virtual UniqueFd open(const std::string& node) noexcept;

    /// The same, refused with EBUSY while anything uses the device or a part of it: a file system that is mounted, in
    /// whatever mount namespace, swap space, a stacked device. While it is open nothing can begin to.
    [[nodiscard]] virtual UniqueFd openUnused(const std::string& node) noexcept;

    /// ioctl(2).
    virtual int control(int fd, unsigned long request, void* argument) noexcept;
};

} // namespace sentrel::platform
