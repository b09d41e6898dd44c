// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace sentrel {

/// Whether a text parses as an absolute address (RFC 3986): a scheme, a colon and something after it, of the characters
/// that an address may have, each percent sign followed by two hexadecimal digits. Any thread.
[[nodiscard]] bool isAddress(std::string_view text) noexcept;

} // namespace sentrel
