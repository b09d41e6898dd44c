// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/processes/LinuxProcessService.h>

#include <SentrelKit/platform/linux/common/BootTime.h>
#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/processes/DesktopEntries.h>
#include <SentrelKit/platform/support/UserDirectory.h>

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace sentrel::platform {

namespace {

// The kernel cuts a command here (TASK_COMM_LEN of linux/sched.h, less the terminator).
constexpr std::size_t longestCommand = 15;

// Whether the command is this name, as far as the kernel keeps it.
bool isCommandOf(std::string_view command, std::string_view name) noexcept {
    return command.size() < longestCommand ? command == name : name.substr(0, command.size()) == command;
}

std::unique_ptr<ProcessClocks> clocksOf(const SystemRoot& root) {
    if (root.isReal())
        return std::make_unique<KernelProcessClocks>();
    return std::make_unique<CapturedProcessClocks>(root);
}

// An entry gives a name, or an absolute path.
Icon iconOf(std::string text) {
    return text.starts_with('/') ? Icon::atPath(std::move(text)) : Icon::named(std::move(text));
}

} // namespace

LinuxProcessService::LinuxProcessService(const SystemRoot& root) : LinuxProcessService(root, clocksOf(root)) {}

LinuxProcessService::LinuxProcessService(const SystemRoot& root, std::unique_ptr<ProcessClocks> clocks)
    : root_(root), table_(root, std::move(clocks)), set_(std::make_shared<RunningApplications>()) {}

LinuxProcessService::~LinuxProcessService() = default;

std::optional<TaskInfo> LinuxProcessService::taskInfo(std::int32_t processIdentifier) noexcept {
    const LockScope scope(lock_);
    return table_.taskInfo(processIdentifier);
}

std::optional<std::uint64_t> LinuxProcessService::startTime(std::int32_t processIdentifier) noexcept {
    const LockScope scope(lock_);
    return table_.startTime(processIdentifier);
}

std::optional<std::int32_t> LinuxProcessService::parent(std::int32_t processIdentifier) noexcept {
    const LockScope scope(lock_);
    return table_.parent(processIdentifier);
}

Availability LinuxProcessService::storageBytes(std::int32_t processIdentifier, StorageBytes& bytes) noexcept {
    const LockScope scope(lock_);
    const std::optional<StorageBytes> read = table_.files().storage(processIdentifier);
    if (!read)
        return availabilityOf(errno);
    bytes = *read;
    return Availability::available;
}

Availability LinuxProcessService::openFiles(std::int32_t processIdentifier, std::uint64_t& count) noexcept {
    const LockScope scope(lock_);
    const std::optional<std::uint64_t> files = table_.files().openFiles(processIdentifier);
    if (!files)
        return availabilityOf(errno);
    count = *files;
    return Availability::available;
}

// The kernel counts from boot, in ticks, and tells the time of boot in whole seconds.
Availability LinuxProcessService::identity(std::int32_t processIdentifier, ProcessIdentity& identity) {
    const std::optional<std::string> system = root_.read("/proc/stat", statLimit);
    const std::optional<std::int64_t> boot = system ? parseBootTime(*system) : std::nullopt;
    const LockScope scope(lock_);
    const std::optional<ProcessStat> stat = table_.files().stat(processIdentifier);
    const std::optional<std::uint32_t> user = table_.files().user(processIdentifier);
    if (!boot || !stat || !user)
        return !boot ? Availability::failed : availabilityOf(errno);
    const auto ticks = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
    identity = {.started = *boot + static_cast<std::int64_t>(stat->startTicks / ticks), .user = *user};
    return Availability::available;
}

Availability LinuxProcessService::commandLine(std::int32_t processIdentifier, std::vector<std::string>& arguments) {
    constexpr std::size_t most = std::size_t{2} << 20; // the kernel's own limit for all words together, usually
    const std::optional<std::string> text = root_.read("/proc/" + std::to_string(processIdentifier) + "/cmdline", most);
    if (!text)
        return availabilityOf(errno);
    arguments = parseCommandLine(*text);
    return Availability::available;
}

// A captured machine has the users of its own file alone.
Availability LinuxProcessService::userName(std::uint32_t user, std::string& name) {
    if (root_.isReal())
        return findUserName(user, name);
    const std::optional<std::string> users = root_.read("/etc/passwd");
    if (!users)
        return availabilityOf(errno);
    const std::string_view found = parseUserName(*users, user);
    if (found.empty())
        return Availability::unsupported;
    name = found;
    return Availability::available;
}

RunningApplications LinuxProcessService::runningApplications() {
    const LockScope scope(lock_);
    look();
    return *set_;
}

Observation LinuxProcessService::observeRunningApplications(RunningApplicationsObserver observer) {
    return observers_.add([call = std::move(observer)](const SharedRunningApplications& set) { call(*set); });
}

void LinuxProcessService::refreshRunningApplications() {
    {
        const LockScope scope(lock_);
        look();
        observers_.offer(set_);
    }
    observers_.tell();
}

void LinuxProcessService::look() {
    if (table_.refresh())
        takeStock();
}

// Applies the rule to the table, and makes a new set if the outcome differs from the last.
void LinuxProcessService::takeStock() {
    std::vector<ProcessEntry>& entries = table_.entries();
    std::vector<const ProcessFacts*> facts;
    facts.reserve(entries.size());
    for (const ProcessEntry& entry : entries)
        facts.push_back(&entry.facts);
    const std::vector<std::int32_t> owners = applicationOwners(facts);

    RunningApplications applications;
    RunningApplications helpers;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        ProcessEntry& entry = entries[i];
        if (owners[i] != entry.owner)
            entry.application.reset();
        entry.owner = owners[i];
        if (entry.owner == 0)
            continue;
        if (!entry.application)
            entry.application = describe(entry);
        (entry.owner == entry.facts.id ? applications : helpers).push_back(entry.application);
    }
    applications.insert(applications.end(), helpers.begin(), helpers.end());
    if (applications != *set_)
        set_ = std::make_shared<RunningApplications>(std::move(applications));
}

