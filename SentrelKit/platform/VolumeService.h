// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Mounted volumes and their disks: the mount table, space, cumulative counters, SMART health, unmounting and ejecting,
/// and notices of mounts, unmounts and renames. Each operation is one question; which volumes are shown, in which order
/// a drive is asked and what follows a refusal is decided by the probes. Any thread, unless an operation says
/// otherwise.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/DiskFacts.h>
#include <SentrelKit/platform/DiskSession.h>
#include <SentrelKit/platform/Icon.h>
#include <SentrelKit/platform/MountedFileSystem.h>
#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/platform/VolumeNotification.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sentrel::platform {

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

    /// The space of the file system at a path; absent, with errno set, on failure. Of one that stopped answering the
    /// space as it was before, which says so. Allocates nothing once warm.
    [[nodiscard]] virtual std::optional<FileSystemSpace> space(const char* path) = 0;

    /// Opens a session; null on failure.
    [[nodiscard]] virtual std::unique_ptr<DiskSession> openSession() = 0;

    /// Calls back on every mount, unmount and rename, with each notice in its order; on Linux on the background queue,
    /// or from inside `checkLabel`. Empty if the system tells nothing.
    ///
    /// macOS: the three notices of the workspace's notification centre, each added with a block that tells the
    /// observer, on the thread that posts. The centre may be about to run such a block while another thread removes it:
    /// the block holds the observer, not the registration, and an observer that was released lets no call begin.
    [[nodiscard]] virtual Observation observe(std::function<void(const VolumeNotification&)> observer) = 0;

    /// Looks whether the file system that is mounted at a path has a new label, and tells the observers of one as a
    /// rename, on the calling thread, before it returns. For samples that saw something written, since no label comes
    /// without that, and for systems that tell nobody; on any other it does nothing. Waits for no file system that does
    /// not answer.
    virtual void checkLabel(const std::string& path) = 0;

    /// The icon for the volume mounted at a path; absent if there is none that fits. macOS: iconForFile: of the
    /// workspace; Linux: one of freedesktop's icon names.
    [[nodiscard]] virtual std::optional<Icon> iconForPath(const std::string& path) = 0;

    /// Fills the list with the counters of every disk and of every part of one. Touches no file system. Linux:
    /// /proc/diskstats, all taken by one request, readable for everybody; macOS: "Statistics" of the block storage
    /// driver that each whole disk of the device registry stands on, for everybody. Such drivers count no part for
    /// itself, no time in which a disk was busy and nothing of what waits; a disk that lies in another, as a container
    /// does, shows what that one does. Unless available the list stays as it was. Allocates nothing once warm; what
    /// macOS itself allocates for its answer is given back.
    [[nodiscard]] virtual Availability diskOperations(std::vector<DiskOperations>& disks) = 0;

    /// Fills the list with every disk and every part of one. Touches no file system, but opens many files: for the
    /// moments at which a device came or went. Linux: sysfs, and udev for models, readable for everybody; macOS:
    /// the media of the device registry. Unless available the list stays as it was.
    [[nodiscard]] virtual Availability diskDevices(std::vector<DiskDevice>& devices) = 0;
};

} // namespace sentrel::platform
