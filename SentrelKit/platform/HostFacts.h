// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the host tells of itself as a system.

#include <SentrelKit/Export.h>

#include <cstdint>
#include <optional>
#include <string>

namespace sentrel {

/// The system that runs, as texts; one that is not told is empty.
struct OperatingSystem {
    std::string name;          ///< "Debian GNU/Linux"
    std::string prettyName;    ///< for people, with the version: "Debian GNU/Linux 12 (bookworm)"
    std::string id;            ///< for programs: "debian"
    std::string version;       ///< "12"; rolling systems have none
    std::string kernel;        ///< "Linux"
    std::string kernelRelease; ///< "6.1.0-18-amd64"
    std::string architecture;  ///< of the kernel: "x86_64"
    std::string hostName;      ///< as the kernel knows the machine
    /// Whether everything is the same.
    friend bool operator==(const OperatingSystem&, const OperatingSystem&) = default;
};

/// What stands between the program and the bare machine, by the short names that systemd-detect-virt has for them.
struct Virtualization {
    std::string machine;   ///< the hypervisor, such as "kvm", or "vm-other"; empty if none is seen
    std::string container; ///< such as "docker", or "container-other"; empty if none is seen
    /// Whether both are the same.
    friend bool operator==(const Virtualization&, const Virtualization&) = default;
};

/// What the control group of this process may use, limits of the groups above it included, and what it uses.
struct ControlGroup {
    int version = 2;                          ///< of the hierarchy that was read: 1 or 2
    std::optional<double> processors;         ///< time of so many processors, such as 1.5; absent: no limit
    std::optional<std::uint64_t> memoryLimit; ///< bytes; absent: no limit
    std::optional<std::uint64_t> memoryUsed;  ///< bytes of the group and those below it, file cache included
    /// Whether everything is the same.
    friend bool operator==(const ControlGroup&, const ControlGroup&) = default;
};

/// A user who is logged in at a terminal, on a display or from another machine.
struct LoggedInUser {
    std::string name;         ///< of the user
    std::string terminal;     ///< "tty1", "pts/0"
    std::string from;         ///< the other machine or the display; empty if neither
    std::int64_t since = 0;   ///< seconds since the epoch
    std::int32_t process = 0; ///< id of the session's first process
    /// Whether everything is the same.
    friend bool operator==(const LoggedInUser&, const LoggedInUser&) = default;
};

} // namespace sentrel
