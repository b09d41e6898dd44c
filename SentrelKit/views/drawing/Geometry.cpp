// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/Geometry.h>

#include <cmath>

namespace sentrel {

Transform Transform::rotation(double radians) noexcept {
    const double sine = std::sin(radians);
    const double cosine = std::cos(radians);
    return {cosine, sine, -sine, cosine, 0.0, 0.0};
}

} // namespace sentrel
