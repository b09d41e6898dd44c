// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/volumes/MacDiskSession.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/platform/macos/common/DispatchOwner.h>
#include <SentrelKit/platform/macos/common/Numbered.h>
#include <SentrelKit/platform/macos/common/Values.h>
#include <SentrelKit/platform/macos/volumes/MacMediaEntry.h>

#include <DiskArbitration/DiskArbitration.h>
#include <sys/mount.h>
#include <sys/param.h>

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

// What a completion needs. Disk arbitration keeps nothing alive for it.
struct PendingUnmount {
    std::shared_ptr<StorageDevice> device;
    StorageDevice::UnmountCompletion completion;
};

Numbered<PendingUnmount>& pendingUnmounts() {
    static Numbered<PendingUnmount>& all = *new Numbered<PendingUnmount>;
    return all;
}

std::string reasonOf(DADissenterRef dissenter) {
    if (std::optional<std::string> words = textOf(DADissenterGetStatusString(dissenter)))
        return std::move(*words);
    return "status " + std::to_string(DADissenterGetStatus(dissenter));
}

// An exception of the completion does not pass through disk arbitration.
void onUnmounted(DADiskRef, DADissenterRef dissenter, void* context) noexcept {
    const std::shared_ptr<PendingUnmount> pending = pendingUnmounts().take(context);
    if (!pending)
        return;
    if (!dissenter) {
        pending->completion(pending->device, nullptr);
        return;
    }
    const Dissenter objection{.reason = reasonOf(dissenter)};
    pending->completion(pending->device, &objection);
}

// The device that the root file system lies on.
std::string rootDevice() {
    struct statfs root {};
    if (::statfs("/", &root) != 0)
        return {};
    const std::string from = root.f_mntfromname;
    return from.substr(from.rfind('/') + 1);
}

} // namespace

/// The session itself, and the unmounts whose completions may come: without a queue none does, so none waits.
///
/// The session calls back on a queue of its own that hands its work on to the host's. It may be calling while it is
/// taken off the queue, with nothing in its hands that keeps it: a reference that is let go stands behind that call in
/// the queue.
class MacDiskSession::Arbitration {
public:
    explicit Arbitration(CFOwner<DASessionRef> session) : session_(std::move(session)) {}
    ~Arbitration() { unschedule(); }
    Arbitration(const Arbitration&) = delete;
    Arbitration& operator=(const Arbitration&) = delete;

    [[nodiscard]] DASessionRef get() const noexcept { return session_.get(); }

    void setQueue(const std::shared_ptr<DispatchQueue>& queue) {
        std::vector<std::shared_ptr<PendingUnmount>> dropped; // released outside the lock
        const LockScope scope(lock_);
        unschedule();
        if (queue) {
            queue_ = DispatchOwner<dispatch_queue_t>(dispatch_queue_create_with_target(
                "SentrelKit.disks", DISPATCH_QUEUE_SERIAL, static_cast<dispatch_queue_t>(queue->nativeHandle())));
            DASessionSetDispatchQueue(session_.get(), queue_.get());
            return;
        }
        for (void* const context : std::exchange(pending_, {}))
            dropped.push_back(pendingUnmounts().take(context));
    }

    // The context of the completion; null if none can come.
    [[nodiscard]] void* pend(PendingUnmount pending) {
        const LockScope scope(lock_);
        if (!queue_.get() || !pending.completion)
            return nullptr;
        pending_.push_back(pendingUnmounts().add(std::make_shared<PendingUnmount>(std::move(pending))));
        return pending_.back();
    }

private:
    void unschedule() SENTREL_REQUIRES(lock_) {
        if (!queue_.get())
            return;
        DASessionSetDispatchQueue(session_.get(), nullptr);
        dispatch_async_f(queue_.get(), CFOwner<DASessionRef>::retained(session_.get()).release(), &release);
        queue_ = {};
    }
    static void release(void* session) { const CFOwner behindTheCall(static_cast<DASessionRef>(session)); }

