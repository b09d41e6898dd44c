// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The internal battery and the power it runs on.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/Mutex/Atomic.h>
#include <SentrelKit/system/Signal.h>
#include <SentrelKit/system/SystemResource.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace sentrel::platform {
class BatteryService;
}

namespace sentrel {

/// The battery's figures. They are not sampled on a timer: each change of the power sources refreshes them and then
/// fires `onBatteryChanged`. The changes arrive on the loop of the thread that makes the model (on Linux its default
/// GLib main context), so a host makes it on its main thread.
///
/// Getters answer from any thread without a lock (texts: under a short one) and may mix two samples. A figure that the
/// machine does not tell keeps its value. Source: the platform's PowerService; on Linux /sys/class/power_supply and its
/// uevents.
class SENTREL_API Battery final : public SystemResource {
public:
    /// Reads what never changes, takes the first figures and asks for changes. Without a battery: no figures, mains
    /// power, and never an event. There may be several models; all hear of changes, on the loop of the thread that made
    /// the first of their session.
    explicit Battery(std::shared_ptr<probes::SystemManager> session = probes::session());

    /// From any thread, also while a change is delivered, which it then waits for, and from inside a callback of
    /// `onBatteryChanged`. No callback begins any more.
    ~Battery() override;
    Battery(const Battery&) = delete;
    Battery& operator=(const Battery&) = delete;

    [[nodiscard]] SystemResourceType type() const noexcept override { return SystemResourceType::battery; }

    /// Refreshes the live figures of the battery itself, without an event: `installed`, `isACPowered`, `isCharging`,
    /// the capacities, `cycleCount`, `voltage`, `temperature`. While no battery is installed only `installed` changes.
    /// Any thread.
    void update() override;

    /// Fires after every change, with the figures already refreshed. Carries no value.
    [[nodiscard]] Signal<void>& onBatteryChanged() noexcept { return onBatteryChanged_; }

    [[nodiscard]] bool hasBattery() const noexcept { return hasBattery_; }         ///< the machine can have a battery
    [[nodiscard]] bool installed() const noexcept { return installed_; }           ///< one is in it
    [[nodiscard]] bool isACPowered() const noexcept { return isACPowered_; }       ///< an adapter is connected
    [[nodiscard]] bool isFullyCharged() const noexcept { return isFullyCharged_; } ///< nothing more goes in
    [[nodiscard]] bool isCharging() const noexcept { return isCharging_; }         ///< it is being charged

    /// The power of the external adapter in watts; 0 without one, or if it does not tell.
    [[nodiscard]] std::int64_t acWatts() const noexcept { return acWatts_; }

    [[nodiscard]] double currentCapacity() const noexcept { return currentCapacity_; } ///< mAh
    [[nodiscard]] double maxCapacity() const noexcept { return maxCapacity_; }         ///< full charge now, mAh
    [[nodiscard]] double designCapacity() const noexcept { return designCapacity_; }   ///< full charge as new, mAh

    [[nodiscard]] std::int64_t cycleCount() const noexcept { return cycleCount_; } ///< charge cycles so far
    /// Charge cycles that it is made for; 0 if not known.
    [[nodiscard]] std::int64_t designCycleCount() const noexcept { return designCycleCount_; }

    [[nodiscard]] double temperature() const noexcept { return temperature_; } ///< degrees Celsius

    /// "2:05 remaining", "0:59 until charged", "Calculating..." while it cannot be known, empty when there is no time
    /// to tell. "Calculating..", with two dots, before the first change: meant so.
    [[nodiscard]] std::string timeRemaining() const;

    /// The time that `timeRemaining` tells: until the battery is empty, or full while it is charged. Absent before the
    /// first change, while it cannot be known, and when there is no time to tell.
    [[nodiscard]] std::optional<std::chrono::minutes> remainingDuration() const noexcept;

    [[nodiscard]] std::int64_t voltage() const noexcept { return voltage_; } ///< mV
    [[nodiscard]] std::int64_t current() const noexcept { return current_; } ///< mA, negative while discharging

    /// Charge in percent, 0 to 100; -2147483648 while there is no full charge to compare with, as in an empty bay.
    [[nodiscard]] std::int64_t percent() const noexcept { return percent_; }

    [[nodiscard]] std::string condition() const; ///< in the driver's words; "Normal" if it reports none
    [[nodiscard]] bool hasACondition() const noexcept { return hasACondition_; } ///< the driver reported one

    [[nodiscard]] std::string age() const { return age_; }                   ///< "3.5 years"; empty if not known
    [[nodiscard]] std::string manufactured() const { return manufactured_; } ///< "14 Mar 2019"; empty if not known

    /// The power that flows, in whole watts, half away from zero; negative while discharging.
    [[nodiscard]] double watts() const noexcept;

    /// Full charge now in percent of full charge as new, 0 to 100. 0 without a design capacity. Of a quotient above 255
    /// only the low 8 bits count before the cap: 300 % reads 44: meant so.
    [[nodiscard]] int health() const noexcept;

private:
    struct Record;
    class Models;

    void readFixedFacts(const platform::BatteryService& service);
    void powerSourceChanged(const Record& record);

    const std::shared_ptr<probes::SystemManager> session_;
    Signal<void> onBatteryChanged_;
    bool hasBattery_ = false;
    Relaxed<bool> installed_;
    Relaxed<bool> isACPowered_;
    Relaxed<bool> isFullyCharged_;
    Relaxed<bool> isCharging_;
    Relaxed<std::int64_t> acWatts_;
    Relaxed<double> currentCapacity_;
    Relaxed<double> maxCapacity_;
    Relaxed<double> designCapacity_;
    Relaxed<std::int64_t> cycleCount_;
    Relaxed<std::int64_t> designCycleCount_;
    Relaxed<double> temperature_;
    Atomic<std::string> timeRemaining_{"Calculating.."};
    Relaxed<std::int32_t> remainingMinutes_; // what is not above 0 is no time
    Relaxed<std::int64_t> voltage_;
    Relaxed<std::int64_t> current_;
    Relaxed<std::int64_t> percent_;
    Atomic<std::string> condition_;
    Relaxed<bool> hasACondition_;
    std::string age_;
    std::string manufactured_;

    Observation observation_; // the first to go: its calls use all the others
};

} // namespace sentrel
