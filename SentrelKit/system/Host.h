// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The machine and its system: what runs, what it runs on, what it may use, and who is logged in.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/HostFacts.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/Mutex/Atomic.h>

#include <memory>
#include <optional>
#include <vector>

namespace sentrel {

/// Answers on demand, and is never sampled: each call asks the system, in some file readings, except where the answer
/// cannot change. Any thread. Every fact can be read by everybody.
///
/// Each is told in two forms: as a value that is absent where it cannot be had, and into the caller's record, which
/// then stays as it was, with the reason.
class SENTREL_API Host {
public:
    /// Asks nothing yet.
    explicit Host(std::shared_ptr<probes::SystemManager> session = probes::session());

    /// The system that runs. Linux: /etc/os-release (or that of /usr/lib), and ostype, osrelease, hostname and arch of
    /// /proc/sys/kernel; in a container the name and the version are the container's, the kernel is the machine's.
    /// macOS: the control interface.
    [[nodiscard]] std::optional<OperatingSystem> operatingSystem() const;
    /// The same, with the reason.
    Availability operatingSystem(OperatingSystem& system) const;

    /// What the machine is virtualised by: texts that are empty on a bare one. Found out once. Linux: the kinds and, as
    /// far as a process without privilege can see, the answers of systemd-detect-virt; a container that hides itself is
    /// not found. macOS: whether there is a hypervisor.
    [[nodiscard]] std::optional<Virtualization> virtualization() const;
    /// The same, with the reason.
    Availability virtualization(Virtualization& virtualization) const;

    /// What this process may use of the machine. Linux: /proc/self/cgroup and the hierarchies that are mounted, of
    /// version 2 (cpu.max, memory.max, memory.current) or 1; the least limit of the group and those above it counts,
    /// as far as they can be seen from inside a container. Not on macOS.
    [[nodiscard]] std::optional<ControlGroup> controlGroup() const;
    /// The same, with the reason.
    Availability controlGroup(ControlGroup& group) const;

    /// Who is logged in, in the order of the list. Linux: /run/utmp, as `who` shows it; systems without it, containers
    /// as a rule, have none. macOS: getutxent, of whose walk a process has one: a host that walks that list itself does
    /// so on no other thread meanwhile.
    [[nodiscard]] std::optional<std::vector<LoggedInUser>> users() const;
    /// The same, with the reason.
    Availability users(std::vector<LoggedInUser>& users) const;

private:
    const std::shared_ptr<probes::SystemManager> session_;
    mutable Atomic<std::optional<Virtualization>> virtualization_;
};

} // namespace sentrel
