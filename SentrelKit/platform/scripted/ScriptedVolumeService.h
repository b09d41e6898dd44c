// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Disks and volumes made of values: set the mounts and the disks, then let the probes look at them.

#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>
#include <SentrelKit/platform/support/Observer.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

/// A drive that can be asked for its health.
struct ScriptedDrive {
    bool exceeded = false;                 ///< the drive's own verdict
    SmartData data{};                      ///< what it answers to "read data"
    bool dataIsSound = true;               ///< whether the check sum of the data is right
    std::optional<SmartData> thresholds{}; ///< what it answers to "read thresholds"; absent: it has none
    std::optional<SmartData> healthLog{};  ///< of an NVMe drive; absent: it is none
};

/// A disk, by its device name.
struct ScriptedDisk {
    std::optional<DiskDescription> description; ///< absent: it cannot be described
    std::string whole;                          ///< device name of its whole disk; empty for itself
    bool hasMedia = true;                       ///< of the whole disk: whether it has an entry in the device tree
    std::optional<DiskStatistics> statistics;   ///< of the whole disk
    std::optional<std::uint32_t> smartAncestor; ///< how many parents above the media carry "SMART Capable"; 0: itself
    ScriptedDrive drive;                        ///< behind that entry
    bool isSystemDisk = false; ///< of the whole disk; one with a mount that is the root is one without this
};

/// The disks and volumes. As made there are none. The values are set on the test's thread while no other one asks.
///
/// Calls on a disk, its media, its drive and the conversation with it have the device's name as their first argument:
/// "unmount disk2 whole force", "enableOperations disk1 1". Handles are told as "session", "disk disk1", "media disk1",
/// "plug-in disk1", "interface disk1" and "observation". An unmount that fails is one that was refused, for the reason
/// that its errno names; its completion can be held back. Neither it nor an eject changes the values.
class SENTREL_API ScriptedVolumeService final : public VolumeService {
public:
    ScriptedVolumeService();
    ~ScriptedVolumeService() override;

    [[nodiscard]] std::int32_t countMountedFileSystems() override;
    [[nodiscard]] std::int32_t listMountedFileSystems(std::span<MountedFileSystem> entries) override;
    [[nodiscard]] AcceptedTypes acceptedTypes() const noexcept override;
    [[nodiscard]] std::optional<FileSystemSpace> space(const char* path) override;
    [[nodiscard]] std::unique_ptr<DiskSession> openSession() override;
    [[nodiscard]] Observation observe(std::function<void(const VolumeNotification&)> observer) override;
    void checkLabel(const std::string& path) override;
    [[nodiscard]] std::optional<Icon> iconForPath(const std::string& path) override;
    [[nodiscard]] Availability diskOperations(std::vector<DiskOperations>& operations) override {
        return calls.answer("diskOperations", diskOperationsValue, operations);
    }
    [[nodiscard]] Availability diskDevices(std::vector<DiskDevice>& devices) override {
        return calls.answer("diskDevices", diskDevicesValue, devices);
    }

    /// Tells the observers, on the caller's thread.
    void notify(const VolumeNotification& notification);

    /// Adds a mount of a local disk with that much space, in blocks of 4096 bytes.
    MountedFileSystem& mount(const std::string& device, const std::string& path, std::uint64_t blocks = 1000,
                             std::uint64_t freeBlocks = 400, const std::string& type = "apfs");

    /// Removes the mount at that path.
    void unmount(const std::string& path);

    ScriptedCalls calls;                        ///< what was asked, and how it fails
    std::vector<MountedFileSystem> mounts;      ///< the mount table, in its order
    std::optional<std::int32_t> count;          ///< what counting answers; absent: the mounts as they are
    std::map<std::string, ScriptedDisk> disks;  ///< by device name
    std::map<std::string, Icon> icons;          ///< by mount point
    std::vector<std::string> acceptedTypeNames; ///< the ten names, unless changed
    std::optional<std::vector<DiskOperations>> diskOperationsValue; ///< of every disk; absent: unsupported
    std::optional<std::vector<DiskDevice>> diskDevicesValue;        ///< every disk; absent: unsupported
    bool acceptsAnyRoot = false;                                    ///< whether "/" is shown whatever its type is

private:
    class Session;
    class Completions;
    class Handle;
    class Media;
    class PlugIn;
    class Interface;

    Observers<VolumeNotification> observers_;
    mutable std::vector<std::string_view> typeViews_;
};

} // namespace sentrel::platform
