// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedVolumeService.h>

#include <SentrelKit/platform/DispatchQueue.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace sentrel::platform {

class ScriptedVolumeService::Interface final : public SmartInterface {
public:
    Interface(ScriptedCalls& calls, std::string name, const ScriptedDrive& drive)
        : calls_(calls), name_(std::move(name)), drive_(drive), handle_(calls, "interface " + name_) {}

    bool enableOperations(bool enable) override { return !fails("enableOperations", flag(enable)); }
    bool enableAutosave(bool enable) override { return !fails("enableAutosave", flag(enable)); }
    std::optional<bool> returnStatus() override {
        if (fails("returnStatus"))
            return std::nullopt;
        return drive_.exceeded;
    }
    bool executeOffLineImmediate(bool extendedTest) override {
        return !fails("executeOffLineImmediate", flag(extendedTest));
    }
    bool readData(SmartData& data) override {
        if (fails("readData"))
            return false;
        data = drive_.data;
        return true;
    }
    bool readThresholds(SmartData& thresholds) override {
        return read("readThresholds", drive_.thresholds, thresholds);
    }
    bool readHealthLog(SmartData& log) override { return read("readHealthLog", drive_.healthLog, log); }
    bool validateData(const SmartData& /*data*/) override { return !fails("validateData") && drive_.dataIsSound; }

private:
    static const char* flag(bool value) { return value ? " 1" : " 0"; }

    bool read(const char* operation, const std::optional<SmartData>& from, SmartData& to) {
        if (fails(operation))
            return false;
        errno = ENOTSUP;
        to = from.value_or(to);
        return from.has_value();
    }

    bool fails(const char* operation, const char* argument = "") { return calls_.fails(operation, name_ + argument); }

    ScriptedCalls& calls_;
    const std::string name_;
    const ScriptedDrive drive_;
    const ScriptedHandle handle_;
};

class ScriptedVolumeService::PlugIn final : public SmartPlugIn {
public:
    PlugIn(ScriptedCalls& calls, std::string name, const ScriptedDrive& drive)
        : calls_(calls), name_(std::move(name)), drive_(drive), handle_(calls, "plug-in " + name_) {}

    std::unique_ptr<SmartInterface> queryInterface() override {
        if (calls_.fails("queryInterface", name_))
            return nullptr;
        return std::make_unique<Interface>(calls_, name_, drive_);
    }

private:
    ScriptedCalls& calls_;
    const std::string name_;
    const ScriptedDrive drive_;
    const ScriptedHandle handle_;
};

class ScriptedVolumeService::Media final : public MediaEntry {
public:
    Media(ScriptedCalls& calls, std::string name, ScriptedDisk disk, std::uint32_t height)
        : calls_(calls), name_(std::move(name)), disk_(std::move(disk)), height_(height),
          handle_(calls, "media " + name_) {}

    std::optional<DiskStatistics> statistics() override {
        if (calls_.fails("statistics", name_))
            return std::nullopt;
        return disk_.statistics;
    }
    bool isSmartCapable() override { return !calls_.fails("isSmartCapable", name_) && disk_.smartAncestor == height_; }
    std::shared_ptr<MediaEntry> parent() override {
        constexpr std::uint32_t top = 3;
        if (calls_.fails("parent", name_) || height_ == top)
            return nullptr;
        return std::make_shared<Media>(calls_, name_, disk_, height_ + 1);
    }
    std::unique_ptr<SmartPlugIn> createSmartPlugIn() override {
        if (calls_.fails("createSmartPlugIn", name_))
            return nullptr;
        return std::make_unique<PlugIn>(calls_, name_, disk_.drive);
    }

private:
    ScriptedCalls& calls_;
    const std::string name_;
    const ScriptedDisk disk_;
    const std::uint32_t height_;
    const ScriptedHandle handle_;
};

// Where a session's completions are called, and those that did not come yet. What is to call one keeps it: it may hold
// the session itself, which would last for ever if it kept its completions.
class ScriptedVolumeService::Completions {
public:
    using Call = std::shared_ptr<std::function<void()>>;

    void setQueue(std::shared_ptr<DispatchQueue> queue) {
        queue_ = std::move(queue);
        if (queue_)
            return;
        for (const std::weak_ptr<std::function<void()>>& pending : std::exchange(pending_, {}))
            if (const Call dropped = pending.lock())
                *dropped = nullptr;
    }

    // A completion that is to come.
    Call add(std::function<void()> completion) {
        auto call = std::make_shared<std::function<void()>>(std::move(completion));
        pending_.emplace_back(call);
        return call;
    }

    // Lets one come, if there is a queue.
    void post(const Call& call) {
        if (queue_)
            queue_->async([call] { run(call); });
    }

private:
    static void run(const Call& call) {
        if (const std::function<void()> completion = std::exchange(*call, nullptr))
            completion();
    }

    std::shared_ptr<DispatchQueue> queue_;
    std::vector<std::weak_ptr<std::function<void()>>> pending_;
};

class ScriptedVolumeService::Handle final : public StorageDevice {
public:
    Handle(ScriptedVolumeService& service, std::string name, std::shared_ptr<Completions> completions)
        : service_(service), name_(std::move(name)), completions_(std::move(completions)),
          handle_(service.calls, "disk " + name_) {}

