// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The processor: load, what runs, cores, brand, uptime, heat.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/Pressure.h>
#include <SentrelKit/platform/ProcessorFacts.h>
#include <SentrelKit/platform/ThermalState.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/probes/detail/CounterRate.h>
#include <SentrelKit/probes/detail/ProcessorShares.h>
#include <SentrelKit/system/MeasureSet.h>
#include <SentrelKit/system/Mutex/Atomic.h>
#include <SentrelKit/system/Signal.h>
#include <SentrelKit/system/SystemResource.h>
#include <SentrelKit/system/detail/Measuring.h>
#include <SentrelKit/system/detail/PressureAlarm.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

/// The model of the processor. The registry owns the one instance and samples it every 1.1 seconds.
///
/// The first sample of a session is the load since boot: meant so. Each later one is the load since the sample before.
/// The figures of a sample are 0 before the first one and keep their values between samples.
///
/// Getters answer from any thread without a lock (`brand` under a short one) and may mix two samples. Source: the
/// platform's HostService; on Linux /proc and /sys.
class SENTREL_API CPU final : public SystemResource {
public:
    /// Reads the number of cores and the moment of boot; each is 0 if it cannot be told.
    explicit CPU(std::shared_ptr<probes::SystemManager> session = probes::session());

    [[nodiscard]] SystemResourceType type() const noexcept override { return SystemResourceType::cpu; }

    /// Takes one sample. The ticks it measures from are the session's, not the model's.
    void update() override;

    [[nodiscard]] double user() const noexcept { return user_; }           ///< percent, nice included, 0 to 100
    [[nodiscard]] double sys() const noexcept { return sys_; }             ///< percent, 0 to 100
    [[nodiscard]] double idle() const noexcept { return idle_; }           ///< percent, 0 to 100
    [[nodiscard]] double usage() const noexcept { return user() + sys(); } ///< percent, user and system, 0 to 100

    /// Processes at the last sample.
    [[nodiscard]] std::uint32_t processes() const noexcept { return processes_; }
    /// Threads of all of them at the last sample.
    [[nodiscard]] std::uint32_t threads() const noexcept { return threads_; }

    /// Cores of the machine.
    [[nodiscard]] std::int64_t physicalCores() const noexcept { return physicalCores_; }
    /// Logical processors of the machine.
    [[nodiscard]] std::int64_t logicalCores() const noexcept { return logicalCores_; }
    /// Cores with a processor online when the model was made.
    [[nodiscard]] std::int64_t activePhysicalCores() const noexcept { return activePhysicalCores_; }
    /// Logical processors that were online when the model was made.
    [[nodiscard]] std::int64_t activeLogicalCores() const noexcept { return activeLogicalCores_; }

    /// "Intel Core i7 2.50GHz"; empty if it cannot be told. Asked for once, at the first call.
    [[nodiscard]] std::string brand() const;

    [[nodiscard]] std::int64_t bootTime() const noexcept { return bootTime_; } ///< seconds since the epoch

    /// The same as a moment.
    [[nodiscard]] std::chrono::system_clock::time_point bootTimePoint() const noexcept {
        return std::chrono::system_clock::time_point(std::chrono::seconds(bootTime()));
    }

    /// Seconds since boot by the wall clock; since 1970 if the moment of boot is not known.
    [[nodiscard]] std::int64_t uptime() const;

    /// The same as a duration.
    [[nodiscard]] std::chrono::seconds uptimeDuration() const { return std::chrono::seconds(uptime()); }

    /// Seconds since boot that the machine was awake; 0 if it cannot be told.
    [[nodiscard]] std::int64_t awakeTime() const;

    /// The same as a duration.
    [[nodiscard]] std::chrono::seconds awakeDuration() const { return std::chrono::seconds(awakeTime()); }

    /// The rest of `uptime`: seconds that the machine slept.
    [[nodiscard]] std::int64_t sleepTime() const;

    /// The same as a duration.
    [[nodiscard]] std::chrono::seconds sleepDuration() const { return std::chrono::seconds(sleepTime()); }

    /// The platform's word on the machine's heat; nominal where it has none.
    [[nodiscard]] ThermalState thermalState() const;

    /// Average number of runnable threads over the last 1, 5 and 15 minutes; zeros if it cannot be told.
    [[nodiscard]] std::array<double, 3> loadavg() const;

    /// Groups of further facts, each sampled only while it is wanted.
    enum class Measure : std::uint8_t {
        pressure,    ///< `pressure`
        cores,       ///< `cores` and `shares`
        frequencies, ///< `frequencies` and `coreKinds`
        activity,    ///< `contextSwitches`, `interrupts` and `forks`
        counters,    ///< `counters`
    };

    /// From the next sample on these groups are sampled too, and no others. A group that is not wanted costs nothing.
    /// Any thread.
    void setMeasures(MeasureSet<Measure> wanted) noexcept { measuring_.setWanted(wanted); }

    /// The groups that are wanted; none at first. Any thread.
    [[nodiscard]] MeasureSet<Measure> measures() const noexcept { return measuring_.wanted(); }

    /// What the last sample said of a group; absent while the group is not wanted or was not sampled since. The facts
    /// of a group are absent unless it is available. Any thread.
    [[nodiscard]] std::optional<Availability> availability(Measure measure) const noexcept {
        return measuring_.availability(measure);
    }

