// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The services of a simulated machine whose figures move: each question brings the scripted values up to the present,
/// under a lock, and is answered from them. What never changes is asked without the lock.

#include "examples/simulation/Motion.h"

#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/Dispatch.h>
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace simulation {

/// The values and their motion. Any thread.
class World {
public:
    World(const Plan& plan, sentrel::platform::Platform& process, std::uint32_t seed);

    /// The answer to a question about the values as they are now.
    template <class Question>
    auto ask(const Question& question) {
        const std::lock_guard guard(lock_);
        moveToNow();
        return question(values_);
    }

    /// The values, for what does not change and for what has a lock of its own.
    [[nodiscard]] sentrel::platform::ScriptedPlatform& values() noexcept { return values_; }

    /// Takes the volumes of a whole disk away, and tells it.
    void remove(const std::string& whole);

private:
    void moveToNow();

    sentrel::platform::Clock& clock_;
    const std::int64_t start_;
    std::mutex lock_;
    Motion motion_;
    sentrel::platform::ScriptedPlatform values_;
};

class Host final : public sentrel::platform::HostService {
    using Values = sentrel::platform::ScriptedHostService;

    template <class Operation, class... Arguments>
    auto ask(Operation operation, Arguments&&... arguments) {
        return world_.ask(
            [&](auto& values) { return std::invoke(operation, values.host(), std::forward<Arguments>(arguments)...); });
    }

public:
    /// Observers are called on the background queue of `dispatch`.
    Host(World& world, sentrel::platform::Dispatch& dispatch) : world_(world), dispatch_(dispatch) {}

    std::optional<std::int64_t> bootTime() override { return ask(&Values::bootTime); }
    std::optional<sentrel::platform::host_basic_info> hostInfo() override { return ask(&Values::hostInfo); }
    std::optional<sentrel::platform::HostLoadTicks> loadTicks() noexcept override { return ask(&Values::loadTicks); }
    std::optional<sentrel::platform::ProcessorSet> defaultProcessorSet() noexcept override {
        return ask(&Values::defaultProcessorSet);
    }
    std::optional<sentrel::platform::ProcessorSetLoad>
    processorSetLoad(sentrel::platform::ProcessorSet set) noexcept override {
        return ask(&Values::processorSetLoad, set);
    }
    std::optional<std::size_t> brand(std::span<char> buffer) override { return ask(&Values::brand, buffer); }
    std::optional<sentrel::platform::VirtualMemoryCounters> virtualMemory() noexcept override {
        return ask(&Values::virtualMemory);
    }
    std::optional<sentrel::platform::SwapUsage> swapUsage() noexcept override { return ask(&Values::swapUsage); }
    std::optional<sentrel::platform::LoadAverages> loadAverages() noexcept override {
        return ask(&Values::loadAverages);
    }
    std::optional<std::uint64_t> physicalMemory() override { return ask(&Values::physicalMemory); }
    std::optional<double> awakeUptime() noexcept override { return ask(&Values::awakeUptime); }
    std::optional<sentrel::ThermalState> thermalState() override { return ask(&Values::thermalState); }
    sentrel::Availability pressure(sentrel::PressureResource resource, sentrel::Pressure& pressure) noexcept override {
        return ask(&Values::pressure, resource, pressure);
    }
    sentrel::Availability processorLoad(sentrel::platform::ProcessorLoad& load) noexcept override {
        return ask(&Values::processorLoad, load);
    }
    sentrel::Availability processorFrequencies(sentrel::platform::ProcessorFrequencies& frequencies) override {
        return ask(&Values::processorFrequencies, frequencies);
    }
    sentrel::Availability memoryDetails(sentrel::MemoryDetails& details) noexcept override {
        return ask(&Values::memoryDetails, details);
    }
    sentrel::Availability swapCounters(sentrel::platform::SwapCounters& counters) noexcept override {
        return ask(&Values::swapCounters, counters);
    }
    sentrel::Availability memoryCompression(sentrel::MemoryCompression& compression) override {
        return ask(&Values::memoryCompression, compression);
    }
    sentrel::Availability memoryNodes(std::vector<sentrel::MemoryNode>& nodes) override {
        return ask(&Values::memoryNodes, nodes);
    }
    sentrel::Availability operatingSystem(sentrel::OperatingSystem& system) override {
        return ask(&Values::operatingSystem, system);
    }
    sentrel::Availability virtualization(sentrel::Virtualization& virtualization) override {
        return ask(&Values::virtualization, virtualization);
    }
    sentrel::Availability controlGroup(sentrel::ControlGroup& group) override {
        return ask(&Values::controlGroup, group);
    }
    sentrel::Availability users(std::vector<sentrel::LoggedInUser>& users) override {
        return ask(&Values::users, users);
    }
    sentrel::Observation observePressure(sentrel::PressureResource resource,
                                         const sentrel::PressureThreshold& threshold,
                                         std::function<void()> crossed) override;

private:
    World& world_;
    sentrel::platform::Dispatch& dispatch_;
};

class Sensors final : public sentrel::platform::SensorService {
public:
    explicit Sensors(World& world) : world_(world) {}

    sentrel::Availability sensors(std::vector<sentrel::platform::SensorReading>& readings) override {
        return world_.ask([&](auto& values) { return values.sensors().sensors(readings); });
    }
    sentrel::Availability energyCounters(std::vector<sentrel::platform::SensorReading>& readings) override {
        return world_.ask([&](auto& values) { return values.sensors().energyCounters(readings); });
    }

private:
    World& world_;
};

class Volumes final : public sentrel::platform::VolumeService {
public:
    explicit Volumes(std::shared_ptr<World> world);

    std::int32_t countMountedFileSystems() override;
    std::int32_t listMountedFileSystems(std::span<sentrel::platform::MountedFileSystem> entries) override;
    [[nodiscard]] sentrel::platform::AcceptedTypes acceptedTypes() const noexcept override { return acceptedTypes_; }
    std::optional<sentrel::platform::FileSystemSpace> space(const char* path) override;
    std::unique_ptr<sentrel::platform::DiskSession> openSession() override;
    sentrel::Observation observe(std::function<void(const sentrel::platform::VolumeNotification&)> observer) override {
        return values().observe(std::move(observer));
    }
    void checkLabel(const std::string& path) override { values().checkLabel(path); }
    std::optional<sentrel::Icon> iconForPath(const std::string& path) override { return values().iconForPath(path); }
    sentrel::Availability diskOperations(std::vector<sentrel::DiskOperations>& disks) override {
        return world_->ask([&](auto& values) { return values.volumes().diskOperations(disks); });
    }
    sentrel::Availability diskDevices(std::vector<sentrel::DiskDevice>& devices) override {
        return world_->ask([&](auto& values) { return values.volumes().diskDevices(devices); });
    }

private:
    [[nodiscard]] sentrel::platform::ScriptedVolumeService& values() { return world_->values().volumes(); }

    const std::shared_ptr<World> world_;
    const sentrel::platform::AcceptedTypes acceptedTypes_;
};

class Network final : public sentrel::platform::NetworkService {
public:
    explicit Network(World& world) : world_(world) {}

    bool listInterfaces(const std::function<void(const sentrel::platform::InterfaceInfo&)>& each) override {
        return world_.ask([&](auto& values) { return values.network().listInterfaces(each); });
    }
    std::optional<sentrel::platform::MediaStatus> mediaStatus(std::string_view name) override {
        return values().mediaStatus(name);
    }
    std::optional<std::unique_ptr<sentrel::platform::InterfaceEntry>> matchInterface(const std::string& name) override {
        return values().matchInterface(name);
    }
    sentrel::Availability packetCounters(std::vector<sentrel::InterfaceCounters>& counters) override {
        return world_.ask([&](auto& values) { return values.network().packetCounters(counters); });
    }
    sentrel::Availability links(std::vector<sentrel::InterfaceLink>& links) override { return values().links(links); }
    sentrel::Availability wirelessLinks(std::vector<sentrel::WirelessLink>& links) override {
        return world_.ask([&](auto& values) { return values.network().wirelessLinks(links); });
    }
    sentrel::platform::Connectivity connectivity() override { return values().connectivity(); }
    bool resolves(const std::string& /*host*/) override { return true; }
    /// None: the real network is no part of the machine.
    std::unique_ptr<sentrel::platform::Connection> connect(const std::string& host, std::int32_t port) override;
    std::unique_ptr<sentrel::platform::ConfigurationWatch> watchConfiguration(const std::string& name) override {
        return values().watchConfiguration(name);
    }

private:
    [[nodiscard]] sentrel::platform::ScriptedNetworkService& values() { return world_.values().network(); }

    World& world_;
};

class Power final : public sentrel::platform::PowerService {
public:
    /// Observers are called on the main queue of `dispatch`.
    Power(World& world, sentrel::platform::Dispatch& dispatch) : world_(world), dispatch_(dispatch) {}

    std::unique_ptr<sentrel::platform::PowerSourcesInfo> powerSources() override {
        return world_.ask([](auto& values) { return values.power().powerSources(); });
    }
    std::optional<sentrel::PropertyList::Dictionary> externalAdapterDetails() override {
        return world_.ask([](auto& values) { return values.power().externalAdapterDetails(); });
    }
    std::unique_ptr<sentrel::platform::BatteryService> batteryService() override {
        return world_.ask([](auto& values) { return values.power().batteryService(); });
    }
    sentrel::Observation observe(std::function<void()> changed) override;

private:
    World& world_;
    sentrel::platform::Dispatch& dispatch_;
};

} // namespace simulation
