// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The machine's graphics processors.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/platform/GraphicsService.h>
#include <SentrelKit/probes/EngineShares.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/MeasureSet.h>
#include <SentrelKit/system/Mutex/Atomic.h>
#include <SentrelKit/system/SystemResource.h>

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

/// The model of the graphics processors. The registry owns the one instance and, on a machine that has both an
/// integrated and a discrete one, samples it every 1.1 seconds on request. On a machine with a single one there is
/// nothing to sample but groups of further facts: a start samples those that are wanted by then.
///
/// Getters answer from any thread; but for `processors`, without a lock. Source: the platform's
/// GraphicsService; on Linux the PCI devices and graphics cards of /sys, with names from the hardware database.
class SENTREL_API GPU final : public SystemResource {
public:
    /// One graphics processor.
    struct Processor {
        std::string name;                   ///< "Unknown" if the platform has none
        std::vector<std::uint8_t> deviceID; ///< bytes as the device registry has them
        /// Whether name and device are the same.
        friend bool operator==(const Processor&, const Processor&) = default;
    };

    /// Groups of further facts, each sampled only while it is wanted.
    enum class Measure : std::uint8_t {
        use,     ///< `processors`: what each one does
        engines, ///< `work`: what programs have their engines do
    };

    /// One graphics processor and what it did at the last sample; figures that its driver does not tell are absent.
    using Activity = platform::GraphicsProcessor;

    /// What programs had the engines of one graphics processor do until the last sample.
    using Work = probes::GraphicsWork;

    /// Finds the processors and takes a first sample.
    explicit GPU(std::shared_ptr<probes::SystemManager> session = probes::session());

    [[nodiscard]] SystemResourceType type() const noexcept override { return SystemResourceType::gpu; }

    /// Asks which processor drives the main display. One thread at a time.
    void update() override;

    /// The last display controller whose name contains "Intel", if there is one. Found once, when the model is made.
    [[nodiscard]] const std::optional<Processor>& integrated() const noexcept { return integrated_; }
    /// The last display controller whose name does not contain "Intel", if there is one.
    [[nodiscard]] const std::optional<Processor>& discrete() const noexcept { return discrete_; }

    /// The one that drove the main display at the last update: the discrete one if it is known to, else the integrated
    /// one.
    [[nodiscard]] std::optional<Processor> current() const { return isDiscrete_ ? discrete_ : integrated_; }

    /// The name of the current one; empty without one.
    [[nodiscard]] std::string name() const;

    /// True if the current one has the device id of the integrated one; also when there is neither.
    [[nodiscard]] bool isUsingIntegratedGPU() const;
    /// Whenever the integrated one is not in use: meant so.
    [[nodiscard]] bool isUsingDiscreteGPU() const { return !isUsingIntegratedGPU(); }

    /// From now on these groups of further facts are sampled with the others; none when the model is made. What was
    /// known of a group that is wanted anew is forgotten. Any thread.
    void setMeasures(MeasureSet<Measure> wanted);

    /// The groups that are wanted. Any thread.
    [[nodiscard]] MeasureSet<Measure> measures() const noexcept;

    /// Whether the last sample had the facts of a group and, if not, why. Absent while the group is not wanted or was
    /// not sampled since. Any thread.
    [[nodiscard]] std::optional<Availability> availability(Measure measure) const noexcept;

    /// Every graphics processor, integrated or not, in the order of the bus. `use` is the share of the time in which it
    /// worked, 0 to 100 percent: the driver's own word (amdgpu), or the share of the time since the sample before in
    /// which it was not idle (Intel: absent at the first sample). Of one that sleeps there are only the names. Those of
    /// NVIDIA's own driver are told by its management library, loaded at the first sample where there is one: `figures`
    /// says whether it could be had; asked every second they stay awake. Empty unless Measure::use is wanted and was
    /// sampled. No figure needs privilege.
    [[nodiscard]] std::vector<Activity> processors() const;

    /// The same into the caller's list, whose memory is used again: for a reader that looks every second.
    void processors(std::vector<Activity>& processors) const;

    /// What programs have the engines of each processor do, in the order of the processors' identifiers: one that no
    /// program uses is not among them. The `use` of an engine, such as "render" or "video", is the share of its kind's
    /// time since the sample before in which it worked for any program, 0 to 100 percent; absent at the first sample. A
    /// program counts from its second sample on. This tells what a processor of Intel does where `processors` tells
    /// only whether it was awake. Empty unless Measure::engines is wanted and was sampled.
    ///
    /// Without privilege only the caller's own processes tell, and what others have the processors do is missing here:
    /// `denied` if none of its own uses one. The sample looks at each open file of each process: 5 ms of processor
    /// time for 180 processes with 1300 open files. Want it while somebody looks. Linux: "drm-engine-*" or
    /// "drm-cycles-*" and "drm-resident-*" of "fdinfo" of the processes in /proc (amdgpu, i915, xe and more; not
    /// NVIDIA's own driver). macOS: unsupported.
    [[nodiscard]] std::vector<Work> work() const;

    /// The same into the caller's list, whose memory is used again: for a reader that looks every second.
    void work(std::vector<Work>& work) const;

    /// An integrated and a discrete one.
    [[nodiscard]] bool hasBoth() const noexcept { return integrated_ && discrete_; }

private:
    struct Sampling; // what the further facts are made of

    void find();

    const std::shared_ptr<probes::SystemManager> session_;
    std::optional<Processor> integrated_;
    std::optional<Processor> discrete_;
    Relaxed<bool> isDiscrete_;         // the current one
    std::vector<std::uint8_t> active_; // of the sampling thread alone
    const std::shared_ptr<Sampling> sampling_;
};

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, GPU::Measure value);

} // namespace sentrel
