// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel {

/// What somebody in front of the display sees: pixels as 0xRRGGBB, row by row from the top.
struct Screenshot {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;

    [[nodiscard]] std::uint32_t at(int x, int y) const {
        return pixels.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x));
    }
    void writePng(const std::string& path) const;

    friend bool operator==(const Screenshot&, const Screenshot&) = default;
};

/// Somebody in front of the display that the environment names, with a mouse and a keyboard: events come to programs as
/// from real devices. All places are pixels of the screen. What is asked for has reached the display server, but not
/// the program, when a call returns. It has a connection of its own to the display.
class DisplayUser {
public:
    using Window = unsigned long;

    struct Place {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;

        friend bool operator==(const Place&, const Place&) = default;
    };

    /// Throws where there is no display.
    DisplayUser();
    ~DisplayUser();
    DisplayUser(const DisplayUser&) = delete;
    DisplayUser& operator=(const DisplayUser&) = delete;

    // The mouse. Button 1 is the left one, 2 the middle one, 3 the right one; 4 to 7 turn the wheel by one step up,
    // down, left, right.

    void movePointer(int x, int y) const;
    void pressButton(unsigned int button = 1) const;
    void releaseButton(unsigned int button = 1) const;
    void click(int x, int y, unsigned int button = 1) const;

    // The keyboard. A key is named as in <X11/keysymdef.h>, without XK_, after the modifiers that are held with it:
    // "Tab", "shift+Tab", "ctrl+a".

    void pressKey(std::string_view key) const;
    void releaseKey(std::string_view key) const;
    void typeKey(std::string_view key) const;

    // Windows of programs, as the window manager knows them.

    /// Absent while there is none of that title.
    [[nodiscard]] std::optional<Window> windowNamed(std::string_view title) const;
    /// Where a window's own area lies, without the frame around it.
    [[nodiscard]] Place placeOf(Window window) const;
    void moveWindow(Window window, Place place) const;
    void activate(Window window) const; ///< also takes it out of its icon
    void minimise(Window window) const;
    void moveToWorkspace(Window window, int workspace) const;
    void showWorkspace(int workspace) const;
    void close(Window window) const;

    /// The name of the pointer's present look, say "left_ptr" or "hand2"; empty for one without a name.
    [[nodiscard]] std::string pointerName() const;

    [[nodiscard]] Screenshot screenshot(Place place) const;
    [[nodiscard]] Screenshot screenshot(Window window) const { return screenshot(placeOf(window)); }

private:
    struct Connection;

    void ask(Window window, const char* message, long first, long second = 0, long third = 0) const;
    void sendKey(std::string_view key, bool isPress) const;

    std::unique_ptr<Connection> connection_;
};

} // namespace sentrel
