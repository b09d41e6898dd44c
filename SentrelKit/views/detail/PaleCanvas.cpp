// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/detail/PaleCanvas.h>

namespace sentrel {

Paint PaleCanvas::pale(const Paint& paint) {
    if (const auto* color = std::get_if<Color>(&paint))
        return pale(*color);
    LinearGradient gradient = std::get<LinearGradient>(paint);
    for (Color& color : gradient.colors)
        color = pale(color);
    return gradient;
}

} // namespace sentrel
