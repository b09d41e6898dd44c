// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>
#include <SentrelKit/views/Accessibility.h>
#include <SentrelKit/views/Coder.h>
#include <SentrelKit/views/Events.h>
#include <SentrelKit/views/drawing/Geometry.h>
#include <SentrelKit/views/layers/MediaTime.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sentrel {

class Canvas;
class Layer;
class Path;

/// What the pointer looks like over a rectangle.
enum class Cursor : std::uint8_t {
    arrow,        ///< where nothing can be clicked
    pointingHand, ///< over a control
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Cursor value);

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
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, LayerContentsRedrawPolicy value);

/// Whether a view gets the keys, and shows that.
enum class Focus : std::uint8_t {
    none,    ///< it gets none
    quiet,   ///< it gets them, and looks as ever: it was clicked
    visible, ///< it gets them and shows a ring: the keyboard led there
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Focus value);

/// What the ground is like that views are drawn on.
enum class Appearance : std::uint8_t {
    light, ///< default text is black
    dark,  ///< default text is white, and the tracks of rings and bars are denser
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Appearance value);

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

    /// Asks for a redraw, or takes that back. What was taken back is drawn all the same, with the surface's next frame:
    /// `dirtyRects` forgets nothing that was asked for.
    void setNeedsDisplay(bool needed);

    /// Called each time a redraw or another layout is asked for, of this view or one inside it. For the host of a
    /// surface. It may set and take off handlers, itself included: one that was taken off is not called any more.
    void setDisplayHandler(std::function<void()> handler);

    /// What the host says of the ground under this view and those inside it; absent, as from the start, for what is
    /// said of the superview.
    [[nodiscard]] std::optional<Appearance> appearance() const noexcept { return appearance_; }

    /// Asks for a redraw of the view and those inside it if that changes anything. A host that follows the desktop's
    /// appearance sets it on the root.
    void setAppearance(std::optional<Appearance> appearance);

    /// The appearance that default colours follow: the view's own or that of the nearest view around it that has one,
    /// else light.
    [[nodiscard]] Appearance effectiveAppearance() const noexcept;

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

    /// Whether the view and all in it is neither drawn nor told of events nor laid out nor spoken of; shown from the
    /// start.
    [[nodiscard]] bool isHidden() const noexcept { return hidden_; }

    /// Asks for a redraw of what the view covers, and for another layout, if that changes anything. A hidden view loses
    /// the focus.
    void setHidden(bool hidden);

    /// Whether the view itself may be used; it may from the start.
    [[nodiscard]] bool isEnabled() const noexcept { return enabled_; }

    /// A view that may not be used, and all in it, is drawn paler and gets no event; it loses the focus. The pointer
    /// finds the view all the same: what lies under it is not pressed instead. Asks for a redraw if that changes
    /// anything.
    void setEnabled(bool enabled);

    /// Whether the view can be used now: enabled and not hidden, and so is all that it lies in.
    [[nodiscard]] bool isUsable() const noexcept;

    // Sizes, for what lays views out.

    /// The size in points that the view should have when nothing else decides: the one that was set, else
    /// `fittingSize`.
    [[nodiscard]] Size naturalSize() const;

    /// Makes a size the natural one, or absent the fitting one again. Asks for another layout.
    void setNaturalSize(std::optional<Size> size);

    /// The size in points that what the view shows needs. For a view that shows the same at any size, that of the frame
    /// it was made with.
    [[nodiscard]] virtual Size fittingSize() const { return madeSize_; }

    /// The view's share, beside those of its neighbours, of the room that a stack has left over; 0, none, from the
    /// start.
    [[nodiscard]] double stretch() const noexcept { return stretch_; }

    /// Asks for another layout if that changes anything. A negative share counts as none.
    void setStretch(double share);

    /// Places the views inside it if anything was changed since that asks for it, in this view and all in it. `display`
    /// and a surface do it before they draw.
    void layoutIfNeeded();

    /// The place of this view's own coordinates in the surface's.
    [[nodiscard]] Transform toSurface() const;

    /// The place of a point of the surface in this view's own coordinates.
    [[nodiscard]] Point fromSurface(Point point) const;

    /// The topmost view under a point of the superview's (the surface's) coordinates: this one or one inside it, or
    /// null. Of what lies between two pixels, the left and on screen the upper edge belong to a view.
    [[nodiscard]] View* hitTest(Point point);

    /// The rectangles of the surface whose views, or their layers, asked for a redraw since they were drawn: this one
    /// or those inside it. One that was taken back counts too.
    [[nodiscard]] std::vector<Rect> dirtyRects() const;

    /// Draws the view and all in it with its upper left corner at the canvas's origin, as of a media time in seconds,
    /// and takes every request for a redraw off. Anything outside the bounds is clipped.
    void display(Canvas& canvas, double now = mediaTime());

    /// Draws what lies in some rectangles of the surface and nothing else. Views outside them keep their requests,
    /// those that they touch lose them: to be called with all that `dirtyRects` says.
    void displayRects(Canvas& canvas, const std::vector<Rect>& areas, double now = mediaTime());

    /// Draws the view's figure into a rectangle of its own coordinates; the view without figure draws nothing. For the
    /// whole view, the rectangle is the bounds.
    virtual void drawRect(Canvas& canvas, Rect rect);

    // What assistive technology is told; `accessibleElements` gathers it.

    /// What the view shows as text, for assistive technology. Absent for a view that shows no value.
    [[nodiscard]] virtual std::optional<std::string> accessibilityValue() const { return std::nullopt; }

    /// The same as a part of the whole in percent, 0 to 100; absent for a view that shows no such figure.
    [[nodiscard]] virtual std::optional<double> accessibilityLevel() const { return std::nullopt; }

    /// What the view is: the role that was set, else what it is by itself.
    [[nodiscard]] AccessibilityRole accessibilityRole() const;

    /// Makes the view something else, or absent what it is by itself again; `AccessibilityRole::none` keeps it from
    /// assistive technology.
    void setAccessibilityRole(std::optional<AccessibilityRole> role) noexcept { role_ = role; }

    /// What the view is about: the name that was set, else what it has by itself, often none.
    [[nodiscard]] std::string accessibilityName() const;

    /// Names the view: "Processor". Empty is what it has by itself again.
    void setAccessibilityName(std::string name) { name_ = std::move(name); }

    /// What to tell a person whose pointer rests on the view, UTF-8; empty, nothing, from the start.
    [[nodiscard]] const std::string& toolTip() const noexcept { return toolTip_; }

    /// Counts when the pointer next comes to rest.
    void setToolTip(std::string text) { toolTip_ = std::move(text); }

    /// Uses the view as a click does: for keys and assistive technology. False, and nothing happens, for a view that
    /// cannot be pressed or is not usable. It may release the view.
    bool press() { return isUsable() && performPress(); }

    // The keys. What the focused view does not use goes to what it lies in.

    /// Whether the keyboard can lead to the view while it is usable; not so unless overridden.
    [[nodiscard]] virtual bool acceptsFocus() const { return false; }

    /// Whether the view gets the keys, and shows that.
    [[nodiscard]] Focus focus() const noexcept { return focus_; }

    /// For what routes the keys, which sees to it that one view at a time has them. Asks for a redraw if the ring comes
    /// or goes.
    void setFocus(Focus focus);

    /// A key went down; returns whether it was used, which it is not unless overridden.
    virtual bool keyDown(const KeyEvent& event);

    // The pointer.

    /// The pointer came into a tracking area. Does nothing unless overridden.
    virtual void mouseEntered(const MouseEvent& event);

    /// The pointer left the tracking areas, or its gesture was cancelled. Does nothing unless overridden.
    virtual void mouseExited(const MouseEvent& event);

    /// The primary button went down on this view. Goes to the superview unless overridden.
    virtual void mouseDown(const MouseEvent& event);

    /// The primary button, which went down on this view, went up, here or anywhere else. Goes to the superview unless
    /// overridden. It does not come for a gesture that was cancelled.
    virtual void mouseUp(const MouseEvent& event);

    /// Another button went down on this view. Goes to the superview unless overridden.
    virtual void otherMouseDown(const MouseEvent& event);

    /// Another button, which went down on this view, went up, here or anywhere else. Goes to the superview unless
    /// overridden. It does not come for a gesture that was cancelled.
    virtual void otherMouseUp(const MouseEvent& event);

    /// The wheel turned over this view. Returns whether that was used; goes to the superview unless overridden.
    virtual bool scrollWheel(const ScrollEvent& event);

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

    /// Asks for another layout and the measures of this view and all it lies in: what it shows needs another size.
    void invalidateNaturalSize();

    /// Places the views inside it; called when its size, or what lies in it, changed. Does nothing unless overridden.
    virtual void layout();

    /// Does what `press` promises for a view that is usable. False unless overridden.
    virtual bool performPress();

    /// What the view is by itself, for assistive technology; nothing unless overridden.
    [[nodiscard]] virtual AccessibilityRole ownAccessibilityRole() const { return AccessibilityRole::none; }

    /// What the view is about by itself; empty unless overridden.
    [[nodiscard]] virtual std::string ownAccessibilityName() const { return {}; }

    /// Draws the ring that shows where keys go, over what lies in the view: a light line inside a dark one along the
    /// bounds, unless overridden.
    virtual void drawFocusRing(Canvas& canvas, Rect rect);

    /// Strokes the ring's two lines, the dark one 2 points wide and the light one 1 point.
    static void strokeFocusRing(Canvas& canvas, Path dark, Path light);

    /// The layer of a view that wants one; a plain one unless the view brings its own.
    [[nodiscard]] virtual std::shared_ptr<Layer> makeBackingLayer();

private:
    [[nodiscard]] Transform toSuperview() const;
    [[nodiscard]] Point fromSuperview(Point point) const;
    [[nodiscard]] Transform toParent(bool parentFlipped, Point origin) const;
    struct Display;
    void requestDisplay() noexcept;
    void displayInto(const Display& display, const Transform& place, const Transform& onSurface, bool isPale);
    void drawContents(const Display& display, const Transform& onSurface, bool isPale);
    void loseFocus();
    void setNeedsLayout();
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
    Size madeSize_;
    std::optional<Size> naturalSize_;
    mutable std::optional<Size> measured_; // the fitting size, until it is invalidated
    std::optional<Appearance> appearance_;
    double stretch_ = 0.0;
    std::optional<AccessibilityRole> role_;
    std::string name_;
    std::string toolTip_;
    Focus focus_ = Focus::none;
    bool needsDisplay_ = false; // a request that may be taken back
    bool isDamaged_ = false;    // stays until it is drawn
    bool needsLayout_ = false;  // this view or one inside it
    bool hidden_ = false;
    bool enabled_ = true;
};

} // namespace sentrel
