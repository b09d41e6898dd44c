// SPDX-License-Identifier: Apache-2.0
#pragma once

/// /proc/stat: processor time and the moment of boot.

#include <SentrelKit/platform/HostService.h>
#include <SentrelKit/platform/ProcessorFacts.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace sentrel::platform {

/// The first line, in ticks of 1/100 s over all processors. Guest time is not among them: the kernel has it inside user
/// and nice already (proc_stat(5), account_guest_time).
struct ProcessorTimes {
    std::uint64_t user = 0;
    std::uint64_t nice = 0;
    std::uint64_t system = 0;
    std::uint64_t idle = 0;
    std::uint64_t iowait = 0;
    std::uint64_t irq = 0;
    std::uint64_t softirq = 0;
    std::uint64_t steal = 0;
};

/// Reads the first line. Columns that an old kernel does not have are 0; absent if the first four are not all there.
[[nodiscard]] std::optional<ProcessorTimes> parseProcessorTimes(std::string_view stat) noexcept;

/// Reads the lines of all processors together and of each that is online, "ctxt", "intr" and "processes"; false, with
/// the record as it was, if the first one is not whole. A processor's line that is not whole, or not of a higher number
/// than the one before, counts as none.
[[nodiscard]] bool parseProcessorLoad(std::string_view stat, ProcessorLoad& load) noexcept;

/// Makes ticks that never decrease out of the kernel's counters, of which iowait, steal and those of a processor that
/// is taken away may step back. A step back counts as nothing; what comes after it counts again.
class SteadyTicks {
public:
    /// Adds what passed since the previous call (since boot at the first one) and gives the ticks so far.
    HostLoadTicks add(const ProcessorTimes& times) noexcept;

private:
    ProcessorTimes last_;
    std::uint64_t user_ = 0;
    std::uint64_t system_ = 0;
    std::uint64_t idle_ = 0;
    std::uint64_t nice_ = 0;
};

} // namespace sentrel::platform
