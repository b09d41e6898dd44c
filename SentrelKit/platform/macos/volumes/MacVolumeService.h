// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/VolumeService.h>

namespace sentrel::platform {

/// The kernel's mount table, the device registry's media, disk arbitration and the workspace's notices.
class MacVolumeService final : public VolumeService {
public:
    std::int32_t countMountedFileSystems() override;
    std::int32_t listMountedFileSystems(std::span<MountedFileSystem> entries) override;
    AcceptedTypes acceptedTypes() const noexcept override;
    std::optional<FileSystemSpace> space(const char* path) override;
    std::unique_ptr<DiskSession> openSession() override;
    Observation observe(std::function<void(const VolumeNotification&)> observer) override;
    void checkLabel(const std::string& /*path*/) override {} // the workspace tells of each
    std::optional<Icon> iconForPath(const std::string& path) override;
    Availability diskOperations(std::vector<DiskOperations>& disks) override;
    Availability diskDevices(std::vector<DiskDevice>& devices) override;
};

} // namespace sentrel::platform
