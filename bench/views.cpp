// SPDX-License-Identifier: Apache-2.0
// Each component beside the same figure written directly in cairo, on the same kind of surface: a view should cost no
// more than 1.15 times the bare calls. Compare the two rows of a name.
//
// links: cairo pangocairo

#include <SentrelKit/views/Circle.h>
#include <SentrelKit/views/CircleChart.h>
#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/FUIFont.h>
#include <SentrelKit/views/FUIIndicator.h>
#include <SentrelKit/views/GaugeBar.h>
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/HorizontalLine.h>
#include <SentrelKit/views/LineChart.h>
#include <SentrelKit/views/PieChart.h>
#include <SentrelKit/views/Square.h>
#include <SentrelKit/views/Thermometer.h>
#include <SentrelKit/views/Triangle.h>
#include <SentrelKit/views/drawing/cairo/CairoCanvas.h>

#include <benchmark/benchmark.h>

#include <pango/pangocairo.h>

#include <cmath>

namespace {

using namespace sentrel;

constexpr int side = 96;

// A surface of one component's size with its context.
class Surface {
public:
    Surface()
        : surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, side, 2 * side)), context_(cairo_create(surface_)) {}
    ~Surface() {
        cairo_destroy(context_);
        cairo_surface_destroy(surface_);
    }
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    [[nodiscard]] cairo_t* context() const noexcept { return context_; }

private:
    cairo_surface_t* surface_;
    cairo_t* context_;
};

void measureView(benchmark::State& state, View& view) {
    const Surface surface;
    Path::setDefaultLineCapStyle(LineCap::butt); // as if no line or bar had been drawn before
    for (auto _ : state) {
        CairoCanvas canvas(surface.context());
        view.display(canvas, 1.0e9);
    }
    if (cairo_status(surface.context()) != CAIRO_STATUS_SUCCESS)
        state.SkipWithError("cairo stopped drawing");
}

template <class Draw>
void measureCairo(benchmark::State& state, Draw draw) {
    const Surface surface;
    for (auto _ : state)
        draw(surface.context());
    if (cairo_status(surface.context()) != CAIRO_STATUS_SUCCESS)
        state.SkipWithError("cairo stopped drawing");
}

void setSource(cairo_t* cr, double r, double g, double b, double a = 1.0) {
    cairo_set_source_rgba(cr, r / 255.0, g / 255.0, b / 255.0, a);
}

// Where a view has its origin: at the upper left if it is flipped.
enum class Origin { upperLeft, lowerLeft };

// What every view does around its drawing, for a scope.
class Frame {
public:
    Frame(cairo_t* cr, Origin origin) : cr_(cr) {
        cairo_save(cr_);
        if (origin == Origin::lowerLeft) {
            cairo_translate(cr_, 0, side);
            cairo_scale(cr_, 1, -1);
        }
        cairo_rectangle(cr_, 0, 0, side, side);
        cairo_clip(cr_);
    }
    ~Frame() { cairo_restore(cr_); }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

private:
    cairo_t* cr_;
};

void roundedRect(cairo_t* cr, double x, double y, double w, double h, double r) {
    cairo_new_sub_path(cr);
    cairo_arc(cr, x + w - r, y + r, r, -M_PI / 2, 0);
    cairo_arc(cr, x + w - r, y + h - r, r, 0, M_PI / 2);
    cairo_arc(cr, x + r, y + h - r, r, M_PI / 2, M_PI);
    cairo_arc(cr, x + r, y + r, r, M_PI, M_PI * 3 / 2);
    cairo_close_path(cr);
}

void drawRing(cairo_t* cr, double percent, double r, double g, double b) {
    const Frame frame(cr, Origin::upperLeft);
    cairo_set_line_width(cr, 4);
    cairo_arc(cr, 48, 48, 44, 0, 2 * M_PI);
    cairo_close_path(cr);
    setSource(cr, r, g, b, 0.2);
    cairo_stroke(cr);
    cairo_arc(cr, 48, 48, 44, -M_PI / 2, -M_PI / 2 + percent / 100 * 2 * M_PI);
    setSource(cr, r, g, b);
    cairo_stroke(cr);
}

void circleChartView(benchmark::State& state) {
    CircleChart chart({0, 0, side, side});
    chart.setPercent(42);
    measureView(state, chart);
}
void circleChartCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) { drawRing(cr, 42, 46, 204, 113); });
}

void gaugeCircleChartView(benchmark::State& state) {
    GaugeCircleChart chart({0, 0, side, side});
    chart.setPercent(85);
    measureView(state, chart);
}
void gaugeCircleChartCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) { drawRing(cr, 85, 241, 196, 15); });
}

void triangleView(benchmark::State& state) {
    Triangle triangle({0, 0, side, side});
    measureView(state, triangle);
}
void triangleCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) {
        const Frame frame(cr, Origin::lowerLeft);
        cairo_move_to(cr, 0, 0);
        cairo_line_to(cr, side / 2.0, side);
        cairo_line_to(cr, side, 0);
        cairo_close_path(cr);
        setSource(cr, 52, 152, 219);
        cairo_fill(cr);
    });
}

