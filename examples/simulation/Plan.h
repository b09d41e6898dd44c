// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/simulation/Habit.h"
#include "examples/simulation/Simulation.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace simulation {

/// A disk with one volume on it.
struct DiskPlan {
    std::string whole;  ///< the device's name of the disk
    std::string device; ///< the device's name of the volume
    std::string model;
    std::string label;
    std::string path;
    std::string type;
    std::string icon; ///< a name of the desktop's theme
    double bytes = 0;
    Habit used;                    ///< share of the space, 0 to 1
    double filled = 0;             ///< share of the space that is used up each second in addition, from 0 on
    Habit read;                    ///< bytes per second
    Habit written;                 ///< bytes per second
    std::optional<Habit> warmth{}; ///< of a drive that tells its health: degrees Celsius
    bool isFailing = false;        ///< what such a drive says of itself
};

struct InterfacePlan {
    std::string name;
    std::string address;
    std::optional<std::string> ssid{}; ///< of a wireless one
    Habit signal{};                    ///< of a wireless one: dBm
    std::int64_t speed = 0;            ///< bits per second
    Habit in;                          ///< bytes per second
    Habit out;                         ///< bytes per second
    bool isPrimary = false;
};

/// An application, a service, or an auxiliary process of one.
struct ProcessPlan {
    std::int32_t id = 0;
    std::string name;
    std::string icon; ///< a name of the desktop's theme; empty for none
    std::int32_t threads = 1;
    Habit cores;                         ///< how many it keeps busy
    Habit memory;                        ///< bytes
    std::optional<std::int32_t> owner{}; ///< whom it works for
};

struct BatteryPlan {
    double designCapacity = 0; ///< mAh
    double maxCapacity = 0;    ///< mAh
    std::int64_t cycles = 0;
    std::string condition;
    double charge = 0; ///< share of the capacity at the beginning, 0 to 1
    Range charges;     ///< shares: it is plugged in at the lower one and unplugged at the upper one
    double adapterWatts = 0;
};

/// A graphics processor; one whose name contains "Intel" counts as the integrated one.
struct GraphicsPlan {
    std::string name;
    std::uint8_t id = 0;
};

/// What a machine is made of and how it behaves. Whatever has a name in it is invented.
struct Plan {
    std::string hostName;
    std::string brand;
    std::int32_t cores = 0;
    std::int32_t processors = 0; ///< logical ones
    double days = 0;             ///< that it has been up
    double asleep = 0;           ///< share of them, 0 to 1
    Habit system;                ///< processors that are busy with no process of the list
    double memory = 0;           ///< bytes
    Habit wired;                 ///< this and the next three: shares of the memory, 0 to 1
    Habit active;
    Habit compressed;
    Habit cached;
    double swap = 0; ///< bytes
    Habit swapped;   ///< share of them, 0 to 1
    Habit tasks;
    Range watts;           ///< of the machine at rest, and with all processors busy
    double roomWarmth = 0; ///< degrees Celsius at rest
    double loadWarmth = 0; ///< degrees Celsius more with all processors busy
    std::vector<DiskPlan> disks{};
    std::vector<InterfacePlan> interfaces{};
    std::vector<ProcessPlan> processes{};
    std::optional<BatteryPlan> battery{};
    std::vector<GraphicsPlan> graphics{}; ///< the last one drives the display
};

Plan planOf(Kind kind);

} // namespace simulation
