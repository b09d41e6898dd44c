#include <SentrelKit/views/PointerRouter.h>

#include <algorithm>
#include <utility>

namespace sentrel {

namespace {

void collect(View& view, std::vector<View*>& views) {
    views.push_back(&view);
    for (const std::shared_ptr<View>& inside : view.subviews())
        collect(*inside, views);
}

// Every view of the tree, outer ones first, later ones above earlier ones.
std::vector<View*> viewsOf(View& root) {
    std::vector<View*> views;
    collect(root, views);
    return views;
}

Point inside(const View& view, Point point) {
    const Transform place = view.toSurface(); // a translation, maybe upside down: its own opposite in y
    return {point.x - place.tx, (point.y - place.ty) * place.d};
}

bool tracks(const View& view, Point point) {
    const Point own = inside(view, point);
    return std::ranges::any_of(view.trackingAreas(), [&](const TrackingArea& area) {
        const Rect rect = (area.options & TrackingArea::inVisibleRect) ? view.bounds() : area.rect;
        return (area.options & TrackingArea::mouseEnteredAndExited) && rect.contains(own);
    });
}

} // namespace

PointerRouter::PointerRouter(View& root) : root_(root) {
    root_.preparePointer();
}

bool PointerRouter::stillShown(const View* view) const {
    const std::vector<View*> views = viewsOf(root_);
    return std::ranges::find(views, view) != views.end();
}

void PointerRouter::enterOnly(const std::vector<View*>& inside, Point point) {
    const MouseEvent event{point};
    const std::vector<View*> before = std::exchange(entered_, inside);
    // A handler may take views out of the tree: each is looked for before it is told.
    for (View* view : before)
        if (std::ranges::find(inside, view) == inside.end() && stillShown(view))
            view->mouseExited(event);
    for (View* view : inside)
        if (std::ranges::find(before, view) == before.end() && stillShown(view))
            view->mouseEntered(event);
}

void PointerRouter::moved(Point point) {
    std::vector<View*> now = viewsOf(root_);
    std::erase_if(now, [point](const View* view) { return !tracks(*view, point); });
    enterOnly(now, point);
}

void PointerRouter::left() {
    enterOnly({}, {-1.0, -1.0});
}

void PointerRouter::pressed(Point point) {
    pressed_ = root_.hitTest(point);
    if (pressed_)
        pressed_->mouseDown({point});
}

void PointerRouter::released(Point point) {
    View* const view = std::exchange(pressed_, nullptr);
    if (view && stillShown(view))
        view->mouseUp({point});
}

Cursor PointerRouter::cursorAt(Point point) const {
    // The topmost view's own wish, else that of what it lies in: a label on a button shows the button's cursor.
    for (const View* view = root_.hitTest(point); view; view = view->superview())
        for (const CursorRect& wish : view->cursorRects())
            if (wish.rect.contains(inside(*view, point)))
                return wish.cursor;
    return Cursor::arrow;
}

} // namespace sentrel
