// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/EventRouter.h>

#include <algorithm>
#include <utility>

namespace sentrel {

namespace {

using Views = std::vector<std::shared_ptr<View>>;

bool contains(const Views& views, const std::shared_ptr<View>& view) {
    return std::ranges::find(views, view) != views.end();
}

// Adds this view and those inside it that track the pointer and show the point: outer ones first, later ones above
// earlier ones.
void collectTracking(const std::shared_ptr<View>& view, Point point, Views& found) {
    const Point own = view->fromSurface(point);
    const auto isIn = [&](Rect rect) { return rect.contains(own, view->isFlipped()); };
    if (!isIn(view->bounds()))
        return;
    if (std::ranges::any_of(view->trackingAreas(), [&](const TrackingArea& area) {
            const bool follows = (area.options & TrackingArea::inVisibleRect) != 0;
            return (area.options & TrackingArea::mouseEnteredAndExited) && (follows || isIn(area.rect));
        }))
        found.push_back(view);
    for (const std::shared_ptr<View>& inside : view->subviews())
        collectTracking(inside, point, found);
}

// The reference that keeps a view of a tree: its superview's.
std::shared_ptr<View> ownerOf(const View& view) {
    const Views& siblings = view.superview()->subviews();
    return *std::ranges::find(siblings, &view, &std::shared_ptr<View>::get);
}

} // namespace

EventRouter::EventRouter(View& root) : root_(&root, [](View*) {}) {
    root.preparePointer();
}

bool EventRouter::isShown(const View& view) const {
    const View* holder = &view;
    while (holder && holder != root_.get())
        holder = holder->superview();
    return holder != nullptr;
}

void EventRouter::enterOnly(const std::vector<std::shared_ptr<View>>& inside, Point point) {
    Views before;
    for (const std::weak_ptr<View>& entered : std::exchange(entered_, {inside.begin(), inside.end()}))
        if (std::shared_ptr<View> view = entered.lock())
            before.push_back(std::move(view));
    // A handler may take views out of the tree: each is looked for before it is told.
    for (const std::shared_ptr<View>& view : before)
        if (!contains(inside, view) && isShown(*view))
            view->mouseExited({point});
    for (const std::shared_ptr<View>& view : inside)
        if (!contains(before, view) && isShown(*view))
            view->mouseEntered({point});
}

void EventRouter::moved(Point point) {
    Views now;
    collectTracking(root_, point, now);
    enterOnly(now, point);
}

void EventRouter::left() {
    enterOnly({}, {-1.0, -1.0});
}

void EventRouter::pressed(Point point) {
    moved(point);
    pressed_.reset();
    const View* const topmost = root_->hitTest(point);
    if (!topmost)
        return;
    const std::shared_ptr<View> view = topmost == root_.get() ? root_ : ownerOf(*topmost);
    pressed_ = view;
    view->mouseDown({point});
}

void EventRouter::released(Point point) {
    const std::shared_ptr<View> view = std::exchange(pressed_, {}).lock();
    moved(point);
    if (view && isShown(*view))
        view->mouseUp({point}); // last: it may destroy the router
}

void EventRouter::cancel() {
    pressed_.reset();
    left();
}

Cursor EventRouter::cursorAt(Point point) const {
    // The topmost view's own wish, else that of what it lies in: a label on a button shows the button's cursor.
    for (const View* view = root_->hitTest(point); view; view = view->superview())
        for (const CursorRect& wish : view->cursorRects())
            if (wish.rect.contains(view->fromSurface(point), view->isFlipped()))
                return wish.cursor;
    return Cursor::arrow;
}

} // namespace sentrel
