// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/detail/PaleCanvas.h>

namespace sentrel {

void PaleCanvas::fillSideBySide(const std::vector<FilledPath>& figures) {
    std::vector<FilledPath> paler = figures;
    for (FilledPath& figure : paler)
        figure.paint = pale(figure.paint);
    canvas_.fillSideBySide(paler);
}

Paint PaleCanvas::pale(const Paint& paint) {
    if (const auto* color = std::get_if<Color>(&paint))
        return pale(*color);
    LinearGradient gradient = std::get<LinearGradient>(paint);
    for (Color& color : gradient.colors)
        color = pale(color);
    return gradient;
}

} // namespace sentrel
