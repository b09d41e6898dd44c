// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mach/mach.h>

#include <utility>

namespace sentrel::platform {

/// Owns one send right, or nothing.
class MachPort {
public:
    MachPort() = default;
    explicit MachPort(mach_port_t right) noexcept : port_(right) {}
    MachPort(MachPort&& other) noexcept : port_(std::exchange(other.port_, mach_port_t{MACH_PORT_NULL})) {}
    MachPort& operator=(MachPort&& other) noexcept {
        std::swap(port_, other.port_);
        return *this;
    }
    ~MachPort() {
        if (port_ != MACH_PORT_NULL)
            mach_port_deallocate(mach_task_self(), port_);
    }

    [[nodiscard]] mach_port_t get() const noexcept { return port_; }

private:
    mach_port_t port_ = MACH_PORT_NULL;
};

} // namespace sentrel::platform
