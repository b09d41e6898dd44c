// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/types.h>

namespace sentrel {

/// The same descriptor, or -1, which no program that the tests start gets from now on.
inline int closedOnExec(int descriptor) noexcept {
    if (descriptor >= 0)
        fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    return descriptor;
}

/// As `send`, but if the other side is gone, that is a failure and not a signal.
inline ssize_t sendWithoutSignal(int socket, const void* bytes, std::size_t count) noexcept {
#ifdef SO_NOSIGPIPE
    const int on = 1;
    setsockopt(socket, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
    return ::send(socket, bytes, count, 0);
#else
    return ::send(socket, bytes, count, MSG_NOSIGNAL);
#endif
}

} // namespace sentrel
