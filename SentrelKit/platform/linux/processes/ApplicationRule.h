// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Which processes are applications under Linux, and which work for one. The kernel does not know applications; this is
/// the rule that makes a busy program stand under its own name with its helpers folded into it, and nothing ever folded
/// into a shell, a terminal, a service manager or a session.
///
/// Out of the question are kernel threads, zombies, the process 1, and processes that cannot be measured.
///
/// Launchers are no applications and nothing works for them:
///  - service and session managers, log-in programs, and wrappers that only wait for the one program they start, by the
///    name of their program (`isManager`);
///  - terminal multiplexers, by name;
///  - shells, by name, while they lead a session on a terminal or have a child to wait for. A shell without is a
///  program
///    like any other.
/// But a launcher that computes by itself is shown for as long as it does, whatever it waits for meanwhile: a script
/// that runs one short command after another, a log-in server that carries a large file, a service manager that spins.
/// Still nothing works for it.
///
/// An application is
///  (1) the leading process of a desktop application scope or service (`app-*.scope`, `app-*.service`): its oldest
///      process that is not a launcher, or without such a one the oldest that computes. A scope into which the program
///      of an older scope started itself, under the same command, belongs to that older scope's application: browsers
///      move their first process into a scope of their own and leave the others in the one that the desktop made;
///  (2) elsewhere (also where there is no systemd), each process that works for no application.
///
/// A process works for an application if
///  - it shares the application's scope or is in one that belongs to it, wherever its parent stands; or
///  - its parent is the application, or works for it, and it runs the same program as the application or one from the
///    same installation folder. Folders that many programs share, such as /usr/bin, are nobody's installation folder;
///    or
///  - it is a crash handler, by name, that its program let go to wait beside it, and runs the same program or one from
///    the same installation folder: then for the youngest such application that is older than itself.
/// But never if it has a terminal that the leading process (the parent, in the second case) has not: what is run in a
/// terminal stands for itself, also when the terminal is a part of an editor or the scope is a terminal emulator's.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// What the rule asks of one process.
struct ProcessFacts {
    std::int32_t id = 0;
    std::int32_t parent = 0;
    std::int32_t session = 0;    ///< id of the session's leader
    std::int32_t terminal = 0;   ///< device number of the controlling terminal, 0 without one
    std::uint64_t startTime = 0; ///< clock ticks since boot
    bool isCandidate = false;    ///< a measurable, living process of a user or a service
    bool isComputing = false;    ///< of a process that may be a launcher: it runs by itself, it does not only wait
    std::string command;         ///< as the process calls itself, at most 15 bytes
    std::string program;         ///< path of the program, empty if unknown
    std::string scope;           ///< name of the application scope, empty without one

    friend bool operator==(const ProcessFacts&, const ProcessFacts&) = default;
};

/// The folder that belongs to the program alone, without a `bin` or the like at its end; empty if there is none.
[[nodiscard]] std::string_view installationFolder(std::string_view program) noexcept;

/// Whether the process is a launcher whenever it does not compute and, for a shell, has something to wait for.
[[nodiscard]] bool mayBeLauncher(const ProcessFacts& process) noexcept;

/// Whether the process is a remote log-in server's, which carries what its users transfer.
[[nodiscard]] bool isRemoteLogin(const ProcessFacts& process) noexcept;

/// Applies the rule. The facts lie in rising order of id. Gives for each process its own id if it is an application,
/// the application's id if it works for one, and 0 for the others.
[[nodiscard]] std::vector<std::int32_t> applicationOwners(const std::vector<const ProcessFacts*>& processes);

} // namespace sentrel::platform
