// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace sentrel {

/// An object as assistive technology is told of it.
struct AccessibleObject {
    int depth = 0; ///< below the program's, which has 0
    std::string role;
    std::string name;
    std::string description;
    std::string value; ///< of one with a numeric value, in the shortest form
    std::string text;
    std::string states; ///< their names between blanks, say "enabled focusable"
    std::string place;  ///< x, y, width and height on the screen

    [[nodiscard]] bool is(const std::string& state) const;
};

/// Serves the program's loop until the condition holds; false if that takes longer than a test may take. The toolkit's
/// own way to wait.
using ServeUntil = std::function<bool(const std::function<bool()>& condition)>;

/// This process's objects as another process reads them on the bus of assistive technology, outer ones first. Empty,
/// with a test failure, where they could not be read.
[[nodiscard]] std::vector<AccessibleObject> readAccessibleTree(const ServeUntil& serveUntil);

/// Does the first action of this process's object of that name, as assistive technology does; false where that fails.
[[nodiscard]] bool doAccessibleAction(const std::string& name, const ServeUntil& serveUntil);

/// Gives it the keyboard's focus.
[[nodiscard]] bool focusAccessible(const std::string& name, const ServeUntil& serveUntil);

} // namespace sentrel
