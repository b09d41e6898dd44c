#include <SentrelKit/platform/linux/VolumeWatch.h>

#include <SentrelKit/base/system/ThreadSafety.h>
#include <SentrelKit/platform/linux/LinuxMounts.h>
#include <SentrelKit/platform/linux/UniqueFd.h>
#include <SentrelKit/platform/linux/VolumeRules.h>

#include <array>
#include <libudev.h>
#include <map>
#include <set>
#include <string>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

struct UdevReleaser {
    void operator()(udev* context) const noexcept { udev_unref(context); }
    void operator()(udev_monitor* monitor) const noexcept { udev_monitor_unref(monitor); }
    void operator()(udev_device* device) const noexcept { udev_device_unref(device); }
};

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
    std::string on;
    std::string device; // the kernel's name, empty without one
    std::string name;   // as the user knows it: the label, else the device
};

using MountedVolumes = std::map<std::int64_t, MountedVolume>; // by mount

class Watcher {
public:
    Watcher(const BlockDevices& devices, std::function<void(const VolumeNotification&)> observer)
        : devices_(devices), observer_(std::move(observer)), table_(devices.root().open(mountTablePath)) {}

    [[nodiscard]] int tableDescriptor() const { return table_.get(); }
    [[nodiscard]] int nodeDescriptor() const { return nodes_.descriptor(); }
    [[nodiscard]] int udevDescriptor() const { return udev_.descriptor(); }

    void start() {
        const LockScope scope(lock_);
        volumes_ = read({});
        followNodes();
    }

    void mountsChanged() {
        const LockScope scope(lock_);
        MountedVolumes current = read(volumes_);
        const MountedVolumes before = std::exchange(volumes_, std::move(current));
        followNodes();
        for (const auto& [id, volume] : before) {
            const auto now = volumes_.find(id);
            if (now == volumes_.end() || now->second.on != volume.on)
                tell({VolumeNotification::Kind::didUnmount, {}, {}, volume.on});
        }
        for (const auto& [id, volume] : volumes_) {
            const auto earlier = before.find(id);
            if (earlier == before.end() || earlier->second.on != volume.on)
                tell({VolumeNotification::Kind::didMount, {}, {}, volume.on});
        }
    }

    void nodesWritten() {
        const LockScope scope(lock_);
        nodes_.drain();
        compareNames();
    }

    void udevChanged() {
        const LockScope scope(lock_);
        udev_.drain();
        compareNames();
    }

private:
    // The volumes now. Those that are known keep their names; the labels of the others are read.
    MountedVolumes read(const MountedVolumes& known) const {
        MountedVolumes volumes;
        const std::optional<std::vector<MountEntry>> mounts = readMountTable(devices_.root());
        if (!mounts)
            return volumes;
        const std::vector<VolumeTraits> traits = volumeTraits(*mounts);
        for (std::size_t i = 0; i < mounts->size(); ++i) {
            const MountEntry& mount = (*mounts)[i];
            MountedVolume volume{mount.on, {}, {}};
            if (const auto same = known.find(mount.id); same != known.end() && !same->second.name.empty()) {
                volume.device = same->second.device;
                volume.name = same->second.name;
            } else if (!traits[i].dontBrowse) {
                volume.device = deviceOfMount(devices_, mount).value_or(std::string());
                volume.name = nameOf(mount, volume.device);
            }
            volumes.insert_or_assign(mount.id, std::move(volume));
        }
        return volumes;
    }

    // As the listing names volumes.
    std::string nameOf(const MountEntry& mount, const std::string& device) const {
        std::optional<std::string> label;
        if (!device.empty())
            label = devices_.label(device);
        if (label)
            return *label;
        const std::string source = mountSource(devices_, mount);
        return source.substr(source.rfind('/') + 1);
    }

    void followNodes() SENTREL_REQUIRES(lock_) {
        std::set<std::string> nodes;
        for (const auto& [id, volume] : volumes_) {
            if (!volume.device.empty())
                nodes.insert(BlockDevices::node(volume.device));
        }
        nodes_.setNodes(nodes);
    }

    void compareNames() SENTREL_REQUIRES(lock_) {
        const MountedVolumes now = read({});
        for (auto& [id, volume] : volumes_) {
            const auto current = now.find(id);
            if (current == now.end() || current->second.name == volume.name)
                continue;
            const std::string oldName = std::exchange(volume.name, current->second.name);
            tell({VolumeNotification::Kind::didRename, oldName, volume.name, current->second.on});
        }
    }

    void tell(const VolumeNotification& notification) const { observer_(notification); }

    const BlockDevices& devices_;
    const std::function<void(const VolumeNotification&)> observer_;
    const UniqueFd table_;
    Lock lock_; // also keeps the observer's calls one at a time
    MountedVolumes volumes_ SENTREL_GUARDED_BY(lock_);
    NodeEvents nodes_;
    UdevEvents udev_;
};

class Observation final : public VolumeObservation {
public:
    Observation(std::shared_ptr<Watcher> watcher, LinuxDispatch& dispatch) : watcher_(std::move(watcher)) {
        follow(dispatch, watcher_->nodeDescriptor(), EPOLLIN, &Watcher::nodesWritten);
        follow(dispatch, watcher_->udevDescriptor(), EPOLLIN, &Watcher::udevChanged);
        // The mount table tells of a change as an urgent, erroneous state (proc(5)).
        isComplete_ = follow(dispatch, watcher_->tableDescriptor(), EPOLLPRI | EPOLLERR, &Watcher::mountsChanged);
        if (isComplete_)
            watcher_->start();
    }

    [[nodiscard]] bool isComplete() const noexcept { return isComplete_; }

private:
    bool follow(LinuxDispatch& dispatch, int descriptor, std::uint32_t events, void (Watcher::*happened)()) {
        if (descriptor < 0)
            return false;
        std::unique_ptr<DescriptorWatch> watch =
            dispatch.watch(descriptor, events, [watcher = watcher_, happened] { (*watcher.*happened)(); });
        if (!watch)
            return false;
        watches_.push_back(std::move(watch));
        return true;
    }

    std::shared_ptr<Watcher> watcher_; // a callback that still runs keeps it
    std::vector<std::unique_ptr<DescriptorWatch>> watches_;
    bool isComplete_ = false;
};

} // namespace

std::unique_ptr<VolumeObservation> watchVolumes(const BlockDevices& devices, LinuxDispatch& dispatch,
                                                std::function<void(const VolumeNotification&)> observer) {
    auto observation = std::make_unique<Observation>(std::make_shared<Watcher>(devices, std::move(observer)), dispatch);
    if (!observation->isComplete())
        return nullptr;
    return observation;
}

} // namespace sentrel::platform
