// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/View.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace sentrel {

/// Hands the pointer's and the keyboard's events of one surface to the views on it. For the host of a surface, on the
/// main thread. A view that is told of an event may change the tree of views; one that leaves the tree is told nothing
/// more. A view that is hidden or may not be used, and all in it, is told nothing but that the pointer left. The router
/// and the view without superview may be destroyed from a `mouseUp` or a press by key (so from a button's action), but
/// from no other event.
class SENTREL_API EventRouter {
public:
    /// Registers the pointer's rectangles of the tree. The view without superview must outlive the router.
    explicit EventRouter(View& root);

    // The pointer.

    /// The pointer is now there, in the surface's coordinates: views that it left get `mouseExited`, then views that it
    /// came to `mouseEntered`, outer ones first. It is in no part of a view that its superviews clip off.
    void moved(Point point, Modifiers modifiers = {});

    /// The pointer left the surface.
    void left();

    /// A button went down, or a finger: the pointer is moved there first, then the topmost view there gets `mouseDown`,
    /// or `otherMouseDown` for a button that is not the primary one. The primary button also focuses the view, or the
    /// nearest one that it lies in, that accepts it; quietly.
    void pressed(Point point, MouseButton button = MouseButton::primary, Modifiers modifiers = {});

    /// The button went up: the pointer is moved there first, then the view that it was pressed on gets `mouseUp` or
    /// `otherMouseUp`, wherever the pointer is by now.
    void released(Point point, MouseButton button = MouseButton::primary, Modifiers modifiers = {});

    /// The wheel turned: the topmost view there gets `scrollWheel`. Whether that was used.
    bool scrolled(const ScrollEvent& event);

    /// The system took the gesture away, say for a scroll or another window: the view that was pressed gets no
    /// `mouseUp`, and the pointer has left the surface until it is heard of again. So pressed looks end, and nothing is
    /// sent or opened.
    void cancel();

    /// What the pointer looks like at a point: the arrow over what may not be used.
    [[nodiscard]] Cursor cursorAt(Point point) const;

    /// What to tell a person whose pointer rests at a point, UTF-8: the text of the topmost view there that has one, or
    /// of what it lies in; empty for none.
    [[nodiscard]] std::string toolTipAt(Point point) const;

    // The keyboard.

    /// A key went down: the focused view gets `keyDown`, and, while nobody uses it, what that view lies in; with no
    /// view focused, the view without superview does. A key that is still unused does what it always does: Tab and
    /// Shift-Tab move the focus, Space and Return press the focused view. Whether the key was used.
    bool keyPressed(const KeyEvent& event);

    /// Moves the focus visibly to the next view that accepts it, in the order of the tree, or to the first. False, and
    /// the focus stays, after the last one and if there is none: then it is the host's to move it on.
    bool focusNext();

    /// The same backwards, or to the last.
    bool focusPrevious();

    /// Focuses a view of the tree, or none for null or for one that accepts no focus or is not usable.
    void setFocused(View* view, Focus focus = Focus::visible);

    /// The view that gets the keys, or null.
    [[nodiscard]] std::shared_ptr<View> focused() const;

    /// The surface gets no keys for now: no view is focused.
    void keyboardLeft();

    /// The surface gets the keys again: so does the view that had them last, looking as it did, if it still can.
    void keyboardCame();

private:
    using Views = std::vector<std::shared_ptr<View>>;

    void enterOnly(const Views& inside, Point point, Modifiers modifiers);
    bool moveFocus(bool forward);
    [[nodiscard]] bool isShown(const View& view) const;
    [[nodiscard]] std::shared_ptr<View> ownerOf(const View& view) const;
    [[nodiscard]] std::shared_ptr<View> usableAt(Point point) const;

    std::shared_ptr<View> root_; // not owned
    std::vector<std::weak_ptr<View>> entered_;
    std::array<std::weak_ptr<View>, 3> pressed_; // by button
    std::weak_ptr<View> focused_;                // or was before the keyboard left
    Focus lastFocus_ = Focus::none;
};

} // namespace sentrel
