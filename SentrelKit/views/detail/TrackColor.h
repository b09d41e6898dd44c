// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/Color.h>

namespace sentrel {

/// What a value in a colour leaves of its whole: the colour at alpha 0.2, on dark ground at 0.35. There alizarin at 0.2
/// is all but lost (a contrast of 1.1 to wet asphalt; of 1.3 to white) and stands off as on white at 0.35. Any thread.
[[nodiscard]] inline Color trackColor(const Color& color, Appearance appearance) noexcept {
    return color.withAlphaComponent(appearance == Appearance::dark ? 0.35 : 0.2);
}

} // namespace sentrel
