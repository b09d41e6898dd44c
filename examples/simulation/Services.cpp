// SPDX-License-Identifier: Apache-2.0
#include "examples/simulation/Services.h"

#include <SentrelKit/platform/support/Observer.h>

#include <algorithm>
#include <cerrno>

namespace simulation {

using namespace sentrel;
using namespace sentrel::platform;

namespace {

// The moment of the boot, in seconds since the epoch.
std::int64_t bootTimeOf(const Plan& plan, Clock& clock) {
    WallClockReading now;
    return clock.read(now) ? now.seconds - static_cast<std::int64_t>(plan.days * 86400) : 0;
}

// The device's name of the disk that a device is a part of, or its own.
std::string wholeOf(const std::string& name, ScriptedPlatform& values) {
    const std::string& whole = values.volumes().disks[name].whole;
    return whole.empty() ? name : whole;
}

// A disk that is asked under the lock, and whose volumes go when it is unmounted. It keeps its world: an eject may end
// after the machine.
class Device final : public StorageDevice {
public:
    Device(std::shared_ptr<World> world, std::string name, std::shared_ptr<StorageDevice> values)
        : world_(std::move(world)), name_(std::move(name)), values_(std::move(values)) {}

    std::optional<DiskDescription> description() override {
        return world_->ask([this](auto&) { return values_->description(); });
    }
    std::shared_ptr<StorageDevice> wholeDisk() override {
        return world_->ask([this](auto& values) -> std::shared_ptr<StorageDevice> {
            auto whole = values_->wholeDisk();
            return whole ? std::make_shared<Device>(world_, wholeOf(name_, values), std::move(whole)) : nullptr;
        });
    }
    // The entry has copies of the values of its time.
    std::shared_ptr<MediaEntry> media() override {
        return world_->ask([this](auto&) { return values_->media(); });
    }
    bool isSystemDisk() override {
        return world_->ask([this](auto&) { return values_->isSystemDisk(); });
    }
    void unmount(UnmountOptions options, UnmountCompletion completion) override {
        auto self = std::static_pointer_cast<Device>(shared_from_this());
        values_->unmount(options, [self, completion](const auto& /*disk*/, const Dissenter* dissenter) {
            if (!dissenter)
                self->world_->remove(self->name_);
            if (completion)
                completion(self, dissenter);
        });
    }
    void eject() override { values_->eject(); }

private:
    const std::shared_ptr<World> world_;
    const std::string name_;
    const std::shared_ptr<StorageDevice> values_;
};

class Session final : public DiskSession {
public:
    Session(std::shared_ptr<World> world, std::unique_ptr<DiskSession> values)
        : world_(std::move(world)), values_(std::move(values)) {}

    std::shared_ptr<StorageDevice> disk(std::string_view deviceName) override {
        return world_->ask([&](auto&) -> std::shared_ptr<StorageDevice> {
            auto disk = values_->disk(deviceName);
            return disk ? std::make_shared<Device>(world_, std::string(deviceName), std::move(disk)) : nullptr;
        });
    }
    void setQueue(std::shared_ptr<DispatchQueue> queue) override { values_->setQueue(std::move(queue)); }

private:
    const std::shared_ptr<World> world_;
    const std::unique_ptr<DiskSession> values_;
};

} // namespace

World::World(const Plan& plan, Platform& process, std::uint32_t seed)
    : clock_(process.clock()), start_(clock_.monotonicNanoseconds()), motion_(plan, seed) {
    writeFixed(plan, bootTimeOf(plan, clock_), values_);
    motion_.write(values_);
    // Processes have a lock of their own.
    values_.processes().calls.onCall([this](const std::string& /*call*/) { ask([](auto&) {}); });
}

void World::moveToNow() {
    if (!motion_.moveTo(clock_.monotonicNanoseconds() - start_))
        return;
    motion_.write(values_);
    // Nobody reads what was asked, and a machine may be looked at for days.
    for (ScriptedCalls* calls :
         {&values_.host().calls, &values_.graphics().calls, &values_.volumes().calls, &values_.network().calls,
          &values_.power().calls, &values_.processes().calls, &values_.sensors().calls})
        calls->clear();
}

void World::remove(const std::string& whole) {
    ask([&](auto& values) {
        std::erase_if(values.volumes().mounts, [&](const MountedFileSystem& mount) {
            return wholeOf(mount.from.substr(mount.from.rfind('/') + 1), values) == whole;
        });
    });
    values_.volumes().notify({VolumeNotification::Kind::didUnmount, {}, {}, {}});
}

// Looks at what was waited in each window.
Observation Host::observePressure(PressureResource resource, const PressureThreshold& threshold,
                                  std::function<void()> crossed) {
    const auto waited = [this, resource, threshold] {
        Pressure now;
        static_cast<void>(pressure(resource, now));
        return threshold.kind == PressureThreshold::Kind::some ? now.some.total : now.full->total;
    };
    auto observer = std::make_shared<Observer>(std::move(crossed));
    std::shared_ptr<RepeatingTimer> windows = dispatch_.backgroundQueue()->makeTimer(
        threshold.window * 1000, [observer, waited, before = waited(), threshold]() mutable {
            const std::uint64_t now = waited();
            if (now - std::exchange(before, now) >= static_cast<std::uint64_t>(threshold.stall))
                observer->tell();
        });
    windows->resume();
    return Observation(std::move(observer), std::move(windows));
}

Volumes::Volumes(std::shared_ptr<World> world) : world_(std::move(world)), acceptedTypes_(values().acceptedTypes()) {}

std::int32_t Volumes::countMountedFileSystems() {
    return world_->ask([](auto& values) { return values.volumes().countMountedFileSystems(); });
}

std::int32_t Volumes::listMountedFileSystems(std::span<MountedFileSystem> entries) {
    return world_->ask([&](auto& values) { return values.volumes().listMountedFileSystems(entries); });
}

std::optional<FileSystemSpace> Volumes::space(const char* path) {
    return world_->ask([&](auto& values) { return values.volumes().space(path); });
}

std::unique_ptr<DiskSession> Volumes::openSession() {
    return std::make_unique<Session>(world_, values().openSession());
}

std::unique_ptr<Connection> Network::connect(const std::string& /*host*/, std::int32_t /*port*/) {
    errno = ENETUNREACH;
    return nullptr;
}

// A charge moves slowly: a look every few seconds is plenty.
Observation Power::observe(std::function<void()> changed) {
    constexpr std::int64_t pause = 5'000'000'000; // nanoseconds
    auto observer = std::make_shared<Observer>(std::move(changed));
    std::shared_ptr<RepeatingTimer> looks = dispatch_.mainQueue()->makeTimer(pause, [observer] { observer->tell(); });
    looks->resume();
    return Observation(std::move(observer), std::move(looks));
}

} // namespace simulation
