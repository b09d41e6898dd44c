// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/FUIFont.h>
#include <SentrelKit/views/Glyph.h>
#include <SentrelKit/views/drawing/cairo/CairoCanvas.h>

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr Color ink{0.0, 0.0, 0.0, 1.0};

// A transparent image of 40 by 40 pixels and its context.
class CairoCanvases : public LineDefaults {
protected:
    CairoCanvases()
        : surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 40, 40)), context(cairo_create(surface)) {}
    ~CairoCanvases() override {
        cairo_destroy(context);
        cairo_surface_destroy(surface);
    }

    [[nodiscard]] int alphaAt(int x, int y) const {
        cairo_surface_flush(surface);
        return cairo_image_surface_get_data(surface)[y * cairo_image_surface_get_stride(surface) + x * 4 + 3];
    }

    // The sum of all coverage, in pixels.
    [[nodiscard]] double inked() const {
        double sum = 0.0;
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 40; ++x)
                sum += alphaAt(x, y) / 255.0;
        return sum;
    }

    // The rows that carry ink, and their weight above the middle row.
    [[nodiscard]] double inkedAbove(int row) const {
        double sum = 0.0;
        for (int y = 0; y < row; ++y)
            for (int x = 0; x < 40; ++x)
                sum += alphaAt(x, y) / 255.0;
        return sum;
    }

    void clear() {
        cairo_save(context);
        cairo_set_operator(context, CAIRO_OPERATOR_CLEAR);
        cairo_paint(context);
        cairo_restore(context);
    }

    void expectAlive(CairoCanvas& canvas) {
        EXPECT_EQ(cairo_status(context), CAIRO_STATUS_SUCCESS);
        clear();
        canvas.fill(Path::rect({10, 10, 10, 10}), ink);
        EXPECT_NEAR(inked(), 100.0, 0.01);
        clear();
    }

    cairo_surface_t* surface;
    cairo_t* context;
};

TEST_F(CairoCanvases, FillsStrokesAndClips) {
    CairoCanvas canvas(context);
    canvas.fill(Path::rect({10, 10, 10, 10}), ink);
    EXPECT_NEAR(inked(), 100.0, 0.01);
    clear();
    Path line = Path::line({0, 20}, {40, 20});
    line.setLineWidth(2.0);
    canvas.stroke(line, ink);
    EXPECT_NEAR(inked(), 80.0, 0.01);
    EXPECT_EQ(alphaAt(5, 19), 255);
    EXPECT_EQ(alphaAt(5, 18), 0);
    clear();
    canvas.save();
    canvas.clip(Path::rect({0, 0, 10, 40}));
    canvas.stroke(line, ink);
    canvas.restore();
    EXPECT_NEAR(inked(), 20.0, 0.01);
}

TEST_F(CairoCanvases, DrawsNothingUnderAnEmptyClip) {
    CairoCanvas canvas(context);
    canvas.save();
    canvas.clip(Path::rect({0, 0, 0, 40}));
    canvas.fill(Path::rect({0, 0, 40, 40}), ink);
    canvas.restore();
    EXPECT_EQ(inked(), 0.0);
    expectAlive(canvas);
}

TEST_F(CairoCanvases, DropsWhatIsNotFiniteAndHarmsNothingAfterIt) {
    CairoCanvas canvas(context);
    for (const double odd : {nan, infinity, -infinity}) {
        Path curve;
        curve.moveTo({0, 0});
        curve.curveTo({1, 1}, {odd, 2}, {3, 3});
        Path arc;
        arc.appendArc({20, 20}, 10, 0, odd);
        Path round;
        round.appendArc({20, 20}, odd, 0, 90);
        Path wide = Path::line({0, 0}, {40, 40});
        wide.setLineWidth(odd);
        Path dashed = Path::line({0, 0}, {40, 40});
        dashed.setMiterLimit(odd);
        const LinearGradient gradient{{0, odd}, {1, 0}, {ink, ink}};
        const std::function<void()> draws[] = {
            [&] {
                canvas.fill(Path::rect({odd, 0, 10, 10}), ink);
            },
            [&] {
                canvas.stroke(Path::line({0, odd}, {10, 10}), ink);
            },
            [&] { canvas.fill(curve, ink); },
            [&] { canvas.stroke(arc, ink); },
            [&] { canvas.stroke(round, ink); },
            [&] { canvas.stroke(wide, ink); },
            [&] { canvas.stroke(dashed, ink); },
            [&] {
                canvas.fill(Path::rect({0, 0, 10, 10}), Color{odd, 0, 0, 1});
            },
            [&] {
                canvas.fill(Path::rect({0, 0, 10, 10}), gradient);
            },
            [&] {
                canvas.fill(Path::rect({0, 0, 10, 10}), LinearGradient{});
            },
            [&] {
                canvas.drawText("x", *FUIFont::normal(12), ink, {odd, 0, 10, 10}, TextAlignment::left);
            },
            [&] {
                canvas.drawText("x", *FUIFont::normal(odd), ink, {0, 0, 10, 10}, TextAlignment::left);
            },
        };
        for (const auto& draw : draws) {
            draw();
            EXPECT_EQ(inked(), 0.0);
            expectAlive(canvas);
        }
    }
}

