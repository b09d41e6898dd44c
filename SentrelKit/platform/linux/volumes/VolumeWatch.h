// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Notices of mounts, unmounts and new labels. The kernel tells of a changed mount table. Of a label written to a
/// device tell udev, once its database holds it, and the closing of the device's node, which also works where no udev
/// runs. Of a label given to a mounted file system tells nobody: those that can be asked cheaply are looked at every
/// two seconds.

#include <SentrelKit/platform/VolumeNotification.h>
#include <SentrelKit/platform/linux/common/EventSource.h>
#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>

#include <functional>

namespace sentrel::platform {

/// Empty, with errno set, if the mount table cannot be watched. The mounts and the dispatch outlive the observation.
[[nodiscard]] Observation watchVolumes(Mounts& mounts, EventSource& dispatch,
                                       std::function<void(const VolumeNotification&)> observer);

} // namespace sentrel::platform
