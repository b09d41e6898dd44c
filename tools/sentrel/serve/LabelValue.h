// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace tool {

/// A text as the value of a label, which has to be UTF-8: bytes that are none become "\x" and two digits, so that two
/// texts stay two. Quotes, line ends and backslashes are the serializer's matter.
[[nodiscard]] std::string labelValue(std::string_view text);

} // namespace tool
