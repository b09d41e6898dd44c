// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/DispatchQueue.h>

#include <memory>
#include <string>

namespace sentrel::platform {

/// The machine's queues. Queues live as long as the platform.
class SENTREL_API Dispatch {
public:
    virtual ~Dispatch() = default;

    /// The queue of the thread that runs the main loop.
    [[nodiscard]] virtual std::shared_ptr<DispatchQueue> mainQueue() = 0;

    /// The global concurrent queue of background priority.
    [[nodiscard]] virtual std::shared_ptr<DispatchQueue> backgroundQueue() = 0;

    /// A new queue that runs its closures one after the other, off the main thread. The name is for debuggers.
    [[nodiscard]] virtual std::shared_ptr<DispatchQueue> serialQueue(const std::string& name) = 0;

    /// Serves the main queue for so many seconds on the calling thread, a closure that runs at their end to its end.
    /// For hosts without a main loop of their own. An exception of a closure or tick ends it and passes through. macOS:
    /// on the process's first thread alone; elsewhere it prints one error line and returns.
    virtual void runMain(double seconds) = 0;

    /// For a main loop that the system's own ways do not serve: a descriptor that can be read while the main queue has
    /// something to run, which `serveMain` then does. Stays open as long as the platform. -1 where the system serves
    /// the main queue in every loop, or, with errno set, where none could be had. Any thread.
    [[nodiscard]] virtual int mainDescriptor() { return -1; }

    /// Runs what is due on the main queue, for a few milliseconds at most or one closure. On the thread of the main
    /// loop.
    virtual void serveMain() {}
};

} // namespace sentrel::platform
