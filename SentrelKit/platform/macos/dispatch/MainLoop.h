// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The main run loop as a host without a loop of its own runs it.
namespace sentrel::platform::MainLoop {

/// Runs it for so many seconds on the process's first thread. An exception that `leave` took ends it and passes
/// through.
void run(double seconds);

/// Called in the handler of an exception on the main queue: `run` ends and throws it on. The process ends
/// (std::terminate) unless `run` is under way.
void leave() noexcept;

/// Whether this is the process's first thread and an exception is on its way to `run`. Any thread.
[[nodiscard]] bool isLeft() noexcept;

} // namespace sentrel::platform::MainLoop
