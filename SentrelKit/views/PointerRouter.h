#pragma once

/// Hands the pointer's events of one surface to the views on it. For the host of a surface, on the main thread.

#include <SentrelKit/views/View.h>

#include <vector>

namespace sentrel {

class SENTREL_API PointerRouter {
public:
    /// Registers the pointer's rectangles of the tree. The view without superview must outlive the router.
    explicit PointerRouter(View& root);

    /// The pointer is now there, in the surface's coordinates: views that it left get `mouseExited`, then views that it
    /// came to `mouseEntered`, outer ones first.
    void moved(Point point);

    /// The pointer left the surface.
    void left();

    /// The button went down: the topmost view there gets `mouseDown`.
    void pressed(Point point);

    /// The button went up: the view that was pressed gets `mouseUp`, wherever the pointer is by now.
    void released(Point point);

    /// What the pointer looks like at a point.
    [[nodiscard]] Cursor cursorAt(Point point) const;

private:
    void enterOnly(const std::vector<View*>& inside, Point point);
    [[nodiscard]] bool stillShown(const View* view) const;

    View& root_;
    std::vector<View*> entered_;
    View* pressed_ = nullptr;
};

} // namespace sentrel
