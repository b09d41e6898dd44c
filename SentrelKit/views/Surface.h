// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/system/Signal.h>
#include <SentrelKit/views/EventRouter.h>
#include <SentrelKit/views/View.h>

#include <functional>
#include <memory>
#include <vector>

namespace sentrel {

/// What a host shows a tree of views on: a widget, a window, a picture in memory. The host tells its surface the size,
/// the events and whether anybody can see it; the surface tells its host when to draw, and when to keep drawing because
/// something moves. A host of its own needs no more than this:
///
///     Surface surface(view);
///     surface.setDisplayHandler([&] { /* draw soon, for example when the loop is idle */ });
///     surface.setFramesHandler([&](bool needed) { /* draw with every frame of the display, or no more */ });
///     surface.setSize({320, 200});
///     ...
///     surface.drawPixels(data, width, height, stride, scale, surface.dirtyRects());
///     surface.events().moved({x, y});
///
/// Main thread. It may be destroyed from what its events call, as the router may, but not while it draws.
class SENTREL_API Surface {
public:
    /// Shows a view without superview, which it keeps and whose display handler it takes. Nobody sees it yet.
    explicit Surface(std::shared_ptr<View> view);

    /// The view, if others keep it, can be shown elsewhere then.
    ~Surface();
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    /// The view that is shown.
    [[nodiscard]] const std::shared_ptr<View>& view() const noexcept { return view_; }

    /// The pointer and the keyboard.
    [[nodiscard]] EventRouter& events() noexcept { return events_; }

    /// What assistive technology is told, as of now.
    [[nodiscard]] std::vector<AccessibleElement> accessibleElements();

    /// The size in points that the view would like to have.
    [[nodiscard]] Size naturalSize() const { return view_->naturalSize(); }

    /// The size in points that the view has now.
    void setSize(Size size);

    // Whether anybody sees it.

    /// Whether anybody can see the surface, as the host said last.
    [[nodiscard]] bool isVisible() const noexcept { return isVisible_; }

    /// To be called when the surface is shown, and when it is hidden, closed, minimised or covered as far as the system
    /// tells. While nobody sees it the handlers for drawing are not called.
    void setVisible(bool visible);

    /// Fired with each change of `isVisible`, so that whoever feeds the views can stop when nobody looks.
    [[nodiscard]] Signal<bool>& onVisibilityChanged() noexcept { return onVisibilityChanged_; }

    // Drawing.

    /// Called each time something may have to be drawn, and once when the surface comes to be seen, but not while
    /// nobody sees it. Several calls may come before a host draws; `dirtyRects` then says all that there is.
    void setDisplayHandler(std::function<void()> handler);

    /// Called with true when something begins to move by itself, so that every frame is to be drawn, and with false
    /// when that is over or nobody sees it; at once if something moves already.
    void setFramesHandler(std::function<void(bool needed)> handler);

    /// Whether every frame is to be drawn, as the handler was told last.
    [[nodiscard]] bool needsFrames() const noexcept { return needsFrames_; }

    /// Lays the views out and says what is to be drawn, in points; empty if nothing is.
    [[nodiscard]] std::vector<Rect> dirtyRects();

    /// Draws all of the view, as of a media time in seconds, the upper left corner at the canvas's origin.
    void draw(Canvas& canvas, double now = mediaTime());

    /// Draws what lies in some rectangles, of all that `dirtyRects` says.
    void draw(Canvas& canvas, const std::vector<Rect>& areas, double now = mediaTime());

    /// Draws what lies in some rectangles, of all that `dirtyRects` says, on pixels that keep the rest, as
    /// `renderPixels` does. False as there.
    [[nodiscard]] bool drawPixels(void* data, int width, int height, int stride, double scale,
                                  const std::vector<Rect>& areas, double now = mediaTime());

private:
    class Drawing;

    void displayWanted();
    void setNeedsFrames(bool needed);

    std::shared_ptr<View> view_;
    EventRouter events_;
    Signal<bool> onVisibilityChanged_;
    std::function<void()> displayHandler_;
    std::function<void(bool)> framesHandler_;
    bool isVisible_ = false;
    bool isDrawing_ = false;
    bool needsFrames_ = false;
};

} // namespace sentrel
