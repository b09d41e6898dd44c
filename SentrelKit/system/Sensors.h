// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the machine's chips measure of heat, fans and electricity.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/SensorService.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/Mutex/Atomic.h>

#include <memory>
#include <optional>
#include <vector>

namespace sentrel {

/// The model of the sensors. The registry owns the one instance and samples it every 2.3 seconds once it is asked to
/// (`System::start(sensors)`); until then it asks the machine nothing. It is no SystemResource: of the kind `sensors`
/// no model is, so a start by kind or by group never means it.
///
/// Sensors come and go with their devices, such as a disk, a network card or a graphics processor that sleeps; each
/// sample has those that could be read. Nothing that sleeps is woken. Figures are the chip's own: not every board wires
/// every input, and some of what is not wired shows any value.
///
/// Sources on Linux: the classes hwmon and powercap in /sys. On macOS every kind is unsupported: the keys of the
/// management controller (SMC) and the counters of the processors are reached by private calls alone, and differ from
/// model to model. Members may be called from any thread; readers wait for the copy of a list at most.
class SENTREL_API Sensors final {
public:
    /// What a sensor measures, and with it its unit: degrees Celsius, revolutions a minute, volts, amperes, watts,
    /// joules.
    using Kind = platform::SensorKind;

    /// One sensor at the last sample.
    struct Sensor : platform::SensorReading {
        /// Of an energy counter: the mean power between the last two samples in watts, 0 or more; what a processor's
        /// package used, for example. Absent for other kinds, at the first sample of a counter, and where the two are
        /// more than a minute apart.
        std::optional<double> watts{};
        /// Whether everything is the same.
        friend bool operator==(const Sensor&, const Sensor&) = default;
    };

    /// Asks the machine nothing.
    explicit Sensors(std::shared_ptr<probes::SystemManager> session = probes::session());

    /// Takes one sample of every sensor. Called from the background queue; one thread at a time. Takes no memory while
    /// the sensors stay the same.
    void update();

    /// Every sensor of the last sample, chip by chip in the machine's order, the energy counters of the processors
    /// last. Empty before the first sample. Linux: hwmon needs no privilege; the counters of powercap are readable by
    /// the superuser alone since kernel 5.10.
    [[nodiscard]] std::vector<Sensor> all() const;

    /// The same into the caller's list, whose memory is used again: for a reader that looks every second.
    void all(std::vector<Sensor>& sensors) const;

    /// Those of `all` that are of one kind.
    [[nodiscard]] std::vector<Sensor> of(Kind kind) const;

    /// Whether there are sensors of a kind at the last sample and, if not, why: `unsupported` where the machine has
    /// none, `denied` where it has some that this process may not read, `failed` where none of its sensors could be
    /// read. Absent before the first sample.
    [[nodiscard]] std::optional<Availability> availability(Kind kind) const;

private:
    struct Sample {
        std::vector<Sensor> sensors;
        std::optional<Availability> chips{};  // absent before the first sample
        std::optional<Availability> energy{}; // of the processors' counters
    };
    struct Sampling;

    Atomic<Sample> sample_;
    const std::shared_ptr<Sampling> sampling_; // of the sampling thread alone
};

} // namespace sentrel
