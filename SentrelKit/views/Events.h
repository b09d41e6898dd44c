// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>
/// What happens to views: the pointer, the wheel and the keys. Plain values.

#include <SentrelKit/views/drawing/Geometry.h>

#include <cstdint>
#include <iosfwd>
#include <string>

namespace sentrel {

/// The keys that change what others mean, as they are held.
struct Modifiers {
    bool shift = false;     ///< Shift
    bool control = false;   ///< Control
    bool alternate = false; ///< Alt, or Option
    bool command = false;   ///< the desktop's own key: Command, Super

    /// Whether all fields are equal.
    friend bool operator==(const Modifiers&, const Modifiers&) = default;
};

/// A button of the pointer.
enum class MouseButton : std::uint8_t {
    primary,   ///< the one that presses: the left, or a finger
    secondary, ///< the one that opens menus: the right
    middle,    ///< the wheel
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, MouseButton value);

/// One event of the pointer.
struct MouseEvent {
    Point location;                            ///< in the surface's coordinates
    MouseButton button = MouseButton::primary; ///< what went down or up; without meaning for a move
    Modifiers modifiers{};                     ///< held at that moment
};

/// A turn of the wheel, or two fingers on a pad.
struct ScrollEvent {
    Point location;        ///< of the pointer, in the surface's coordinates
    double deltaX = 0.0;   ///< points by which what lies to the right comes nearer
    double deltaY = 0.0;   ///< points by which what lies below comes nearer
    Modifiers modifiers{}; ///< held at that moment
};

/// The keys that mean the same everywhere.
enum class Key : std::uint8_t {
    other, ///< any other one: its text tells
    tab,
    space,
    enter, ///< Return, and Enter of the number pad
    escape,
    left,
    right,
    up,
    down,
    home,
    end,
    pageUp,
    pageDown,
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Key value);

/// A key that went down, or repeats.
struct KeyEvent {
    Key key = Key::other;  ///< which one
    std::string text{};    ///< what it types, UTF-8; may be empty
    Modifiers modifiers{}; ///< held at that moment
    bool isRepeat = false; ///< the key is held, and this is not its first event
};

} // namespace sentrel
