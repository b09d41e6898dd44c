// SPDX-License-Identifier: Apache-2.0
#include "tools/terminal/TerminalText.h"

#include <cstddef>

namespace terminal {

namespace {

// A character and how many bytes it takes; a single byte and no character where the text is not UTF-8.
struct Decoded {
    std::size_t size = 1;
    char32_t character = 0;
};

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

bool isControl(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character <= 0x9F) || character == 0x2028 || character == 0x2029;
}

bool turnsDirection(char32_t character) {
    return character == 0x061C || character == 0x200E || character == 0x200F ||
           (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

} // namespace

std::string plainText(std::string_view text) {
    std::string safe;
    while (!text.empty()) {
        const Decoded next = decode(text);
        if (isControl(next.character) || turnsDirection(next.character))
            safe += '?';
        else
            safe += text.substr(0, next.size);
        text.remove_prefix(next.size);
    }
    return safe;
}

} // namespace terminal
