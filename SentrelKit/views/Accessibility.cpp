// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Accessibility.h>

#include <SentrelKit/views/View.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace sentrel {

namespace {

using Elements = std::vector<AccessibleElement>;

// "42%" as it is spoken.
std::string spoken(std::string text) {
    for (std::size_t sign = text.find('%'); sign != std::string::npos; sign = text.find('%', sign))
        text.replace(sign, 1, " percent");
    return text;
}

Rect frameOf(const View& view) {
    const Transform place = view.toSurface();
    const Rect bounds = view.bounds();
    const Point one = place.apply({0.0, 0.0});
    const Point other = place.apply({bounds.width, bounds.height});
    return {std::min(one.x, other.x), std::min(one.y, other.y), bounds.width, bounds.height};
}

AccessibilityRole roleOf(const View& view) {
    const AccessibilityRole role = view.accessibilityRole();
    return role == AccessibilityRole::none && !view.accessibilityName().empty() ? AccessibilityRole::group : role;
}

AccessibleElement elementOf(const std::shared_ptr<View>& view, AccessibilityRole role) {
    AccessibleElement element;
    element.view = view;
    element.role = role;
    element.name = view->accessibilityName();
    element.value = view->accessibilityValue();
    element.level = view->accessibilityLevel();
    element.frame = frameOf(*view);
    element.isEnabled = view->isUsable();
    element.isFocusable = element.isEnabled && view->acceptsFocus();
    element.isFocused = view->focus() != Focus::none;
    const bool isText = role == AccessibilityRole::staticText || role == AccessibilityRole::link;
    if (isText && element.name.empty())
        element.name = std::exchange(element.value, std::nullopt).value_or(std::string());
    element.name = spoken(std::move(element.name));
    if (element.value)
        element.value = spoken(*std::move(element.value));
    return element;
}

void append(const std::shared_ptr<View>& view, bool isInPicture, Elements& elements) {
    if (view->isHidden())
        return;
    const AccessibilityRole role = roleOf(*view);
    const bool isTold = role != AccessibilityRole::none && !(isInPicture && role == AccessibilityRole::staticText);
    if (isTold)
        elements.push_back(elementOf(view, role));
    isInPicture = isInPicture || (isTold && role != AccessibilityRole::group);
    Elements inside;
    for (const std::shared_ptr<View>& inner : view->subviews())
        append(inner, isInPicture, inside);
    Elements& holder = isTold ? elements.back().children : elements;
    holder.insert(holder.end(), std::make_move_iterator(inside.begin()), std::make_move_iterator(inside.end()));
}

} // namespace

std::vector<AccessibleElement> accessibleElements(const std::shared_ptr<View>& root) {
    Elements elements;
    append(root, false, elements);
    return elements;
}

} // namespace sentrel
