// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace terminal {

/// How many columns of a terminal a text of UTF-8 takes, which `plainText` has been through: none for a mark that
/// stands above another character, two for an ideograph. The same in every locale.
[[nodiscard]] std::size_t columnsOf(std::string_view text);

/// As much of the text as fits in so many columns, ending in "…" (or "~", if it is not to leave ASCII) where something
/// is left out, then blanks up to that width.
[[nodiscard]] std::string fitted(std::string_view text, std::size_t columns, bool isUnicode = true);

/// The text with "?" for each character that is not ASCII, for a terminal that shows no other.
[[nodiscard]] std::string asciiText(std::string_view text);

/// Whether the program's locale, as `setlocale` set it, is one of UTF-8: else a terminal may take a byte of a character
/// for a command.
[[nodiscard]] bool isUnicodeLocale();

} // namespace terminal
