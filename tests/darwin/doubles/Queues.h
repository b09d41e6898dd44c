// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

/// Dispatch on a virtual clock. Everything runs on the thread that lets time pass, in the order of its deadlines.
namespace darwin::queues {

/// Lets so many seconds pass; what falls due runs.
void advance(double seconds);

/// The queue that the running closure or tick is on: "main", "background" or a name; empty outside.
[[nodiscard]] const std::string& running();

/// The virtual clock's time, in nanoseconds.
[[nodiscard]] std::int64_t now();

/// How many sources are alive.
[[nodiscard]] int sources();

/// Runs the handler of the newest source at once, as dispatch does where a tick is on its way when a source is
/// suspended or cancelled.
void fireNewest();

/// Makes this thread the process's first one, or another.
void setMainThread(bool isMain);

/// Drops what waits and sets the clock to 0.
void reset();

} // namespace darwin::queues
