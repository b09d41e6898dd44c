#pragma once

/// Guards in front of libplist, which follows nesting as deep as it goes and copies what is referred to many times.

#include <cstdint>
#include <span>
#include <string_view>

namespace sentrel::platform {

/// Whether a binary property list is well-formed enough to be measured and neither nests deeper than `depth` nor
/// unfolds to more than a bounded size.
[[nodiscard]] bool binaryPropertyListWithinLimits(std::span<const std::uint8_t> bytes, int depth);

/// Whether the lists and dictionaries of an XML property list nest no deeper than `depth`.
[[nodiscard]] bool xmlPropertyListWithinLimits(std::string_view text, int depth) noexcept;

} // namespace sentrel::platform
