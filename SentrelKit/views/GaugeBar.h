// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/Bar.h>
#include <SentrelKit/views/Gauge.h>

#include <functional>

namespace sentrel {

/// The bar whose colour follows its value through three bands. It starts in the plain bar's colour and takes its band's
/// when `percent` is first set: in danger from 99 percent on, with a warning from 91. Main thread.
class SENTREL_API GaugeBar : public Gauge<Bar> {
public:
    /// A bar at 50 percent at a frame of its superview's coordinates.
    explicit GaugeBar(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit GaugeBar(Coder& coder);

    /// A hook for the host to keep and call, empty from the start; the bar never calls it. What is handed out is a
    /// copy, so that the hook may set another while it runs.
    [[nodiscard]] std::function<bool()> confirm() const { return confirm_; }

    /// Only keeps the hook; an empty one takes it off.
    void setConfirm(std::function<bool()> confirm);

    /// Whether setting `percent` chooses the colour, as from the start; if not, the colour stays as the host set it.
    [[nodiscard]] bool colorize() const noexcept { return colorize_; }

    /// Counts when `percent` is next set. Asks for no redraw.
    void setColorize(bool colorize) noexcept { colorize_ = colorize; }

    /// Chooses the colour of the value's band, then does what the plain bar does: so an equal value takes a pending
    /// request back even if the colour changed. A value that is not a number is in danger.
    void setPercent(double percent) override;

private:
    std::function<bool()> confirm_;
    bool colorize_ = true;
};

} // namespace sentrel
