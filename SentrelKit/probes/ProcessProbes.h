// SPDX-License-Identifier: Apache-2.0
#pragma once

/// One process's resource use and its parent, on the machine in force unless another session is handed in. Stateless,
/// any thread; nothing is ever printed. A process that has ended
/// or that belongs to another user is a failure, and so are the ids below 2 (the kernel and the first process), also
/// for a privileged caller.

#include <SentrelKit/Export.h>
#include <SentrelKit/probes/SystemManager.h>

#include <cstdint>

namespace sentrel::probes {

/// What one process has used.
struct ApplicationAttributes {
    double cpuTime = 0;             ///< user and system time of all threads so far, milliseconds
    std::uint64_t residentSize = 0; ///< resident memory, bytes
    std::int32_t threads = 0;       ///< threads now
};

/// Fills the record for a process id. 1 on success; 0 on failure, the record untouched. Linux: the process clock and
/// "stat" and "statm" of the process in /proc; macOS: proc_pidinfo.
SENTREL_API int _getApplicationAttributes(std::int32_t processIdentifier, ApplicationAttributes* attributes,
                                          SystemManager& session = *System) noexcept;

/// As above, for the process that had this id and this start time when it was listed (platform::RunningApplication): 0
/// as well if the id belongs to another process by now. A start time of 0 is not compared.
SENTREL_API int _getApplicationAttributes(std::int32_t processIdentifier, std::uint64_t startTime,
                                          ApplicationAttributes* attributes, SystemManager& session = *System) noexcept;

/// The id of a process's parent, -1 on failure.
SENTREL_API std::int32_t _getParentPid(std::int32_t processIdentifier, SystemManager& session = *System) noexcept;

} // namespace sentrel::probes
