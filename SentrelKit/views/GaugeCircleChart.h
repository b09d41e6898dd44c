// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/CircleChart.h>
#include <SentrelKit/views/Gauge.h>

#include <memory>
#include <string>

namespace sentrel {

/// The ring whose colour follows its value through three bands: in danger from 91 percent on, with a warning from 81.
/// Main thread.
class SENTREL_API GaugeCircleChart : public Gauge<CircleChart> {
public:
    /// A ring at 0 percent at a frame of its superview's coordinates.
    explicit GaugeCircleChart(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit GaugeCircleChart(Coder& coder);

    /// A ring with its label in it, as `addLabel` makes it, and a name for assistive technology: "Processor".
    [[nodiscard]] static std::shared_ptr<GaugeCircleChart> labelled(Rect frame, std::string name);

    /// Chooses the colour of the value's band, then does what the plain ring does. A value that is not a number is in
    /// danger.
    void setPercent(double percent) override;
};

} // namespace sentrel