TEST_F(CairoCanvases, DrawsNothingUnderATransformThatFlattensOrIsNotFinite) {
    CairoCanvas canvas(context);
    for (const Transform& odd :
         {Transform::scale(0, 1), Transform::scale(nan, 1), Transform::translation(infinity, 0),
          Transform::translation(1e300, 0), Transform{1, 1, 1, 1, 0, 0}, Transform::scale(1e200, 1e200)}) {
        canvas.save();
        canvas.concat(odd);
        canvas.concat(Transform::translation(1, 1));
        canvas.save();
        canvas.clip(Path::rect({0, 0, 40, 40}));
        canvas.fill(Path::rect({0, 0, 40, 40}), ink);
        canvas.drawText("x", *FUIFont::normal(12), ink, {0, 0, 10, 10}, TextAlignment::left);
        canvas.restore();
        canvas.restore();
        EXPECT_EQ(inked(), 0.0);
        expectAlive(canvas);
    }
}

TEST_F(CairoCanvases, HoldsFarCoordinatesToTheEdgeOfItsRange) {
    CairoCanvas canvas(context);
    Path line = Path::line({0, 20}, {1.0e12, 20});
    line.setLineWidth(2.0);
    canvas.stroke(line, ink);
    EXPECT_NEAR(inked(), 80.0, 0.01);
    clear();
    Path back = Path::line({1.0e300, 20}, {-1.0e300, 20});
    back.setLineWidth(2.0);
    canvas.stroke(back, ink);
    EXPECT_NEAR(inked(), 80.0, 0.01);
    clear();
    Path wide = Path::line({0, 20}, {40, 20});
    wide.setLineWidth(1.0e300);
    canvas.stroke(wide, ink);
    EXPECT_NEAR(inked(), 1600.0, 0.01);
    expectAlive(canvas);
}

TEST_F(CairoCanvases, SweepsAnArcAsItIsGiven) {
    CairoCanvas canvas(context);
    const auto ring = [&](double start, double end) {
        clear();
        Path arc;
        arc.appendArc({20, 20}, 14, start, end);
        arc.setLineWidth(4.0);
        canvas.stroke(arc, ink);
        return inked();
    };
    const double turn = 2 * M_PI * 14 * 4;
    EXPECT_NEAR(ring(270, 360), turn / 4, 1.0);
    EXPECT_EQ(alphaAt(30, 10), 255); // from the top clockwise, y growing downward
    EXPECT_NEAR(ring(270, 180), turn / 4, 1.0);
    EXPECT_EQ(alphaAt(10, 10), 255);         // backwards
    EXPECT_NEAR(ring(270, -270), turn, 3.0); // more than a turn backwards
    EXPECT_NEAR(ring(0, 360), turn, 3.0);
    EXPECT_NEAR(ring(0, 540), turn, 3.0);
    EXPECT_NEAR(ring(0, 1.0e15), turn, 3.0);
    EXPECT_NEAR(ring(0, 0), 0.0, 0.01);
    Path none;
    none.appendArc({20, 20}, -5, 0, 360);
    clear();
    canvas.stroke(none, ink);
    EXPECT_EQ(inked(), 0.0);
}

TEST_F(CairoCanvases, DrawsAStrokeOfNoWidthAsThinAsItCan) {
    for (const double scale : {1.0, 2.0}) {
        clear();
        cairo_save(context);
        cairo_scale(context, scale, scale);
        {
            CairoCanvas canvas(context);
            Path line = Path::line({0, 10.25}, {40, 10.25});
            line.setLineWidth(0.0);
            canvas.stroke(line, ink);
        }
        cairo_restore(context);
        EXPECT_NEAR(inked(), 40.0, 0.5) << scale;
    }
}

