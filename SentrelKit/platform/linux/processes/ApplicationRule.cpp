// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/processes/ApplicationRule.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <utility>

namespace sentrel::platform {

namespace {

template <std::size_t Count>
bool isOneOf(const std::array<std::string_view, Count>& names, std::string_view name) noexcept {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// The name that tells what kind of program this is. One file that is many programs goes by the process's own name.
std::string_view kindName(const ProcessFacts& process) noexcept {
    const std::string_view name = lastPathComponent(process.program);
    return name.empty() || name == "busybox" || name == "toybox" ? std::string_view(process.command) : name;
}

bool isManager(std::string_view name, std::string_view command) noexcept {
    static constexpr auto names = std::to_array<std::string_view>(
        {// service managers and the first processes of containers
         "systemd", "systemd-executor", "init", "openrc-init", "openrc-run", "supervise-daemon", "runit", "runsvdir",
         "runsv", "s6-svscan", "s6-supervise", "supervisord", "tini", "dumb-init", "catatonit", "docker-init",
         "containerd-shim", "containerd-shim-runc-v2", "conmon", "crun", "runc",
         // sessions, log-in and remote log-in
         "gdm-session-worker", "gdm-wayland-session", "gdm-x-session", "lightdm", "sddm", "sddm-helper", "agetty",
         "login", "sshd", "sshd-session", "dropbear", "gnome-session-binary", "gnome-session-init-worker",
         "gnome-session-service", "gnome-session-ctl", "plasma_session", "startplasma-wayland", "startplasma-x11",
         "lxsession", "lxqt-session", "xfce4-session", "mate-session",
         // those that only wait for what they start
         "cron", "crond", "atd", "su", "sudo", "doas", "runuser", "bwrap"});
    // Some managers are scripts and so go by their own name only.
    return isOneOf(names, name) || command == "supervisord" || command == "(sd-pam)";
}

bool isMultiplexer(std::string_view name) noexcept {
    static constexpr auto names =
        std::to_array<std::string_view>({"tmux", "screen", "SCREEN", "zellij", "dtach", "abduco", "byobu"});
    return isOneOf(names, name);
}

bool isShell(std::string_view name) noexcept {
    static constexpr auto names =
        std::to_array<std::string_view>({"sh", "bash", "dash", "zsh", "fish", "ksh", "ksh93", "mksh", "oksh", "ash",
                                         "csh", "tcsh", "nu", "pwsh", "xonsh", "elvish"});
    return isOneOf(names, name);
}

// The programs that a program starts beside itself, gives to process 1 and reports its crashes to.
bool isCrashHandler(const ProcessFacts& process) noexcept {
    static constexpr auto names = std::to_array<std::string_view>(
        {"crashpad_handler", "chrome_crashpad_handler", "msedge_crashpad_handler", "crashhelper"});
    return isOneOf(names, lastPathComponent(process.program));
}

bool isSharedFolder(std::string_view folder) noexcept {
    static constexpr auto folders = std::to_array<std::string_view>({"",
                                                                     "/bin",
                                                                     "/sbin",
                                                                     "/lib",
                                                                     "/lib64",
                                                                     "/opt",
                                                                     "/usr",
                                                                     "/usr/bin",
                                                                     "/usr/sbin",
                                                                     "/usr/lib",
                                                                     "/usr/lib64",
                                                                     "/usr/libexec",
                                                                     "/usr/games",
                                                                     "/usr/share",
                                                                     "/usr/local",
                                                                     "/usr/local/bin",
                                                                     "/usr/local/sbin",
                                                                     "/usr/local/lib",
                                                                     "/usr/local/libexec",
                                                                     "/usr/local/games",
                                                                     "/snap/bin",
                                                                     "/home",
                                                                     "/root",
                                                                     "/tmp",
                                                                     "/var/tmp",
                                                                     "/app/bin",
                                                                     "/nix/store"});
    if (isOneOf(folders, folder))
        return true;
    // The C library's folder of a machine type, and a user's own folder with the programs put right into it.
    const std::size_t slash = folder.rfind('/');
    const std::string_view above = folder.substr(0, slash);
    const std::string_view last = folder.substr(slash + 1);
    return (above == "/usr/lib" && last.find("-linux-") != std::string_view::npos) || above == "/home" ||
           last == ".local" || last == ".cargo";
}

class Classification {
public:
    explicit Classification(const std::vector<const ProcessFacts*>& processes)
        : processes_(processes), parents_(processes.size(), none), owners_(processes.size()),
          hasChild_(processes.size()), isLauncher_(processes.size()) {
        findParents();
        findLeaders();
        for (std::size_t i = 0; i < processes_.size(); ++i)
            resolve(i);
        giveCrashHandlersBack();
    }

    [[nodiscard]] std::vector<std::int32_t> result() const {
        std::vector<std::int32_t> ids(owners_.size());
        std::transform(owners_.begin(), owners_.end(), ids.begin(), [this](const std::optional<std::size_t>& owner) {
            return owner && *owner != none ? processes_[*owner]->id : 0;
        });
        return ids;
    }

private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    void findParents() {
        const auto before = [](const ProcessFacts* process, std::int32_t id) { return process->id < id; };
        for (std::size_t i = 0; i < processes_.size(); ++i) {
            const std::int32_t id = processes_[i]->parent;
            const auto parent = std::lower_bound(processes_.begin(), processes_.end(), id, before);
            if (parent == processes_.end() || (*parent)->id != id)
                continue;
            parents_[i] = static_cast<std::size_t>(parent - processes_.begin());
            hasChild_[parents_[i]] = hasChild_[parents_[i]] || processes_[i]->isCandidate;
        }
    }

    [[nodiscard]] bool isLauncher(std::size_t i) const {
        const ProcessFacts& process = *processes_[i];
        if (!mayBeLauncher(process))
            return false;
        return !isShell(kindName(process)) || hasChild_[i] || (process.session == process.id && process.terminal != 0);
    }

    // Settles who is out of the question, and the leading process of each scope.
    void findLeaders() {
        for (std::size_t i = 0; i < processes_.size(); ++i) {
            const ProcessFacts& process = *processes_[i];
            isLauncher_[i] = process.isCandidate && isLauncher(i);
            if (!process.isCandidate || process.id < 2 || (isLauncher_[i] && !process.isComputing)) {
                owners_[i] = none;
                continue;
            }
            if (process.scope.empty())
                continue;
            const auto [leader, isFirst] = leaders_.try_emplace(process.scope, i);
            if (!isFirst && leadsRatherThan(i, leader->second))
                leader->second = i;
        }
        while (joinScopes())
            ;
        for (const auto& [scope, leader] : leaders_)
            owners_[leader] = leader;
    }

    [[nodiscard]] bool leadsRatherThan(std::size_t i, std::size_t other) const {
        if (isLauncher_[i] != isLauncher_[other])
            return isLauncher_[other];
        return processes_[i]->startTime < processes_[other]->startTime;
    }

    // Gives the scopes into which a program started itself from an older one that scope's leader. False if there were
    // none; a leader only ever gives way to an older one, and so that comes.
    bool joinScopes() {
        bool joined = false;
        for (std::size_t i = 0; i < processes_.size(); ++i) {
            const std::size_t parent = parents_[i];
            if (!isInScope(i) || parent == none || !isInScope(parent))
                continue;
            const ProcessFacts& process = *processes_[i];
            const ProcessFacts& starter = *processes_[parent];
            if (process.scope == starter.scope || !isSameProgram(process, starter) ||
                isOnAnotherTerminal(process, starter))
                continue;
            std::size_t& leader = leaders_.find(process.scope)->second;
            const std::size_t older = leaders_.find(starter.scope)->second;
            if (processes_[older]->startTime >= processes_[leader]->startTime)
                continue;
            leader = older;
            joined = true;
        }
        return joined;
    }

    // One interpreter runs many programs, which their commands tell apart.
    [[nodiscard]] static bool isSameProgram(const ProcessFacts& a, const ProcessFacts& b) noexcept {
        return a.program == b.program && a.command == b.command;
    }

    // Whether the process has a part in its scope: launchers and what is out of the question have none.
    [[nodiscard]] bool isInScope(std::size_t i) const {
        return !owners_[i] && !isLauncher_[i] && !processes_[i]->scope.empty();
    }

    [[nodiscard]] static bool isOnAnotherTerminal(const ProcessFacts& process, const ProcessFacts& than) noexcept {
        return process.terminal != 0 && process.terminal != than.terminal;
    }

    [[nodiscard]] static bool belongTogether(const ProcessFacts& process, const ProcessFacts& application) noexcept {
        if (process.program.empty() || application.program.empty())
            return process.command == application.command;
        if (process.program == application.program)
            return true;
        const std::string_view folder = installationFolder(application.program);
        return !folder.empty() && liesWithin(process.program, folder);
    }

    // Settles the process, and before it the chain of its parents as far as that is open. What is being settled counts
    // as an application, so that a chain which bites its tail, as only a torn listing can show, ends.
    void resolve(std::size_t first) {
        chain_.clear();
        for (std::size_t i = first; i != none && !owners_[i]; i = parents_[i]) {
            owners_[i] = i;
            chain_.push_back(i);
        }
        for (; !chain_.empty(); chain_.pop_back())
            owners_[chain_.back()] = ownerOf(chain_.back());
    }

    [[nodiscard]] std::size_t ownerOf(std::size_t i) const {
        const ProcessFacts& process = *processes_[i];
        if (!process.scope.empty()) {
            const std::size_t leader = leaders_.find(process.scope)->second;
            if (!isLauncher_[leader] && !isOnAnotherTerminal(process, *processes_[leader]))
                return leader;
        }
        const std::size_t parent = parents_[i];
        if (parent == none || *owners_[parent] == none)
            return i;
        const std::size_t application = *owners_[parent];
        if (isLauncher_[application] || isOnAnotherTerminal(process, *processes_[parent]) ||
            !belongTogether(process, *processes_[application]))
            return i;
        return application;
    }

    void giveCrashHandlersBack() {
        for (std::size_t i = 0; i < processes_.size(); ++i) {
            if (owners_[i] != i || !isCrashHandler(*processes_[i]))
                continue;
            const std::size_t application = applicationOfCrashHandler(i);
            if (application != none)
                std::replace(owners_.begin(), owners_.end(), std::optional(i), std::optional(application));
        }
    }

    [[nodiscard]] std::size_t applicationOfCrashHandler(std::size_t handler) const {
        const ProcessFacts& process = *processes_[handler];
        std::size_t youngest = none;
        for (std::size_t i = 0; i < processes_.size(); ++i) {
            const ProcessFacts& application = *processes_[i];
            if (owners_[i] == i && !isCrashHandler(application) && application.startTime <= process.startTime &&
                belongTogether(process, application) && !isOnAnotherTerminal(process, application) &&
                (youngest == none || application.startTime >= processes_[youngest]->startTime))
                youngest = i;
        }
        return youngest;
    }

    const std::vector<const ProcessFacts*>& processes_;
    std::vector<std::size_t> parents_;
    std::vector<std::optional<std::size_t>> owners_; // empty: open; none: no application and works for none
    std::vector<bool> hasChild_;
    std::vector<bool> isLauncher_; // whether it computes or not
    std::map<std::string_view, std::size_t> leaders_;
    std::vector<std::size_t> chain_;
};

} // namespace

bool mayBeLauncher(const ProcessFacts& process) noexcept {
    const std::string_view name = kindName(process);
    return isManager(name, process.command) || isMultiplexer(name) || isShell(name);
}

bool isRemoteLogin(const ProcessFacts& process) noexcept {
    const std::string_view name = kindName(process);
    return name == "sshd" || name == "sshd-session";
}

std::string_view installationFolder(std::string_view program) noexcept {
    static constexpr auto parts = std::to_array<std::string_view>({"bin", "sbin", "libexec", "lib", "lib64"});
    const std::size_t slash = program.rfind('/');
    if (slash == std::string_view::npos)
        return {};
    std::string_view folder = program.substr(0, slash);
    if (isSharedFolder(folder))
        return {};
    if (isOneOf(parts, lastPathComponent(folder)))
        folder = folder.substr(0, folder.rfind('/'));
    return isSharedFolder(folder) ? std::string_view() : folder;
}

std::vector<std::int32_t> applicationOwners(const std::vector<const ProcessFacts*>& processes) {
    return Classification(processes).result();
}

} // namespace sentrel::platform
