// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace sentrel::platform {

/// Runs a closure that dispatch called back for: no exception may pass through dispatch. One on the main queue goes to
/// whoever runs the main loop; elsewhere it ends the process.
void runClosure(const std::function<void()>& closure) noexcept;

/// Dispatch carries one pointer to a call: a closure on its own, which `runBoxed` takes back.
[[nodiscard]] void* boxed(std::function<void()> closure);

/// Runs a closure that was boxed. While an exception is on its way to whoever runs the main loop, one of the main queue
/// goes to the end of that queue instead: dispatch empties the queue whatever the loop was told, and what is due then
/// stays for the loop's next run.
void runBoxed(void* context);

} // namespace sentrel::platform
