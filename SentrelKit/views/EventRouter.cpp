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

bool mayBeUsed(const View& view) {
    return view.isEnabled() && !view.isHidden();
}

// Adds this view and those inside it that track the pointer and show the point: outer ones first, later ones above
// earlier ones.
void collectTracking(const std::shared_ptr<View>& view, Point point, Views& found) {
    const Point own = view->fromSurface(point);
    const auto isIn = [&](Rect rect) { return rect.contains(own, view->isFlipped()); };
    if (!mayBeUsed(*view) || !isIn(view->bounds()))
        return;
    if (std::ranges::any_of(view->trackingAreas(), [&](const TrackingArea& area) {
            const bool follows = (area.options & TrackingArea::inVisibleRect) != 0;
            return (area.options & TrackingArea::mouseEnteredAndExited) && (follows || isIn(area.rect));
        }))
        found.push_back(view);
    for (const std::shared_ptr<View>& inside : view->subviews())
        collectTracking(inside, point, found);
}

// Adds this view and those inside it that the keyboard can lead to, in the order of the tree.
void collectFocusable(const std::shared_ptr<View>& view, Views& found) {
    if (!mayBeUsed(*view))
        return;
    if (view->acceptsFocus())
        found.push_back(view);
    for (const std::shared_ptr<View>& inside : view->subviews())
        collectFocusable(inside, found);
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

// The reference that keeps a view of the tree: its superview's.
std::shared_ptr<View> EventRouter::ownerOf(const View& view) const {
    if (&view == root_.get())
        return root_;
    const Views& siblings = view.superview()->subviews();
    return *std::ranges::find(siblings, &view, &std::shared_ptr<View>::get);
}

std::shared_ptr<View> EventRouter::usableAt(Point point) const {
    const View* const topmost = root_->hitTest(point);
    return topmost && topmost->isUsable() ? ownerOf(*topmost) : nullptr;
}

void EventRouter::enterOnly(const Views& inside, Point point, Modifiers modifiers) {
    const MouseEvent event{point, MouseButton::primary, modifiers};
    Views before;
    for (const std::weak_ptr<View>& entered : std::exchange(entered_, {inside.begin(), inside.end()}))
        if (std::shared_ptr<View> view = entered.lock())
            before.push_back(std::move(view));
    // A handler may take views out of the tree: each is looked for before it is told.
    for (const std::shared_ptr<View>& view : before)
        if (!contains(inside, view) && isShown(*view))
            view->mouseExited(event);
    for (const std::shared_ptr<View>& view : inside)
        if (!contains(before, view) && isShown(*view))
            view->mouseEntered(event);
}

void EventRouter::moved(Point point, Modifiers modifiers) {
    Views now;
    collectTracking(root_, point, now);
    enterOnly(now, point, modifiers);
}

void EventRouter::left() {
    enterOnly({}, {-1.0, -1.0}, {});
}

void EventRouter::pressed(Point point, MouseButton button, Modifiers modifiers) {
    moved(point, modifiers);
    std::weak_ptr<View>& kept = pressed_[static_cast<std::size_t>(button)];
    const std::shared_ptr<View> view = usableAt(point);
    kept = view;
    if (!view)
        return;
    const MouseEvent event{point, button, modifiers};
    if (button != MouseButton::primary) {
        view->otherMouseDown(event);
        return;
    }
    View* holder = view.get();
    while (holder && !holder->acceptsFocus())
        holder = holder->superview();
    if (holder)
        setFocused(holder, Focus::quiet);
    view->mouseDown(event);
}

void EventRouter::released(Point point, MouseButton button, Modifiers modifiers) {
    const std::shared_ptr<View> view = std::exchange(pressed_[static_cast<std::size_t>(button)], {}).lock();
    moved(point, modifiers);
    if (!view || !isShown(*view) || !view->isUsable())
        return;
    // Last: it may destroy the router.
    if (button == MouseButton::primary)
        view->mouseUp({point, button, modifiers});
    else
        view->otherMouseUp({point, button, modifiers});
}

bool EventRouter::scrolled(const ScrollEvent& event) {
    const std::shared_ptr<View> view = usableAt(event.location);
    return view && view->scrollWheel(event);
}

void EventRouter::cancel() {
    pressed_ = {};
    left();
}

Cursor EventRouter::cursorAt(Point point) const {
    // The topmost view's own wish, else that of what it lies in: a label on a button shows the button's cursor.
    for (const View* view = usableAt(point).get(); view; view = view->superview())
        for (const CursorRect& wish : view->cursorRects())
            if (wish.rect.contains(view->fromSurface(point), view->isFlipped()))
                return wish.cursor;
    return Cursor::arrow;
}

std::string EventRouter::toolTipAt(Point point) const {
    for (const View* view = root_->hitTest(point); view; view = view->superview())
        if (!view->toolTip().empty())
            return view->toolTip();
    return {};
}

bool EventRouter::keyPressed(const KeyEvent& event) {
    const std::shared_ptr<View> target = focused();
    Views told; // kept, for a handler may take them out of the tree
    for (const View* view = target ? target.get() : root_.get(); view; view = view->superview())
        if (isShown(*view))
            told.push_back(ownerOf(*view));
    for (const std::shared_ptr<View>& view : told)
        if (isShown(*view) && view->keyDown(event))
            return true;
    const Modifiers& held = event.modifiers;
    if (held.control || held.alternate || held.command)
        return false;
    if (event.key == Key::tab)
        return held.shift ? focusPrevious() : focusNext();
    const bool presses = (event.key == Key::space || event.key == Key::enter) && !held.shift && !event.isRepeat;
    return presses && target && isShown(*target) && target->press(); // last: it may destroy the router
}

bool EventRouter::focusNext() {
    return moveFocus(true);
}

bool EventRouter::focusPrevious() {
    return moveFocus(false);
}

bool EventRouter::moveFocus(bool forward) {
    Views views;
    collectFocusable(root_, views);
    if (!forward)
        std::ranges::reverse(views);
    const auto present = std::ranges::find(views, focused());
    const auto next = present == views.end() ? views.begin() : present + 1;
    if (next == views.end())
        return false;
    setFocused(next->get());
    return true;
}

void EventRouter::setFocused(View* view, Focus focus) {
    const bool can = view && focus != Focus::none && isShown(*view) && view->isUsable() && view->acceptsFocus();
    const std::shared_ptr<View> before = focused();
    if (before && before.get() != view)
        before->setFocus(Focus::none);
    focused_.reset();
    if (!can)
        return;
    focused_ = ownerOf(*view);
    view->setFocus(focus);
}

std::shared_ptr<View> EventRouter::focused() const {
    std::shared_ptr<View> view = focused_.lock();
    return view && isShown(*view) && view->focus() != Focus::none ? view : nullptr;
}

void EventRouter::keyboardLeft() {
    const std::shared_ptr<View> view = focused();
    if (!view)
        return;
    lastFocus_ = view->focus();
    view->setFocus(Focus::none);
}

void EventRouter::keyboardCame() {
    const std::shared_ptr<View> view = focused_.lock();
    if (view && view->focus() == Focus::none)
        setFocused(view.get(), lastFocus_);
}

} // namespace sentrel
