// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the host tells of each of its logical processors, and the shares of the time that are made of it.

#include <SentrelKit/Export.h>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

/// What a processor did, in percent of the time; the shares that are there add up to 100.
struct ProcessorShares {
    double user = 0;              ///< in programs, those of low priority included
    double system = 0;            ///< in the kernel, with interrupts
    double idle = 0;              ///< at rest, without what is in `iowait`
    std::optional<double> iowait; ///< at rest while a thread waited for a device; absent where it is not counted
    std::optional<double> steal;  ///< taken by a hypervisor; absent where it is not counted
    /// Whether every share is the same.
    friend bool operator==(const ProcessorShares&, const ProcessorShares&) = default;
};

/// What one logical processor did.
struct CoreShares {
    std::uint32_t number = 0; ///< the system's number of the logical processor
    ProcessorShares shares;   ///< since the sample before
    /// Whether both are the same.
    friend bool operator==(const CoreShares&, const CoreShares&) = default;
};

/// What a core is built for, on machines with several kinds.
enum class CoreKind : std::uint8_t {
    performance, ///< the fast ones
    efficiency,  ///< the thrifty ones
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, CoreKind value);

/// How fast a logical processor runs.
struct CoreFrequency {
    std::uint32_t number = 0;           ///< the system's number of the logical processor
    std::optional<std::uint64_t> now;   ///< hertz, as it was set or measured last
    std::optional<std::uint64_t> least; ///< hertz, of which it is capable
    std::optional<std::uint64_t> most;  ///< hertz, of which it is capable, short boosts included
    std::string governor;               ///< what chooses the frequency, by the system's name; empty if not told
    std::optional<CoreKind> kind;       ///< absent where all cores are alike or the system does not say
    /// Whether everything is the same.
    friend bool operator==(const CoreFrequency&, const CoreFrequency&) = default;
};

/// How many logical processors are of each kind.
struct CoreKinds {
    std::uint32_t performance = 0; ///< on fast cores
    std::uint32_t efficiency = 0;  ///< on thrifty cores
    /// Whether both are the same.
    friend bool operator==(const CoreKinds&, const CoreKinds&) = default;
};

namespace platform {

/// Ticks since boot, all of one length. Those of idle and what is optional may step back a little.
struct ProcessorTicks {
    std::uint64_t user = 0;              ///< without nice
    std::uint64_t nice = 0;              ///< of user programs at a low priority
    std::uint64_t system = 0;            ///< in the kernel, with interrupts
    std::uint64_t idle = 0;              ///< with nothing to do; without `iowait` where that is counted
    std::optional<std::uint64_t> iowait; ///< idle while a thread waited for a device
    std::optional<std::uint64_t> steal;  ///< taken by a hypervisor
    /// Whether every figure is the same.
    friend bool operator==(const ProcessorTicks&, const ProcessorTicks&) = default;
};

/// The ticks of one logical processor.
struct NumberedTicks {
    std::uint32_t number = 0; ///< the system's number of the logical processor
    ProcessorTicks ticks;     ///< since boot
    /// Whether both are the same.
    friend bool operator==(const NumberedTicks&, const NumberedTicks&) = default;
};

/// What the processors have done since boot, read at one moment.
struct ProcessorLoad {
    ProcessorTicks all;                           ///< of all processors together
    std::vector<NumberedTicks> each;              ///< of those online, by rising number
    std::optional<std::uint64_t> contextSwitches; ///< of all processors
    std::optional<std::uint64_t> interrupts;      ///< served by all processors
    std::optional<std::uint64_t> forks;           ///< processes and threads made
    /// Whether everything is the same.
    friend bool operator==(const ProcessorLoad&, const ProcessorLoad&) = default;
};

/// The frequencies of the logical processors.
struct ProcessorFrequencies {
    std::vector<CoreFrequency> each; ///< of those online, by rising number; empty where only the kinds are told
    std::optional<CoreKinds> kinds;  ///< absent where all cores are alike or the system does not say
    /// Whether everything is the same.
    friend bool operator==(const ProcessorFrequencies&, const ProcessorFrequencies&) = default;
};

} // namespace platform
} // namespace sentrel
