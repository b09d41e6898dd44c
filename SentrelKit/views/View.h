// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>
#include <SentrelKit/views/Coder.h>
#include <SentrelKit/views/drawing/Geometry.h>
#include <SentrelKit/views/layers/MediaTime.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

class Canvas;
class Layer;

/// One event of the pointer.
struct MouseEvent {
    Point location; ///< in the surface's coordinates
};

/// What the pointer looks like over a rectangle.
enum class Cursor : std::uint8_t {
    arrow,        ///< where nothing can be clicked
    pointingHand, ///< over a control
};

/// A rectangle over which the pointer has a look.
struct CursorRect {
    Rect rect;                     ///< in the view's own coordinates
    Cursor cursor = Cursor::arrow; ///< what the pointer looks like there

    /// Whether all fields are equal.
    friend bool operator==(const CursorRect&, const CursorRect&) = default;
};

/// A rectangle that reports the pointer's coming and going to the view that owns it.
struct TrackingArea {
    /// What an area reports, and when; to be combined.
    enum Options : std::uint32_t {
        mouseEnteredAndExited = 0x01, ///< the coming and the going
        activeAlways = 0x80,          ///< also while the program is not in front
        inVisibleRect = 0x400,        ///< follows the view's bounds whatever its own rectangle
    };

    Rect rect;                 ///< in the view's own coordinates
    std::uint32_t options = 0; ///< any of `Options`; without `mouseEnteredAndExited` nothing is reported

    /// Whether all fields are equal.
    friend bool operator==(const TrackingArea&, const TrackingArea&) = default;
};

/// When a view's layer is drawn anew.
enum class LayerContentsRedrawPolicy : std::uint8_t {
    never = 0,             ///< only as its host says
    onSetNeedsDisplay = 1, ///< when a redraw is asked for
    duringViewResize = 2,  ///< also while the view changes its size
    beforeViewResize = 3,  ///< also once before the view changes its size
    crossfade = 4,         ///< also when the view changes its size, fading over
};

