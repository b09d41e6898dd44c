// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What Qt says of the pointer and the keys, in the words of views.

#include <SentrelKit/views/Events.h>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include <optional>

namespace sentrel {

[[nodiscard]] Modifiers modifiersOf(Qt::KeyboardModifiers modifiers);

/// Absent for a button that views know nothing of.
[[nodiscard]] std::optional<MouseButton> buttonOf(Qt::MouseButton button);

[[nodiscard]] ScrollEvent scrollOf(const QWheelEvent& event);

[[nodiscard]] KeyEvent keyOf(const QKeyEvent& event);

} // namespace sentrel
