// SPDX-License-Identifier: Apache-2.0
#pragma once

/// One device: what it is known as, what it is a part of, and taking it out of use.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/MediaEntry.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace sentrel::platform {

/// What a disk is known as. Each is absent when there is none.
struct DiskDescription {
    std::optional<std::string> volumeName;  ///< the label of the file system on it, UTF-8
    std::optional<std::string> deviceModel; ///< UTF-8
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
class SENTREL_API StorageDevice : public std::enable_shared_from_this<StorageDevice> {
public:
    /// Hears how an unmount ended: the disk, and the objection to it or null.
    using UnmountCompletion =
        std::function<void(const std::shared_ptr<StorageDevice>& disk, const Dissenter* dissenter)>;

    virtual ~StorageDevice() = default;

    /// Absent if nothing is known of the disk. May read the device.
    [[nodiscard]] virtual std::optional<DiskDescription> description() = 0;
    /// The disk that this one is a part of, or itself; null if it went away.
    [[nodiscard]] virtual std::shared_ptr<StorageDevice> wholeDisk() = 0;
    /// The disk's entry in the device tree, or null.
    [[nodiscard]] virtual std::shared_ptr<MediaEntry> media() = 0;

    /// Whether the whole disk must stay as it is, because the running system needs it: a volume of it is the root file
    /// system, is one that the system runs from (its programs, libraries, state or boot files), or is swap space in
    /// use; what is stacked on the disk counts. True, with errno set, also if that cannot be told. May read many files.
    /// macOS: the whole of what the root file system stands on, down to the disk; the rest lies there too.
    [[nodiscard]] virtual bool isSystemDisk() = 0;

    /// Starts unmounting and returns at once. The completion, if any, is called once on the queue that the disk's
    /// session is scheduled on, with the dissenter, or null after success.
    virtual void unmount(UnmountOptions options, UnmountCompletion completion) = 0;
    /// Starts ejecting the whole disk, after any unmount that was started before, and returns at once. A disk that is
    /// still in use then stays as it is.
    virtual void eject() = 0;
};

} // namespace sentrel::platform
