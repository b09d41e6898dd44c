// SPDX-License-Identifier: Apache-2.0
#pragma once

/// How fast each processor runs: /sys/devices/system/cpu/cpu*/cpufreq (Documentation/admin-guide/pm/cpufreq.rst), and
/// the kinds of cores: those that the drivers cpu_core and cpu_atom name, or else by cpu_capacity, where the least
/// capacity of a machine with several is of its thrifty cores.
///
///     now       scaling_cur_freq: what the driver measured or set last, in kHz
///     least     cpuinfo_min_freq
///     most      cpuinfo_max_freq
///     governor  scaling_governor

#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/ProcessorFacts.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>
#include <SentrelKit/platform/linux/host/KeptSearch.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The content of one of these files, kHz, in hertz; absent if it is no number ("<unknown>") or no frequency.
[[nodiscard]] std::optional<std::uint64_t> parseFrequency(std::string_view content) noexcept;

/// All processors, looked up once a minute and read again and again. One thread at a time.
class CpuFrequencies {
public:
    explicit CpuFrequencies(SystemRoot root) : root_(std::move(root)) {}

    /// A processor that is no longer there is left out. Available with one figure of one processor, or the kinds.
    [[nodiscard]] Availability read(ProcessorFrequencies& frequencies);

private:
    struct Processor {
        CoreFrequency facts; // what does not change
        std::optional<KeptFile> now;
        std::optional<KeptFile> governor;
    };

    void find();
    void findKinds();

    SystemRoot root_;
    KeptSearch search_;
    std::vector<Processor> processors_;
    std::optional<CoreKinds> kinds_;
    int refusal_ = 0; // errno of the last file that is there and could not be opened
};

} // namespace sentrel::platform
