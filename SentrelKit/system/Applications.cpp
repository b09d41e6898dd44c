// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Applications.h>

#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/support/Observer.h>
#include <SentrelKit/probes/HostProbes.h>
#include <SentrelKit/probes/ProcessProbes.h>
#include <SentrelKit/system/Mutex/Mutex.h>
#include <SentrelKit/system/detail/ProcessMeasurements.h>
#include <SentrelKit/system/detail/UserNames.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <unordered_map>
#include <utility>

namespace sentrel {

namespace {

constexpr std::string_view excludedBundleIdentifier = "Sentrel.Today"; // the host's own notification-centre extension
constexpr std::size_t topCount = 3;

using platform::RunningApplication;
using platform::RunningApplications;
using SharedApplication = std::shared_ptr<const RunningApplication>;

const std::string& displayName(const RunningApplication& app) noexcept {
    static const std::string none;
    if (app.localizedName)
        return *app.localizedName;
    return app.bundleIdentifier ? *app.bundleIdentifier : none;
}

RunningApplications withoutExcluded(const RunningApplications& apps) {
    RunningApplications tracked;
    tracked.reserve(apps.size());
    std::copy_if(apps.begin(), apps.end(), std::back_inserter(tracked),
                 [](const SharedApplication& app) { return app->bundleIdentifier != excludedBundleIdentifier; });
    return tracked;
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

// Whether the id is that process's yet.
bool isStill(platform::ProcessService& service, const RunningApplication& app) noexcept {
    return app.startTime == 0 || service.startTime(app.processIdentifier) == app.startTime;
}

std::optional<std::int64_t> nowMilliseconds(WallClock& clock) noexcept {
    WallClockReading reading;
    if (!clock.read(reading))
        return std::nullopt;
    return reading.seconds * 1000 + reading.microseconds / 1000;
}

bool identityBefore(const SharedApplication& a, const SharedApplication& b) noexcept {
    return a->processIdentifier != b->processIdentifier ? a->processIdentifier < b->processIdentifier
                                                        : a->startTime < b->startTime;
}

} // namespace

// The model itself. It lives as long as anyone works in it: a model that its own count observer releases, say.
class SENTREL_LOCAL Applications::Tracking : public std::enable_shared_from_this<Tracking> {
public:
    explicit Tracking(std::shared_ptr<probes::SystemManager> session)
        : session_(std::move(session)), users_(std::make_shared<UserNames>(session_)),
          measurements_(session_->platform()) {}

    void start();
    void release();
    void update();

    void observeValue(const RunningApplications& change, const void* context);

    [[nodiscard]] std::vector<std::shared_ptr<const Process>> cpu() const { return list(&TopLists::cpu); }
    [[nodiscard]] std::vector<std::shared_ptr<const Process>> mem() const { return list(&TopLists::mem); }
    [[nodiscard]] std::int64_t count() const noexcept { return count_; }
    [[nodiscard]] std::int64_t unresolvedNamedProcesses() const noexcept { return unresolvedNamedProcesses_; }
    [[nodiscard]] Observation observeCount(std::function<void(std::int64_t)> observer);

    [[nodiscard]] Measurements& measurements() noexcept { return measurements_; }
    [[nodiscard]] platform::ProcessService& service() const noexcept { return session_->platform().processes(); }
    [[nodiscard]] UserNames& users() const noexcept { return *users_; }

private:
    using SharedProcess = std::shared_ptr<Process>;
    using ById = std::unordered_map<std::int32_t, SharedProcess>; // the first of the list with each id

    // The first of the list by one figure, and then nulls.
    using First = std::array<std::shared_ptr<const Process>, topCount>;
    struct TopLists {
        First cpu;
        First mem;
    };

    // A process that came, or that takes the place of its former self.
    struct Change {
        SharedProcess process;
        SharedProcess before; // null: it came
    };

    void take(const RunningApplications& apps);
    void syncPending();
    void sync(const RunningApplications& apps) SENTREL_REQUIRES(mutex_);
    void removeTerminated(const RunningApplications& apps) SENTREL_REQUIRES(mutex_);
    [[nodiscard]] std::vector<Change> takeChanges(const RunningApplications& apps) SENTREL_REQUIRES(mutex_);
    void takeOver(Process& process, const Process& before) SENTREL_REQUIRES(mutex_);
    void replaceParents(const std::vector<Change>& changes) SENTREL_REQUIRES(mutex_);
    void associate(Process& process, const ById& byId) SENTREL_REQUIRES(mutex_);
    void associateNamedParent(Process& process) SENTREL_REQUIRES(mutex_);
    void resolveNames() SENTREL_REQUIRES(mutex_);
    void sample(Process& process) const SENTREL_REQUIRES(mutex_);
    void fold() SENTREL_REQUIRES(mutex_);
    template <class Figure>
    [[nodiscard]] First first(Figure figure) const SENTREL_REQUIRES(mutex_);
    void publishTop() SENTREL_REQUIRES(mutex_);
    void publishCount() SENTREL_REQUIRES(mutex_);
    void countUnresolved(std::int64_t more) SENTREL_REQUIRES(mutex_) {
        unresolvedNamedProcesses_ = unresolvedNamedProcesses() + more;
    }
    [[nodiscard]] std::vector<std::shared_ptr<const Process>> list(First TopLists::*which) const;

