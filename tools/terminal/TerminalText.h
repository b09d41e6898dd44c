// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace terminal {

/// A text from elsewhere as it may be shown on a terminal, on one line: process names, volume labels and what a server
/// answers may hold whatever somebody wrote there, and a terminal obeys some of it. Control characters (escape, line
/// end and tab among them), the marks that turn the direction of writing, and bytes that are no UTF-8 come out as "?".
std::string plainText(std::string_view text);

} // namespace terminal