std::shared_ptr<const RunningApplication> LinuxProcessService::describe(const ProcessEntry& entry) {
    RunningApplication application;
    application.processIdentifier = entry.facts.id;
    application.startTime = entry.facts.startTime;
    application.owner = entry.owner;
    if (entry.owner == entry.facts.id) {
        const std::string identifier = applicationIdentifier(entry.facts.scope);
        if (!identifier.empty())
            application.bundleIdentifier = identifier;
        if (std::optional<DesktopEntry> desktop = findDesktopEntry(root_, identifier)) {
            application.localizedName = std::move(desktop->name);
            if (desktop->icon)
                application.icon = iconOf(std::move(*desktop->icon));
        }
    }
    if (!application.localizedName)
        application.localizedName = programName(entry.facts);
    return std::make_shared<const RunningApplication>(std::move(application));
}

// The name under which users know the program: the program's file or the script that it runs, uncut, rather than what
// the process calls itself at the moment. But a remote log-in is known by whose it is: "sshd: user@notty".
std::string LinuxProcessService::programName(const ProcessFacts& facts) {
    const std::string_view file = lastPathComponent(facts.program);
    if (isRemoteLogin(facts)) {
        const std::vector<std::string> arguments = table_.files().arguments(facts.id);
        if (!arguments.empty() && arguments.front().rfind("sshd", 0) == 0)
            return arguments.front();
    }
    if (isCommandOf(facts.command, file))
        return std::string(file);
    for (const std::string& argument : table_.files().arguments(facts.id)) {
        const std::string_view name = lastPathComponent(argument);
        if (!name.empty() && isCommandOf(facts.command, name))
            return std::string(name);
    }
    return file.empty() ? facts.command : std::string(file);
}

} // namespace sentrel::platform
