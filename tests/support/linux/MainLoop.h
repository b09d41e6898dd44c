// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <glib.h>
#include <thread>

namespace sentrel {

/// Serves a GLib main context, the default one unless another is given, until the condition holds; false if that takes
/// longer than a test may take.
template <class Condition>
[[nodiscard]] bool serveUntil(const Condition& condition, GMainContext* context = nullptr) {
    const auto bound = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition() && std::chrono::steady_clock::now() < bound)
        if (!g_main_context_iteration(context, FALSE))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return condition();
}

/// Serves the default context for a time, for what must not come meanwhile.
inline void serveFor(std::chrono::milliseconds time) {
    const auto then = std::chrono::steady_clock::now() + time;
    static_cast<void>(serveUntil([&] { return std::chrono::steady_clock::now() >= then; }));
}

} // namespace sentrel
