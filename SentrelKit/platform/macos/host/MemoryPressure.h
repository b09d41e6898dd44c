// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/platform/Pressure.h>

#include <functional>

namespace sentrel::platform {

/// Calls on the background queue when the system says that memory is short. It has levels of its own in place of a
/// threshold: its warning and its critical level for `some`, the critical one alone for `full`. Empty, with errno set,
/// if the system refuses.
[[nodiscard]] Observation observeMemoryPressure(PressureThreshold::Kind kind, std::function<void()> crossed);

} // namespace sentrel::platform