    // What readers ask and what writers hand over by: under no lock, or under one that nobody works under.
    Relaxed<std::int64_t> count_;
    Relaxed<std::int64_t> unresolvedNamedProcesses_;
    std::atomic<bool> isReleased_{false};
    Atomic<TopLists> top_;
    Atomic<std::optional<RunningApplications>> pending_; // the newest set that was noticed and not yet taken over
    platform::Observers<std::int64_t> countObservers_;

    const std::shared_ptr<probes::SystemManager> session_;
    const std::shared_ptr<UserNames> users_;
    Mutex mutex_;
    std::vector<SharedProcess> prevProcesses_ SENTREL_GUARDED_BY(mutex_);

    Measurements measurements_; // taken under the mutex, as it says

    const std::int64_t KVOContext_ = 0; // only its address matters: it is this object's observation's
    std::int64_t activeLogicalCores_ = 0;
    Observation observation_;
};

Applications::Process::Process(SharedApplication app, probes::SystemManager& session)
    : app_(std::move(app)), ppid_(probes::_getParentPid(app_->processIdentifier, session)) {
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

Applications::Applications(std::shared_ptr<probes::SystemManager> session)
    : tracking_(std::make_shared<Tracking>(std::move(session))) {
    tracking_->start();
}

Applications::~Applications() {
    tracking_->release();
}

void Applications::update() {
    const std::shared_ptr<Tracking> tracking = tracking_;
    tracking->update();
}

std::vector<std::shared_ptr<const Applications::Process>> Applications::cpu() const {
    return tracking_->cpu();
}

std::vector<std::shared_ptr<const Applications::Process>> Applications::mem() const {
    return tracking_->mem();
}

std::int64_t Applications::count() const noexcept {
    return tracking_->count();
}

std::int64_t Applications::unresolvedNamedProcesses() const noexcept {
    return tracking_->unresolvedNamedProcesses();
}

void Applications::setMeasures(MeasureSet<Measure> wanted) {
    tracking_->measurements().setWanted(wanted);
}

MeasureSet<Applications::Measure> Applications::measures() const noexcept {
    return tracking_->measurements().wanted();
}

std::optional<Availability> Applications::availability(Measure measure) const noexcept {
    return tracking_->measurements().availability(measure);
}

std::vector<std::shared_ptr<const Applications::Process>> Applications::all() const {
    std::vector<std::shared_ptr<const Process>> processes;
    tracking_->measurements().all(processes);
    return processes;
}

void Applications::all(std::vector<std::shared_ptr<const Process>>& processes) const {
    tracking_->measurements().all(processes);
}

// The start is asked for afterwards: an id that was used again is found out.
Availability Applications::identity(const Process& process, platform::ProcessIdentity& identity) const {
    platform::ProcessIdentity now;
    const Availability answer = tracking_->service().identity(process.pid(), now);
    if (answer != Availability::available)
        return answer;
    if (!isStill(tracking_->service(), process.app()))
        return Availability::unsupported;
    identity = now;
    return Availability::available;
}

std::optional<std::string> Applications::userName(std::uint32_t user) const {
    return tracking_->users().name(user);
}

Availability Applications::commandLine(const Process& process, std::vector<std::string>& arguments) const {
    std::vector<std::string> now;
    const Availability answer = tracking_->service().commandLine(process.pid(), now);
    if (answer != Availability::available)
        return answer;
    if (!isStill(tracking_->service(), process.app()))
        return Availability::unsupported;
    arguments = std::move(now);
    return Availability::available;
}

Observation Applications::observeCount(std::function<void(std::int64_t)> observer) {
    return tracking_->observeCount(std::move(observer));
}

void Applications::observeValue(std::string_view, const platform::ProcessService*, const RunningApplications& change,
                                const void* context) {
    const std::shared_ptr<Tracking> tracking = tracking_;
    tracking->observeValue(change, context);
}

void Applications::Tracking::start() {
    probes::_getHostInfo([this](const probes::host_basic_info* info) { activeLogicalCores_ = info->logical_cpu; },
                         *session_);
    platform::ProcessService& service = session_->platform().processes();
    take(service.runningApplications());
    observation_ =
        service.observeRunningApplications([weak = weak_from_this()](const RunningApplications& applications) {
            if (const std::shared_ptr<Tracking> tracking = weak.lock())
                tracking->observeValue(applications, &tracking->KVOContext_);
        });
}

// Waits for nobody: who works in here right now keeps it alive.
void Applications::Tracking::release() {
    isReleased_ = true;
}

void Applications::Tracking::observeValue(const RunningApplications& change, const void* context) {
    if (context == &KVOContext_)
        take(change);
}

void Applications::Tracking::take(const RunningApplications& apps) {
    pending_.setValue(withoutExcluded(apps));
    syncPending();
}

// Takes the pending set over, unless another thread has the lock: that one looks here after giving it back. So a notice
// never waits for a sample.
void Applications::Tracking::syncPending() {
    const auto isPending = [this] {
        return std::as_const(pending_).withValue(
            [](const std::optional<RunningApplications>& apps) { return apps.has_value(); });
    };
    while (isPending()) {
        const bool isMine = mutex_.trySynchronise([&]() SENTREL_REQUIRES(mutex_) {
            if (const std::optional<RunningApplications> apps = pending_.swap(std::nullopt))
                sync(*apps);
        });
        if (!isMine)
            return;
        countObservers_.tell();
    }
}

void Applications::Tracking::sync(const RunningApplications& apps) {
    removeTerminated(apps);
    const std::vector<Change> changes = takeChanges(apps);
    replaceParents(changes);
    ById byId;
    for (const SharedProcess& process : prevProcesses_)
        byId.emplace(process->pid(), process);
    for (const Change& change : changes) {
        associate(*change.process, byId);
        if (change.before)
            continue;
        prevProcesses_.push_back(change.process); // only now, so that it never finds itself
        byId.emplace(change.process->pid(), change.process);
    }
    fold();
    publishTop();
    publishCount();
}

void Applications::Tracking::removeTerminated(const RunningApplications& apps) {
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
            countUnresolved(-1);
    }
    std::sort(gone.begin(), gone.end());
    // What was folded into one of them stands for itself again, or waits for its owner again.
    for (auto process = prevProcesses_.begin(); process != terminated; ++process) {
        Process& left = **process;
        if (!left.sampling_.parent || !std::binary_search(gone.begin(), gone.end(), left.sampling_.parent))
            continue;
        left.setParent(nullptr);
        if (left.isUnResolvedName_)
            countUnresolved(1);
    }
    prevProcesses_.erase(terminated, prevProcesses_.end());
}

// The processes that came, with their baselines, and those that go on under other facts, which have their places in the
// list already; in the order of the set, and not associated yet.
std::vector<Applications::Tracking::Change> Applications::Tracking::takeChanges(const RunningApplications& apps) {
    std::vector<SharedProcess*> known;
    known.reserve(prevProcesses_.size());
    for (SharedProcess& process : prevProcesses_)
        known.push_back(&process);
    std::sort(known.begin(), known.end(),
              [](const SharedProcess* a, const SharedProcess* b) { return identityBefore((*a)->app_, (*b)->app_); });

    std::vector<Change> changes;
    for (const SharedApplication& app : apps) {
        const auto same = std::lower_bound(known.begin(), known.end(), app,
                                           [](const SharedProcess* process, const SharedApplication& other) {
                                               return identityBefore((*process)->app_, other);
                                           });
        const bool isKnown = same != known.end() && (**same)->app() == *app;
        if (isKnown && (**same)->app_ == app)
            continue;
        const auto process = std::make_shared<Process>(app, *session_);
        if (isKnown) {
            changes.push_back({process, std::exchange(**same, process)});
            takeOver(*process, *changes.back().before);
        } else {
            changes.push_back({process, nullptr});
            sample(*process); // the baseline: the first update measures from now on
        }
    }
    return changes;
}

// The same process under other facts: it keeps its figures, but not its owner.
void Applications::Tracking::takeOver(Process& process, const Process& before) {
    process.sampling_ = before.sampling_;
    process.sampling_.parent = nullptr;
    process.measured_.storage = before.measured_.storage;
    process.measured_.storageAt = before.measured_.storageAt;
    if (before.isUnResolvedName_ && !before.sampling_.parent)
        countUnresolved(-1);
}

// What was folded into a process's former self is folded into what took its place.
void Applications::Tracking::replaceParents(const std::vector<Change>& changes) {
    std::unordered_map<const Process*, SharedProcess> now;
    for (const Change& change : changes) {
        if (change.before)
            now.emplace(change.before.get(), change.process);
    }
    if (now.empty())
        return;
    for (const SharedProcess& process : prevProcesses_) {
        const auto parent = now.find(process->sampling_.parent);
        if (parent != now.end())
            process->setParent(parent->second);
    }
}

void Applications::Tracking::associate(Process& process, const ById& byId) {
    const auto associateWith = [&](std::int32_t id) {
        const auto found = byId.find(id);
        if (found != byId.end())
            process.setParent(found->second);
    };
    const std::optional<std::int32_t>& owner = process.app().owner;
    if (owner && *owner != process.pid()) {
        associateWith(*owner);
        return;
    }
    const std::optional<std::string> named = process.ppid_ < 2 ? ownerName(displayName(process.app())) : std::nullopt;
    if (named) {
        countUnresolved(1);
        process.isUnResolvedName_ = true;
        process.ownerName_ = *named;
        associateNamedParent(process);
    } else if (!owner) {
        associateWith(process.ppid_);
    }
}

// The first tracked process of that name becomes the owner, and the process no longer counts as unresolved. Neither the
// process itself nor one that is folded into it can be.
void Applications::Tracking::associateNamedParent(Process& process) {
    const auto found = std::find_if(prevProcesses_.begin(), prevProcesses_.end(), [&](const SharedProcess& candidate) {
        return candidate.get() != &process && candidate->sampling_.parent != &process &&
               displayName(candidate->app()) == process.ownerName_;
    });
    if (found == prevProcesses_.end())
        return;
    process.setParent(*found);
    countUnresolved(-1);
}

void Applications::Tracking::resolveNames() {
    for (const SharedProcess& process : prevProcesses_) {
        if (process->isUnResolvedName_ && !process->sampling_.parent)
            associateNamedParent(*process);
    }
}

void Applications::Tracking::update() {
    session_->platform().processes().refreshRunningApplications();
    if (isReleased_) // by a count observer
        return;
    mutex_.synchronise([this]() SENTREL_REQUIRES(mutex_) {
        if (unresolvedNamedProcesses() > 0)
            resolveNames();
        for (const SharedProcess& process : prevProcesses_)
            sample(*process);
        fold();
        publishTop();
        measurements_.take(prevProcesses_);
    });
    syncPending(); // what was noticed meanwhile
}

void Applications::Tracking::sample(Process& process) const {
    Process::Sampling& sampling = process.sampling_;
    probes::ApplicationAttributes attributes;
    if (probes::_getApplicationAttributes(sampling.pid, sampling.startTime, &attributes, *session_) <= 0) {
        // It stays as it is: one that was folded away shows 0 and has nothing to add.
        if (sampling.parent) {
            sampling.cpu = 0;
            sampling.mem = 0;
        }
        sampling.threads = 0;
        return;
    }
    sampling.mem = attributes.residentSize;
    sampling.threads = attributes.threads;

    const std::optional<std::int64_t> now = nowMilliseconds(session_->platform().clock());
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
void Applications::Tracking::fold() {
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
        process->cpu_ = process->sampling_.foldedCpu;
        process->mem_ = process->sampling_.foldedMem;
    }
}

// A process that used as much as another stays behind it in the order of the list.
template <class Figure>
Applications::Tracking::First Applications::Tracking::first(Figure figure) const {
    std::array<const SharedProcess*, topCount> places{};
    for (const SharedProcess& process : prevProcesses_) {
        if (places.back() && !(figure(*process) > figure(**places.back())))
            continue;
        const SharedProcess* next = &process;
        for (const SharedProcess*& place : places) {
            if (!place || (next && figure(**next) > figure(**place)))
                std::swap(place, next);
        }
    }
    First first;
    for (std::size_t i = 0; i < topCount && places[i]; ++i)
        first[i] = *places[i];
    return first;
}

void Applications::Tracking::publishTop() {
    top_.setValue({first([](const Process& process) { return process.cpu(); }),
                   first([](const Process& process) { return process.mem(); })});
}

void Applications::Tracking::publishCount() {
    const auto count = static_cast<std::int64_t>(prevProcesses_.size());
    if (count_ == count)
        return;
    count_ = count;
    countObservers_.offer(count);
}

std::vector<std::shared_ptr<const Applications::Process>> Applications::Tracking::list(First TopLists::*which) const {
    const First first = top_.withValue([which](const TopLists& top) { return top.*which; });
    return {first.begin(), std::find(first.begin(), first.end(), nullptr)};
}

// Called only by those who keep this object. The model may have been released meanwhile.
Observation Applications::Tracking::observeCount(std::function<void(std::int64_t)> observer) {
    return countObservers_.add([this, call = std::move(observer)](std::int64_t count) {
        if (!isReleased_)
            call(count);
    });
}

} // namespace sentrel
