// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Disk/Disk.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/HostService.h>
#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/probes/detail/FailureReports.h>

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace sentrel {

namespace {

// What a listing tells of one volume, kept beyond the call that told it.
struct Listed {
    Listed(std::int64_t time, const probes::DiskData& data)
        : timestamp(time), figures(data), name(data.name), model(data.model), bsdName(data.bsdName),
          path(data.mountPoint), fstype(data.fsType), source(data.source) {}

    std::int64_t timestamp;
    probes::DiskData figures; // without its texts, which went with the call
    std::string name;
    std::string model;
    std::string bsdName;
    std::string path;
    std::string fstype;
    std::string source;
};

// One thread at a time does something long, without a lock held meanwhile.
class Turns {
public:
    void take() {
        const LockScope scope(lock_);
        while (isTaken_)
            changed_.wait(lock_);
        isTaken_ = true;
    }
    void giveBack() {
        const LockScope scope(lock_);
        isTaken_ = false;
        changed_.notify_one();
    }

private:
    Lock lock_;
    Condition changed_ SENTREL_GUARDED_BY(lock_);
    RunningFlag isTaken_ SENTREL_GUARDED_BY(lock_);
};

class Turn {
public:
    explicit Turn(Turns& turns) : turns_(turns) { turns_.take(); }
    ~Turn() { turns_.giveBack(); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    Turns& turns_;
};

struct Rename {
    std::string from;
    std::string to;
    std::string path;
};

} // namespace

/// The set of volumes and what changes it; notices and scheduled listings keep it. Listings run one at a time, so that
/// an older one never replaces a newer one's set, and the end waits for the one that runs. Readers and renames wait for
/// none.
class Disk::VolumeSet : public std::enable_shared_from_this<VolumeSet> {
public:
    explicit VolumeSet(std::shared_ptr<probes::SystemManager> session) : session_(std::move(session)) {}

    using Snapshot = std::shared_ptr<const Volumes>;

    [[nodiscard]] probes::SystemManager& session() const { return *session_; }
    [[nodiscard]] Snapshot volumes() const { return volumes_.value(); }
    [[nodiscard]] std::shared_ptr<Volume> root() const { return root_.value(); }

    void load() {
        const Turn turn(listing_);
        if (!ended_)
            list();
    }

    // At most one closure is scheduled or lists: what happens during a listing makes it list once more.
    void loadOnBackground() {
        const bool isFirst = naming_.synchronise([this]() SENTREL_REQUIRES(naming_) {
            isWanted_ = true;
            const bool wasScheduled = isScheduled_;
            isScheduled_ = true;
            return !wasScheduled;
        });
        if (isFirst)
            session_->backgroundQueue->async([self = shared_from_this()] { self->loadWhileWanted(); });
    }

    void sample() {
        const Turn turn(sampling_);
        const probes::SamplingReports reports(*session_);
        const Snapshot snapshot = volumes();
        for (const auto& [device, volume] : *snapshot) {
            if (volume->sample(*session_)) // a label is written, too
                session_->platform().volumes().checkLabel(volume->path());
        }
    }

    void hear(const platform::VolumeNotification& notification) {
        if (notification.kind == platform::VolumeNotification::Kind::didRename)
            rename(notification);
        else
            loadOnBackground();
    }

    void rename(const platform::VolumeNotification& notification) {
        if (!notification.oldName || !notification.newName || !notification.path)
            return;
        naming_.synchronise([&]() SENTREL_REQUIRES(naming_) {
            if (isListing_)
                renames_.push_back({*notification.oldName, *notification.newName, *notification.path});
            for (const auto& [device, volume] : *volumes()) {
                if (volume->name() == *notification.oldName)
                    volume->setLabel(*notification.newName, *notification.path);
            }
        });
    }

    void end() {
        ended_ = true;
        const Turn turn(listing_);
    }

private:
    // What a listing makes of the set. Known volumes have their new figures; names and paths are yet to be set.
    struct Next {
        struct Label {
            std::shared_ptr<Volume> volume;
            std::string name;
            std::string path;
        };

        Volumes volumes;
        std::vector<Label> labels;
        std::shared_ptr<Volume> root; // a new one
    };

    void loadWhileWanted() {
        bool isWanted = true;
        while (isWanted) {
            load();
            isWanted = naming_.synchronise([this]() SENTREL_REQUIRES(naming_) {
                isScheduled_ = isWanted_ && !ended_;
                return static_cast<bool>(isScheduled_);
            });
        }
    }

    void list() {
        naming_.synchronise([this]() SENTREL_REQUIRES(naming_) {
            isWanted_ = false;
            isListing_ = true;
            renames_.clear();
        });
        const probes::SamplingReports reports(*session_);
        std::vector<Listed> listing;
        probes::_getDiskData([&listing](std::int64_t timestamp,
                                        const probes::DiskData* data) { listing.emplace_back(timestamp, *data); },
                             *session_);
        publish(merge(listing));
    }

    [[nodiscard]] Next merge(const std::vector<Listed>& listing) const {
        const Snapshot before = volumes();
        std::map<std::string_view, std::shared_ptr<Volume>> known; // by what is mounted
        for (const auto& [device, volume] : *before)
            known.emplace(volume->source_, volume);
        Next next;
        for (const Listed& listed : listing) {
            if (const auto same = known.find(listed.source); same != known.end())
                next.volumes.insert_or_assign(same->second->device(), same->second);
        }
        for (const Listed& listed : listing) {
            std::shared_ptr<Volume> volume;
            if (const auto same = known.find(listed.source); same != known.end()) {
                volume = same->second;
                volume->relist(listed.figures, listed.timestamp);
            } else {
                volume = makeVolume(listed, freeName(next.volumes, listed));
                if (volume->isRootFS())
                    next.root = volume;
                next.volumes.insert_or_assign(volume->device(), volume);
            }
            next.labels.push_back({volume, listed.name, listed.path});
        }
        return next;
    }

    // The device's name, unless another volume has it.
    [[nodiscard]] static std::string freeName(const Volumes& volumes, const Listed& listed) {
        const auto isTaken = [&](const std::string& name) {
            const auto owner = volumes.find(name);
            return owner != volumes.end() && owner->second->source_ != listed.source;
        };
        std::string name = listed.bsdName;
        if (isTaken(name))
            name = listed.source;
        for (int number = 2; isTaken(name); ++number) // a source that is itself another one's last part
            name = listed.source + ' ' + std::to_string(number);
        return name;
    }

    [[nodiscard]] std::shared_ptr<Volume> makeVolume(const Listed& listed, std::string device) const {
        auto volume = std::make_shared<Volume>(session_);
        volume->icon_ = session_->platform().volumes().iconForPath(listed.path);
        volume->device_ = std::move(device);
        volume->source_ = listed.source;
        volume->model_ = listed.model;
        volume->fstype_ = listed.fstype;
        volume->isRootFS_ = listed.figures.isRoot != 0;
        probes::SMARTData smart;
        if (probes::_getSMARTData(volume->device_.c_str(), &smart, *session_) != 0)
            volume->smart_ = smart;
        volume->setActivity(listed.figures, listed.timestamp);
        return volume;
    }

    void publish(Next next) {
        naming_.synchronise([&]() SENTREL_REQUIRES(naming_) {
            for (Next::Label& label : next.labels) {
                for (const Rename& rename : renames_) { // the listing may have read the name before
                    if (label.name == rename.from) {
                        label.name = rename.to;
                        label.path = rename.path;
                    }
                }
                label.volume->setLabel(std::move(label.name), std::move(label.path));
            }
            isListing_ = false;
            volumes_.setValue(std::make_shared<const Volumes>(std::move(next.volumes)));
            if (next.root)
                root_.setValue(std::move(next.root));
        });
    }

    const std::shared_ptr<probes::SystemManager> session_;
    Turns listing_;
    Turns sampling_;
    std::atomic<bool> ended_{false};

    Mutex naming_; // held while names are set and the set is replaced, and no longer
    bool isWanted_ SENTREL_GUARDED_BY(naming_) = false;
    RunningFlag isScheduled_ SENTREL_GUARDED_BY(naming_);
    RunningFlag isListing_ SENTREL_GUARDED_BY(naming_);
    std::vector<Rename> renames_ SENTREL_GUARDED_BY(naming_); // during a listing

    Atomic<Snapshot> volumes_{std::make_shared<const Volumes>()};
    Atomic<std::shared_ptr<Volume>> root_;
};

Disk::Disk(std::shared_ptr<probes::SystemManager> session)
    : set_(std::make_shared<VolumeSet>(session)), alarm_(std::move(session), PressureResource::io) {
    set_->load();
    observation_ = set_->session().platform().volumes().observe(
        [set = set_.get()](const platform::VolumeNotification& notification) { set->hear(notification); });
}

Disk::~Disk() {
    observation_.reset();
    set_->end();
}

void Disk::update() {
    set_->sample();
    if (measuring_.wanted() != MeasureSet<Measure>{} || isMeasured_)
        sampleMeasures();
}

void Disk::sampleMeasures() {
    sampling_.synchronise([this]() SENTREL_REQUIRES(sampling_) {
        isMeasured_ = measuring_.wanted() != MeasureSet<Measure>{};
        sampleDisks();
        if (measuring_.wants(Measure::inodes)) {
            const VolumeSet::Snapshot volumes = set_->volumes();
            const bool areCounted =
                std::ranges::any_of(*volumes, [](const auto& entry) { return entry.second->inodes_ > 0; });
            measuring_.note(Measure::inodes, areCounted ? Availability::available : Availability::unsupported);
        }
        if (measuring_.wants(Measure::pressure)) {
            Pressure pressure;
            const Availability availability =
                set_->session().platform().host().pressure(PressureResource::io, pressure);
            pressure_.setValue(pressure);
            measuring_.note(Measure::pressure, availability);
        }
    });
}

// Both groups of facts on disks come from one table of counters: it tells which devices there are.
void Disk::sampleDisks() {
    if (!measuring_.wants(Measure::activity))
        rates_.forget();
    if (!measuring_.wants(Measure::activity) && !measuring_.wants(Measure::devices))
        return;
    platform::VolumeService& volumes = set_->session().platform().volumes();
    const std::int64_t time = set_->session().platform().clock().monotonicNanoseconds();
    const Availability availability = volumes.diskOperations(operations_);
    if (availability == Availability::available && measuring_.wants(Measure::activity)) {
        rates_.take(operations_, time, nextActivity_);
        activity_.withValue([this](auto& shown) SENTREL_REQUIRES(sampling_) { shown.swap(nextActivity_); });
    }
    measuring_.note(Measure::devices, availability == Availability::available ? sampleDevices() : availability);
    measuring_.note(Measure::activity, availability);
}

Availability Disk::sampleDevices() {
    VolumeSet::Snapshot volumes = set_->volumes();
    const bool stand = std::ranges::equal(devicesBeside_, operations_, {}, {}, &DiskOperations::name);
    if (stand && devicesOf_ == volumes && devicesAnswer_ == Availability::available)
        return devicesAnswer_;
    devicesBeside_.resize(operations_.size());
    std::ranges::transform(operations_, devicesBeside_.begin(), &DiskOperations::name);
    std::vector<DiskDevice> next;
    devicesAnswer_ = set_->session().platform().volumes().diskDevices(next);
    if (devicesAnswer_ == Availability::available)
        devices_.setValue(std::move(next));
    devicesOf_ = std::move(volumes);
    return devicesAnswer_;
}

void Disk::activity(std::vector<probes::DiskActivity>& list) const {
    if (measuring_.has(Measure::activity))
        activity_.withValue([&list](const auto& shown) { list = shown; });
    else
        list.clear();
}

std::vector<probes::DiskActivity> Disk::activity() const {
    std::vector<probes::DiskActivity> list;
    activity(list);
    return list;
}

std::optional<probes::DiskActivity> Disk::activity(const Volume& volume) const {
    const std::optional<DiskDevice> device = find(volume);
    if (!device || !measuring_.has(Measure::activity))
        return std::nullopt;
    return activity_.withValue([&device](const auto& shown) -> std::optional<probes::DiskActivity> {
        const auto found = std::ranges::find(shown, device->whole,
                                             [](const probes::DiskActivity& each) { return each.counters.name; });
        return found == shown.end() ? std::nullopt : std::optional(*found);
    });
}

void Disk::devices(std::vector<DiskDevice>& list) const {
    if (measuring_.has(Measure::devices))
        devices_.withValue([&list](const auto& shown) { list = shown; });
    else
        list.clear();
}

std::vector<DiskDevice> Disk::devices() const {
    std::vector<DiskDevice> list;
    devices(list);
    return list;
}

std::optional<DiskDevice> Disk::device(const Volume& volume) const {
    return measuring_.has(Measure::devices) ? find(volume) : std::nullopt;
}

// By the last part of the path of what is mounted: the kernel's name of it, or the alias.
std::optional<DiskDevice> Disk::find(const Volume& volume) const {
    if (!volume.source_.starts_with("/dev/"))
        return std::nullopt;
    const std::string name = volume.source_.substr(volume.source_.rfind('/') + 1);
    return devices_.withValue([&name](const auto& shown) -> std::optional<DiskDevice> {
        const auto found = std::ranges::find_if(
            shown, [&name](const DiskDevice& each) { return each.name == name || each.alias == name; });
        return found == shown.end() ? std::nullopt : std::optional(*found);
    });
}

std::optional<Disk::Inodes> Disk::inodes(const Volume& volume) const {
    const std::int64_t total = volume.inodes_;
    if (!measuring_.has(Measure::inodes) || total <= 0)
        return std::nullopt;
    const std::int64_t free = std::clamp<std::int64_t>(volume.freeInodes_, 0, total);
    return Inodes{total - free, free, total};
}

std::optional<Pressure> Disk::pressure() const {
    return measuring_.has(Measure::pressure) ? std::optional(pressure_.value()) : std::nullopt;
}

Disk::Volumes Disk::volumes() const {
    return *set_->volumes();
}

std::shared_ptr<Disk::Volume> Disk::HD() const {
    return set_->root();
}

int Disk::usage() const {
    const std::shared_ptr<Volume> root = HD();
    return root ? root->measureUsage(set_->session()) : 0;
}

void Disk::handleMountNotifications(const platform::VolumeNotification& /*notification*/) {
    set_->loadOnBackground();
}

void Disk::handleRenameNotification(const platform::VolumeNotification& notification) {
    set_->rename(notification);
}

} // namespace sentrel
