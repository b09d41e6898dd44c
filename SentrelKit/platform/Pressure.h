// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <cstdint>
#include <iosfwd>
#include <optional>

namespace sentrel {

/// What threads can wait for because there is too little of it.
enum class PressureResource : std::uint8_t {
    cpu,    ///< a processor
    memory, ///< memory: reclaiming it, or reading back what was swapped or dropped
    io,     ///< input and output of block devices
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, PressureResource value);

/// How much of the time threads waited. An average is in percent of the time, 0 to 100, and weighs the newest most.
struct PressureShare {
    double avg10 = 0;        ///< over the last 10 seconds
    double avg60 = 0;        ///< over the last 60 seconds
    double avg300 = 0;       ///< over the last 300 seconds
    std::uint64_t total = 0; ///< microseconds since boot
    /// Whether every figure is the same.
    friend bool operator==(const PressureShare&, const PressureShare&) = default;
};

/// The pressure of one resource.
struct Pressure {
    PressureShare some;                ///< at least one thread waited
    std::optional<PressureShare> full; ///< all that had something to do waited; absent where it is not counted
    /// Whether every figure is the same.
    friend bool operator==(const Pressure&, const Pressure&) = default;
};

/// When pressure is worth a word: once threads waited for so long within a window of time.
struct PressureThreshold {
    /// Which waiting counts.
    enum class Kind : std::uint8_t {
        some, ///< of at least one thread
        full, ///< of all that had something to do
    };
    Kind kind = Kind::some;          ///< which waiting counts
    std::int64_t stall = 150'000;    ///< microseconds of waiting, more than 0 and at most the window
    std::int64_t window = 2'000'000; ///< microseconds; Linux takes 500'000 to 10'000'000
    /// Whether both are the same.
    friend bool operator==(const PressureThreshold&, const PressureThreshold&) = default;
};

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, PressureThreshold::Kind value);

} // namespace sentrel
