// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/VolumeNotification.h>

/// The workspace's notices, as the code under test cannot see them.
namespace darwin::workspace {

/// Posts a notice on this thread: all that were registered as it began hear it, those removed meanwhile too.
void post(const sentrel::platform::VolumeNotification& notice);

/// How many are registered.
[[nodiscard]] int registrations();

} // namespace darwin::workspace
