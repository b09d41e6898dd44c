// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedVolumeService.h>

#include <SentrelKit/platform/DispatchQueue.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace sentrel::platform {

class ScriptedVolumeService::Interface final : public SmartInterface {
public:
    Interface(ScriptedVolumeService& service, const ScriptedDrive& drive) : service_(service), drive_(drive) {}
    ~Interface() override { service_.calls.emplace_back("release interface"); }

    bool enableOperations(bool enable) override { return !service_.fails("enableOperations", flag(enable)); }
    bool enableAutosave(bool enable) override { return !service_.fails("enableAutosave", flag(enable)); }
    std::optional<bool> returnStatus() override {
        if (service_.fails("returnStatus"))
            return std::nullopt;
        return drive_.exceeded;
    }
    bool executeOffLineImmediate(bool captive) override {
        return !service_.fails("executeOffLineImmediate", flag(captive));
    }
    bool readData(SmartData& data) override {
        if (service_.fails("readData"))
            return false;
        data = drive_.data;
        return true;
    }
    bool validateData(const SmartData& /*data*/) override {
        return !service_.fails("validateData") && drive_.dataIsSound;
    }

private:
    static std::string flag(bool value) { return value ? "1" : "0"; }

    ScriptedVolumeService& service_;
    const ScriptedDrive drive_;
};

class ScriptedVolumeService::PlugIn final : public SmartPlugIn {
public:
    PlugIn(ScriptedVolumeService& service, const ScriptedDrive& drive) : service_(service), drive_(drive) {}
    ~PlugIn() override { service_.calls.emplace_back("destroy plug-in"); }

    std::unique_ptr<SmartInterface> queryInterface() override {
        if (service_.fails("queryInterface"))
            return nullptr;
        return std::make_unique<Interface>(service_, drive_);
    }

private:
    ScriptedVolumeService& service_;
    const ScriptedDrive drive_;
};

class ScriptedVolumeService::Media final : public MediaEntry {
public:
    Media(ScriptedVolumeService& service, ScriptedDisk disk, std::uint32_t height)
        : service_(service), disk_(std::move(disk)), height_(height) {}

    std::optional<DiskStatistics> statistics() override {
        if (service_.fails("statistics"))
            return std::nullopt;
        return disk_.statistics;
    }
    bool isSmartCapable() override { return !service_.fails("isSmartCapable") && disk_.smartAncestor == height_; }
    std::shared_ptr<MediaEntry> parent() override {
        constexpr std::uint32_t top = 3;
        if (service_.fails("parent") || height_ == top)
            return nullptr;
        return std::make_shared<Media>(service_, disk_, height_ + 1);
    }
    std::unique_ptr<SmartPlugIn> createSmartPlugIn() override {
        if (service_.fails("createSmartPlugIn"))
            return nullptr;
        return std::make_unique<PlugIn>(service_, disk_.drive);
    }

private:
    ScriptedVolumeService& service_;
    const ScriptedDisk disk_;
    const std::uint32_t height_;
};

class ScriptedVolumeService::Handle final : public StorageDevice {
public:
    using Queue = std::shared_ptr<std::shared_ptr<DispatchQueue>>;

    Handle(ScriptedVolumeService& service, std::string name, Queue queue)
        : service_(service), name_(std::move(name)), queue_(std::move(queue)) {}

    std::optional<DiskDescription> description() override {
        const ScriptedDisk* disk = find(name_);
        if (!disk || service_.fails("description"))
            return std::nullopt;
        return disk->description;
    }
    std::shared_ptr<StorageDevice> wholeDisk() override {
        const ScriptedDisk* disk = find(name_);
        if (!disk || service_.fails("wholeDisk"))
            return nullptr;
        if (disk->whole.empty())
            return shared_from_this();
        return std::make_shared<Handle>(service_, disk->whole, queue_);
    }
    std::shared_ptr<MediaEntry> media() override {
        const ScriptedDisk* disk = find(name_);
        if (!disk || !disk->hasMedia || service_.fails("media"))
            return nullptr;
        return std::make_shared<Media>(service_, *disk, 0);
    }
    bool isSystemDisk() override {
        const std::string whole = wholeOf(name_);
        const ScriptedDisk* disk = find(whole);
        const bool carriesRoot =
            std::any_of(service_.mounts.begin(), service_.mounts.end(), [&](const MountedFileSystem& mount) {
                return mount.isRoot && wholeOf(mount.from.substr(mount.from.rfind('/') + 1)) == whole;
            });
        if (!carriesRoot && !(disk && disk->isSystemDisk))
            return false;
        errno = EBUSY;
        return true;
    }
    void unmount(UnmountOptions options, UnmountCompletion completion) override {
        service_.calls.push_back("unmount " + name_ + (options.whole ? " whole" : "") +
                                 (options.force ? " force" : ""));
        bool accepted = true;
        if (const auto disk = service_.disks.find(name_);
            disk != service_.disks.end() && !disk->second.unmountAnswers.empty()) {
            accepted = disk->second.unmountAnswers.front();
            disk->second.unmountAnswers.erase(disk->second.unmountAnswers.begin());
        }
        if (!completion || !*queue_)
            return;
        (*queue_)->async([self = shared_from_this(), accepted, completion = std::move(completion)] {
            const Dissenter dissenter{"in use"};
            completion(self, accepted ? nullptr : &dissenter);
        });
    }
    void eject() override { service_.calls.push_back("eject " + name_); }

private:
    [[nodiscard]] const ScriptedDisk* find(const std::string& name) const {
        const auto disk = service_.disks.find(name);
        return disk == service_.disks.end() ? nullptr : &disk->second;
    }

