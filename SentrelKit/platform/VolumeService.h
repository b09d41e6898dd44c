// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Mounted volumes and their disks: the mount table, space, cumulative counters, SMART health, unmounting and ejecting,
/// and notices of mounts, unmounts and renames. Each operation is one question; which volumes are shown, in which order
/// a drive is asked and what follows a refusal is decided by the probes. Any thread, unless an operation says
/// otherwise.

#include <SentrelKit/Export.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace sentrel {
class DispatchQueue;
}

namespace sentrel::platform {

/// The space of one file system, in blocks.
struct FileSystemSpace {
    std::uint64_t blockSize = 0;  ///< bytes
    std::uint64_t blocks = 0;     ///< all blocks
    std::uint64_t freeBlocks = 0; ///< free blocks, also those that only privileged users may fill
};

/// One entry of the mount table. A fresh one is empty.
struct MountedFileSystem {
    std::string type;        ///< file-system type name, as the system names it
    std::string from;        ///< what is mounted: a device path, or a share, or any text; may be empty
    std::string on;          ///< mount point, absolute
    FileSystemSpace space;   ///< as last known without waiting; zeros where that is not known
    bool isRoot = false;     ///< the root file system
    bool dontBrowse = false; ///< not meant to be shown to the user
};

/// The file-system types that are shown.
struct AcceptedTypes {
    std::span<const std::string_view> names; ///< exact type names
    bool anyRoot = false;                    ///< the root file system counts whatever its type
};

/// What a disk is known as. Each is absent when there is none.
struct DiskDescription {
    std::optional<std::string> volumeName;  ///< the label of the file system on it, UTF-8
    std::optional<std::string> deviceModel; ///< UTF-8
};

/// Cumulative counters of a disk since it appeared, in bytes. Each is absent when the disk does not count it.
struct DiskStatistics {
    std::optional<std::int64_t> bytesRead;    ///< since the disk exists
    std::optional<std::int64_t> bytesWritten; ///< since the disk exists
};

/// The 512 bytes that a drive answers to "SMART read data" (ATA command set, "Device SMART data structure").
using SmartData = std::array<std::uint8_t, 512>;

/// A conversation with a drive. Each step may fail, with errno set; a drive that sleeps fails every step and is left
/// asleep. One thread at a time. A step blocks until the drive answers or the system's time-out for it ends.
class SENTREL_API SmartInterface {
public:
    virtual ~SmartInterface() = default;

    /// Turns SMART operations on or off.
    virtual bool enableOperations(bool enable) = 0;
    /// Turns the drive's saving of its attributes on or off.
    virtual bool enableAutosave(bool enable) = 0;
    /// True if the drive reports that a threshold is exceeded; absent on failure.
    [[nodiscard]] virtual std::optional<bool> returnStatus() = 0;
    /// Starts a data collection; captive ones keep the drive busy until they end.
    virtual bool executeOffLineImmediate(bool captive) = 0;
    /// Reads the data block.
    virtual bool readData(SmartData& data) = 0;
    /// True if the block is sound.
    [[nodiscard]] virtual bool validateData(const SmartData& data) = 0;
};

/// The driver's side of a drive that can be asked; released, it lets the drive go.
class SENTREL_API SmartPlugIn {
public:
    virtual ~SmartPlugIn() = default;
    /// Null, with errno set, on failure. The interface must not outlive the plug-in.
    [[nodiscard]] virtual std::unique_ptr<SmartInterface> queryInterface() = 0;
};

/// An entry of the system's device tree.
class SENTREL_API MediaEntry {
public:
    virtual ~MediaEntry() = default;

    /// The first statistics found on this entry or above it; absent if there are none. Cheap enough for each sample:
    /// allocates nothing and opens nothing once warm.
    [[nodiscard]] virtual std::optional<DiskStatistics> statistics() = 0;
    /// Whether this very entry carries the property "SMART Capable".
    [[nodiscard]] virtual bool isSmartCapable() = 0;
    /// The entry that this one stands on, or null.
    [[nodiscard]] virtual std::shared_ptr<MediaEntry> parent() = 0;
    /// Null, with errno set, on failure.
    [[nodiscard]] virtual std::unique_ptr<SmartPlugIn> createSmartPlugIn() = 0;
};

/// How to unmount.
struct UnmountOptions {
    bool whole = false; ///< every volume of the whole disk
    bool force = false; ///< also where files are open, on a system that can do so and lose nothing (Linux cannot)
};

/// Why an unmount was refused.
struct Dissenter {
    std::string reason; ///< in words of the system, for the error line
};

/// A disk, a part of one, or a stacked device.
class SENTREL_API Disk : public std::enable_shared_from_this<Disk> {
public:
    /// Hears how an unmount ended: the disk, and the objection to it or null.
    using UnmountCompletion = std::function<void(const std::shared_ptr<Disk>& disk, const Dissenter* dissenter)>;

