#pragma once

/// The ring whose colour follows its value through three bands. Main thread.

#include <SentrelKit/views/CircleChart.h>
#include <SentrelKit/views/Gauge.h>

namespace sentrel {

/// In danger from 91 percent on, with a warning from 81.
class SENTREL_API GaugeCircleChart : public Gauge<CircleChart> {
public:
    explicit GaugeCircleChart(Rect frame = {});
    explicit GaugeCircleChart(Coder& coder);

    /// Chooses the colour of the value's band, then does what the plain ring does. A value that is not a number is in
    /// danger.
    void setPercent(double percent) override;
};

} // namespace sentrel
