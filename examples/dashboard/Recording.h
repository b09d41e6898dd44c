// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/system/History.h>
#include <SentrelKit/system/System.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace dashboard {

/// The last two minutes of a figure, kept with each sample of its model. Main thread.
class Recording {
public:
    /// The figure is asked for on the sampling thread. The model is one of the registry's, which outlives this.
    Recording(sentrel::System& system, const sentrel::SystemResource& model, std::function<double()> figure);

    /// Begins anew.
    void forget() { forgotten_ = values_.count(); }

    /// As a line chart takes them, oldest first; none is negative.
    [[nodiscard]] std::vector<std::int64_t> points() const;

    /// "last 12 s", "last 2 min"; "just begun" while there is no line yet.
    [[nodiscard]] std::string span() const;

private:
    const double interval_; // seconds
    sentrel::History<double> values_;
    std::uint64_t forgotten_ = 0;  // of the values
    sentrel::Observation feeding_; // the first to go
};

} // namespace dashboard
