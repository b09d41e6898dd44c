// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/system/History.h>
#include <SentrelKit/system/System.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// What the live view shows of a machine, as plain values. Shares are percent, 0 to 100; sizes bytes; rates bytes per
/// second. Texts are as the machine has them, not yet fit for a terminal.
struct Glance {
    /// A volume.
    struct Volume {
        std::string path;            ///< where it is mounted
        bool answers = false;        ///< else its sizes are old ones
        std::int64_t total = 0;      ///< 0 if it never answered
        std::int64_t used = 0;       ///< of those
        std::int64_t free = 0;       ///< of those
        double readPerSecond = 0;    ///< of its disk
        double writtenPerSecond = 0; ///< of its disk
    };
    /// A network interface.
    struct Interface {
        std::string name;             ///< such as "eth0"
        std::string address;          ///< the first one; may be empty
        bool isPrimary = false;       ///< the default route leads over it
        double receivedPerSecond = 0; ///< since the sample before
        double sentPerSecond = 0;     ///< since the sample before
    };
    /// The battery.
    struct Battery {
        double charge = 0;       ///< percent
        bool isCharging = false; ///< else it is full, or used
        double watts = 0;        ///< negative while it is discharged
        std::string remaining;   ///< as text; may be empty
    };
    /// A graphics processor.
    struct Graphics {
        std::string name;                  ///< of the product
        std::optional<double> use;         ///< percent
        std::optional<double> temperature; ///< degrees Celsius
        std::optional<double> power;       ///< watts
    };
    /// An application with the processes that work for it.
    struct Application {
        std::string name;         ///< to show
        std::int32_t pid = 0;     ///< its process
        double cpu = 0;           ///< percent of the processors that it can use
        std::uint64_t memory = 0; ///< bytes
    };

    std::string host;                   ///< the machine's name; may be empty
    std::string system;                 ///< the operating system for people; may be empty
    std::optional<std::int64_t> uptime; ///< seconds

    double usage = 0;                 ///< of the processors
    double user = 0;                  ///< part of it
    double kernel = 0;                ///< part of it
    std::array<double, 3> load{};     ///< averages over 1, 5 and 15 minutes
    std::uint32_t processes = 0;      ///< of the machine
    std::vector<double> cores;        ///< usage of each logical processor; empty if not known
    std::optional<std::string> heat;  ///< absent while it is nominal
    std::vector<double> usageHistory; ///< oldest first

    int memoryUsage = 0;          ///< percent
    std::uint64_t memory = 0;     ///< installed
    std::uint64_t memoryFree = 0; ///< that programs could have
    std::uint64_t swap = 0;       ///< 0 without
    std::uint64_t swapUsed = 0;   ///< of it

    std::vector<Interface> interfaces;   ///< the primary one first
    double receivedPerSecond = 0;        ///< over all of them
    double sentPerSecond = 0;            ///< over all of them
    std::vector<double> receivedHistory; ///< oldest first
    std::vector<double> sentHistory;     ///< oldest first

    std::vector<Volume> volumes;           ///< the root first
    std::optional<Battery> battery;        ///< absent without one
    std::vector<Graphics> graphics;        ///< in the machine's order
    std::vector<Application> applications; ///< in no order
};

/// Samples a machine and keeps what a view of its last minutes needs. One thread, the main one.
class Onlooker {
public:
    /// Asks the models for the further facts that the view shows. The system outlives it.
    explicit Onlooker(sentrel::System& system);

    /// Samples everything that is shown.
    void sample();

    /// What the last sample found.
    [[nodiscard]] Glance glance() const;

private:
    sentrel::System& system_;
    std::string systemName_;
    sentrel::History<double> usage_;
    sentrel::History<double> received_;
    sentrel::History<double> sent_;
};

} // namespace tool
