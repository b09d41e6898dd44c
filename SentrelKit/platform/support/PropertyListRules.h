// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What property lists hold, on every system.

#include <SentrelKit/base/util/PropertyList.h>

#include <string_view>

namespace sentrel::platform {

/// Whether a text is well-formed UTF-8.
[[nodiscard]] bool isUtf8(std::string_view text) noexcept;

/// Whether a value can be kept as a preference: it is no empty one, its texts and keys are UTF-8, and so for all that
/// it holds, which has no address in it.
[[nodiscard]] bool canBeKept(const PropertyList& value) noexcept;

} // namespace sentrel::platform
