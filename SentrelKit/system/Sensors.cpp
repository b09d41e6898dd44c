// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Sensors.h>

#include <SentrelKit/base/system/detail/ForkGate.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/probes/detail/CounterRates.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace sentrel {

using platform::SensorReading;

struct Sensors::Sampling {
    explicit Sampling(std::shared_ptr<probes::SystemManager> machine) : session(std::move(machine)) {}

    const std::shared_ptr<probes::SystemManager> session;
    std::vector<SensorReading> chips;
    std::vector<SensorReading> energy;
    probes::CounterRates rates;
    Sample next; // the memory of the sample before the last

    void append(std::size_t& count, const SensorReading& reading, std::int64_t now) {
        if (count == next.sensors.size())
            next.sensors.emplace_back();
        Sensor& sensor = next.sensors[count++];
        static_cast<SensorReading&>(sensor) = reading;
        sensor.watts = reading.kind == Kind::energy
                           ? rates.perSecond(reading.identifier, reading.value, reading.range, now)
                           : std::nullopt;
    }
};

Sensors::Sensors(std::shared_ptr<probes::SystemManager> session)
    : sampling_(std::make_shared<Sampling>(std::move(session))) {}

void Sensors::update() {
    const ForkGate::Inside whole; // what the sampling thread keeps has no lock
    Sampling& sampling = *sampling_;
    platform::Platform& machine = sampling.session->platform();
    Sample& next = sampling.next;
    next.chips = machine.sensors().sensors(sampling.chips);
    next.energy = machine.sensors().energyCounters(sampling.energy);

    const std::int64_t now = machine.clock().monotonicNanoseconds();
    std::size_t count = 0;
    if (next.chips == Availability::available)
        for (const SensorReading& reading : sampling.chips)
            sampling.append(count, reading, now);
    if (next.energy == Availability::available)
        for (const SensorReading& reading : sampling.energy)
            sampling.append(count, reading, now);
    next.sensors.resize(count);
    sampling.rates.keepOnly(now);
    sample_.withValue([&next](Sample& sample) { std::swap(sample, next); });
}

std::vector<Sensors::Sensor> Sensors::all() const {
    std::vector<Sensor> sensors;
    all(sensors);
    return sensors;
}

void Sensors::all(std::vector<Sensor>& sensors) const {
    sample_.withValue([&sensors](const Sample& sample) { sensors = sample.sensors; });
}

std::vector<Sensors::Sensor> Sensors::of(Kind kind) const {
    std::vector<Sensor> sensors;
    sample_.withValue([&](const Sample& sample) {
        std::copy_if(sample.sensors.begin(), sample.sensors.end(), std::back_inserter(sensors),
                     [kind](const Sensor& sensor) { return sensor.kind == kind; });
    });
    return sensors;
}

std::optional<Availability> Sensors::availability(Kind kind) const {
    return sample_.withValue([kind](const Sample& sample) -> std::optional<Availability> {
        if (!sample.chips)
            return std::nullopt;
        if (std::any_of(sample.sensors.begin(), sample.sensors.end(),
                        [kind](const Sensor& sensor) { return sensor.kind == kind; }))
            return Availability::available;
        // What other kinds a chip has says nothing of this one.
        const Availability chips = *sample.chips == Availability::available ? Availability::unsupported : *sample.chips;
        return kind == Kind::energy && chips == Availability::unsupported ? *sample.energy : chips;
    });
}

} // namespace sentrel
