// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <initializer_list>
#include <ostream>
#include <string_view>

namespace sentrel {

/// Writes the name of an enumeration's value, of the names from the value 0 on; a number that has none as that number.
template <class Enum>
std::ostream& writeName(std::ostream& stream, Enum value, std::initializer_list<std::string_view> names) {
    const auto index = static_cast<std::size_t>(value);
    if (index < names.size())
        return stream << names.begin()[index];
    return stream << index;
}

} // namespace sentrel
