// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The sensors of the machine: what its chips measure of heat, fans and electricity. Any thread.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/Availability.h>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

/// What a sensor measures, and with it the unit of its value and of its limits.
enum class SensorKind : std::uint8_t {
    temperature, ///< degrees Celsius
    fan,         ///< revolutions a minute
    voltage,     ///< volts
    current,     ///< amperes
    power,       ///< watts
    energy,      ///< joules used since some point in the past: a counter
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, SensorKind value);

/// One sensor and what it says now. Value and limits are in the unit of its kind.
struct SensorReading {
    SensorKind kind = SensorKind::temperature; ///< what it measures
    std::string identifier{};                  ///< tells it from every other one, and the same as long as it is there
    std::string chip{};  ///< what the driver calls the chip, such as "coretemp", "nvme" or "intel-rapl"
    std::string label{}; ///< what the sensor is for, such as "Package id 0"; else the channel's name, such as "temp1"
    double value = 0;    ///< what it measures now
    std::optional<double> minimum{};  ///< below it something is wrong; absent where the chip knows none
    std::optional<double> maximum{};  ///< above it something is wrong; absent where the chip knows none
    std::optional<double> critical{}; ///< above it the machine is in danger; absent where the chip knows none
    std::optional<bool> alarm{};      ///< whether the chip raises an alarm for it now; absent where it has none
    std::optional<double> range{}; ///< of an energy counter: where it begins at 0 again; absent where that is not known

    /// Whether everything is the same.
    friend bool operator==(const SensorReading&, const SensorReading&) = default;
};

/// The questions about the sensors. A sensor that cannot be read at the moment, that reports a fault, or whose device
/// is switched off, is left out: nothing that sleeps is woken for it. `unsupported` means that there are none of them;
/// `denied` and `failed`, that there are some and not one of them could be read.
class SENTREL_API SensorService {
public:
    virtual ~SensorService() = default;

    /// Fills the list with every sensor of the machine's chips, chip by chip. The list stays as it was unless the
    /// answer is `available`. Takes no memory while the sensors stay the same. Linux: the hwmon class in /sys, which
    /// needs no privilege. macOS: unsupported, because the interface of the management controller is not public.
    [[nodiscard]] virtual Availability sensors(std::vector<SensorReading>& readings) = 0;

    /// The same for the energy counters of the processors' own power management, all of the kind `energy`. Linux: the
    /// powercap class in /sys; since kernel 5.10 only the superuser reads them. macOS: unsupported, because only
    /// private calls lead to such counters.
    [[nodiscard]] virtual Availability energyCounters(std::vector<SensorReading>& readings) = 0;
};

} // namespace sentrel::platform
