// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/VolumeWatch.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/linux/common/UniqueFd.h>
#include <SentrelKit/platform/linux/volumes/UdevReleaser.h>
#include <SentrelKit/platform/support/Observer.h>

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

// udev's word that a block device changed, given once its database holds the change.
class UdevEvents {
public:
    UdevEvents() {
        context_.reset(udev_new());
        if (context_)
            monitor_.reset(udev_monitor_new_from_netlink(context_.get(), "udev"));
        if (monitor_ && (udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), "block", nullptr) < 0 ||
                         udev_monitor_enable_receiving(monitor_.get()) < 0))
            monitor_.reset();
    }

    [[nodiscard]] int descriptor() const { return monitor_ ? udev_monitor_get_fd(monitor_.get()) : -1; }

    void drain() {
        while (std::unique_ptr<udev_device, UdevReleaser>(udev_monitor_receive_device(monitor_.get()))) {
        }
    }

private:
    std::unique_ptr<udev, UdevReleaser> context_;
    std::unique_ptr<udev_monitor, UdevReleaser> monitor_;
};

// The closing of device nodes after writing.
class NodeEvents {
public:
    NodeEvents() : inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

    [[nodiscard]] int descriptor() const { return inotify_.get(); }

    void setNodes(const std::set<std::string>& nodes) {
        if (!inotify_)
            return;
        std::erase_if(watches_, [&](const auto& watch) {
            if (nodes.contains(watch.first))
                return false;
            ::inotify_rm_watch(inotify_.get(), watch.second);
            return true;
        });
        for (const std::string& node : nodes) {
            if (watches_.contains(node))
                continue;
            const int watch = ::inotify_add_watch(inotify_.get(), node.c_str(), IN_CLOSE_WRITE);
            if (watch >= 0)
                watches_.emplace(node, watch);
        }
    }

    void drain() {
        alignas(inotify_event) std::array<char, 4096> events;
        while (::read(inotify_.get(), events.data(), events.size()) > 0) {
        }
    }

private:
    UniqueFd inotify_;
    std::map<std::string, int> watches_;
};

struct MountedVolume {
    MountEntry mount;
    std::string name;        // as the user knows it: the label, else the device
    bool tellsLabel = false; // whether the file system itself can be asked for its label
};

using MountedVolumes = std::map<std::int64_t, MountedVolume>; // by mount

} // namespace

class VolumeWatch::Watcher {
public:
    explicit Watcher(Mounts& mounts) : mounts_(mounts), table_(mounts.devices().root().open(mountTablePath)) {}

    Observation observe(std::function<void(const VolumeNotification&)> observer, std::shared_ptr<void> watches) {
        return notices_.add(std::move(observer), std::move(watches));
    }

    [[nodiscard]] int tableDescriptor() const { return table_.get(); }
    [[nodiscard]] int nodeDescriptor() const { return nodes_.descriptor(); }
    [[nodiscard]] int udevDescriptor() const { return udev_.descriptor(); }

    void start() {
        const LockScope scope(lock_);
        if (const MountSnapshot mounts = mounts_.current())
            volumes_ = volumesOf(*mounts, {});
        followNodes();
    }

    void mountsChanged() {
        {
            const LockScope scope(lock_);
            const MountSnapshot mounts = mounts_.current();
            if (!mounts)
                return;
            MountedVolumes current = volumesOf(*mounts, volumes_);
            const MountedVolumes before = std::exchange(volumes_, std::move(current));
            followNodes();
            noteDifference(before, volumes_, VolumeNotification::Kind::didUnmount);
            noteDifference(volumes_, before, VolumeNotification::Kind::didMount);
        }
        notices_.tell();
    }

    void nodesWritten() {
        {
            const LockScope scope(lock_);
            nodes_.drain();
            compareNames();
        }
        notices_.tell();
    }

    void udevChanged() {
        {
            const LockScope scope(lock_);
            udev_.drain();
            compareNames();
        }
        notices_.tell();
    }

    void checkLabel(const std::string& path) {
        {
            const LockScope scope(lock_);
            for (auto& [id, volume] : volumes_) {
                if (!volume.tellsLabel || volume.mount.on != path)
                    continue;
                if (const std::optional<std::string> label = labelOfMount(mounts_.devices().root(), volume.mount))
                    rename(volume, label->empty() ? deviceName(volume.mount) : *label);
            }
        }
        notices_.tell();
    }

private:
    // Those that are known keep their names; the labels of the others are read.
    MountedVolumes volumesOf(const std::vector<MountEntry>& mounts, const MountedVolumes& known) const {
        MountedVolumes volumes;
        for (const MountEntry& mount : mounts) {
            const auto same = known.find(mount.id);
            const bool isKnown = same != known.end() && same->second.mount == mount;
            volumes.insert_or_assign(mount.id, isKnown ? same->second : described(mount, mounts));
        }
        return volumes;
    }

