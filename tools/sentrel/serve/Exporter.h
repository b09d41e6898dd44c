// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/Figures.h"
#include "tools/sentrel/serve/ApplicationTable.h"
#include "tools/sentrel/serve/RisingCounters.h"

#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/system/Mutex/Atomic.h>
#include <SentrelKit/system/System.h>

#include <prometheus/collectable.h>
#include <prometheus/metric_family.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// The metrics of one registry. After each sample of a resource its figures are put together, on the thread that
/// sampled; whoever collects gets those of the last samples, and neither samples nor waits for one.
class Exporter final : public prometheus::Collectable {
public:
    /// Takes a first sample of everything and starts the registry's sampling, further facts included. Applications are
    /// told only if there is something said of how. On the thread that starts and stops the registry's tasks, as is the
    /// end. The registry outlives it.
    explicit Exporter(sentrel::System& system, const std::optional<ApplicationLimits>& applications = {});
    ~Exporter() override;
    Exporter(const Exporter&) = delete;
    Exporter& operator=(const Exporter&) = delete;

    /// Every metric, as of the last samples. Any thread.
    [[nodiscard]] std::vector<prometheus::MetricFamily> Collect() const override;

    /// The same in the text format of Prometheus 0.0.4, made once for all who ask between two samples. Never null. Any
    /// thread.
    [[nodiscard]] std::shared_ptr<const std::string> text() const;

private:
    using Families = std::vector<prometheus::MetricFamily>;

    // What was put together last.
    struct Newest {
        std::uint64_t version = 0; // rises with each change
        std::map<std::string_view, std::shared_ptr<const Families>> resources;
    };
    struct Text {
        std::uint64_t version = 0;
        std::shared_ptr<const std::string> text;
    };

    void wantFurtherFacts();
    void start(std::string_view resource);
    void publish(std::string_view resource);
    [[nodiscard]] std::vector<Table> read(std::string_view resource);
    void sampleBatteryAtTimes();
    [[nodiscard]] static Families familiesOf(const Newest& newest);

    sentrel::System& system_;
    std::optional<ApplicationTable> applications_;        // of the thread that samples them
    std::map<std::string_view, RisingCounters> counters_; // each of the thread that samples its resource
    int samplesToBattery_ = 0;                            // of memory, and of its thread
    sentrel::Atomic<Newest> newest_;
    mutable sentrel::Atomic<Text> text_;
    std::vector<sentrel::Observation> observations_; // the first to go: their calls use all the others
};

} // namespace tool
