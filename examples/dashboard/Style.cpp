// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Style.h"

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/FUIFont.h>

namespace dashboard {

using namespace sentrel;

Font fontOf(TextStyle style) {
    const auto orSystem = [](const std::optional<Font>& lato, double size) {
        return lato ? *lato : Font::systemFont(size);
    };
    switch (style) {
    case TextStyle::headline: {
        static const Font font = orSystem(FUIFont::bold(20), 19);
        return font;
    }
    case TextStyle::title: {
        static const Font font = orSystem(FUIFont::bold(15), 14);
        return font;
    }
    case TextStyle::caption: {
        static const Font font = orSystem(FUIFont::normal(11.5), 10.5);
        return font;
    }
    default: {
        static const Font font = orSystem(FUIFont::normal(13), 12);
        return font;
    }
    }
}

Color inkOf(TextStyle style, Appearance appearance) {
    const bool isDark = appearance == Appearance::dark;
    switch (style) {
    case TextStyle::name:
    case TextStyle::caption:
        // Lighter than the figures, but with a contrast of 4.5 and more on its card.
        return isDark ? FUIColor::silver().blendedColor(0.1, FUIColor::midnightBlue())
                      : FUIColor::wetAsphalt().blendedColor(0.2, FUIColor::white());
    default:
        return isDark ? FUIColor::clouds() : FUIColor::midnightBlue();
    }
}

Color groundColor(Appearance appearance) {
    return appearance == Appearance::dark ? FUIColor::midnightBlue().blendedColor(0.62, FUIColor::black())
                                          : FUIColor::clouds();
}

Color cardColor(Appearance appearance) {
    return appearance == Appearance::dark ? FUIColor::midnightBlue().blendedColor(0.32, FUIColor::black())
                                          : FUIColor::white();
}

Color lineColor(Appearance appearance) {
    return appearance == Appearance::dark ? FUIColor::white(0.13) : FUIColor::midnightBlue(0.13);
}

} // namespace dashboard
