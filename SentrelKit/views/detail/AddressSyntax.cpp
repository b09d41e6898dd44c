// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/detail/AddressSyntax.h>

namespace sentrel {

namespace {

bool isLetter(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

bool isHexDigit(char c) noexcept {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isOneOf(char c, std::string_view set) noexcept {
    return set.find(c) != std::string_view::npos;
}

} // namespace

bool isAddress(std::string_view text) noexcept {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon == 0 || colon + 1 == text.size() || !isLetter(text.front()))
        return false;
    for (const char c : text.substr(0, colon))
        if (!isLetter(c) && !isDigit(c) && !isOneOf(c, "+-."))
            return false;
    const std::string_view rest = text.substr(colon + 1);
    for (std::size_t i = 0; i < rest.size(); ++i) {
        if (rest[i] == '%') {
            if (i + 2 >= rest.size() || !isHexDigit(rest[i + 1]) || !isHexDigit(rest[i + 2]))
                return false;
        } else if (!isLetter(rest[i]) && !isDigit(rest[i]) && !isOneOf(rest[i], "-._~:/?#[]@!$&'()*+,;=")) {
            return false;
        }
    }
    return rest.find('#') == rest.rfind('#');
}

} // namespace sentrel
