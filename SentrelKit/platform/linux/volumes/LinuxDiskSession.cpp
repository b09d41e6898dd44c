// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/LinuxDiskSession.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/linux/common/OwnThread.h>
#include <SentrelKit/platform/linux/common/TextMap.h>
#include <SentrelKit/platform/linux/volumes/AtaSmart.h>
#include <SentrelKit/platform/linux/volumes/DiskRemoval.h>
#include <SentrelKit/platform/linux/volumes/NvmeSmart.h>
#include <SentrelKit/platform/linux/volumes/SystemDisk.h>

#include <cerrno>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

class BlockEntry final : public MediaEntry {
public:
    BlockEntry(DiskMachine& machine, std::string kernelName)
        : machine_(machine), name_(std::move(kernelName)), counters_(machine.counters, machine.devices, name_) {}

    std::optional<DiskStatistics> statistics() override { return counters_.statistics(); }

    bool isSmartCapable() override {
        if (isNvme())
            return isNvmeSmartCapable(machine_.control, BlockDevices::node(name_));
        return machine_.devices.isScsiDisk(name_) && isAtaSmartCapable(machine_.control, BlockDevices::node(name_));
    }

    // Down the stack, as long as there is one way to go.
    std::shared_ptr<MediaEntry> parent() override {
        const std::vector<std::string> below = machine_.devices.components(name_);
        if (below.size() != 1)
            return nullptr;
        const std::string disk = machine_.devices.wholeDisk(below.front());
        return disk == name_ ? nullptr : std::make_shared<BlockEntry>(machine_, disk);
    }

    std::unique_ptr<SmartPlugIn> createSmartPlugIn() override {
        const std::string node = BlockDevices::node(name_);
        return isNvme() ? openNvmeSmart(machine_.control, node) : openAtaSmart(machine_.control, node);
    }

private:
    [[nodiscard]] bool isNvme() const { return name_.starts_with("nvme"); }

    DiskMachine& machine_;
    const std::string name_;
    DiskCounters counters_;
};

// What a session and its disks share; work that still runs keeps it.
struct SessionState : std::enable_shared_from_this<SessionState> {
    explicit SessionState(DiskMachine& diskMachine) : machine(diskMachine) {}

    DiskMachine& machine;
    OwnThreadQueue removals; // unmounts and ejects, one after the other
    UdisksClient service;    // used by those alone

    // A completion that stands in the queue as the session loses it is dropped there.
    void complete(std::function<void()> completion) {
        if (const std::shared_ptr<DispatchQueue> target = queueNow())
            target->async([self = shared_from_this(), work = std::move(completion)] {
                if (self->queueNow())
                    work();
            });
    }

    [[nodiscard]] std::shared_ptr<DispatchQueue> queueNow() {
        const LockScope scope(lock);
        return queue;
    }

    Lock lock;
    std::shared_ptr<DispatchQueue> queue SENTREL_GUARDED_BY(lock);
};

class BlockDisk final : public StorageDevice {
public:
    BlockDisk(std::shared_ptr<SessionState> session, std::string kernelName)
        : session_(std::move(session)), name_(std::move(kernelName)),
          wholeName_(session_->machine.devices.wholeDisk(name_)) {
        if (wholeName_ == name_)
            media_ = std::make_shared<BlockEntry>(session_->machine, name_);
        else
            whole_ = std::make_shared<BlockDisk>(session_, wholeName_);
    }

    std::optional<DiskDescription> description() override {
        // Of the last listing: all its volumes are described by one table.
        const MountSnapshot mounts = session_->machine.mounts.latest();
        const MountEntry* const mount = mounts ? mountOfDevice(*mounts, name_) : nullptr;
        const bool isVolume = mount && mount->isVolume;
        return DiskDescription{label(mounts, mount), isVolume ? mount->model : session_->machine.devices.model(name_)};
    }

    std::shared_ptr<StorageDevice> wholeDisk() override { return whole_ ? whole_ : shared_from_this(); }

