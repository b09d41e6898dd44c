// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Notices of mounts, unmounts and new labels. The kernel tells of a changed mount table. Of a label written to a
/// device tell udev, once its database holds it, and the closing of the device's node, which also works where no udev
/// runs. Of a label given to a mounted file system tells nobody: who samples its volume looks. Nothing runs by time.

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/VolumeNotification.h>
#include <SentrelKit/platform/linux/common/EventSource.h>
#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace sentrel::platform {

/// All observers of the volumes. Any thread.
class VolumeWatch {
public:
    /// The mounts and the dispatch outlive the watch, and it its observations.
    VolumeWatch(Mounts& mounts, EventSource& dispatch) : mounts_(mounts), dispatch_(dispatch) {}

    /// Empty, with errno set, if the mount table cannot be watched.
    [[nodiscard]] Observation observe(std::function<void(const VolumeNotification&)> observer);

    /// Tells the observers if the file system mounted there says that it has a new label.
    void checkLabel(const std::string& path);

private:
    class Watcher;
    class Watches;

    [[nodiscard]] std::shared_ptr<Watcher> watcher(std::size_t number);

    Mounts& mounts_;
    EventSource& dispatch_;
    Lock lock_;
    std::vector<std::weak_ptr<Watcher>> watchers_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel::platform
