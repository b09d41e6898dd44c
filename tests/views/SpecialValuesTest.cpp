// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"
#include "tests/views/support/Image.h"

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/views/Circle.h>
#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/FUIFont.h>
#include <SentrelKit/views/FUIIndicator.h>
#include <SentrelKit/views/FUILink.h>
#include <SentrelKit/views/GaugeBar.h>
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/HorizontalLine.h>
#include <SentrelKit/views/LineChart.h>
#include <SentrelKit/views/PieChart.h>
#include <SentrelKit/views/Square.h>
#include <SentrelKit/views/Thermometer.h>
#include <SentrelKit/views/Triangle.h>
#include <SentrelKit/views/layers/Layer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace sentrel {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double largest = std::numeric_limits<double>::max();
constexpr double tiny = std::numeric_limits<double>::denorm_min();

constexpr std::array specials{0.0,    -0.0, tiny, -tiny, 1e-9,  -1e-9, 0.5,      1.0,      42.0,      -20.0, 150.0,
                              32.767, 1e6,  -1e6, 1e18,  -1e18, 1e308, -largest, infinity, -infinity, nan};

constexpr Rect frame{0, 0, 64, 64};

// What the thread has computed so far, in seconds: other programs do not make it longer.
double computed() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

std::vector<unsigned char> pictureOf(View& view) {
    const Image image(64, 64);
    view.display(*image.canvas(), 0.0);
    EXPECT_TRUE(image.isIntact());
    return image.bytes();
}

// Whether two pictures show the same: edges that are drawn once or twice differ by a shade.
testing::AssertionResult alike(const std::vector<unsigned char>& one, const std::vector<unsigned char>& other) {
    int most = 0;
    for (std::size_t i = 0; i < one.size(); ++i)
        most = std::max(most, std::abs(one[i] - other[i]));
    return (most <= 24 ? testing::AssertionSuccess() : testing::AssertionFailure()) << "differ by " << most;
}

std::size_t mostElements(const RecordingCanvas& canvas) {
    std::size_t most = 0;
    for (const auto& fill : canvas.all<RecordingCanvas::Fill>())
        most = std::max(most, fill.path.cgPath().elementCount());
    for (const auto& stroke : canvas.all<RecordingCanvas::Stroke>())
        most = std::max(most, stroke.path.cgPath().elementCount());
    return most;
}

struct Subject {
    std::string name;
    std::function<std::shared_ptr<View>(double, double)> make;
};

template <class Kind>
void addFrames(std::vector<Subject>& subjects, const std::string& name) {
    subjects.push_back({name + " of a size", [](double a, double b) {
                            return std::make_shared<Kind>(Rect{0, 0, a, b});
                        }});
    subjects.push_back({name + " at a place", [](double a, double b) {
                            return std::make_shared<Kind>(Rect{a, b, 64, 64});
                        }});
    subjects.push_back({name + " as far left as it is wide", [](double a, double b) {
                            return std::make_shared<Kind>(Rect{-a / 2.0, 0, a, b});
                        }});
}

template <class Kind>
void addShape(
    std::vector<Subject>& subjects, const std::string& name,
    const std::function<void(Kind&, double)>& set = [](Kind&, double) {}) {
    addFrames<Kind>(subjects, name);
    for (const bool fill : {true, false})
        subjects.push_back({name, [fill, set](double a, double b) {
                                auto shape = std::make_shared<Kind>(frame);
                                shape->setFill(fill);
                                shape->setFlip(fill);
                                shape->setLineWidth(a);
                                set(*shape, b);
                                return shape;
                            }});
}

template <class Kind>
void addValue(std::vector<Subject>& subjects, const std::string& name) {
    subjects.push_back({name + "'s value", [](double a, double b) {
                            auto chart = std::make_shared<Kind>(frame);
                            chart->setLineWidth(b);
                            chart->setPercent(a);
                            return chart;
                        }});
    subjects.push_back({name + "'s width", [](double a, double b) {
                            auto chart = std::make_shared<Kind>(Rect{0, 0, b, 64});
                            chart->setPercent(a);
                            return chart;
                        }});
}

