// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/EnvironmentValue.h"
#include "tests/support/TemporaryFolder.h"

#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace sentrel {

/// A message bus that accepts every connection and says nothing, which stands for the session's and the system's for a
/// scope.
class SilentBus {
public:
    SilentBus() {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        folder_.path("bus").copy(name.sun_path, sizeof name.sun_path - 1);
        if (::bind(socket_, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0 || ::listen(socket_, 8) != 0)
            throw std::runtime_error("no socket");
    }
    ~SilentBus() { ::close(socket_); }
    SilentBus(const SilentBus&) = delete;
    SilentBus& operator=(const SilentBus&) = delete;

    /// Waits for the next connection and takes it, to be closed by the caller.
    [[nodiscard]] int accept() const { return ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC); }

private:
    const TemporaryFolder folder_;
    const int socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const EnvironmentValue session_{"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder_.path("bus")};
    const EnvironmentValue system_{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder_.path("bus")};
};

} // namespace sentrel
