// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What is told of disks beyond their bytes. Plain values; what a system does not tell is absent, never 0.

#include <SentrelKit/Export.h>

#include <cstdint>
#include <optional>
#include <string>

namespace sentrel {

/// The counters of one disk, or a part of one. Each but the last counts since the disk appeared. The times are in
/// milliseconds and wrap at 2^32.
struct DiskOperations {
    std::string name;                            ///< the kernel's, such as "sda" or "nvme0n1p2"
    std::int64_t reads = 0;                      ///< completed
    std::int64_t writes = 0;                     ///< completed
    std::uint32_t readTime = 0;                  ///< spent by all completed reads, each for itself
    std::uint32_t writeTime = 0;                 ///< the same for writes
    std::optional<std::uint32_t> busyTime{};     ///< in which there was at least one operation to do; absent on macOS
    std::optional<std::uint32_t> queueTime{};    ///< spent by all operations, those to come included, each for itself;
                                                 ///< absent on macOS
    std::optional<std::int64_t> operationsNow{}; ///< that wait or are being done at this moment; absent on macOS
};

/// One block device: a disk, a part of one, or one that is stacked on others.
struct DiskDevice {
    std::string name;                   ///< the kernel's, such as "sda1" or "dm-0"
    std::string alias;                  ///< another name that its volumes go by, such as "vg-home"; or empty
    std::string whole;                  ///< the kernel's name of the disk that it is a part of, or its own
    std::optional<std::string> model{}; ///< of the disk, UTF-8
    std::optional<std::int64_t> size{}; ///< bytes; 0 of a drive without a medium
    std::optional<bool> removable{};    ///< whether its medium can be taken out
    std::optional<bool> readOnly{};     ///< whether it cannot be written
    std::optional<bool> rotational{};   ///< whether it has platters, as far as the drive says
};

} // namespace sentrel
