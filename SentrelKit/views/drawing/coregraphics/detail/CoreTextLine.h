// SPDX-License-Identifier: Apache-2.0
#pragma once

/// One line of text laid out by Core Text.

#include <SentrelKit/views/drawing/Font.h>
#include <SentrelKit/views/drawing/coregraphics/detail/FontFace.h>

#include <string>

namespace sentrel {

/// A line and the box that it takes, in points. It is drawn in the context's fill colour.
class CoreTextLine {
public:
    CoreTextLine(const std::string& text, const FontFace& face, double size);

    /// Ends the line in an ellipsis, so that it is no wider than a width; false where not even that fits.
    bool shorten(double width);

    [[nodiscard]] Size size() const noexcept { return {width_, ascent_ + descent_}; }

    /// How far the baseline lies below the middle of the box.
    [[nodiscard]] double baseline() const noexcept { return (ascent_ - descent_) / 2.0; }

    /// The height of capital letters in points.
    [[nodiscard]] double capHeight() const { return CTFontGetCapHeight(font_.get()); }

    /// Draws the line with the lower left corner of its box at a point of coordinates in which y grows upward.
    /// Characters that no font has leave no ink.
    void draw(CGContextRef context, Point corner) const;

private:
    [[nodiscard]] platform::CFOwner<CTLineRef> lineOf(CFStringRef text) const;
    void measure();

    platform::CFOwner<CTFontRef> font_;
    platform::CFOwner<CTLineRef> line_;
    double width_ = 0.0;
    double ascent_ = 0.0;
    double descent_ = 0.0;
};

} // namespace sentrel
