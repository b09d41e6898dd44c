// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/views/GaugeBar.h>
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/layers/Layer.h>

#include <limits>

namespace sentrel {

namespace {

class EasedValues : public LineDefaults {
protected:
    // The percentage that the ring's arc shows when it is displayed now; 0 without one.
    static double shownBy(CircleChart& chart) {
        RecordingCanvas canvas;
        chart.display(canvas);
        const auto strokes = canvas.all<RecordingCanvas::Stroke>();
        return strokes.size() < 2 ? 0.0 : (strokes[1].path.elements().at(0).endAngle - 270.0) / 3.6;
    }

    static double shownBy(Bar& bar) {
        RecordingCanvas canvas;
        bar.display(canvas);
        return canvas.all<RecordingCanvas::Stroke>().at(1).path.elements().at(1).points[0].x;
    }

    void advance(double seconds) { machine.advance(seconds); }

    template <class Kind>
    void expectEasing(Kind& view, double start) {
        const double way = 80.0 - start;
        view.setEases(true);
        EXPECT_FALSE(view.isAnimating());
        view.setPercent(80.0);
        EXPECT_EQ(view.percent(), 80.0);
        EXPECT_TRUE(view.isAnimating());
        EXPECT_NEAR(shownBy(view), start, 1e-9);
        advance(0.1);
        EXPECT_NEAR(shownBy(view), start + way * TimingFunction::easeOut().at(0.25), 1e-6);
        EXPECT_FALSE(view.dirtyRects().empty()) << "the next frame is wanted";
        advance(0.1);
        EXPECT_NEAR(shownBy(view), start + way * TimingFunction::easeOut().at(0.5), 1e-6);
        EXPECT_GT(shownBy(view), start + way / 2.0); // slower towards the end
        advance(0.2);
        EXPECT_FALSE(view.isAnimating());
        EXPECT_NEAR(shownBy(view), 80.0, 1e-9);
        EXPECT_TRUE(view.dirtyRects().empty());
    }

    platform::ScriptedPlatform machine;
    platform::Override scope{machine};
};

TEST_F(EasedValues, ShowAtOnceUnlessAskedFor) {
    GaugeCircleChart ring({0, 0, 100, 100});
    EXPECT_FALSE(ring.eases());
    EXPECT_FALSE(ring.wantsLayer());
    ring.setPercent(80.0);
    EXPECT_FALSE(ring.isAnimating());
    EXPECT_NEAR(shownBy(ring), 80.0, 1e-9);
    GaugeBar bar({0, 0, 100, 10});
    EXPECT_FALSE(bar.eases());
    EXPECT_FALSE(bar.wantsLayer());
    bar.setPercent(80.0);
    EXPECT_FALSE(bar.isAnimating());
    EXPECT_NEAR(shownBy(bar), 80.0, 1e-9);
}

TEST_F(EasedValues, RunToTheNewFigureOfARing) {
    GaugeCircleChart ring({0, 0, 100, 100});
    expectEasing(ring, 0.0);
}

TEST_F(EasedValues, RunToTheNewFigureOfABar) {
    GaugeBar bar({0, 0, 100, 10});
    expectEasing(bar, 50.0);
}

TEST_F(EasedValues, GoOnFromWhatIsShownWhenTheFigureChangesOnTheWay) {
    CircleChart ring({0, 0, 100, 100});
    ring.setEases(true);
    ring.setPercent(80.0);
    advance(0.1);
    const double shown = shownBy(ring);
    ring.setPercent(20.0);
    EXPECT_NEAR(shownBy(ring), shown, 1e-9);
    advance(1.0);
    EXPECT_NEAR(shownBy(ring), 20.0, 1e-9);
}

TEST_F(EasedValues, EndAtAFigureThatChangedTooLittleToBeDrawnAnew) {
    CircleChart ring({0, 0, 100, 100});
    ring.setEases(true);
    ring.setPercent(80.0);
    advance(0.1);
    ring.setPercent(80.4);
    advance(1.0);
    EXPECT_NEAR(shownBy(ring), 80.4, 1e-9);
}

TEST_F(EasedValues, ShowAtOnceWhatIsNotFiniteOrNoLongerEased) {
    CircleChart ring({0, 0, 100, 100});
    ring.setEases(true);
    ring.setPercent(80.0);
    advance(0.1);
    ring.setPercent(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(shownBy(ring), 0.0);
    ring.setPercent(50.0);
    EXPECT_NEAR(shownBy(ring), 50.0, 1e-9);
    ring.setPercent(60.0);
    EXPECT_NEAR(shownBy(ring), 50.0, 1e-9);
    ring.setEases(false);
    EXPECT_TRUE(ring.needsDisplay());
    EXPECT_NEAR(shownBy(ring), 60.0, 1e-9);
    EXPECT_FALSE(ring.isAnimating());
}

} // namespace

} // namespace sentrel
