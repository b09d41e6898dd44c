// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/macos/dispatch/MainLoop.h>

#include <pthread.h>

#include <exception>
#include <functional>

namespace sentrel::platform {

/// Runs a closure that dispatch called back for: no exception may pass through dispatch. One on the main queue goes to
/// whoever runs the main loop; elsewhere it ends the process.
inline void runClosure(const std::function<void()>& closure) noexcept {
    try {
        closure();
    } catch (...) {
        if (pthread_main_np() == 0)
            std::terminate();
        MainLoop::leave();
    }
}

} // namespace sentrel::platform
