// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/simulation/Habit.h"
#include "examples/simulation/Plan.h"

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace simulation {

/// Everything of a machine that moves, and writes itself into the values of a scripted one. One thread at a time.
class Motion {
public:
    Motion(const Plan& plan, std::uint32_t seed);

    /// Goes on to so many nanoseconds after the beginning; false if that takes no step. It never goes back.
    bool moveTo(std::int64_t nanoseconds);

    void write(sentrel::platform::ScriptedPlatform& values) const;

private:
    struct Disk {
        DiskPlan plan;
        Figure used{plan.used};
        Figure read{plan.read};
        Figure written{plan.written};
        Figure warmth{plan.warmth.value_or(Habit{})};
        double bytesRead = 0;
        double bytesWritten = 0;
    };
    struct Interface {
        InterfacePlan plan;
        Figure in{plan.in};
        Figure out{plan.out};
        Figure signal{plan.signal};
        double bytesIn = 0;
        double bytesOut = 0;
    };
    struct Process {
        ProcessPlan plan;
        Figure cores{plan.cores};
        Figure memory{plan.memory};
        double seconds = 0; // of processor time
    };
    struct Battery {
        BatteryPlan plan;
        double charge = plan.charge * plan.maxCapacity; // mAh
        double current = 0;                             // mA, smoothed; negative while it discharges
        bool isPlugged = false;
    };

    // How long threads wait for one resource.
    struct Waiting {
        std::array<double, 3> averages{}; // over 10, 60 and 300 seconds, in percent
        double seconds = 0;
    };

    void step();
    void stepProcesses();
    void stepDisks();
    void stepWaiting();
    void stepBattery(Battery& battery) const;
    void writeHost(sentrel::platform::ScriptedHostService& host) const;
    void writeProcessors(sentrel::platform::ScriptedHostService& host) const;
    void writeMemory(sentrel::platform::ScriptedHostService& host) const;
    void writeWaiting(sentrel::platform::ScriptedHostService& host) const;
    void writeSensors(sentrel::platform::ScriptedSensorService& sensors) const;
    void writeDisks(sentrel::platform::ScriptedVolumeService& volumes) const;
    void writeInterfaces(sentrel::platform::ScriptedNetworkService& network) const;
    void writeProcesses(sentrel::platform::ScriptedProcessService& processes) const;
    void writeBattery(const Battery& battery, sentrel::platform::ScriptedPowerService& power) const;
    void writeDiskOperations(sentrel::platform::ScriptedVolumeService& volumes) const;
    [[nodiscard]] double usedShare(const Disk& disk) const;
    [[nodiscard]] double load() const { return busy_ / plan_.processors; } // 0 to 1
    [[nodiscard]] double watts() const { return plan_.watts.low + (plan_.watts.high - plan_.watts.low) * load(); }

    const Plan plan_;
    Random random_;
    std::int64_t steps_ = 0;

    Figure system_;
    Figure wired_;
    Figure active_;
    Figure compressed_;
    Figure cached_;
    Figure swapped_;
    Figure tasks_;
    std::vector<Disk> disks_;
    std::vector<Interface> interfaces_;
    std::vector<Process> processes_;
    std::optional<Battery> battery_;

    double busy_ = 0;                      // processors
    double warmth_;                        // of the processor, degrees Celsius
    std::array<double, 3> loadAverages_{}; // over 1, 5 and 15 minutes
    double awake_ = 0;                     // seconds since boot
    struct {
        double user = 0;
        double system = 0;
        double idle = 0;
        double nice = 0;
    } ticks_;
    std::array<Waiting, 3> waiting_; // for a processor, for memory and for disks
    double joules_ = 0;
    double pagesIn_ = 0;
    double pagesOut_ = 0;
    double faults_ = 0;
};

/// What of a machine does not move.
void writeFixed(const Plan& plan, std::int64_t bootTime, sentrel::platform::ScriptedPlatform& values);

} // namespace simulation
