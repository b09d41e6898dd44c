// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Observation.h>

#include <functional>

namespace sentrel::platform {

/// Adds a source to the calling thread's run loop, in its default mode, that calls `changed` whenever the power sources
/// change; the release takes it out of the loop. Empty, with errno set, if the system makes none.
[[nodiscard]] Observation observePowerSources(std::function<void()> changed);

} // namespace sentrel::platform