    std::optional<DiskDescription> description() override {
        const bool fails = service_.calls.fails("description", name_);
        const ScriptedDisk* disk = find(name_);
        return disk && !fails ? disk->description : std::nullopt;
    }
    std::shared_ptr<StorageDevice> wholeDisk() override {
        const bool fails = service_.calls.fails("wholeDisk", name_);
        const ScriptedDisk* disk = find(name_);
        if (!disk || fails)
            return nullptr;
        if (disk->whole.empty())
            return shared_from_this();
        return std::make_shared<Handle>(service_, disk->whole, completions_);
    }
    std::shared_ptr<MediaEntry> media() override {
        const bool fails = service_.calls.fails("media", name_);
        const ScriptedDisk* disk = find(name_);
        if (!disk || !disk->hasMedia || fails)
            return nullptr;
        return std::make_shared<Media>(service_.calls, name_, *disk, 0);
    }
    bool isSystemDisk() override {
        if (service_.calls.fails("isSystemDisk", name_))
            return true;
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
        const bool refused =
            service_.calls.fails("unmount", name_ + (options.whole ? " whole" : "") + (options.force ? " force" : ""));
        const std::string reason = refused ? std::strerror(errno) : "";
        if (!completion)
            return;
        const Completions::Call call = completions_->add([completion, refused, reason, self = shared_from_this()] {
            const Dissenter dissenter{reason};
            completion(self, refused ? &dissenter : nullptr);
        });
        service_.calls.complete("unmount", [completions = completions_, call] { completions->post(call); });
    }
    void eject() override { service_.calls.record("eject", name_); }

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
    const std::shared_ptr<Completions> completions_;
    const ScriptedHandle handle_;
};

class ScriptedVolumeService::Session final : public DiskSession {
public:
    explicit Session(ScriptedVolumeService& service) : service_(service), handle_(service.calls, "session") {}

    std::shared_ptr<StorageDevice> disk(std::string_view deviceName) override {
        std::string name(deviceName);
        if (service_.calls.fails("disk", name) || !service_.disks.contains(name))
            return nullptr;
        return std::make_shared<Handle>(service_, std::move(name), completions_);
    }
    void setQueue(std::shared_ptr<DispatchQueue> queue) override {
        service_.calls.record("setQueue", queue ? "" : "none");
        completions_->setQueue(std::move(queue));
    }

private:
    ScriptedVolumeService& service_;
    const std::shared_ptr<Completions> completions_ = std::make_shared<Completions>();
    const ScriptedHandle handle_;
};

ScriptedVolumeService::ScriptedVolumeService()
    : acceptedTypeNames{"hfs", "apfs", "nfs", "ufs", "msdos", "exfat", "ntfs", "cd9660", "cddafs", "udf"} {}

ScriptedVolumeService::~ScriptedVolumeService() = default;

std::int32_t ScriptedVolumeService::countMountedFileSystems() {
    if (calls.fails("countMountedFileSystems"))
        return -1;
    return count.value_or(static_cast<std::int32_t>(mounts.size()));
}

std::int32_t ScriptedVolumeService::listMountedFileSystems(std::span<MountedFileSystem> entries) {
    if (calls.fails("listMountedFileSystems"))
        return -1;
    const std::vector<MountedFileSystem> listed = mounts;
    const std::size_t filled = std::min(entries.size(), listed.size());
    for (std::size_t i = 0; i < filled; ++i) {
        calls.entry("listMountedFileSystems", listed[i].on);
        entries[i] = listed[i];
    }
    return static_cast<std::int32_t>(filled);
}

AcceptedTypes ScriptedVolumeService::acceptedTypes() const noexcept {
    calls.record("acceptedTypes");
    typeViews_.assign(acceptedTypeNames.begin(), acceptedTypeNames.end());
    return {typeViews_, acceptsAnyRoot};
}

std::optional<FileSystemSpace> ScriptedVolumeService::space(const char* path) {
    if (calls.fails("space", path))
        return std::nullopt;
    const auto mounted =
        std::find_if(mounts.begin(), mounts.end(), [path](const auto& entry) { return entry.on == path; });
    if (mounted != mounts.end())
        return mounted->space;
    errno = ENOENT;
    return std::nullopt;
}

std::unique_ptr<DiskSession> ScriptedVolumeService::openSession() {
    if (calls.fails("openSession"))
        return nullptr;
    return std::make_unique<Session>(*this);
}

Observation ScriptedVolumeService::observe(std::function<void(const VolumeNotification&)> observer) {
    if (calls.fails("observe"))
        return {};
    return observers_.add(std::move(observer), std::make_shared<ScriptedHandle>(calls, "observation"));
}

void ScriptedVolumeService::checkLabel(const std::string& path) {
    calls.record("checkLabel", path);
}

std::optional<Icon> ScriptedVolumeService::iconForPath(const std::string& path) {
    const bool fails = calls.fails("iconForPath", path);
    const auto icon = icons.find(path);
    return icon == icons.end() || fails ? std::nullopt : std::optional(icon->second);
}

void ScriptedVolumeService::notify(const VolumeNotification& notification) {
    observers_.post(notification);
    observers_.tell();
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
