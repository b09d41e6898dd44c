// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Volumes under Linux: the mount table for the listing, statfs for space, the block devices of sysfs for disks, udev
/// and the device itself for labels and models, SG_IO and NVMe admin commands for SMART, the desktop's storage service
/// or the system calls for unmounting. What counts as a volume: VolumeRules.h.

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>
#include <SentrelKit/platform/linux/volumes/DeviceControl.h>
#include <SentrelKit/platform/linux/volumes/DiskTable.h>
#include <SentrelKit/platform/linux/volumes/LinuxDiskSession.h>
#include <SentrelKit/platform/linux/volumes/VolumeSpace.h>
#include <SentrelKit/platform/linux/volumes/VolumeWatch.h>

namespace sentrel::platform {

class EventSource;

class LinuxVolumeService final : public VolumeService {
public:
    /// The dispatch and the control outlive the service, and the service outlives its sessions and observations.
    LinuxVolumeService(BlockDevices devices, EventSource& dispatch, DeviceControl& control = systemControl());

    [[nodiscard]] std::int32_t countMountedFileSystems() override;
    [[nodiscard]] std::int32_t listMountedFileSystems(std::span<MountedFileSystem> entries) override;
    [[nodiscard]] AcceptedTypes acceptedTypes() const noexcept override;
    [[nodiscard]] std::optional<FileSystemSpace> space(const char* path) override;
    [[nodiscard]] std::unique_ptr<DiskSession> openSession() override;
    [[nodiscard]] Observation observe(std::function<void(const VolumeNotification&)> observer) override;
    void checkLabel(const std::string& path) override;
    [[nodiscard]] std::optional<Icon> iconForPath(const std::string& path) override;
    [[nodiscard]] Availability diskOperations(std::vector<DiskOperations>& disks) override;
    [[nodiscard]] Availability diskDevices(std::vector<DiskDevice>& devices) override;

private:
    static DeviceControl& systemControl() noexcept;

    DiskMachine machine_;
    VolumeWatch watch_;
    VolumeSpace space_;
    Lock tableLock_;
    DiskTable table_ SENTREL_GUARDED_BY(tableLock_);
};

} // namespace sentrel::platform