    std::shared_ptr<MediaEntry> media() override {
        return media_ ? media_ : std::make_shared<BlockEntry>(session_->machine, name_);
    }

    bool isSystemDisk() override {
        if (!systemRunsFrom(session_->machine.mounts, wholeName_))
            return false;
        errno = EBUSY;
        return true;
    }

    void unmount(UnmountOptions options, UnmountCompletion completion) override {
        auto work = [self = shared_from_this(), session = session_, scope = options.whole ? wholeName_ : name_,
                     force = options.force, completion]() {
            std::optional<Dissenter> dissenter = unmountAll(session->machine.mounts, session->service, scope, force);
            if (completion)
                session->complete([self, completion, dissenter = std::move(dissenter)] {
                    completion(self, dissenter ? &*dissenter : nullptr);
                });
        };
        if (session_->removals.async(std::move(work)) || !completion)
            return;
        session_->complete([self = shared_from_this(), completion, reason = errno] {
            const Dissenter dissenter{std::generic_category().message(reason)};
            completion(self, &dissenter);
        });
    }

    void eject() override {
        session_->removals.async([session = session_, name = wholeName_] {
            ejectDisk(session->machine.devices, session->service, session->machine.control, name);
        });
    }

private:
    std::optional<std::string> label(const MountSnapshot& mounts, const MountEntry* mount) const {
        const BlockDevices& devices = session_->machine.devices;
        if (const std::optional<std::string> told = mount ? labelOfMount(devices.root(), *mount) : std::nullopt)
            return told->empty() ? std::nullopt : told;
        return mounts ? labelOfDevice(devices, *mounts, name_) : devices.label(name_);
    }

    const std::shared_ptr<SessionState> session_;
    const std::string name_;
    const std::string wholeName_;
    std::shared_ptr<StorageDevice> whole_; // null if this is the whole disk
    std::shared_ptr<MediaEntry> media_;    // kept for whole disks, whose counters are read at each sample
};

class LinuxDiskSession final : public DiskSession {
public:
    explicit LinuxDiskSession(DiskMachine& machine) : state_(std::make_shared<SessionState>(machine)) {}

    std::shared_ptr<StorageDevice> disk(std::string_view deviceName) override {
        const std::uint64_t generation = state_->machine.generation.load(std::memory_order_relaxed);
        const LockScope scope(lock_);
        const auto known = disks_.find(deviceName);
        if (known != disks_.end() && known->second.generation == generation)
            return known->second.disk;
        std::optional<std::string> kernelName = state_->machine.devices.kernelName(deviceName);
        if (known != disks_.end() && known->second.kernelName == kernelName) {
            known->second.generation = generation;
            return known->second.disk;
        }
        forgetUnused(generation);
        std::shared_ptr<StorageDevice> disk = kernelName ? std::make_shared<BlockDisk>(state_, *kernelName) : nullptr;
        if (!disk)
            errno = ENODEV;
        disks_.insert_or_assign(std::string(deviceName), Known{std::move(kernelName), disk, generation});
        return disk;
    }

    void setQueue(std::shared_ptr<DispatchQueue> queue) override {
        const LockScope scope(state_->lock);
        state_->queue = std::move(queue);
    }

private:
    struct Known {
        std::optional<std::string> kernelName;
        std::shared_ptr<StorageDevice> disk; // null without such a device
        std::uint64_t generation = 0;        // at which this was last seen to hold
    };

    void forgetUnused(std::uint64_t generation) SENTREL_REQUIRES(lock_) {
        std::erase_if(disks_, [generation](const auto& known) { return known.second.generation + 1 < generation; });
    }

    const std::shared_ptr<SessionState> state_;
    Lock lock_;
    TextMap<Known> disks_ SENTREL_GUARDED_BY(lock_);
};

} // namespace

std::unique_ptr<DiskSession> makeDiskSession(DiskMachine& machine) {
    return std::make_unique<LinuxDiskSession>(machine);
}

} // namespace sentrel::platform
