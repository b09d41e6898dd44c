// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Platform.h>

namespace sentrel::platform {

/// Builds the real machine. Each backend folder defines it once; `current()` calls it once.
[[nodiscard]] Platform& makeNative();

} // namespace sentrel::platform