    [[nodiscard]] std::string wholeOf(const std::string& name) const {
        const ScriptedDisk* disk = find(name);
        return disk && !disk->whole.empty() ? disk->whole : name;
    }

    ScriptedVolumeService& service_;
    const std::string name_;
    const Queue queue_;
};

class ScriptedVolumeService::Session final : public DiskSession {
public:
    explicit Session(ScriptedVolumeService& service) : service_(service) {}
    ~Session() override { service_.calls.emplace_back("close session"); }

    std::shared_ptr<StorageDevice> disk(std::string_view deviceName) override {
        const std::string name(deviceName);
        if (!service_.disks.contains(name) || service_.fails("disk"))
            return nullptr;
        return std::make_shared<Handle>(service_, name, queue_);
    }
    void setQueue(std::shared_ptr<DispatchQueue> queue) override {
        service_.calls.emplace_back(queue ? "schedule session" : "unschedule session");
        *queue_ = std::move(queue);
    }

private:
    ScriptedVolumeService& service_;
    Handle::Queue queue_ = std::make_shared<std::shared_ptr<DispatchQueue>>();
};

class ScriptedVolumeService::Observation final : public VolumeObservation {
public:
    Observation(ScriptedVolumeService& service, std::function<void(const VolumeNotification&)> observer)
        : service_(service), observer_(std::move(observer)) {
        service_.observers_.push_back(&observer_);
    }
    ~Observation() override { std::erase(service_.observers_, &observer_); }

private:
    ScriptedVolumeService& service_;
    std::function<void(const VolumeNotification&)> observer_;
};

ScriptedVolumeService::ScriptedVolumeService()
    : acceptedTypeNames{"hfs", "apfs", "nfs", "ufs", "msdos", "exfat", "ntfs", "cd9660", "cddafs", "udf"} {}

ScriptedVolumeService::~ScriptedVolumeService() = default;

bool ScriptedVolumeService::fails(const std::string& operation, const std::string& arguments) {
    calls.push_back(arguments.empty() ? operation : operation + ' ' + arguments);
    if (onCall)
        onCall(calls.back());
    const auto failure = failing.find(operation);
    if (failure == failing.end() || !failure->second)
        return false;
    errno = EIO;
    return true;
}

std::int32_t ScriptedVolumeService::countMountedFileSystems() {
    if (fails("countMountedFileSystems"))
        return -1;
    return count.value_or(static_cast<std::int32_t>(mounts.size()));
}

std::int32_t ScriptedVolumeService::listMountedFileSystems(std::span<MountedFileSystem> entries) {
    if (fails("listMountedFileSystems"))
        return -1;
    const std::size_t filled = std::min(entries.size(), mounts.size());
    std::copy_n(mounts.begin(), filled, entries.begin());
    return static_cast<std::int32_t>(filled);
}

AcceptedTypes ScriptedVolumeService::acceptedTypes() const noexcept {
    typeViews_.assign(acceptedTypeNames.begin(), acceptedTypeNames.end());
    return {typeViews_, acceptsAnyRoot};
}

std::optional<FileSystemSpace> ScriptedVolumeService::space(const char* path) {
    if (fails("space", path))
        return std::nullopt;
    const auto mounted =
        std::find_if(mounts.begin(), mounts.end(), [path](const auto& entry) { return entry.on == path; });
    if (mounted != mounts.end())
        return mounted->space;
    errno = ENOENT;
    return std::nullopt;
}

std::unique_ptr<DiskSession> ScriptedVolumeService::openSession() {
    if (fails("openSession"))
        return nullptr;
    return std::make_unique<Session>(*this);
}

std::unique_ptr<VolumeObservation>
ScriptedVolumeService::observe(std::function<void(const VolumeNotification&)> observer) {
    if (fails("observe"))
        return nullptr;
    return std::make_unique<Observation>(*this, std::move(observer));
}

std::optional<std::string> ScriptedVolumeService::iconForPath(const std::string& path) {
    const auto icon = icons.find(path);
    if (icon == icons.end() || fails("iconForPath", path))
        return std::nullopt;
    return icon->second;
}

void ScriptedVolumeService::notify(const VolumeNotification& notification) const {
    const auto observers = observers_;
    for (auto* observer : observers)
        (*observer)(notification);
}

MountedFileSystem& ScriptedVolumeService::mount(const std::string& device, const std::string& path,
                                                std::uint64_t blocks, std::uint64_t freeBlocks,
                                                const std::string& type) {
    MountedFileSystem entry;
    entry.type = type;
    entry.from = "/dev/" + device;
    entry.on = path;
    entry.space = {4096, blocks, freeBlocks};
    entry.isRoot = path == "/";
    mounts.push_back(std::move(entry));
    disks.try_emplace(device);
    return mounts.back();
}

void ScriptedVolumeService::unmount(const std::string& path) {
    std::erase_if(mounts, [&path](const MountedFileSystem& entry) { return entry.on == path; });
}

} // namespace sentrel::platform