TEST_F(CairoCanvases, DashesLinesAndTakesAnUnusablePatternForASolidLine) {
    CairoCanvas canvas(context);
    Path line = Path::line({0, 20}, {40, 20});
    line.setLineWidth(2.0);
    line.setLineDash({5, 5}, 0);
    canvas.stroke(line, ink);
    EXPECT_NEAR(inked(), 40.0, 0.01);
    EXPECT_EQ(alphaAt(7, 20), 0);
    for (const std::vector<double>& pattern :
         {std::vector<double>{0, 0}, {-1, 5}, {nan}, {1e-300, 1e-300}, {infinity}}) {
        clear();
        line.setLineDash(pattern, 0);
        canvas.stroke(line, ink);
        EXPECT_NEAR(inked(), 80.0, 0.01);
    }
    clear();
    line.setLineDash({5, 5}, nan);
    canvas.stroke(line, ink);
    EXPECT_NEAR(inked(), 80.0, 0.01);
    expectAlive(canvas);
}

// What the thread has computed so far, in seconds: other programs do not make it longer.
double computed() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

Path upAndDown(int lines, double step) {
    Path path;
    path.moveTo({2, 20});
    for (int i = 1; i <= lines; ++i)
        path.lineTo({2 + i * step, 20.0 + (i % 2 ? 1.0 : -1.0) * (i % 13)});
    path.setLineWidth(4.0);
    path.setLineCapStyle(LineCap::round);
    path.setLineJoinStyle(LineJoin::round);
    return path;
}

TEST_F(CairoCanvases, ShowsALongLineThatItDrawsInPiecesLikeOneInOnePiece) {
    const auto rowsOf = [&](double alpha) {
        clear();
        CairoCanvas canvas(context);
        canvas.stroke(upAndDown(1024, 36.0 / 1024.0), Color{0.0, 0.0, 0.0, alpha});
        std::vector<int> alphas;
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 40; ++x)
                alphas.push_back(alphaAt(x, y));
        return alphas;
    };
    const std::vector<int> inPieces = rowsOf(1.0);
    const std::vector<int> whole = rowsOf(0.9999); // see-through, if by less than a shade
    // An edge that lies twice, where two pieces meet, is up to a quarter denser.
    for (std::size_t i = 0; i < whole.size(); ++i)
        EXPECT_NEAR(inPieces[i], whole[i], 64) << i % 40 << ' ' << i / 40;
    EXPECT_GT(std::ranges::count(whole, 255), 100);
}

// It took minutes.
TEST_F(CairoCanvases, DrawsManyLinesOverEachOtherInBoundedTime) {
    CairoCanvas canvas(context);
    const double start = computed();
    canvas.stroke(upAndDown(20000, 36.0 / 20000.0), ink);
    EXPECT_LT(computed() - start, 2.0);
    EXPECT_GT(inked(), 500.0);
}

TEST_F(CairoCanvases, TellsWhereItsPixelsLie) {
    cairo_scale(context, 1.5, 1.5);
    cairo_surface_set_device_scale(surface, 2.0, 2.0);
    cairo_surface_set_device_offset(surface, 3.0, 4.0);
    {
        CairoCanvas canvas(context);
        canvas.concat(Transform::translation(10, 20));
        EXPECT_EQ(canvas.toPixels(), (Transform{3.0, 0.0, 0.0, 3.0, 33.0, 64.0}));
        canvas.concat(Transform::scale(0, 1));
        EXPECT_EQ(canvas.toPixels(), std::nullopt);
    }
    cairo_surface_t* recording = cairo_recording_surface_create(CAIRO_CONTENT_COLOR_ALPHA, nullptr);
    cairo_t* later = cairo_create(recording);
    EXPECT_EQ(CairoCanvas(later).toPixels(), std::nullopt);
    cairo_destroy(later);
    cairo_surface_destroy(recording);
}

TEST_F(CairoCanvases, SpreadsGradientsAtEqualDistances) {
    CairoCanvas canvas(context);
    canvas.fill(Path::rect({0, 0, 40, 40}),
                LinearGradient{{0, 0}, {40, 0}, {{0, 0, 0, 0}, {0, 0, 0, 1}, {0, 0, 0, 0.5}}});
    EXPECT_NEAR(alphaAt(10, 5), 134, 4);
    EXPECT_NEAR(alphaAt(20, 5), 252, 4);
    EXPECT_NEAR(alphaAt(39, 5), 129, 4);
    clear();
    canvas.fill(Path::rect({0, 0, 40, 40}), LinearGradient{{0, 0}, {40, 0}, {ink}});
    EXPECT_NEAR(inked(), 1600, 0.01);
}

