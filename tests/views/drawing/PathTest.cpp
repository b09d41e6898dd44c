// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"

#include <SentrelKit/views/drawing/Path.h>

#include <cmath>
#include <limits>

namespace sentrel {

namespace {

class Paths : public LineDefaults {};
using Kind = PathElement::Kind;

TEST_F(Paths, StartsWithTheProcessDefaults) {
    EXPECT_EQ(Path().lineWidth(), 1.0);
    EXPECT_EQ(Path().lineCapStyle(), LineCap::butt);
    EXPECT_EQ(Path().lineJoinStyle(), LineJoin::miter);
    EXPECT_EQ(Path().miterLimit(), 10.0);
    EXPECT_TRUE(Path().lineDash().empty());
    EXPECT_EQ(Path().lineDashPhase(), 0.0);
    Path::setDefaultLineWidth(3.5);
    Path::setDefaultLineCapStyle(LineCap::round);
    EXPECT_EQ(Path().lineWidth(), 3.5);
    EXPECT_EQ(Path().lineCapStyle(), LineCap::round);
}

TEST_F(Paths, ConvertsAnEmptyPathToAnEmptyPath) {
    EXPECT_TRUE(Path().cgPath().empty());
}

TEST_F(Paths, ConvertsItsElementsOneByOneAndInOrder) {
    Path path;
    path.moveTo({1, 2});
    path.lineTo({3, 4});
    path.curveTo({5, 6}, {7, 8}, {9, 10});
    path.close();
    const Path converted = path.cgPath();
    ASSERT_EQ(converted.elementCount(), 4U);
    const auto& elements = converted.elements();
    EXPECT_EQ(elements[0].kind, Kind::moveTo);
    EXPECT_EQ(elements[0].points[0], (Point{1, 2}));
    EXPECT_EQ(elements[1].kind, Kind::lineTo);
    EXPECT_EQ(elements[1].points[0], (Point{3, 4}));
    EXPECT_EQ(elements[2].kind, Kind::curveTo);
    EXPECT_EQ(elements[2].points, (std::array<Point, 3>{{{5, 6}, {7, 8}, {9, 10}}}));
    EXPECT_EQ(elements[3].kind, Kind::closePath);
}

TEST_F(Paths, NumbersItsElementsAsThePlatformDoes) {
    EXPECT_EQ(static_cast<int>(Kind::moveTo), 0);
    EXPECT_EQ(static_cast<int>(Kind::lineTo), 1);
    EXPECT_EQ(static_cast<int>(Kind::curveTo), 2);
    EXPECT_EQ(static_cast<int>(Kind::closePath), 3);
}

TEST_F(Paths, ConvertsAnElementOfAnUnknownKindToAMove) {
    Path path;
    path.append({static_cast<Kind>(77), {Point{1, 2}}});
    const Path converted = path.cgPath();
    ASSERT_EQ(converted.elementCount(), 1U);
    EXPECT_EQ(converted.elements()[0].kind, Kind::moveTo);
    EXPECT_EQ(converted.elements()[0].points[0], (Point{1, 2}));
}

TEST_F(Paths, KeepsItsStyleThroughTheConversion) {
    Path path;
    path.setLineWidth(7.0);
    path.setLineDash({1, 2}, 3);
    EXPECT_EQ(path.cgPath(), path);
}

// The points of an arc's curves against the circle itself.
TEST_F(Paths, ConvertsArcsToCurvesThatLieOnTheCircle) {
    for (const auto& [start, end] : {std::pair{0.0, 360.0}, {270.0, 300.0}, {10.0, -200.0}, {-30.0, 700.0}}) {
        Path path;
        path.appendArc({10, 20}, 100.0, start, end);
        const Path converted = path.cgPath();
        ASSERT_GE(converted.elementCount(), 2U);
        Point from = converted.elements()[0].points[0];
        EXPECT_EQ(converted.elements()[0].kind, Kind::moveTo);
        EXPECT_NEAR(from.x, 10 + 100 * std::cos(start * M_PI / 180), 1e-9);
        EXPECT_NEAR(from.y, 20 + 100 * std::sin(start * M_PI / 180), 1e-9);
        for (std::size_t i = 1; i < converted.elementCount(); ++i) {
            const PathElement& curve = converted.elements()[i];
            ASSERT_EQ(curve.kind, Kind::curveTo);
            for (const double t : {0.25, 0.5, 0.75, 1.0}) {
                const double u = 1 - t;
                const auto at = [&](double a, double b, double c, double d) {
                    return u * u * u * a + 3 * u * u * t * b + 3 * u * t * t * c + t * t * t * d;
                };
                const double x = at(from.x, curve.points[0].x, curve.points[1].x, curve.points[2].x);
                const double y = at(from.y, curve.points[0].y, curve.points[1].y, curve.points[2].y);
                EXPECT_NEAR(std::hypot(x - 10, y - 20), 100.0, 0.001);
            }
            from = curve.points[2];
        }
        EXPECT_NEAR(from.x, 10 + 100 * std::cos(end * M_PI / 180), 1e-9);
        EXPECT_NEAR(from.y, 20 + 100 * std::sin(end * M_PI / 180), 1e-9);
    }
}

TEST_F(Paths, LeadsALineToAnArcThatFollowsAPoint) {
    Path path;
    path.moveTo({0, 0});
    path.appendArc({0, 0}, 10.0, 0.0, 90.0);
    const Path converted = path.cgPath();
    EXPECT_EQ(converted.elements()[1].kind, Kind::lineTo);
    EXPECT_EQ(converted.elements()[1].points[0], (Point{10, 0}));
}

TEST_F(Paths, LaysOnlyTheLastTurnsOfAVeryLongArcDown) {
    Path path;
    path.appendArc({0, 0}, 10.0, 270.0, 270.0 + 1.0e9 + 90.0);
    const Path converted = path.cgPath();
    EXPECT_LE(converted.elementCount(), 18U);
    const Point end = converted.elements().back().points[2];
    EXPECT_NEAR(end.x, pointOnCircle({0, 0}, 10.0, 270.0 + 1.0e9 + 90.0).x, 1e-6);
}

TEST_F(Paths, BoundsAnArcToTwoTurnsThatStartAndEndWhereItDoes) {
    const double most = std::numeric_limits<double>::max();
    struct Case {
        double start, end;
        double boundedStart, boundedEnd;
    };
    for (const auto& [start, end, boundedStart, boundedEnd] : {Case{270, 300, 270, 300},
                                                               {270, 630, 270, 630},
                                                               {270, 810, 270, 810},
                                                               {270, 991, 270, 631},
                                                               {270, -90, 270, -90},
                                                               {270, -271, 270, -271},
                                                               {270, -1000, 270, -280},
                                                               {0, 0, 0, 0},
                                                               {810, 1200, 90, 480},
                                                               {-810, -1200, -90, -480},
                                                               {360e15, 360e15 + 64, 0, 64},
                                                               {-360e15, 360e15 + 64, 0, 424},
                                                               {360e15 + 64, -360e15, 64, -360}}) {
        const PathElement bounded = PathElement{PathElement::Kind::arc, {Point{}}, 10.0, start, end}.boundedArc();
        EXPECT_EQ(bounded.startAngle, boundedStart) << start << " to " << end;
        EXPECT_EQ(bounded.endAngle, boundedEnd) << start << " to " << end;
    }
    for (const auto& [start, end] : {std::pair{-most, most}, {most, -most}, {270.0, most}}) {
        const PathElement bounded = PathElement{PathElement::Kind::arc, {Point{}}, 10.0, start, end}.boundedArc();
        const double sweep = bounded.endAngle - bounded.startAngle;
        EXPECT_GE(std::abs(sweep), 360.0);
        EXPECT_LT(std::abs(sweep), 720.0);
        EXPECT_EQ(sweep < 0.0, end < start);
    }
    for (const auto& [start, end] : {std::pair{0.0, HUGE_VAL}, {-HUGE_VAL, 0.0}, {0.0, std::nan("")}})
        EXPECT_TRUE(std::isnan(PathElement{PathElement::Kind::arc, {Point{}}, 10.0, start, end}.boundedArc().endAngle));
}

TEST_F(Paths, DrawsNothingForADegenerateRectangle) {
    const double nan = std::nan("");
    for (const Rect rect : {Rect{0, 0, 0, 10}, Rect{0, 0, 10, -1}, Rect{0, 0, nan, 10}}) {
        EXPECT_TRUE(Path::ellipse(rect).empty());
        EXPECT_TRUE(Path::rect(rect).empty());
        EXPECT_TRUE(Path::roundedRect(rect, 3, 3).empty());
    }
}

TEST_F(Paths, HoldsCornerRadiiToHalfTheSides) {
    EXPECT_EQ(Path::roundedRect({0, 0, 30, 40}, 100, 100), Path::ellipse({0, 0, 30, 40}));
    EXPECT_EQ(Path::roundedRect({0, 0, 30, 40}, -5, -5), Path::rect({0, 0, 30, 40}));
    EXPECT_EQ(Path::ellipse({0, 0, 30, 40}).elementCount(), 6U);
    EXPECT_EQ(Path::rect({0, 0, 30, 40}).elementCount(), 5U);
    EXPECT_EQ(Path::roundedRect({0, 0, 30, 40}, 5, 5).elementCount(), 9U);
}

} // namespace

} // namespace sentrel
