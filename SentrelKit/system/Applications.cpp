#include <SentrelKit/system/Applications.h>

#include <SentrelKit/base/system/WallClock.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/probes/HostProbes.h>
#include <SentrelKit/probes/ProcessProbes.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace sentrel {

namespace {

constexpr std::string_view excludedBundleIdentifier = "Sentrel.Today"; // the host's own notification-centre extension
constexpr std::string_view runningApplicationsKey = "runningApplications";
constexpr std::size_t topCount = 3;

using platform::RunningApplication;
using platform::RunningApplications;
using SharedApplication = std::shared_ptr<const RunningApplication>;

std::string displayName(const RunningApplication& app) {
    return app.localizedName.value_or(app.bundleIdentifier.value_or(std::string()));
}

bool startsWith(std::string_view text, std::string_view prefix) noexcept {
    return text.substr(0, prefix.size()) == prefix;
}

bool endsWith(std::string_view text, std::string_view suffix) noexcept {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

// The words of the name but for the last ones, with single blanks between them.
std::string withoutLastWords(std::string_view name, std::size_t count) {
    std::vector<std::string_view> words;
    while (!name.empty()) {
        const std::size_t end = std::min(name.find(' '), name.size());
        if (end > 0)
            words.push_back(name.substr(0, end));
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    words.resize(words.size() - std::min(count, words.size()));
    std::string joined;
    for (const std::string_view word : words) {
        if (!joined.empty())
            joined += ' ';
        joined += word;
    }
    return joined;
}

// The name of the application that a browser engine's process works for; absent if the name is not of such a process.
// Without a suffix nothing is dropped.
std::optional<std::string> ownerName(std::string_view name) {
    if (endsWith(name, " Web Content"))
        return withoutLastWords(name, 2);
    if (endsWith(name, " Networking"))
        return withoutLastWords(name, 1);
    if (startsWith(name, "com.apple.WebKit.WebContent") || startsWith(name, "com.apple.WebKit.Networking"))
        return withoutLastWords(name, 0);
    return std::nullopt;
}

std::optional<std::int64_t> nowMilliseconds() noexcept {
    WallClockReading reading;
    if (!WallClock::current().read(reading))
        return std::nullopt;
    return reading.seconds * 1000 + reading.microseconds / 1000;
}

bool identityBefore(const SharedApplication& a, const SharedApplication& b) noexcept {
    return a->processIdentifier != b->processIdentifier ? a->processIdentifier < b->processIdentifier
                                                        : a->startTime < b->startTime;
}

} // namespace

Applications::Process::Process(SharedApplication app)
    : app_(std::move(app)), ppid_(probes::_getParentPid(app_->processIdentifier)) {
    sampling_.pid = app_->processIdentifier;
    sampling_.startTime = app_->startTime;
}

std::string Applications::Process::name() const {
    return displayName(*app_);
}

void Applications::Process::setParent(const std::shared_ptr<Process>& parent) {
    sampling_.parent = parent.get();
    parent_.setValue(parent);
}

Applications::Applications() {
    probes::_getHostInfo([this](const probes::host_basic_info* info) { activeLogicalCores_ = info->logical_cpu; });
    platform::ProcessService& service = platform::current().processes();
    sync(service.runningApplications());
    observation_ = service.observeRunningApplications([this, &service](const RunningApplications& applications) {
        observeValue(runningApplicationsKey, &service, applications, &KVOContext_);
    });
}

Applications::~Applications() {
    observation_.reset(); // before anything that the observer touches
}

void Applications::observeValue(std::string_view, const platform::ProcessService*, const RunningApplications& change,
                                const void* context) {
    if (context == &KVOContext_)
        sync(change);
}

void Applications::sync(const RunningApplications& apps) {
    const std::int64_t tracked = mutex_.synchronise([&]() SENTREL_REQUIRES(mutex_) {
        removeTerminated(apps);
        RunningApplications known;
        known.reserve(prevProcesses_.size());
        for (const SharedProcess& process : prevProcesses_)
            known.push_back(process->app_);
        std::sort(known.begin(), known.end(), identityBefore);
        for (const SharedApplication& app : apps) {
            const auto same = std::lower_bound(known.begin(), known.end(), app, identityBefore);
            if (same == known.end() || !(**same == *app)) {
                if (app->bundleIdentifier != excludedBundleIdentifier)
                    takeIn(app);
            } else if (*same != app) {
                replace(*std::find_if(prevProcesses_.begin(), prevProcesses_.end(),
                                      [&](const SharedProcess& process) { return process->app() == *app; }),
                        app);
            }
        }
        fold();
        return static_cast<std::int64_t>(prevProcesses_.size());
    });
    publishCount(tracked);
}

void Applications::removeTerminated(const RunningApplications& apps) {
    RunningApplications running = apps;
    std::sort(running.begin(), running.end(), identityBefore);
    const auto isRunning = [&](const SharedProcess& process) {
        const auto same = std::lower_bound(running.begin(), running.end(), process->app_, identityBefore);
        return same != running.end() && **same == process->app();
    };
    const auto terminated = std::stable_partition(prevProcesses_.begin(), prevProcesses_.end(), isRunning);
    std::vector<const Process*> gone;
    for (auto process = terminated; process != prevProcesses_.end(); ++process) {
        gone.push_back(process->get());
        if ((*process)->isUnResolvedName_ && !(*process)->sampling_.parent)
            --unresolvedNamedProcesses_;
    }
    std::sort(gone.begin(), gone.end());
    // What was folded into one of them stands for itself again, or waits for its owner again.
    for (auto process = prevProcesses_.begin(); process != terminated; ++process) {
        Process& left = **process;
        if (!left.sampling_.parent || !std::binary_search(gone.begin(), gone.end(), left.sampling_.parent))
            continue;
        left.setParent(nullptr);
        if (left.isUnResolvedName_)
            ++unresolvedNamedProcesses_;
    }
    prevProcesses_.erase(terminated, prevProcesses_.end());
}

void Applications::takeIn(const SharedApplication& app) {
    auto process = std::make_shared<Process>(app);
    sample(*process); // the baseline: the first update measures from now on
    associate(*process);
    prevProcesses_.push_back(std::move(process)); // only now, so that it never finds itself
}

// The same process under other facts: it keeps its place, its figures and what is folded into it.
void Applications::replace(SharedProcess& place, const SharedApplication& app) {
    const SharedProcess old = std::exchange(place, std::make_shared<Process>(app));
    Process& process = *place;
    process.sampling_ = old->sampling_;
    process.sampling_.parent = nullptr;
    if (old->isUnResolvedName_ && !old->sampling_.parent)
        --unresolvedNamedProcesses_;
    associate(process);
    for (const SharedProcess& other : prevProcesses_) {
        if (other->sampling_.parent == old.get())
            other->setParent(place);
    }
}

void Applications::associate(Process& process) {
    const std::optional<std::int32_t>& owner = process.app().owner;
    if (owner && *owner != process.pid()) {
        associateOwner(process, *owner);
        return;
    }
    const std::optional<std::string> named = process.ppid_ < 2 ? ownerName(process.name()) : std::nullopt;
    if (named) {
        ++unresolvedNamedProcesses_;
        process.isUnResolvedName_ = true;
        associateNamedParent(process, *named);
    } else if (!owner) {
        associateParent(process);
    }
}

void Applications::associateOwner(Process& process, std::int32_t owner) {
    const auto found = std::find_if(prevProcesses_.begin(), prevProcesses_.end(),
                                    [&](const SharedProcess& candidate) { return candidate->pid() == owner; });
    if (found != prevProcesses_.end())
        process.setParent(*found);
}

// The first tracked process of that name becomes the owner, and the process no longer counts as unresolved. Neither the
// process itself nor one that is folded into it can be.
void Applications::associateNamedParent(Process& process, std::string_view name) {
    const auto found = std::find_if(prevProcesses_.begin(), prevProcesses_.end(), [&](const SharedProcess& candidate) {
        return candidate.get() != &process && candidate->sampling_.parent != &process && candidate->name() == name;
    });
    if (found == prevProcesses_.end())
        return;
    process.setParent(*found);
    --unresolvedNamedProcesses_;
}

void Applications::associateParent(Process& process) {
    const auto found = std::find_if(prevProcesses_.begin(), prevProcesses_.end(),
                                    [&](const SharedProcess& candidate) { return candidate->pid() == process.ppid_; });
    if (found != prevProcesses_.end())
        process.setParent(*found);
}

void Applications::resolveNames() {
    for (const SharedProcess& process : prevProcesses_) {
        if (!process->isUnResolvedName_ || process->sampling_.parent)
            continue;
        if (const std::optional<std::string> named = ownerName(process->name()))
            associateNamedParent(*process, *named);
    }
}

void Applications::update() {
    platform::current().processes().refreshRunningApplications();
    mutex_.synchronise([this]() SENTREL_REQUIRES(mutex_) {
        if (unresolvedNamedProcesses_ > 0)
            resolveNames();
        for (const SharedProcess& process : prevProcesses_)
            sample(*process);
        fold();
    });
}

void Applications::sample(Process& process) const {
    Process::Sampling& sampling = process.sampling_;
    probes::ApplicationAttributes attributes;
    if (probes::_getApplicationAttributes(sampling.pid, sampling.startTime, &attributes) <= 0) {
        // It stays as it is: one that was folded away shows 0 and has nothing to add.
        if (sampling.parent) {
            sampling.cpu = 0;
            sampling.mem = 0;
        }
        return;
    }
    sampling.mem = attributes.residentSize;

    const std::optional<std::int64_t> now = nowMilliseconds();
    if (!now)
        return;
    const std::int64_t elapsed = *now - sampling.prevtime;
    if (elapsed == 0) // a second sample in the same millisecond: the share stands, and the next one measures both
        return;
    const double used = attributes.cpuTime - sampling.prevcputime;
    const bool isFirst = sampling.prevtime == 0;
    sampling.prevcputime = attributes.cpuTime;
    sampling.prevtime = *now;
    if (isFirst || elapsed < 0 || used < 0) // the baseline, or the clock was set back
        return;
    const std::int64_t cores =
        attributes.threads < 2
            ? 1
            : std::max<std::int64_t>(1, std::min<std::int64_t>(attributes.threads, activeLogicalCores_));
    sampling.cpu = used * 100 / static_cast<double>(elapsed) / static_cast<double>(cores);
}

// One level deep, in the order of the list; readers see the outcome only.
void Applications::fold() {
    for (const SharedProcess& process : prevProcesses_) {
        process->sampling_.foldedCpu = process->sampling_.cpu;
        process->sampling_.foldedMem = process->sampling_.mem;
    }
    for (const SharedProcess& process : prevProcesses_) {
        Process::Sampling& sampling = process->sampling_;
        if (!sampling.parent)
            continue;
        sampling.parent->sampling_.foldedCpu += std::exchange(sampling.foldedCpu, 0);
        sampling.parent->sampling_.foldedMem += std::exchange(sampling.foldedMem, 0);
    }
    for (const SharedProcess& process : prevProcesses_) {
        process->cpu_.store(process->sampling_.foldedCpu, std::memory_order_relaxed);
        process->mem_.store(process->sampling_.foldedMem, std::memory_order_relaxed);
    }
}

std::vector<std::shared_ptr<const Applications::Process>> Applications::cpu() const {
    return top(TopList::cpu);
}

std::vector<std::shared_ptr<const Applications::Process>> Applications::mem() const {
    return top(TopList::mem);
}

std::vector<std::shared_ptr<const Applications::Process>> Applications::top(TopList list) const {
    return mutex_.synchronise([&]() SENTREL_REQUIRES(mutex_) {
        sorted_.clear();
        for (const SharedProcess& process : prevProcesses_)
            sorted_.push_back(&process);
        const auto end = sorted_.begin() + static_cast<std::ptrdiff_t>(std::min(topCount, sorted_.size()));
        std::partial_sort(sorted_.begin(), end, sorted_.end(), [list](const SharedProcess* a, const SharedProcess* b) {
            return list == TopList::cpu ? (*a)->cpu() > (*b)->cpu() : (*a)->mem() > (*b)->mem();
        });
        std::vector<std::shared_ptr<const Process>> top;
        for (auto process = sorted_.begin(); process != end; ++process)
            top.push_back(**process);
        return top;
    });
}

std::int64_t Applications::unresolvedNamedProcesses() const {
    return mutex_.synchronise([this]() SENTREL_REQUIRES(mutex_) { return unresolvedNamedProcesses_; });
}

std::shared_ptr<void> Applications::observeCount(std::function<void(std::int64_t)> observer) {
    auto registered = std::make_shared<CountObserver>(std::move(observer));
    countObservers_.withValue([&](std::vector<std::weak_ptr<const CountObserver>>& observers) {
        observers.erase(std::remove_if(observers.begin(), observers.end(),
                                       [](const auto& candidate) { return candidate.expired(); }),
                        observers.end());
        observers.push_back(registered);
    });
    return registered;
}

void Applications::publishCount(std::int64_t count) {
    if (count_.exchange(count, std::memory_order_relaxed) == count)
        return;
    for (const std::weak_ptr<const CountObserver>& candidate : countObservers_.value()) {
        if (const std::shared_ptr<const CountObserver> observer = candidate.lock())
            (*observer)(count);
    }
}

} // namespace sentrel
