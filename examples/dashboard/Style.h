// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/Canvas.h>

#include <string>

/// The colours, letters and measures that all of the dashboard shares.
namespace dashboard {

/// What a text is for.
enum class TextStyle {
    headline, ///< the machine's name
    title,    ///< of a panel
    value,    ///< a figure
    name,     ///< what a figure is
    caption,  ///< small, beside what it explains
};

/// The font of a style: Lato where it is installed, else the desktop's sans-serif.
sentrel::Font fontOf(TextStyle style);

/// The colour of a style's text on a card.
sentrel::Color inkOf(TextStyle style, sentrel::Appearance appearance);

sentrel::Color groundColor(sentrel::Appearance appearance); ///< of the page under the cards
sentrel::Color cardColor(sentrel::Appearance appearance);
sentrel::Color lineColor(sentrel::Appearance appearance); ///< of hairlines and guide lines on a card

// In points.
constexpr double gap = 14; ///< between cards
constexpr double cardPadding = 18;
constexpr double rowHeight = 23; ///< of a name with its value

} // namespace dashboard
