// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/InterfaceFacts.h>
#include <SentrelKit/probes/detail/SampleBefore.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace sentrel::probes {

/// The packets of one interface. Each rate is (counter now - counter before) / seconds between the two samples by the
/// clock that never steps back: 0 or more, neither smoothed nor clamped. Absent at the first sample of an interface,
/// one made anew under its name included, and of a counter that went back.
struct InterfaceTraffic {
    InterfaceCounters counters;             ///< as they stand
    std::optional<double> packetsInRate{};  ///< received a second
    std::optional<double> packetsOutRate{}; ///< sent a second
    std::optional<double> errorsInRate{};   ///< damaged a second
    std::optional<double> errorsOutRate{};  ///< not sent a second
    std::optional<double> dropsInRate{};    ///< thrown away on their way in, a second
    std::optional<double> dropsOutRate{};   ///< thrown away on their way out, a second; absent on macOS
};

/// Makes rates of counters. One thread at a time.
class SENTREL_API TrafficRates {
public:
    /// Makes `traffic` that of the counters, which were taken at that time in nanoseconds. Allocates nothing once warm.
    void take(std::span<const InterfaceCounters> counters, std::int64_t time, std::vector<InterfaceTraffic>& traffic);

    /// The next sample is a first one again.
    void forget() noexcept { before_.forget(); }

private:
    SampleBefore<InterfaceCounters> before_;
};

} // namespace sentrel::probes
