// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Dispatch.h>
#include <SentrelKit/platform/Observation.h>

#include <cstdint>
#include <functional>

namespace sentrel::platform {

/// The queues as the services of Linux need them: descriptors are watched on the background one. Any thread.
class EventSource : public Dispatch {
public:
    /// Calls back on the background queue whenever the descriptor has one of the epoll events (EPOLLIN, EPOLLPRI...).
    /// Events that come during a call make one more; so does what the call was for, where the descriptor still shows it
    /// as the call begins: a call may find nothing to do. Starts no thread by itself: the descriptor is watched from
    /// the first use of a queue on. It is not owned and must stay open as long as the observation. Empty, with errno
    /// set, on failure.
    [[nodiscard]] virtual Observation watch(int descriptor, std::uint32_t events, std::function<void()> ready) = 0;
};

} // namespace sentrel::platform