std::vector<Subject> everySubject() {
    std::vector<Subject> subjects;
    addFrames<CircleChart>(subjects, "CircleChart");
    addValue<CircleChart>(subjects, "CircleChart");
    addFrames<GaugeCircleChart>(subjects, "GaugeCircleChart");
    addValue<GaugeCircleChart>(subjects, "GaugeCircleChart");
    addShape<Triangle>(subjects, "Triangle");
    addShape<Circle>(subjects, "Circle");
    addShape<Square>(subjects, "Square", [](Square& square, double radius) { square.setCornerRadius(radius); });
    addShape<HorizontalLine>(subjects, "HorizontalLine", [](HorizontalLine& line, double) { line.setRounded(true); });
    addShape<Bar>(subjects, "Bar", [](Bar& bar, double percent) { bar.setPercent(percent); });
    addValue<Bar>(subjects, "Bar");
    addShape<GaugeBar>(subjects, "GaugeBar", [](GaugeBar& bar, double percent) { bar.setPercent(percent); });
    addFrames<LineChart>(subjects, "LineChart");
    addFrames<PieChart>(subjects, "PieChart");
    addFrames<Thermometer>(subjects, "Thermometer");
    addFrames<FUIIndicator>(subjects, "FUIIndicator");
    addFrames<FUIButton>(subjects, "FUIButton");
    addFrames<FUILink>(subjects, "FUILink");
    subjects.push_back({"PieChart of two amounts", [](double a, double b) {
                            auto pie = std::make_shared<PieChart>(frame);
                            pie->setColorPoints(std::vector{FUIColor::carrot(), FUIColor::silver()});
                            pie->setDataPoints({a, b});
                            return pie;
                        }});
    subjects.push_back({"PieChart whose amounts nearly cancel", [](double a, double b) {
                            auto pie = std::make_shared<PieChart>(frame);
                            pie->setColorPoints(std::vector(4, FUIColor::carrot()));
                            pie->setDataPoints({a / 3.0, b / 3.0, -(a + b) / 3.0, tiny});
                            return pie;
                        }});
    subjects.push_back({"FUIButton that fades", [](double a, double b) {
                            auto button = std::make_shared<FUIButton>(frame);
                            button->setBorderRadius(a);
                            button->aimateBackgroundColor({b, b, b, b});
                            return button;
                        }});
    subjects.push_back({"TextField", [](double a, double b) {
                            auto label = std::make_shared<TextField>(Rect{0, 0, b, 64});
                            label->setStringValue("42%");
                            label->setFont(FUIFont::normal(a));
                            label->setAlignment(TextAlignment::right);
                            return label;
                        }});
    subjects.push_back({"TextField as far left as it is wide", [](double a, double b) {
                            auto label = std::make_shared<TextField>(Rect{-a / 2.0, -b / 2.0, a, b});
                            label->setStringValue("42%");
                            return label;
                        }});
    subjects.push_back({"Layer that turns", [](double a, double b) {
                            auto view = std::make_shared<View>(frame);
                            view->setWantsLayer(true);
                            view->layer()->setBackgroundColor(FUIColor::carrot());
                            view->layer()->setAnchorPoint({b, 0.5});
                            BasicAnimation turn;
                            turn.keyPath = "transform";
                            turn.fromValue = Rotation{a, b};
                            turn.toValue = Rotation{b, a};
                            turn.beginTime = a;
                            turn.duration = b;
                            turn.timingFunction = TimingFunction(a, b, b, a);
                            view->layer()->addAnimation(turn, "turn");
                            return view;
                        }});
    for (const bool cut : {false, true})
        subjects.push_back({"arc", [cut](double a, double b) {
                                auto view = std::make_shared<View>(frame);
                                view->setWantsLayer(true);
                                auto layer = std::make_shared<ShapeLayer>();
                                Path arc;
                                arc.moveTo({32, 32});
                                arc.appendArc({32, 32}, 20.0, a, b);
                                if (cut)
                                    arc.setLineDash({std::abs(a), std::abs(b)}, a);
                                layer->setPath(cut ? arc.cgPath() : arc);
                                layer->setStrokeColor(FUIColor::carrot());
                                view->layer()->addSublayer(layer);
                                return view;
                            }});
    return subjects;
}

