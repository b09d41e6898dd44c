// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace terminal {

/// A character and how many bytes it takes; a single byte and no character where the text is not UTF-8.
struct Decoded {
    std::size_t size = 1;   ///< bytes
    char32_t character = 0; ///< 0 also for a byte 0
};

/// The first character of a text that is not empty.
[[nodiscard]] Decoded decode(std::string_view text);

} // namespace terminal