TEST_F(CairoCanvases, StandsTextUprightWhicheverWayYGrows) {
    // The foot of the "L" is its lower half: most of its ink lies below the middle.
    for (const bool flipped : {false, true}) {
        clear();
        {
            CairoCanvas canvas(context);
            if (flipped)
                canvas.concat({1, 0, 0, -1, 0, 40});
            canvas.drawText("L", *FUIFont::bold(30), ink, {0, 0, 40, 40}, TextAlignment::center);
        }
        const double all = inked();
        EXPECT_GT(all, 50.0);
        EXPECT_LT(inkedAbove(20), 0.5 * all);
        EXPECT_GT(inkedAbove(20), 0.2 * all);
    }
}

TEST_F(CairoCanvases, AlignsTextInItsBox) {
    CairoCanvas canvas(context);
    const auto edges = [&](TextAlignment alignment) {
        clear();
        canvas.drawText("|", *FUIFont::bold(20), ink, {0, 0, 40, 40}, alignment);
        int left = 40;
        int right = -1;
        for (int x = 0; x < 40; ++x)
            for (int y = 0; y < 40; ++y)
                if (alphaAt(x, y) > 0) {
                    left = std::min(left, x);
                    right = std::max(right, x);
                }
        return std::pair(left, right);
    };
    EXPECT_LT(edges(TextAlignment::left).second, 10);
    EXPECT_NEAR(edges(TextAlignment::center).first, 19, 2);
    EXPECT_GT(edges(TextAlignment::right).first, 30);
}

// Digits stood 0.057 font sizes above the middle: 1.7 points at 30.
TEST_F(CairoCanvases, PutsTheMiddleOfDigitsInTheMiddleOfTheBox) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        for (const bool flipped : {false, true}) {
            clear();
            {
                CairoCanvas canvas(context);
                if (flipped)
                    canvas.concat({1, 0, 0, -1, 0, 40});
                canvas.concat(Transform::scale(scale, scale));
                canvas.drawText("1", *FUIFont::bold(30 / scale), ink, {0, 0, 40 / scale, 40 / scale},
                                TextAlignment::center);
            }
            int top = 0;
            while (top < 40 && inkedAbove(top + 1) < 1.0)
                ++top;
            int bottom = 40;
            while (bottom > 0 && inked() - inkedAbove(bottom - 1) < 1.0)
                --bottom;
            EXPECT_NEAR((top + bottom) / 2.0, 20.0, 0.75) << scale; // the font renderer may round to whole pixels
            EXPECT_NEAR(bottom - top, 0.72 * 30, 1.5) << scale;
        }
    }
}

TEST_F(CairoCanvases, LeavesNothingOfALineOutsideABoxOfItsHeight) {
    const Font font = *FUIFont::normal(20);
    const Size size = textSize("gj1", font);
    CairoCanvas canvas(context);
    const auto drawnWithin = [&](Rect room) {
        clear();
        const CanvasState state(canvas);
        canvas.clip(Path::rect(room));
        canvas.drawText("gj1", font, ink, {4, 10, size.width, size.height}, TextAlignment::left);
        return inked();
    };
    EXPECT_NEAR(drawnWithin({0, 10, 40, size.height}), drawnWithin({0, 0, 40, 40}), 1.0);
}

TEST_F(CairoCanvases, EndsTextThatIsWiderThanItsBoxInAnEllipsis) {
    const Font font = *FUIFont::normal(12);
    const auto drawnIn = [&](const std::string& text, Rect box) {
        clear();
        CairoCanvas canvas(context);
        canvas.drawText(text, font, ink, box, TextAlignment::left);
        return inked();
    };
    const std::string word = "thermometer";
    std::size_t kept = word.size();
    while (kept > 0 && textSize(word.substr(0, kept) + "…", font).width > 38)
        --kept;
    ASSERT_GT(kept, 2U);
    const Rect box{0, 0, 38, 40};
    EXPECT_NEAR(drawnIn(word, box), drawnIn(word.substr(0, kept), box) + drawnIn("…", box), 1.0);
    EXPECT_EQ(drawnIn(word, {0, 0, 4, 40}), 0.0); // not even the ellipsis
    EXPECT_EQ(drawnIn(word, {0, 0, -4, 40}), 0.0);
}

TEST_F(CairoCanvases, KeepsTextWholeInABoxOfItsWidthAtEveryScale) {
    const Font font = *FUIFont::normal(7);
    const std::string text = "13.7 °C";
    const double width = textSize(text, font).width;
    for (const double scale : {0.5, 0.75, 1.0, 1.1, 1.25, 1.5, 1.75, 2.0, 3.0}) {
        cairo_save(context);
        cairo_scale(context, scale, scale);
        const auto drawnIn = [&](double room) {
            clear();
            CairoCanvas canvas(context);
            canvas.drawText(text, font, ink, {0, 0, room, 12}, TextAlignment::left);
            return inked();
        };
        EXPECT_EQ(drawnIn(width), drawnIn(width + 10.0)) << scale;
        cairo_restore(context);
    }
}

