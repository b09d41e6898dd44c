// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace sentrel {

class View;

/// Lets the figure that a view shows run from a value to the view's own in 0.4 s: its layer keeps the course. At once
/// for a value that is not finite, and for a view without a layer. Main thread.
void easeFrom(View& view, double value);

/// The figure that a view shows in the display that is under way or was last; its own without a layer. Main thread.
[[nodiscard]] double easedValue(const View& view, double own) noexcept;

/// The same at this moment. Main thread.
[[nodiscard]] double easedValueNow(const View& view, double own) noexcept;

} // namespace sentrel
