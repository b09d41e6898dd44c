#pragma once

/// A rectangle that draws itself, may hold others and may take the pointer's events. All on the main thread.
///
/// A view's own coordinates have their origin at the lower left corner of its bounds, y growing upward; a view that
/// says `isFlipped` has it at the upper left, y growing downward. Its frame is in its superview's coordinates. A view
/// without superview fills the surface that its host shows it on; a surface's coordinates are flipped.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/Coder.h>
#include <SentrelKit/views/Geometry.h>
#include <SentrelKit/views/MediaTime.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

class Canvas;

class SENTREL_API View {
public:
    explicit View(Rect frame = {});
    explicit View(Coder& coder);
    virtual ~View();
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    [[nodiscard]] Rect frame() const noexcept { return frame_; }

    /// Moves and sizes the view, and asks for a redraw of it and of its superview if that changes anything.
    void setFrame(Rect frame);

    /// The view's rectangle in its own coordinates: origin 0, size of the frame.
    [[nodiscard]] Rect bounds() const noexcept { return {0.0, 0.0, frame_.width, frame_.height}; }

    [[nodiscard]] virtual bool isFlipped() const { return false; }

    /// Whether a redraw was asked for and not yet done.
    [[nodiscard]] bool needsDisplay() const noexcept { return needsDisplay_; }

    /// Asks for a redraw, or takes that back.
    void setNeedsDisplay(bool needed);

    /// Called each time a redraw is asked for, of this view or one inside it. For the host of a surface.
    void setDisplayHandler(std::function<void()> handler);

    // The tree. A superview owns its subviews; later ones lie above earlier ones.
    [[nodiscard]] View* superview() const noexcept { return superview_; }
    [[nodiscard]] const std::vector<std::shared_ptr<View>>& subviews() const noexcept { return subviews_; }

    /// Puts a view on top, taking it from where it was, and asks for its redraw. It must not hold this view itself.
    void addSubview(std::shared_ptr<View> view);
    void removeFromSuperview();

    /// The topmost view under a point of the superview's (the surface's) coordinates: this one or one inside it, or
    /// null.
    [[nodiscard]] View* hitTest(Point point);

    /// The rectangles of the surface whose views asked for a redraw, this one or those inside it.
    [[nodiscard]] std::vector<Rect> dirtyRects() const;

    /// Draws the view and all in it with its upper left corner at the canvas's origin, as of a media time, and takes
    /// every request for a redraw off. Anything outside the bounds is clipped.
    void display(Canvas& canvas, double now = mediaTime());

    /// Draws the view's figure into a rectangle of its own coordinates; the view without figure draws nothing. For the
    /// whole view, the rectangle is the bounds.
    virtual void drawRect(Canvas& canvas, Rect rect);

    /// What the view shows as text, for assistive technology. Absent for a view that shows no value.
    [[nodiscard]] virtual std::optional<std::string> accessibilityValue() const { return std::nullopt; }

private:
    [[nodiscard]] Transform toSuperview() const;
    [[nodiscard]] Transform toParent(bool parentFlipped, Point origin) const;
    void displayInto(Canvas& canvas, const Transform& place, double now);
    void collectDirty(const Transform& place, std::vector<Rect>& rects) const;

    Rect frame_;
    View* superview_ = nullptr;
    std::vector<std::shared_ptr<View>> subviews_;
    std::function<void()> displayHandler_;
    bool needsDisplay_ = false;
};

} // namespace sentrel
