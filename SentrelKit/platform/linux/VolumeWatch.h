#pragma once

/// Notices of mounts, unmounts and new labels: the kernel's change notice of the mount table, udev's "change" events of
/// block devices, and the closing of device nodes that were open for writing (how a label changes where no udev runs).

#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/platform/linux/BlockDevices.h>
#include <SentrelKit/platform/linux/LinuxDispatch.h>

#include <functional>
#include <memory>

namespace sentrel::platform {

/// Null, with errno set, if the mount table cannot be watched. The devices and the dispatch outlive the observation.
[[nodiscard]] std::unique_ptr<VolumeObservation> watchVolumes(const BlockDevices& devices, LinuxDispatch& dispatch,
                                                              std::function<void(const VolumeNotification&)> observer);

} // namespace sentrel::platform