TEST_F(CairoCanvases, LeavesNoInkForCharactersThatNoFontHas) {
    CairoCanvas canvas(context);
    canvas.drawText(std::string(Glyph::cloud), *FUIFont::normal(20), ink, {0, 0, 40, 40}, TextAlignment::center);
    EXPECT_EQ(inked(), 0.0);
}

// A symbol font that happens to be installed has pictures of its own at those places, as DejaVu Sans has at this one.
TEST_F(CairoCanvases, LeavesNoInkForPrivateCharactersThatOnlyAnotherFontHas) {
    CairoCanvas canvas(context);
    for (const char* character : {"\xEF\x90\x80", "\xEF\x9B\x85"}) {
        canvas.drawText(character, *FUIFont::normal(20), ink, {0, 0, 40, 40}, TextAlignment::center);
        EXPECT_EQ(inked(), 0.0) << character;
    }
    canvas.drawText("\xEF\x90\x80x", *FUIFont::normal(20), ink, {0, 0, 40, 40}, TextAlignment::center);
    EXPECT_GT(inked(), 0.0) << "what stands beside it";
}

// The font renderer fails for sizes that it rounds to nothing, and that stops cairo for good.
TEST_F(CairoCanvases, DrawsNoTextOfSizesThatCannotBeShown) {
    for (const double scale : {1.0, 1.0e-6, 1.0e6}) {
        for (const double size : {-1.0, 0.0, 1.0e-300, 1.0e-9, 0.0001, 1.0e5, 1.0e9, 1.0e300}) {
            {
                CairoCanvas canvas(context);
                canvas.concat(Transform::scale(scale, scale));
                canvas.drawText("x", *FUIFont::normal(size), ink, {0, 0, 40, 40}, TextAlignment::left);
            }
            EXPECT_EQ(inked(), 0.0) << size << " at " << scale;
            CairoCanvas canvas(context);
            expectAlive(canvas);
        }
    }
}

// Found by fuzzing: a box with a number stood for an unknown character, at a size that the font renderer refused.
TEST_F(CairoCanvases, DrawsUnknownCharactersUnderLargeTransforms) {
    for (const double scale : {1.0, 10.0, 100.0, 562.0, 10000.0}) {
        CairoCanvas canvas(context);
        canvas.save();
        canvas.concat(Transform::scale(scale, scale));
        canvas.drawText("a\x01\xFF\xEF\xBF\xBF\xF3\xA0\x80\x81", *FUIFont::normal(1000.0 / scale), ink, {0, 0, 40, 40},
                        TextAlignment::left);
        canvas.restore();
        expectAlive(canvas);
    }
}

TEST_F(CairoCanvases, TakesAnyBytesForText) {
    CairoCanvas canvas(context);
    for (const std::string& text : {std::string("\xff\xfe"), std::string("a\0b", 3), std::string("\n\r\t"),
                                    std::string("\xE2\x80\xAE right to left"), std::string(100000, 'x')})
        canvas.drawText(text, *FUIFont::normal(10), ink, {0, 0, 40, 40}, TextAlignment::left);
    expectAlive(canvas);
}

TEST_F(CairoCanvases, LeavesTheContextAsItWas) {
    cairo_matrix_t before;
    cairo_get_matrix(context, &before);
    cairo_set_line_width(context, 7.0);
    {
        CairoCanvas canvas(context);
        canvas.restore(); // one too many
        canvas.save();
        canvas.save();
        canvas.concat(Transform::scale(2, 2));
        canvas.clip(Path::rect({0, 0, 1, 1}));
        Path line = Path::line({0, 0}, {1, 1});
        line.setLineWidth(3.0);
        canvas.stroke(line, ink);
    }
    cairo_matrix_t after;
    cairo_get_matrix(context, &after);
    EXPECT_EQ(before.xx, after.xx);
    EXPECT_EQ(cairo_get_line_width(context), 7.0);
    EXPECT_EQ(cairo_status(context), CAIRO_STATUS_SUCCESS);
    double x = 0, y = 0, right = 0, bottom = 0;
    cairo_clip_extents(context, &x, &y, &right, &bottom);
    EXPECT_EQ(right, 40.0);
}

} // namespace

} // namespace sentrel