void circleView(benchmark::State& state) {
    Circle circle({0, 0, side, side});
    measureView(state, circle);
}
void circleCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) {
        const Frame frame(cr, Origin::lowerLeft);
        cairo_arc(cr, side / 2.0, side / 2.0, side / 2.0, 0, 2 * M_PI);
        setSource(cr, 52, 152, 219);
        cairo_fill(cr);
    });
}

void squareView(benchmark::State& state) {
    Square square({0, 0, side, side});
    square.setCornerRadius(8);
    measureView(state, square);
}
void squareCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) {
        const Frame frame(cr, Origin::lowerLeft);
        roundedRect(cr, 0, 0, side, side, 8);
        setSource(cr, 52, 152, 219);
        cairo_fill(cr);
    });
}

void horizontalLineView(benchmark::State& state) {
    HorizontalLine line({0, 0, side, side});
    line.setRounded(true);
    measureView(state, line);
}
void horizontalLineCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) {
        const Frame frame(cr, Origin::lowerLeft);
        cairo_set_line_width(cr, 2);
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
        cairo_move_to(cr, 0, 47);
        cairo_line_to(cr, side, 47);
        setSource(cr, 52, 152, 219);
        cairo_stroke(cr);
    });
}

void drawBar(cairo_t* cr, double percent, double r, double g, double b) {
    const Frame frame(cr, Origin::lowerLeft);
    cairo_set_line_width(cr, 2);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_move_to(cr, 0, 47);
    cairo_line_to(cr, side, 47);
    setSource(cr, r, g, b, 0.2);
    cairo_stroke(cr);
    cairo_move_to(cr, 0, 47);
    cairo_line_to(cr, side * percent / 100, 47);
    setSource(cr, r, g, b);
    cairo_stroke(cr);
}

void barView(benchmark::State& state) {
    Bar bar({0, 0, side, side});
    measureView(state, bar);
}
void barCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) { drawBar(cr, 50, 52, 152, 219); });
}

void gaugeBarView(benchmark::State& state) {
    GaugeBar bar({0, 0, side, side});
    bar.setPercent(95);
    measureView(state, bar);
}
void gaugeBarCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) { drawBar(cr, 95, 241, 196, 15); });
}

void lineChartView(benchmark::State& state) {
    LineChart chart({0, 0, side, 2 * side});
    measureView(state, chart);
}
void lineChartCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) {
        constexpr int height = 2 * side;
        constexpr int plot = height - 110;
        cairo_save(cr);
        cairo_rectangle(cr, 0, 0, side, height);
        cairo_clip(cr);
        roundedRect(cr, 0, 0, side, height, 8);
        cairo_clip_preserve(cr);
        setSource(cr, 26, 188, 156);
        cairo_fill(cr);
        const double dash[] = {5, 2};
        cairo_set_dash(cr, dash, 2, 0);
        cairo_set_line_width(cr, 1);
        for (const double y : {60.0, 60.0 + plot / 2.0, height - 50.0}) {
            cairo_move_to(cr, 20, y);
            cairo_line_to(cr, side - 20, y);
        }
        setSource(cr, 22, 160, 133, 0.6);
        cairo_stroke(cr);
        cairo_set_dash(cr, nullptr, 0, 0);
        cairo_set_line_width(cr, 4);
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
        cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
        double x = 22;
        for (const int sample : {4, 2, 6, 4, 5, 8, 1, 20, 3}) {
            cairo_line_to(cr, x, plot + 60 - sample / 20.0 * plot);
            x += (side - 44) / 8.0;
        }
        setSource(cr, 255, 255, 255);
        cairo_stroke(cr);
        cairo_restore(cr);
    });
}

// A long history, most of which shares its columns of pixels: each sample up and down, the worst case for a stroke.
void lineChartOfManySamplesView(benchmark::State& state) {
    std::vector<std::int64_t> samples;
    for (std::int64_t i = 0; i < state.range(0); ++i)
        samples.push_back(i * 7919 % 1000);
    LineChart chart({0, 0, side, 2 * side});
    chart.setDataPoints(std::move(samples));
    measureView(state, chart);
}

void pieChartView(benchmark::State& state) {
    PieChart chart({0, 0, side, side});
    chart.setColorPoints(std::vector<Color>{FUIColor::peterRiver(), FUIColor::sunflower(), FUIColor::alizarin()});
    chart.setDataPoints({1, 1, 2});
    measureView(state, chart);
}
void pieChartCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) {
        const Frame frame(cr, Origin::upperLeft);
        cairo_push_group(cr); // without seams
        cairo_set_operator(cr, CAIRO_OPERATOR_ADD);
        const auto sector = [cr](double from, double to, double r, double g, double b) {
            cairo_move_to(cr, side / 2.0, side / 2.0);
            cairo_arc(cr, side / 2.0, side / 2.0, side / 2.0, (from - 0.25) * 2 * M_PI, (to - 0.25) * 2 * M_PI);
            cairo_close_path(cr);
            setSource(cr, r, g, b);
            cairo_fill(cr);
        };
        sector(0, 0.25, 52, 152, 219);
        sector(0.25, 0.5, 241, 196, 15);
        sector(0.5, 1, 231, 76, 60);
        cairo_pop_group_to_source(cr);
        cairo_paint(cr);
    });
}

