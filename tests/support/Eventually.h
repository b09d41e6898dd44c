// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <thread>

namespace sentrel {

/// Asks again and again, for what the system does in its own time and tells nobody of. False if it is not so within a
/// generous bound.
template <class Predicate>
[[nodiscard]] bool eventually(Predicate&& isSo) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace sentrel
