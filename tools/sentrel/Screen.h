// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/Layout.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tool {

/// The terminal of the process while a view has it: its other screen, without echo and cursor. One at a time, on the
/// thread that made it. The terminal is as it was once the object is gone, and also if the process ends by a fault or
/// by `abort`.
class Screen {
public:
    /// Takes the terminal that the standard input and output are. Null if they are none, or one of an unknown kind:
    /// `reason` then says which.
    [[nodiscard]] static std::unique_ptr<Screen> take(std::string& reason);

    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    [[nodiscard]] std::size_t columns() const; ///< of the terminal, as of the last `resize`
    [[nodiscard]] std::size_t rows() const;    ///< of the terminal, as of the last `resize`

    /// Whether it shows more than ASCII.
    [[nodiscard]] bool isUnicode() const noexcept { return isUnicode_; }

    /// Shows these lines, from the top, in place of what was there.
    void show(const std::vector<Line>& lines);

    /// A key that was pressed; -1 if there is none. Never waits.
    [[nodiscard]] int key();

    /// Takes over the terminal's size as it is now. The next `show` draws everything.
    void resize();

    /// Gives the terminal back for as long as the process is stopped.
    void leave();

    /// Takes it again, at the size that it has by then.
    void enter();

private:
    Screen();

    bool isUnicode_ = false;
    bool hasColors_ = false;
};

} // namespace tool