void thermometerView(benchmark::State& state) {
    Thermometer thermometer({0, 0, side, side});
    thermometer.setValue(ThermalState::fair);
    measureView(state, thermometer);
}
void thermometerCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) {
        const Frame frame(cr, Origin::lowerLeft);
        cairo_pattern_t* scale = cairo_pattern_create_linear(0, 0, side, 0);
        cairo_pattern_add_color_stop_rgba(scale, 0, 52 / 255.0, 152 / 255.0, 219 / 255.0, 1);
        cairo_pattern_add_color_stop_rgba(scale, 1, 231 / 255.0, 76 / 255.0, 60 / 255.0, 1);
        cairo_set_source(cr, scale);
        cairo_pattern_destroy(scale);
        cairo_set_line_width(cr, 2);
        cairo_arc(cr, side / 2.0, -4, side - 2, 0, 2 * M_PI);
        cairo_stroke(cr);
        cairo_translate(cr, side / 2.0, 2);
        cairo_rotate(cr, -1.8);
        cairo_translate(cr, -side / 2.0, -side / 2.0);
        cairo_move_to(cr, 15, side / 2.0 + 1);
        cairo_line_to(cr, side / 2.0 + 1, side / 2.0 + 2);
        cairo_line_to(cr, side / 2.0 + 1, side / 2.0 - 2);
        cairo_close_path(cr);
        setSource(cr, 255, 255, 255);
        cairo_fill(cr);
    });
}

void fuiIndicatorView(benchmark::State& state) {
    FUIIndicator light({0, 0, side, side});
    measureView(state, light);
}
void fuiIndicatorCairo(benchmark::State& state) {
    circleCairo(state);
}

void fuiButtonView(benchmark::State& state) {
    FUIButton button({0, 0, side, side});
    measureView(state, button);
}
void fuiButtonCairo(benchmark::State& state) {
    measureCairo(state, [](cairo_t* cr) {
        const Frame frame(cr, Origin::lowerLeft);
        roundedRect(cr, 0, 0, side, side, 4);
        setSource(cr, 26, 188, 156);
        cairo_fill(cr);
    });
}

void textFieldView(benchmark::State& state) {
    TextField label({0, 0, side, side});
    label.setFont(FUIFont::bold(22));
    label.setAlignment(TextAlignment::center);
    label.setStringValue("42%");
    measureView(state, label);
}
void textFieldCairo(benchmark::State& state) {
    PangoFontDescription* font = pango_font_description_from_string("Lato Bold");
    pango_font_description_set_absolute_size(font, 22 * PANGO_SCALE);
    measureCairo(state, [font](cairo_t* cr) {
        const Frame frame(cr, Origin::upperLeft);
        PangoLayout* layout = pango_cairo_create_layout(cr);
        pango_layout_set_font_description(layout, font);
        pango_layout_set_text(layout, "42%", -1);
        PangoRectangle logical;
        pango_layout_get_extents(layout, nullptr, &logical);
        cairo_move_to(cr, (side - static_cast<double>(logical.width) / PANGO_SCALE) / 2,
                      (side - static_cast<double>(logical.height) / PANGO_SCALE) / 2);
        setSource(cr, 0, 0, 0);
        pango_cairo_show_layout(cr, layout);
        g_object_unref(layout);
    });
    pango_font_description_free(font);
}

} // namespace

BENCHMARK(circleChartView);
BENCHMARK(circleChartCairo);
BENCHMARK(gaugeCircleChartView);
BENCHMARK(gaugeCircleChartCairo);
BENCHMARK(triangleView);
BENCHMARK(triangleCairo);
BENCHMARK(circleView);
BENCHMARK(circleCairo);
BENCHMARK(squareView);
BENCHMARK(squareCairo);
BENCHMARK(horizontalLineView);
BENCHMARK(horizontalLineCairo);
BENCHMARK(barView);
BENCHMARK(barCairo);
BENCHMARK(gaugeBarView);
BENCHMARK(gaugeBarCairo);
BENCHMARK(lineChartView);
BENCHMARK(lineChartCairo);
BENCHMARK(lineChartOfManySamplesView)->Arg(2000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK(pieChartView);
BENCHMARK(pieChartCairo);
BENCHMARK(thermometerView);
BENCHMARK(thermometerCairo);
BENCHMARK(fuiIndicatorView);
BENCHMARK(fuiIndicatorCairo);
BENCHMARK(fuiButtonView);
BENCHMARK(fuiButtonCairo);
BENCHMARK(textFieldView);
BENCHMARK(textFieldCairo);
