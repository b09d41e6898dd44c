// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

namespace sentrel {

/// Descriptors that this process has open.
inline std::size_t openDescriptors() {
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder))) - 1; // the folder's own
}

/// Threads of this process.
inline std::size_t runningThreads() {
    const std::filesystem::directory_iterator folder("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

/// Memory of this process that stands for no file, in bytes.
inline std::uint64_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::uint64_t size = 0;
    std::uint64_t resident = 0;
    std::uint64_t shared = 0;
    file >> size >> resident >> shared;
    return (resident - shared) * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

/// How often the main thread has waited for something so far: a program at rest does not wake up.
inline std::uint64_t mainThreadWaits() {
    std::ifstream file("/proc/self/status");
    const std::string wanted = "voluntary_ctxt_switches:";
    for (std::string line; std::getline(file, line);)
        if (line.compare(0, wanted.size(), wanted) == 0)
            return std::stoull(line.substr(wanted.size()));
    return 0;
}

} // namespace sentrel
