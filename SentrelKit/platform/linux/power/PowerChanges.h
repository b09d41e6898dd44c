// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/platform/linux/power/PowerReader.h>

#include <chrono>
#include <functional>
#include <memory>

namespace sentrel::platform {

/// How soon the change sources look at the figures.
struct PowerChangeTimes {
    /// After a uevent: plugging one adapter raises several, and drivers need a moment until all their figures agree.
    std::chrono::milliseconds settling{100};
    /// Without one, while there is a battery: many drivers raise none while the charge moves.
    std::chrono::milliseconds polling{30'000};
};

/// Adds a source to the calling thread's default GLib main context (the one it pushed, else the global default), woken
/// by uevents of the power-supply class and, while there is a battery, by a coarse timer. Each time it looks at the
/// figures and calls back only if one changed since it looked last. Where the kernel's uevents cannot be had the timer
/// alone remains.
[[nodiscard]] Observation observePowerChanges(std::shared_ptr<PowerReader> reader, const PowerChangeTimes& times,
                                              std::function<void()> changed);

} // namespace sentrel::platform
