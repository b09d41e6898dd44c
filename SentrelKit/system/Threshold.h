// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/system/Signal.h>

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <optional>

namespace sentrel {

/// Tells once when a figure crosses a limit, and once when it has come back:
///
///     Threshold busy({.limit = 90, .back = 70, .leastDuration = std::chrono::seconds(10)});
///     busy.onCrossed().listen(owner, [](const Threshold::Crossing& crossing) { ... })
///         ->dispatch(dispatch::mainQueue());
///     const Observation feeding =
///         system.observeSamples(system.cpu(), [&] { busy.measure(system.cpu().usage()); });
///
/// One thread at a time measures; it fires the signal, to which hosts subscribe before. `isCrossed` answers any thread.
class SENTREL_API Threshold {
public:
    /// Where the limit is. A `back` that is not beyond the limit makes it one that a figure rises to (a load), a `back`
    /// above the limit one that a figure falls to (free space).
    struct Limits {
        double limit = 0.0; ///< crossed by a figure that reaches it
        double back = 0.0;  ///< come back once the figure is on the other side of it
        /// How long the figure has to stay there, at every measurement, before either is told; 0 or less: at once.
        std::chrono::nanoseconds leastDuration{};
    };

    /// What a threshold tells.
    struct Crossing {
        bool isCrossed = false; ///< crossed, or come back
        double figure = 0.0;    ///< that was measured then
    };

    /// A threshold that was not crossed. The durations are those of the clock, which outlives it.
    explicit Threshold(const Limits& limits, platform::Clock& clock = platform::current().clock()) noexcept
        : limits_(limits), clock_(clock) {}
    Threshold(const Threshold&) = delete;
    Threshold& operator=(const Threshold&) = delete;

    /// Where the limit is.
    [[nodiscard]] const Limits& limits() const noexcept { return limits_; }

    /// Takes the figure as it is now. What is no number, and an absent figure, tell nothing: a duration that has begun
    /// goes on.
    void measure(std::optional<double> figure);

    /// Whether the limit was crossed, as it was told last. Any thread.
    [[nodiscard]] bool isCrossed() const noexcept { return isCrossed_; }

    /// Fires at each crossing and each return, on the thread that measures.
    [[nodiscard]] Signal<Crossing>& onCrossed() noexcept { return onCrossed_; }

private:
    [[nodiscard]] bool isOnOtherSide(double figure) const noexcept;

    const Limits limits_;
    platform::Clock& clock_;
    Relaxed<bool> isCrossed_;
    std::optional<std::int64_t> otherSideSince_; // nanoseconds
    Signal<Crossing> onCrossed_;
};

/// Writes it as "crossed at 91.5" or "back at 69".
SENTREL_API std::ostream& operator<<(std::ostream& stream, const Threshold::Crossing& value);

} // namespace sentrel