    const CFOwner<DASessionRef> session_;
    Lock lock_;
    DispatchOwner<dispatch_queue_t> queue_ SENTREL_GUARDED_BY(lock_);
    std::vector<void*> pending_ SENTREL_GUARDED_BY(lock_); // those that came too, until the queue changes
};

/// A disk as disk arbitration knows it.
class MacDiskSession::Device final : public StorageDevice {
public:
    Device(std::shared_ptr<Arbitration> arbitration, CFOwner<DADiskRef> disk)
        : arbitration_(std::move(arbitration)), disk_(std::move(disk)) {}

    [[nodiscard]] static std::shared_ptr<Device> create(const std::shared_ptr<Arbitration>& arbitration,
                                                        const std::string& name) {
        CFOwner disk(DADiskCreateFromBSDName(kCFAllocatorDefault, arbitration->get(), name.c_str()));
        return disk ? std::make_shared<Device>(arbitration, std::move(disk)) : nullptr;
    }

    std::optional<DiskDescription> description() override {
        const CFOwner facts(DADiskCopyDescription(disk_.get()));
        if (!facts)
            return std::nullopt;
        return DiskDescription{.volumeName = textOf(CFDictionaryGetValue(facts.get(), kDADiskDescriptionVolumeNameKey)),
                               .deviceModel =
                                   textOf(CFDictionaryGetValue(facts.get(), kDADiskDescriptionDeviceModelKey))};
    }

    std::shared_ptr<StorageDevice> wholeDisk() override {
        CFOwner whole(DADiskCopyWholeDisk(disk_.get()));
        return whole ? std::make_shared<Device>(arbitration_, std::move(whole)) : nullptr;
    }

    std::shared_ptr<MediaEntry> media() override {
        return MacMediaEntry::create(IOObject(DADiskCopyIOMedia(disk_.get())));
    }

    bool isSystemDisk() override {
        const std::shared_ptr<StorageDevice> whole = wholeDisk();
        const std::shared_ptr<MediaEntry> mine = whole ? whole->media() : nullptr;
        const std::shared_ptr<Device> root = create(arbitration_, rootDevice());
        std::shared_ptr<MediaEntry> under = root ? root->media() : nullptr;
        bool isSystems = !mine || !under; // nobody can tell
        // Whatever the root file system stands on: its container, and the disk that the container lies on.
        for (; under && !isSystems; under = under->parent())
            isSystems = MacMediaEntry::areSame(*under, *mine);
        if (isSystems)
            errno = EBUSY;
        return isSystems;
    }

    void unmount(UnmountOptions options, UnmountCompletion completion) override {
        const DADiskUnmountOptions native = (options.whole ? kDADiskUnmountOptionWhole : kDADiskUnmountOptionDefault) |
                                            (options.force ? kDADiskUnmountOptionForce : kDADiskUnmountOptionDefault);
        void* const context = arbitration_->pend({.device = shared_from_this(), .completion = std::move(completion)});
        DADiskUnmount(disk_.get(), native, context ? &onUnmounted : nullptr, context);
    }

    void eject() override { DADiskEject(disk_.get(), kDADiskEjectOptionDefault, nullptr, nullptr); }

private:
    const std::shared_ptr<Arbitration> arbitration_;
    const CFOwner<DADiskRef> disk_;
};

std::unique_ptr<MacDiskSession> MacDiskSession::open() {
    CFOwner session(DASessionCreate(kCFAllocatorDefault));
    if (!session)
        return nullptr;
    return std::unique_ptr<MacDiskSession>(new MacDiskSession(std::make_shared<Arbitration>(std::move(session))));
}

MacDiskSession::MacDiskSession(std::shared_ptr<Arbitration> arbitration) : arbitration_(std::move(arbitration)) {}

MacDiskSession::~MacDiskSession() = default;

std::shared_ptr<StorageDevice> MacDiskSession::disk(std::string_view deviceName) {
    return Device::create(arbitration_, std::string(deviceName));
}

void MacDiskSession::setQueue(std::shared_ptr<DispatchQueue> queue) {
    arbitration_->setQueue(queue);
}

} // namespace sentrel::platform
