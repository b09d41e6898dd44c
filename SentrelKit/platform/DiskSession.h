// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The devices by their names.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/StorageDevice.h>

#include <memory>
#include <string_view>

namespace sentrel {
class DispatchQueue;
}

namespace sentrel::platform {

/// An open conversation with the system about disks.
class SENTREL_API DiskSession {
public:
    virtual ~DiskSession() = default;

    /// The disk with that device name (the last part of the device's path), or null; macOS may also give one of which
    /// nothing is known. On Linux a known disk costs no allocation.
    [[nodiscard]] virtual std::shared_ptr<StorageDevice> disk(std::string_view deviceName) = 0;

    /// Chooses the queue on which completions are called; null for none: completions that did not come yet are then
    /// dropped, with what they hold.
    ///
    /// macOS: DASessionSetDispatchQueue with a serial queue whose target is the queue's native handle. Nothing is
    /// observed through a session: a completion answers one question, once, so there is no registration to release.
    virtual void setQueue(std::shared_ptr<DispatchQueue> queue) = 0;
};

} // namespace sentrel::platform
