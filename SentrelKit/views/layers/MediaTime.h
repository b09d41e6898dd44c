// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

namespace sentrel {

/// The time that animations run on: seconds of the platform's clock that never steps back. Any thread.
[[nodiscard]] SENTREL_API double mediaTime() noexcept;

} // namespace sentrel
