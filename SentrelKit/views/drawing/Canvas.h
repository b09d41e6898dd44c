// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>
#include <SentrelKit/views/drawing/Color.h>
#include <SentrelKit/views/drawing/Font.h>
#include <SentrelKit/views/drawing/Path.h>

#include <iosfwd>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace sentrel {

/// Where a line of text stands in the width of its box.
enum class TextAlignment : std::uint8_t {
    left,   ///< at its left edge
    center, ///< in its middle
    right,  ///< at its right edge
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, TextAlignment value);

/// Colours at equal distances on a line, the first and the last reaching on without end.
struct LinearGradient {
    Point start;               ///< where the first colour stands, in coordinates of the figure
    Point end;                 ///< where the last colour stands, in coordinates of the figure
    std::vector<Color> colors; ///< in order; without any, nothing is drawn

    /// Whether all fields are equal.
    friend bool operator==(const LinearGradient&, const LinearGradient&) = default;
};

/// What a figure is filled or stroked with.
using Paint = std::variant<Color, LinearGradient>;

/// A figure with what it is filled with.
struct FilledPath {
    Path path;   ///< the figure
    Paint paint; ///< its inside
};

/// What components draw on. Coordinates and widths are points. One thread at a time.
///
/// Every canvas keeps these promises:
/// - A figure with a coordinate, a width or a colour that is not finite draws nothing and harms nothing after it; so
///   does everything under a transform that is not finite or flattens the plane.
/// - A stroke of width 0 is the thinnest line that the device can show; a negative width counts as 0.
/// - An arc is drawn as it is swept, past 360 degrees and backwards too.
/// - Text stands upright whichever way y grows.
class SENTREL_API Canvas {
public:
    /// What was drawn stays.
    virtual ~Canvas() = default;

    /// Keeps the transform and the clip until the matching `restore`.
    virtual void save() = 0;

    /// Brings the transform and the clip of the matching `save` back. One too many does nothing.
    virtual void restore() = 0;

    /// Coordinates given from now on are mapped by `transform` first, then as before.
    virtual void concat(const Transform& transform) = 0;

    /// Nothing outside the figure is drawn from now on. An empty figure leaves no place to draw.
    virtual void clip(const Path& path) = 0;

    /// Fills the inside of a figure, non-zero winding.
    virtual void fill(const Path& path, const Paint& paint) = 0;

    /// Fills figures that touch but do not overlap, so that nothing of what lies under them shows between two that
    /// share an edge. Where they overlap all the same, their colours may add up. A canvas without pixels fills one
    /// after the other and leaves the seam to what shows it.
    virtual void fillSideBySide(const std::vector<FilledPath>& figures) {
        for (const FilledPath& figure : figures)
            fill(figure.path, figure.paint);
    }

    /// Strokes a figure with the path's own line width, cap, join, miter limit and dash.
    virtual void stroke(const Path& path, const Paint& paint) = 0;

    /// Draws one line of text, its capital letters and digits in the middle of the height of `box` as far as the whole
    /// line has room in it, aligned within its width. Text that is wider ends in an ellipsis; where not even that fits,
    /// there is none. Characters that no font has leave no ink, and so does all text smaller than a tenth of a point or
    /// pixel or larger than 4096.
    virtual void drawText(const std::string& text, const Font& font, const Color& color, Rect box,
                          TextAlignment alignment) = 0;

    /// The place of coordinates on the device, whose pixels lie between whole numbers. Absent for a canvas without
    /// pixels, which keeps or writes figures for devices to come.
    [[nodiscard]] virtual std::optional<Transform> toPixels() const { return std::nullopt; }
};

/// Keeps a canvas's state for a scope.
class CanvasState {
public:
    /// Saves the state of a canvas that must outlive this.
    explicit CanvasState(Canvas& canvas) : canvas_(canvas) { canvas_.save(); }

    /// Restores it.
    ~CanvasState() { canvas_.restore(); }
    CanvasState(const CanvasState&) = delete;
    CanvasState& operator=(const CanvasState&) = delete;

private:
    Canvas& canvas_;
};

} // namespace sentrel