    // As the listing does.
    MountedVolume described(const MountEntry& mount, const std::vector<MountEntry>& mounts) const {
        MountedVolume volume{mount, deviceName(mount)};
        if (!mount.isVolume || mount.device.empty())
            return volume;
        std::optional<std::string> label = labelOfMount(mounts_.devices().root(), mount);
        volume.tellsLabel = label.has_value();
        if (!label)
            label = labelOfDevice(mounts_.devices(), mounts, mount.device);
        if (label && !label->empty())
            volume.name = *label;
        return volume;
    }

    static std::string deviceName(const MountEntry& mount) {
        const std::string source = mountSource(mount);
        return source.substr(source.rfind('/') + 1);
    }

    void noteDifference(const MountedVolumes& all, const MountedVolumes& without, VolumeNotification::Kind kind)
        SENTREL_REQUIRES(lock_) {
        for (const auto& [id, volume] : all) {
            const auto other = without.find(id);
            if (other == without.end() || other->second.mount.on != volume.mount.on)
                notices_.post({kind, {}, {}, volume.mount.on});
        }
    }

    void rename(MountedVolume& volume, const std::string& name) SENTREL_REQUIRES(lock_) {
        if (volume.name == name)
            return;
        const std::string oldName = std::exchange(volume.name, name);
        notices_.post({VolumeNotification::Kind::didRename, oldName, name, volume.mount.on});
    }

    void followNodes() SENTREL_REQUIRES(lock_) {
        std::set<std::string> nodes;
        for (const auto& [id, volume] : volumes_) {
            if (volume.mount.isVolume && !volume.mount.device.empty())
                nodes.insert(BlockDevices::node(volume.mount.device));
        }
        nodes_.setNodes(nodes);
    }

    void compareNames() SENTREL_REQUIRES(lock_) {
        const MountSnapshot mounts = mounts_.current();
        if (!mounts)
            return;
        for (const auto& [id, now] : volumesOf(*mounts, {})) {
            const auto known = volumes_.find(id);
            if (known != volumes_.end() && known->second.mount == now.mount)
                rename(known->second, now.name);
        }
    }

    Mounts& mounts_;
    const UniqueFd table_;
    Lock lock_;
    MountedVolumes volumes_ SENTREL_GUARDED_BY(lock_);
    Observers<VolumeNotification> notices_; // left under the lock, in their order, and told without it
    NodeEvents nodes_;
    UdevEvents udev_;
};

// What calls a watcher. A call that still runs keeps the watcher.
class VolumeWatch::Watches {
public:
    /// False, with errno set, if the mount table cannot be watched.
    bool follow(const std::shared_ptr<Watcher>& watcher, EventSource& dispatch) {
        watcher_ = watcher;
        follow(watcher, dispatch, watcher->nodeDescriptor(), EPOLLIN, &Watcher::nodesWritten);
        follow(watcher, dispatch, watcher->udevDescriptor(), EPOLLIN, &Watcher::udevChanged);
        // The mount table tells of a change as an urgent, erroneous state (proc(5)).
        if (!follow(watcher, dispatch, watcher->tableDescriptor(), EPOLLPRI | EPOLLERR, &Watcher::mountsChanged))
            return false;
        watcher->start();
        dispatch.backgroundQueue()->async([] {}); // descriptors are served from the first use of a queue on
        return true;
    }

private:
    bool follow(const std::shared_ptr<Watcher>& watcher, EventSource& dispatch, int descriptor, std::uint32_t events,
                void (Watcher::*happened)()) {
        if (descriptor < 0)
            return false;
        Observation watch = dispatch.watch(descriptor, events, [watcher, happened] { (*watcher.*happened)(); });
        if (!watch)
            return false;
        descriptors_.push_back(std::move(watch));
        return true;
    }

    std::shared_ptr<Watcher> watcher_; // its descriptors stay open until nobody watches them any more
    std::vector<Observation> descriptors_;
};

Observation VolumeWatch::observe(std::function<void(const VolumeNotification&)> observer) {
    const auto watcher = std::make_shared<Watcher>(mounts_);
    const auto watches = std::make_shared<Watches>();
    Observation observation = watcher->observe(std::move(observer), watches);
    if (!watches->follow(watcher, dispatch_))
        return {};
    const LockScope scope(lock_);
    std::erase_if(watchers_, [](const std::weak_ptr<Watcher>& each) { return each.expired(); });
    watchers_.push_back(watcher);
    return observation;
}

void VolumeWatch::checkLabel(const std::string& path) {
    for (std::size_t number = 0; const std::shared_ptr<Watcher> each = watcher(number); ++number)
        each->checkLabel(path);
}

std::shared_ptr<VolumeWatch::Watcher> VolumeWatch::watcher(std::size_t number) {
    const LockScope scope(lock_);
    while (number < watchers_.size()) {
        if (std::shared_ptr<Watcher> watcher = watchers_[number].lock())
            return watcher;
        watchers_.erase(watchers_.begin() + static_cast<std::ptrdiff_t>(number));
    }
    return nullptr;
}

} // namespace sentrel::platform
