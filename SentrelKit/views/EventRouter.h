// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/View.h>

#include <memory>
#include <vector>

namespace sentrel {

/// Hands the pointer's events of one surface to the views on it. For the host of a surface, on the main thread. A view
/// that is told of an event may change the tree of views; one that leaves the tree is told nothing more. The router and
/// the view without superview may be destroyed from a `mouseUp` (so from a button's action), but from no other event.
class SENTREL_API EventRouter {
public:
    /// Registers the pointer's rectangles of the tree. The view without superview must outlive the router.
    explicit EventRouter(View& root);

    /// The pointer is now there, in the surface's coordinates: views that it left get `mouseExited`, then views that it
    /// came to `mouseEntered`, outer ones first. It is in no part of a view that its superviews clip off.
    void moved(Point point);

    /// The pointer left the surface.
    void left();

    /// The button went down, or a finger: the pointer is moved there first, then the topmost view there gets
    /// `mouseDown`.
    void pressed(Point point);

    /// The button went up: the pointer is moved there first, then the view that was pressed gets `mouseUp`, wherever
    /// the pointer is by now.
    void released(Point point);

    /// The system took the gesture away, say for a scroll or another window: the view that was pressed gets no
    /// `mouseUp`, and the pointer has left the surface until it is heard of again. So pressed looks end, and nothing is
    /// sent or opened.
    void cancel();

    /// What the pointer looks like at a point.
    [[nodiscard]] Cursor cursorAt(Point point) const;

private:
    void enterOnly(const std::vector<std::shared_ptr<View>>& inside, Point point);
    [[nodiscard]] bool isShown(const View& view) const;

    std::shared_ptr<View> root_; // not owned
    std::vector<std::weak_ptr<View>> entered_;
    std::weak_ptr<View> pressed_;
};

} // namespace sentrel
