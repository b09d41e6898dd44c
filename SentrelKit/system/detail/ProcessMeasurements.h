// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/system/Applications.h>
#include <SentrelKit/system/detail/Measuring.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace sentrel {

/// The wanted groups of facts of the tracked processes. Whoever takes them sees to it that nobody else does meanwhile;
/// all else may be asked on any thread.
class SENTREL_LOCAL Applications::Measurements {
public:
    explicit Measurements(platform::Platform& platform) : platform_(platform) {}

    /// From the next sample on these groups are taken.
    void setWanted(MeasureSet<Measure> wanted) noexcept { measuring_.setWanted(wanted); }

    [[nodiscard]] MeasureSet<Measure> wanted() const noexcept { return measuring_.wanted(); }
    [[nodiscard]] std::optional<Availability> availability(Measure measure) const noexcept {
        return measuring_.availability(measure);
    }

    /// Brings the facts of the processes, which were sampled just now, up to date; forgets what is wanted no more.
    void take(const std::vector<std::shared_ptr<Process>>& processes);

    /// Every process at the last sample, into the caller's list; none while they are not wanted.
    void all(std::vector<std::shared_ptr<const Process>>& processes) const;

private:
    [[nodiscard]] bool wasMeasured(Measure group) const noexcept;
    void forgetUnwanted(const std::vector<std::shared_ptr<Process>>& processes);
    template <class Ask>
    void askEach(const std::vector<std::shared_ptr<Process>>& processes, Measure group, Ask ask);
    [[nodiscard]] Availability askForStorage(Process& process, std::int64_t now) const;
    [[nodiscard]] Availability askForFiles(Process& process) const;
    // The id of a process that ended may be another's by now.
    [[nodiscard]] static bool isThere(const Process& process) noexcept { return process.sampling_.threads > 0; }

    platform::Platform& platform_;
    Measuring<Measure> measuring_;
    MeasureSet<Measure> measured_{};                   // by the last sample
    std::vector<std::shared_ptr<const Process>> next_; // memory for the next list
    Atomic<std::vector<std::shared_ptr<const Process>>> all_;
};

} // namespace sentrel