    /// How much threads wait for a processor. Linux 4.20: /proc/pressure/cpu, readable for everybody; `full` from 5.13
    /// on. macOS: unsupported, it averages no waiting. Under a short lock.
    [[nodiscard]] std::optional<Pressure> pressure() const;

    /// From now on `onPressure` fires when threads waited for a processor as the threshold says; absent: no longer. The
    /// system itself counts, whether this model is sampled or not. The answer is why it does not: on Linux it depends
    /// on the kernel's version and on privilege which thresholds it takes (Linux 6.5: from everybody those with windows
    /// of 2, 4, 6, 8 or 10 s; else CAP_SYS_RESOURCE); macOS has none. On the main thread.
    Availability setPressureThreshold(const std::optional<PressureThreshold>& threshold) {
        return alarm_.set(threshold);
    }

    /// Fires on the main queue, at most once a window. Carries no value.
    [[nodiscard]] Signal<void>& onPressure() noexcept { return alarm_.crossed(); }

    /// What each logical processor that is online did since the sample before, by rising number. Empty while
    /// there is no sample before; a processor that came since the sample before, or that no tick was counted of, is
    /// missing. Waiting and stealing are shares of their own here, while `idle` of the model has the one and `sys` the
    /// other. Linux: the lines "cpu0", "cpu1"... of /proc/stat, readable for everybody. macOS: host_processor_info,
    /// where both are absent. Under a short lock.
    [[nodiscard]] std::vector<CoreShares> cores() const;
    /// The same into the caller's list, which needs no memory once it has room.
    void cores(std::vector<CoreShares>& cores) const;

    /// The same of all processors together: the line "cpu" of /proc/stat. Absent while there is no sample before. Under
    /// a short lock.
    [[nodiscard]] std::optional<ProcessorShares> shares() const;

    /// How fast each logical processor runs, what it is capable of, and its kind. Linux: cpufreq's files in
    /// /sys/devices/system/cpu, readable for everybody; a virtual machine has none as a rule. Empty on macOS. Under a
    /// short lock.
    [[nodiscard]] std::vector<CoreFrequency> frequencies() const;
    /// The same into the caller's list, which needs no memory once it has room.
    void frequencies(std::vector<CoreFrequency>& frequencies) const;

    /// How many logical processors are on fast and on thrifty cores; absent where all are alike or the system does not
    /// say. Linux: /sys/devices/cpu_core and cpu_atom, else cpu_capacity. macOS: hw.perflevel0 and 1. Under a short
    /// lock.
    [[nodiscard]] std::optional<CoreKinds> coreKinds() const;

    /// Changes from one thread to another, a second, of all processors. Absent while there is no sample before, and
    /// when the counter stepped back. Linux: "ctxt" of /proc/stat. Not on macOS.
    [[nodiscard]] std::optional<double> contextSwitches() const;
    /// Interrupts served, a second, of all processors. Absent as above. Linux: the sum in "intr". Not on macOS.
    [[nodiscard]] std::optional<double> interrupts() const;
    /// Processes and threads made, a second. Absent as above. Linux: "processes". Not on macOS.
    [[nodiscard]] std::optional<double> forks() const;

    /// What all processors together and each that is online have done since boot, as of the last sample, for who makes
    /// rates of their own: ticks, of which sysconf(_SC_CLK_TCK) make a second, and numbers of events. A processor that
    /// was switched off may come back with less. Linux: /proc/stat, readable for everybody. macOS: host_processor_info,
    /// without the events. Under a short lock.
    [[nodiscard]] std::optional<platform::ProcessorLoad> counters() const;

private:
    // What a second sees of one kind of event; of the group `activity`.
    struct Activity {
        std::optional<double> contextSwitches;
        std::optional<double> interrupts;
        std::optional<double> forks;
    };

    void sampleFigures();
    void sampleMeasures();
    [[nodiscard]] bool wantsLoad() const noexcept;
    void sampleLoad();
    void takeLoad();
    void forgetLoad();
    [[nodiscard]] Activity activity() const;

    const std::shared_ptr<probes::SystemManager> session_;
    Relaxed<double> user_;
    Relaxed<double> sys_;
    Relaxed<double> idle_;
    Relaxed<std::uint32_t> processes_;
    Relaxed<std::uint32_t> threads_;
    std::int64_t physicalCores_ = 0;
    std::int64_t logicalCores_ = 0;
    std::int64_t activePhysicalCores_ = 0;
    std::int64_t activeLogicalCores_ = 0;
    mutable Atomic<std::optional<std::string>> brand_;
    std::int64_t bootTime_ = 0;
    Measuring<Measure> measuring_;
    Atomic<Pressure> pressure_;
    PressureAlarm alarm_;
    Atomic<std::optional<ProcessorShares>> shares_;
    Atomic<std::vector<CoreShares>> cores_;
    Atomic<Activity> activity_;
    Atomic<platform::ProcessorLoad> counters_;
    Atomic<platform::ProcessorFrequencies> frequencies_;
    // Of the sampling thread alone.
    platform::ProcessorLoad load_;
    platform::ProcessorLoad loadBefore_;
    bool hasLoadBefore_ = false;
    probes::CounterRate contextSwitchRate_;
    probes::CounterRate interruptRate_;
    probes::CounterRate forkRate_;
    std::vector<CoreShares> newCores_;
    platform::ProcessorFrequencies newFrequencies_;
};

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, CPU::Measure value);

} // namespace sentrel
