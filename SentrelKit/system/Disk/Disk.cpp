#include <SentrelKit/system/Disk/Disk.h>

#include <SentrelKit/base/system/Time.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/system/Disk/UsagePercent.h>
#include <SentrelKit/system/Timer.h>

#include <utility>

namespace sentrel {

/// What notices and scheduled listings know of the model. Listings run one at a time, so that an older one never
/// replaces a newer one's set, and at most one waits; the model's end waits for the one that runs.
class Disk::Loader : public std::enable_shared_from_this<Disk::Loader> {
public:
    explicit Loader(Disk* model) : model_(model) {}

    void loadNow() {
        lock_.synchronise([this]() SENTREL_REQUIRES(lock_) {
            if (model_)
                model_->load();
        });
    }

    void loadOnBackground() {
        if (isScheduled_.exchange(true))
            return;
        Timer::onBackground([self = shared_from_this()] {
            self->isScheduled_ = false; // what happens from here on needs another listing
            self->loadNow();
        });
    }

    void hear(const platform::VolumeNotification& notification) {
        if (notification.kind != platform::VolumeNotification::Kind::didRename) {
            loadOnBackground();
            return;
        }
        lock_.synchronise([&]() SENTREL_REQUIRES(lock_) {
            if (model_)
                model_->handleRenameNotification(notification);
        });
    }

    void forgetModel() {
        lock_.synchronise([this]() SENTREL_REQUIRES(lock_) { model_ = nullptr; });
    }

private:
    Mutex lock_;
    Disk* model_ SENTREL_GUARDED_BY(lock_);
    std::atomic<bool> isScheduled_{false};
};

Disk::Disk() : loader_(std::make_shared<Loader>(this)) {
    loader_->loadNow();
    observation_ = platform::current().volumes().observe(
        [loader = loader_](const platform::VolumeNotification& notification) { loader->hear(notification); });
}

Disk::~Disk() {
    loader_->forgetModel();
    observation_.reset();
}

void Disk::update() {
    prevVolumes_.withValue([](Volumes& volumes) {
        for (const auto& [device, volume] : volumes) {
            const std::int64_t now = Time_milli();
            const std::shared_ptr<const Volume::Label> label = volume->label_.value();
            probes::DiskData data{};
            if (probes::_getDiskActivity(device.c_str(), label->path.c_str(), &data) <= 0)
                continue;
            const std::int64_t gap = now - volume->timestamp();
            if (gap > 0)
                volume->setRates(data, gap);
            volume->setActivity(data, now);
        }
    });
}

std::uint8_t Disk::usage() const {
    const std::shared_ptr<Volume> root = HD();
    if (!root)
        return 0;
    const std::shared_ptr<const Volume::Label> label = root->label_.value();
    probes::DiskData data{};
    if (probes::_getDiskDataFor(label->path.c_str(), &data) <= 0)
        return 0;
    Volume::store(root->used_, data.used);
    return percentOf(data.used, root->total());
}

void Disk::handleMountNotifications(const platform::VolumeNotification& /*notification*/) {
    loader_->loadOnBackground();
}

void Disk::handleRenameNotification(const platform::VolumeNotification& notification) {
    if (!notification.oldName || !notification.newName || !notification.path)
        return;
    prevVolumes_.withValue([&](Volumes& volumes) {
        for (const auto& [device, volume] : volumes) {
            if (volume->name() == *notification.oldName)
                volume->setLabel(*notification.newName, *notification.path);
        }
    });
}

void Disk::load() {
    Volumes next;
    probes::_getDiskData([&](std::int64_t timestamp, const probes::DiskData* data) { take(*data, timestamp, next); });
    prevVolumes_.setValue(std::move(next));
}

void Disk::take(const probes::DiskData& data, std::int64_t timestamp, Volumes& next) {
    const std::string device = data.bsdName;
    std::shared_ptr<Volume> volume = prevVolumes_.withValue([&device](Volumes& volumes) {
        const auto known = volumes.find(device);
        return known == volumes.end() ? std::shared_ptr<Volume>() : known->second;
    });
    if (volume) {
        const std::int64_t gap = timestamp - volume->timestamp();
        if (gap >= 1)
            volume->setRates(data, gap);
    } else {
        volume = std::make_shared<Volume>();
        volume->icon_ = platform::current().volumes().iconForPath(data.mountPoint);
        volume->device_ = device;
        volume->model_ = data.model;
        volume->fstype_ = data.fsType;
        volume->total_ = data.total;
        volume->isRootFS_ = data.isRoot != 0;
        if (volume->isRootFS_)
            HD_.setValue(volume);
        probes::SMARTData smart;
        if (probes::_getSMARTData(device.c_str(), &smart) != 0)
            volume->smart_ = smart;
    }
    volume->setLabel(data.name, data.mountPoint);
    volume->setActivity(data, timestamp);
    next.insert_or_assign(device, std::move(volume));
}

} // namespace sentrel
