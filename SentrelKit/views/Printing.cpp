// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/util/detail/EnumName.h>
#include <SentrelKit/views/Accessibility.h>
#include <SentrelKit/views/Events.h>
#include <SentrelKit/views/Stack.h>
#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/drawing/Color.h>
#include <SentrelKit/views/drawing/Geometry.h>
#include <SentrelKit/views/drawing/Path.h>
#include <SentrelKit/views/layers/Animation.h>

#include <ostream>

namespace sentrel {

std::ostream& operator<<(std::ostream& stream, AccessibilityRole value) {
    return writeName(stream, value,
                     {"none", "group", "staticText", "image", "levelIndicator", "button", "link", "toggle"});
}

std::ostream& operator<<(std::ostream& stream, MouseButton value) {
    return writeName(stream, value, {"primary", "secondary", "middle"});
}

std::ostream& operator<<(std::ostream& stream, Key value) {
    return writeName(stream, value,
                     {"other", "tab", "space", "enter", "escape", "left", "right", "up", "down", "home", "end",
                      "pageUp", "pageDown"});
}

std::ostream& operator<<(std::ostream& stream, Stack::Axis value) {
    return writeName(stream, value, {"row", "column"});
}

std::ostream& operator<<(std::ostream& stream, Stack::Alignment value) {
    return writeName(stream, value, {"fill", "start", "center", "end"});
}

std::ostream& operator<<(std::ostream& stream, Cursor value) {
    return writeName(stream, value, {"arrow", "pointingHand"});
}

std::ostream& operator<<(std::ostream& stream, LayerContentsRedrawPolicy value) {
    return writeName(stream, value,
                     {"never", "onSetNeedsDisplay", "duringViewResize", "beforeViewResize", "crossfade"});
}

std::ostream& operator<<(std::ostream& stream, Focus value) {
    return writeName(stream, value, {"none", "quiet", "visible"});
}

std::ostream& operator<<(std::ostream& stream, Appearance value) {
    return writeName(stream, value, {"light", "dark"});
}

std::ostream& operator<<(std::ostream& stream, TextAlignment value) {
    return writeName(stream, value, {"left", "center", "right"});
}

std::ostream& operator<<(std::ostream& stream, LineCap value) {
    return writeName(stream, value, {"butt", "round", "square"});
}

std::ostream& operator<<(std::ostream& stream, LineJoin value) {
    return writeName(stream, value, {"miter", "round", "bevel"});
}

std::ostream& operator<<(std::ostream& stream, PathElement::Kind value) {
    return writeName(stream, value, {"moveTo", "lineTo", "curveTo", "closePath", "arc"});
}

std::ostream& operator<<(std::ostream& stream, FillMode value) {
    return writeName(stream, value, {"removed", "forwards"});
}

std::ostream& operator<<(std::ostream& stream, const Point& value) {
    return stream << '{' << value.x << ", " << value.y << '}';
}

std::ostream& operator<<(std::ostream& stream, const Size& value) {
    return stream << '{' << value.width << ", " << value.height << '}';
}

std::ostream& operator<<(std::ostream& stream, const Rect& value) {
    return stream << '{' << value.x << ", " << value.y << ", " << value.width << ", " << value.height << '}';
}

std::ostream& operator<<(std::ostream& stream, const Color& value) {
    return stream << '{' << value.red << ", " << value.green << ", " << value.blue << ", " << value.alpha << '}';
}

} // namespace sentrel
