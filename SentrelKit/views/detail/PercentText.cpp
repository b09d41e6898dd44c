// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/detail/PercentText.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

namespace sentrel {

std::string percentText(double percent) {
    if (std::isnan(percent))
        return "nan%"; // without its sign, which some C libraries print
    // Sign, all digits of the largest number, percent sign, end.
    std::array<char, std::numeric_limits<double>::max_exponent10 + 4> text{};
    const int length = std::snprintf(text.data(), text.size(), "%.0f%%", std::round(percent));
    return length > 0 ? std::string(text.data()) : std::string();
}

std::optional<double> percentLevel(double percent) noexcept {
    if (std::isnan(percent))
        return std::nullopt;
    return std::clamp(percent, 0.0, 100.0);
}

} // namespace sentrel
