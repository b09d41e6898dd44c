// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/Figures.h"
#include "tools/sentrel/serve/ApplicationTable.h"
#include "tools/sentrel/serve/DeviceLimit.h"
#include "tools/sentrel/serve/PacedSampling.h"
#include "tools/sentrel/serve/RisingCounters.h"

#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/system/Mutex/Atomic.h>
#include <SentrelKit/system/System.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// The metrics of one registry. After each sample of a resource its figures are read, on the thread that sampled, and
/// kept; whoever asks has metrics made of those of the last samples, and neither samples nor waits for one.
class Exporter {
public:
    /// Takes a first sample of everything and starts the registry's sampling, further facts included. Applications are
    /// told only if there is something said of how. On the thread that starts and stops the registry's tasks, as is the
    /// end. The registry outlives it. With a pace everything is sampled so often, in place of the registry's own
    /// intervals. So many devices of one kind are told at most; a line on the standard error stream says so, once for a
    /// resource, where there are more.
    explicit Exporter(sentrel::System& system, const std::optional<ApplicationLimits>& applications = {},
                      std::optional<std::chrono::seconds> pace = {}, std::size_t deviceLimit = usualDeviceLimit);
    ~Exporter();
    Exporter(const Exporter&) = delete;
    Exporter& operator=(const Exporter&) = delete;

    /// Every metric, as of the last samples, in the text format of Prometheus 0.0.4. Made once for all who ask between
    /// two samples. Never null. Any thread.
    [[nodiscard]] std::shared_ptr<const std::string> text() const;

private:
    // The figures of a resource, and when they were sampled, in seconds since the epoch.
    struct Sample {
        std::vector<Table> tables;
        double time = 0.0;
    };
    struct Newest {
        std::uint64_t version = 1; // rises with each sample
        std::map<std::string_view, std::shared_ptr<const Sample>> samples;
    };
    struct Bound {
        DeviceLimit limit;
        bool isReported = false; // that something is beyond it
    };
    // What was told last, and the counters, which go on from there.
    struct Told {
        std::uint64_t version = 0; // of the samples that it was made of
        std::map<std::string_view, RisingCounters> counters;
        std::shared_ptr<const std::string> text;
    };

    void wantFurtherFacts();
    void start(std::string_view resource);
    template <class Model>
    void sampleRegularly(Model& model, std::function<void()> sampled);
    void keep(std::string_view resource);
    [[nodiscard]] std::vector<Table> read(std::string_view resource);
    void bound(std::string_view resource, std::vector<Table>& tables);
    void sampleBatteryAtTimes();
    static void tell(const Newest& newest, Told& told);

    sentrel::System& system_;
    const std::optional<std::chrono::seconds> pace_;
    std::vector<std::string_view> resources_;      // those that are told
    std::optional<ApplicationTable> applications_; // of the thread that samples them
    std::map<std::string_view, Bound> bounds_;     // each of the thread that samples its resource
    int samplesToBattery_ = 0;                     // of memory, and of its thread
    sentrel::Atomic<Newest> newest_;
    mutable sentrel::Atomic<Told> told_;
    std::vector<sentrel::Observation> observations_; // the first to go, as what follows: their calls use all the others
    std::vector<std::unique_ptr<PacedSampling>> paced_;
};

} // namespace tool
