// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Dispatch.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace sentrel::platform {

/// Keeps a descriptor watched; releasing it ends the watch. A callback that already runs finishes, no new one begins.
class DescriptorWatch {
public:
    virtual ~DescriptorWatch() = default;
};

/// The queues as the services of Linux need them: descriptors are watched on the background one. Any thread.
class EventSource : public Dispatch {
public:
    /// Calls back on the background queue whenever the descriptor has one of the epoll events (EPOLLIN, EPOLLPRI...);
    /// calls of one watch never overlap. Events that come during a call make one more; so does what the call was for,
    /// where the descriptor still shows it as the call begins: a call may find nothing to do. Starts no thread by
    /// itself: the watch is served from the first use of a queue on. The descriptor is not owned and must stay open as
    /// long as the watch. Null, with errno set, on failure.
    [[nodiscard]] virtual std::unique_ptr<DescriptorWatch> watch(int descriptor, std::uint32_t events,
                                                                 std::function<void()> ready) = 0;
};

} // namespace sentrel::platform
