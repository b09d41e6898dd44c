// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Stack.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace sentrel {

namespace {

// A size by its extents along the stack and across it.
struct Extent {
    double along = 0.0;
    double across = 0.0;
};

Extent extentOf(Size size, Stack::Axis axis) noexcept {
    return axis == Stack::Axis::row ? Extent{size.width, size.height} : Extent{size.height, size.width};
}

// In whole points, so that nothing is cut off where edges are rounded.
Extent naturalOf(const View& view, Stack::Axis axis) {
    const Size size = view.naturalSize();
    return extentOf({std::ceil(size.width), std::ceil(size.height)}, axis);
}

std::vector<std::shared_ptr<View>> shownIn(const View& stack) {
    std::vector<std::shared_ptr<View>> views = stack.subviews();
    std::erase_if(views, [](const auto& view) { return view->isHidden(); });
    return views;
}

// The extents along the stack that fill `room`: the natural ones and their shares of what is left over or lacks.
std::vector<double> shared(const std::vector<std::shared_ptr<View>>& views, Stack::Axis axis, double room) {
    std::vector<double> extents;
    double shares = 0.0;
    for (const auto& view : views) {
        extents.push_back(naturalOf(*view, axis).along);
        room -= extents.back();
        shares += std::max(view->stretch(), 0.0);
    }
    if (shares <= 0.0)
        return extents;
    for (std::size_t i = 0; i < views.size(); ++i)
        extents[i] = std::max(extents[i] + room * std::max(views[i]->stretch(), 0.0) / shares, 0.0);
    return extents;
}

} // namespace

Stack::Stack(Axis axis, Rect frame) : View(frame), axis_(axis) {}

void Stack::askForLayout() {
    invalidateNaturalSize();
    setNeedsDisplay(true);
}

void Stack::setAxis(Axis axis) {
    if (std::exchange(axis_, axis) != axis)
        askForLayout();
}

void Stack::setSpacing(double points) {
    if (std::exchange(spacing_, points) != points)
        askForLayout();
}

void Stack::setPadding(double points) {
    if (std::exchange(padding_, points) != points)
        askForLayout();
}

void Stack::setAlignment(Alignment alignment) {
    if (std::exchange(alignment_, alignment) != alignment)
        askForLayout();
}

Size Stack::fittingSize() const {
    Extent needed;
    double between = 0.0;
    for (const auto& view : shownIn(*this)) {
        const Extent natural = naturalOf(*view, axis_);
        needed.along += between + natural.along;
        needed.across = std::max(needed.across, natural.across);
        between = spacing_;
    }
    const double along = std::ceil(needed.along + 2.0 * padding_);
    const double across = std::ceil(needed.across + 2.0 * padding_);
    return axis_ == Axis::row ? Size{along, across} : Size{across, along};
}

void Stack::layout() {
    const auto views = shownIn(*this);
    const Extent inside = extentOf({bounds().width - 2.0 * padding_, bounds().height - 2.0 * padding_}, axis_);
    const double gaps = views.empty() ? 0.0 : spacing_ * static_cast<double>(views.size() - 1);
    const std::vector<double> extents = shared(views, axis_, inside.along - gaps);
    double place = padding_;
    for (std::size_t i = 0; i < views.size(); ++i) {
        const double natural = std::min(naturalOf(*views[i], axis_).across, inside.across);
        const double across = std::max(alignment_ == Alignment::fill ? inside.across : natural, 0.0);
        const double free = inside.across - across;
        const double side = padding_ + (alignment_ == Alignment::center ? free / 2.0
                                        : alignment_ == Alignment::end  ? free
                                                                        : 0.0);
        const double start = std::round(place);
        const double end = std::round(place + extents[i]);
        const double near = std::round(side);
        const double far = std::round(side + across);
        views[i]->setFrame(axis_ == Axis::row ? Rect{start, near, end - start, far - near}
                                              : Rect{near, start, far - near, end - start});
        place += extents[i] + spacing_;
    }
}

} // namespace sentrel
