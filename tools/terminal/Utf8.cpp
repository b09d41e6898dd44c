// SPDX-License-Identifier: Apache-2.0
#include "tools/terminal/Utf8.h"

namespace terminal {

Decoded decode(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80)
        return {1, first};
    const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < size)
        return {};
    char32_t character = first & (0xFFU >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0U) != 0x80)
            return {};
        character = character << 6U | (next & 0x3FU);
    }
    constexpr char32_t smallest[] = {0x80, 0x800, 0x10000};
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < smallest[size - 2] || character > 0x10FFFF || surrogate)
        return {};
    return {size, character};
}

} // namespace terminal
