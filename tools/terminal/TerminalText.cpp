// SPDX-License-Identifier: Apache-2.0
#include "tools/terminal/TerminalText.h"

#include "tools/terminal/Utf8.h"

namespace terminal {

namespace {

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
