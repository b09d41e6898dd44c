// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/VolumeNotification.h>

#include <functional>
#include <memory>

/// The workspace's notices of mounted, unmounted and renamed volumes.
namespace sentrel::platform::VolumeNotices {

/// Calls `tell` on the thread that posts, until what it returns is released; a call on another thread may still be
/// under way then.
[[nodiscard]] std::shared_ptr<void> add(std::function<void(const VolumeNotification&)> tell);

} // namespace sentrel::platform::VolumeNotices