/// A rectangle that draws itself, may hold others and may take the pointer's events. All on the main thread.
///
/// A view's own coordinates have their origin at the lower left corner of its bounds, y growing upward; a view that
/// says `isFlipped` has it at the upper left, y growing downward. Its frame is in its superview's coordinates. A view
/// without superview fills the surface that its host shows it on; a surface's coordinates are flipped.
class SENTREL_API View {
public:
    /// A view at a frame of its superview's coordinates, in points. No redraw is asked for yet.
    explicit View(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit View(Coder& coder);

    /// Lets the views inside it go; they have no superview then.
    virtual ~View();
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    /// The view's rectangle in its superview's coordinates, in points.
    [[nodiscard]] Rect frame() const noexcept { return frame_; }

    /// Moves and sizes the view, and asks for a redraw of it and of its superview if that changes anything.
    void setFrame(Rect frame);

    /// The view's rectangle in its own coordinates: origin 0, size of the frame.
    [[nodiscard]] Rect bounds() const noexcept { return {0.0, 0.0, frame_.width, frame_.height}; }

    /// Whether the view's own coordinates start at the upper left, y growing downward.
    [[nodiscard]] virtual bool isFlipped() const { return false; }

    /// Whether a redraw was asked for and not yet done.
    [[nodiscard]] bool needsDisplay() const noexcept { return needsDisplay_; }

    /// Asks for a redraw, or takes that back.
    void setNeedsDisplay(bool needed);

    /// Called each time a redraw is asked for, of this view or one inside it. For the host of a surface. It may set and
    /// take off handlers, itself included: one that was taken off is not called any more.
    void setDisplayHandler(std::function<void()> handler);

    // The tree.

    /// The view that this one lies in, or null.
    [[nodiscard]] View* superview() const noexcept { return superview_; }

    /// The views that lie in this one, which it owns; later ones above earlier ones.
    [[nodiscard]] const std::vector<std::shared_ptr<View>>& subviews() const noexcept { return subviews_; }

    /// Puts a view on top, taking it from where it was, and asks for its redraw. The process ends for null and for a
    /// view that holds this one.
    void addSubview(std::shared_ptr<View> view);

    /// Takes the view out of its superview, if any, which asks for a redraw. That may release the view.
    void removeFromSuperview();

    /// The place of this view's own coordinates in the surface's.
    [[nodiscard]] Transform toSurface() const;

    /// The place of a point of the surface in this view's own coordinates.
    [[nodiscard]] Point fromSurface(Point point) const;

    /// The topmost view under a point of the superview's (the surface's) coordinates: this one or one inside it, or
    /// null. Of what lies between two pixels, the left and on screen the upper edge belong to a view.
    [[nodiscard]] View* hitTest(Point point);

    /// The rectangles of the surface whose views, or their layers, asked for a redraw: this one or those inside it.
    [[nodiscard]] std::vector<Rect> dirtyRects() const;

    /// Draws the view and all in it with its upper left corner at the canvas's origin, as of a media time in seconds,
    /// and takes every request for a redraw off. Anything outside the bounds is clipped.
    void display(Canvas& canvas, double now = mediaTime());

    /// Draws the view's figure into a rectangle of its own coordinates; the view without figure draws nothing. For the
    /// whole view, the rectangle is the bounds.
    virtual void drawRect(Canvas& canvas, Rect rect);

    /// What the view shows as text, for assistive technology. Absent for a view that shows no value.
    [[nodiscard]] virtual std::optional<std::string> accessibilityValue() const { return std::nullopt; }

    // The pointer.

    /// The pointer came into a tracking area. Does nothing unless overridden.
    virtual void mouseEntered(const MouseEvent& event);

    /// The pointer left the tracking areas, or its gesture was cancelled. Does nothing unless overridden.
    virtual void mouseExited(const MouseEvent& event);

    /// The button went down on this view. Goes to the superview unless overridden.
    virtual void mouseDown(const MouseEvent& event);

    /// The button that went down on this view went up, here or anywhere else. Goes to the superview unless overridden.
    /// It does not come for a gesture that was cancelled.
    virtual void mouseUp(const MouseEvent& event);

    /// The areas that report the pointer's coming and going, in the order in which they were added.
    [[nodiscard]] const std::vector<TrackingArea>& trackingAreas() const noexcept { return trackingAreas_; }

    /// Adds an area; it counts with the pointer's next move.
    void addTrackingArea(TrackingArea area);

    /// Takes every area off.
    void removeTrackingAreas() noexcept;

    /// Called when the view comes into a tree or changes its size: the place to register tracking areas anew.
    virtual void updateTrackingAreas();

    /// The rectangles over which the pointer has a look; earlier ones win.
    [[nodiscard]] const std::vector<CursorRect>& cursorRects() const noexcept { return cursorRects_; }

    /// Adds a rectangle of the view's own coordinates.
    void addCursorRect(Rect rect, Cursor cursor);

    /// Takes every rectangle off.
    void discardCursorRects() noexcept;

    /// What the pointer looks like over the whole view; the arrow unless overridden.
    [[nodiscard]] virtual Cursor cursor() const { return Cursor::arrow; }

    /// Called, after the earlier ones were discarded, when the view comes into a tree or changes its size: the place to
    /// add cursor rectangles. Adds one over the bounds for a `cursor` that is not the arrow, unless overridden.
    virtual void resetCursorRects();

    /// Registers the pointer's rectangles of this view and those inside it anew. For the host of a surface.
    void preparePointer();

    // The layer, for views that keep what they show in one. It lies under what `drawRect` draws.

    /// Whether the view has a layer; not so from the start.
    [[nodiscard]] bool wantsLayer() const noexcept { return layer_ != nullptr; }

    /// Makes the layer, as `makeBackingLayer` says, or lets it go.
    void setWantsLayer(bool wants);

    /// The layer, or null.
    [[nodiscard]] const std::shared_ptr<Layer>& layer() const noexcept { return layer_; }

    /// When the layer is drawn anew; during resizes from the start.
    [[nodiscard]] LayerContentsRedrawPolicy layerContentsRedrawPolicy() const noexcept { return redrawPolicy_; }

    /// Kept for the platform; a canvas is drawn whole whatever the policy.
    void setLayerContentsRedrawPolicy(LayerContentsRedrawPolicy policy) noexcept { redrawPolicy_ = policy; }

    /// Whether a layer of this view or one inside it still changes by itself at a media time in seconds: then the host
    /// draws the next frame without being asked, and once more when it is over.
    [[nodiscard]] bool isAnimating(double now = mediaTime()) const;

protected:
    /// Replaces all tracking areas by one that follows the bounds, whichever program is in front.
    void trackPointer();

    /// The layer of a view that wants one; a plain one unless the view brings its own.
    [[nodiscard]] virtual std::shared_ptr<Layer> makeBackingLayer();

private:
    [[nodiscard]] Transform toSuperview() const;
    [[nodiscard]] Point fromSuperview(Point point) const;
    [[nodiscard]] Transform toParent(bool parentFlipped, Point origin) const;
    void displayInto(Canvas& canvas, const Transform& place, double now);
    void collectDirty(const Transform& place, std::vector<Rect>& rects) const;
    void callDisplayHandlers() const;

    Rect frame_;
    View* superview_ = nullptr;
    std::vector<std::shared_ptr<View>> subviews_;
    std::shared_ptr<const std::function<void()>> displayHandler_; // shared with a call that is under way
    std::vector<TrackingArea> trackingAreas_;
    std::vector<CursorRect> cursorRects_;
    std::shared_ptr<Layer> layer_;
    LayerContentsRedrawPolicy redrawPolicy_ = LayerContentsRedrawPolicy::duringViewResize;
    bool needsDisplay_ = false;
};

} // namespace sentrel