class SpecialValues : public LineDefaults {
protected:
    platform::ScriptedPlatform machine;
    platform::Override scope{machine};
};

// Angles of some 1e17 degrees never ended or overflowed the stack inside cairo, which halves a sweep until it is short.
TEST_F(SpecialValues, EveryComponentDrawsEveryPairOfThemInBoundedTime) {
    for (const Subject& subject : everySubject()) {
        for (const double a : specials) {
            for (const double b : specials) {
                SCOPED_TRACE(subject.name + " " + std::to_string(a) + " " + std::to_string(b));
                const std::shared_ptr<View> view = subject.make(a, b);
                View root(frame);
                root.addSubview(view);
                const Image image(64, 64);
                const double start = computed();
                RecordingCanvas recording;
                root.display(recording, 0.0);
                EXPECT_LE(mostElements(recording), 20U);
                const std::unique_ptr<Canvas> canvas = image.canvas();
                root.display(*canvas, 0.0);
                EXPECT_LT(computed() - start, 1.0);
                ASSERT_TRUE(image.isIntact());
                // What was drawn must not keep the next figure from being drawn.
                canvas->fill(Path::rect({0, 0, 64, 64}), FUIColor::white());
                EXPECT_EQ(image.bytes(), std::vector<unsigned char>(std::size_t{64} * 64 * 4, 255));
                reset();
            }
        }
    }
}

TEST_F(SpecialValues, ARingPastAHundredPercentIsAFullRing) {
    const auto ring = [](double percent) {
        CircleChart chart(frame);
        chart.setPercent(percent);
        return pictureOf(chart);
    };
    const auto full = ring(100.0);
    EXPECT_FALSE(alike(full, ring(99.0)));
    for (const double percent : {150.0, 1234.5, 1e15, 1e18, 1e300, 1e308, largest, infinity})
        EXPECT_TRUE(alike(full, ring(percent))) << percent;
    for (const double percent : {-1e18, -infinity, nan})
        EXPECT_TRUE(alike(ring(0.0), ring(percent))) << percent;
}

TEST_F(SpecialValues, ABarOfWhatIsNotFiniteShowsItsTrackOnly) {
    const auto bar = [](double percent) {
        Bar view(frame);
        view.setRounded(false);
        view.setColor(FUIColor::carrot());
        view.setPercent(percent);
        return pictureOf(view);
    };
    Path track = Path::line({0, 31}, {64, 31});
    track.setLineWidth(2.0);
    const Image image(64, 64);
    const std::unique_ptr<Canvas> canvas = image.canvas();
    canvas->concat({1, 0, 0, -1, 0, 64});
    canvas->stroke(track, FUIColor::carrot(0.2));
    for (const double percent : {infinity, -infinity, nan})
        EXPECT_TRUE(alike(bar(percent), image.bytes())) << percent;
    EXPECT_FALSE(alike(bar(1e9), image.bytes()));
}

// Sums that only rounding keeps from 0: each of these hung or ended the process.
TEST_F(SpecialValues, APieWhoseAmountsNearlyCancelShowsFullDiscs) {
    const auto pie = [](const std::vector<double>& amounts) {
        PieChart chart(frame);
        chart.setColorPoints(std::vector(amounts.size(), FUIColor::white()));
        chart.setDataPoints(amounts);
        return pictureOf(chart);
    };
    const auto disc = pie({1.0});
    EXPECT_GT(std::ranges::count(disc, 255), 4 * 3000); // 32² π pixels of 4 bytes, without the edge
    for (const auto& amounts :
         std::vector<std::vector<double>>{{33.3, 66.6, -99.9}, {1.1, 2.2, -3.3}, {0.1, 0.2, -0.3}}) {
        auto discs = pie(amounts); // one over the other, which makes their edges denser
        for (std::size_t i = 0; i < disc.size(); ++i)
            if (disc[i] > 0 && disc[i] < 255)
                discs[i] = disc[i];
        EXPECT_TRUE(alike(discs, disc));
    }
}

} // namespace

} // namespace sentrel
