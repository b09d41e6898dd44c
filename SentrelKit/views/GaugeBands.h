#pragma once

/// The rule that colours both gauges by their value.

#include <SentrelKit/views/Color.h>

namespace sentrel {

/// The colour of a value: success below the first threshold, else warning below the second, else danger; danger for a
/// value that is not a number. With the first threshold above the second there is no warning band.
[[nodiscard]] constexpr const Color& bandColor(double value, double success, double warning, const Color& successColor,
                                               const Color& warningColor, const Color& dangerColor) noexcept {
    if (success > value)
        return successColor;
    if (warning > value)
        return warningColor;
    return dangerColor;
}

} // namespace sentrel