    virtual ~Disk() = default;

    /// Absent if nothing is known of the disk. May read the device.
    [[nodiscard]] virtual std::optional<DiskDescription> description() = 0;
    /// The disk that this one is a part of, or itself; null if it went away.
    [[nodiscard]] virtual std::shared_ptr<Disk> wholeDisk() = 0;
    /// The disk's entry in the device tree, or null.
    [[nodiscard]] virtual std::shared_ptr<MediaEntry> media() = 0;

    /// Whether the whole disk must stay as it is, because the running system needs it: a volume of it is the root file
    /// system, is one that the system runs from (its programs, libraries, state or boot files), or is swap space in
    /// use; what is stacked on the disk counts. True with errno set, also if that cannot be told. May read many files.
    [[nodiscard]] virtual bool isSystemDisk() = 0;

    /// Starts unmounting and returns at once. The completion, if any, is called once on the queue that the disk's
    /// session is scheduled on, with the dissenter, or null after success.
    virtual void unmount(UnmountOptions options, UnmountCompletion completion) = 0;
    /// Starts ejecting the whole disk, after any unmount that was started before, and returns at once. A disk that is
    /// still in use then stays as it is.
    virtual void eject() = 0;
};

/// An open conversation with the system about disks.
class SENTREL_API DiskSession {
public:
    virtual ~DiskSession() = default;

    /// The disk with that device name (the last part of the device's path), or null. A known disk costs no allocation.
    [[nodiscard]] virtual std::shared_ptr<Disk> disk(std::string_view deviceName) = 0;

    /// Chooses the queue on which completions are called; null for none: completions are then dropped.
    virtual void setQueue(std::shared_ptr<DispatchQueue> queue) = 0;
};

/// Something that happened to the volumes. A field is absent where the system does not tell it.
struct VolumeNotification {
    /// What happened.
    enum class Kind : std::uint8_t {
        didMount,   ///< a volume was mounted
        didUnmount, ///< a volume was unmounted
        didRename,  ///< a volume has another name
    };

    Kind kind = Kind::didMount;         ///< what it was
    std::optional<std::string> oldName; ///< didRename: the name before
    std::optional<std::string> newName; ///< didRename: the name now
    std::optional<std::string> path;    ///< the mount point (now)
};

/// Keeps the notices coming; releasing it ends them. A call that already runs finishes, no new one begins.
class SENTREL_API VolumeObservation {
public:
    virtual ~VolumeObservation() = default;
};

/// The questions about disks and volumes. Any thread, unless a member says otherwise.
class SENTREL_API VolumeService {
public:
    virtual ~VolumeService() = default;

    /// The number of mounted file systems, or -1 with errno set.
    [[nodiscard]] virtual std::int32_t countMountedFileSystems() = 0;

    /// Fills the entries with mounted file systems in mount-table order and returns how many; -1, with errno set, on
    /// failure. What does not fit is left out; entries beyond the count stay as they were. Never waits for a file
    /// system that does not answer.
    [[nodiscard]] virtual std::int32_t listMountedFileSystems(std::span<MountedFileSystem> entries) = 0;

    /// The native type names that are shown. Lives as long as the service.
    [[nodiscard]] virtual AcceptedTypes acceptedTypes() const noexcept = 0;

    /// The space of the file system at a path; absent, with errno set, on failure. Allocates nothing once warm.
    [[nodiscard]] virtual std::optional<FileSystemSpace> space(const char* path) = 0;

    /// Opens a session; null, with errno set, on failure.
    [[nodiscard]] virtual std::unique_ptr<DiskSession> openSession() = 0;

    /// Calls back on every mount, unmount and rename. On Linux that is on the background queue, one call at a time.
    /// Null if the system tells nothing.
    [[nodiscard]] virtual std::unique_ptr<VolumeObservation>
    observe(std::function<void(const VolumeNotification&)> observer) = 0;

    /// The icon for the volume mounted at a path, by name; absent if there is none that fits. On Linux one of
    /// freedesktop's icon names.
    [[nodiscard]] virtual std::optional<std::string> iconForPath(const std::string& path) = 0;
};

} // namespace sentrel::platform
