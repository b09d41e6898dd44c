// SPDX-License-Identifier: Apache-2.0
// Any property values (doubles of any bits, sizes, colours, texts) into every component, drawn on a small image: no
// crash, no cairo error, and a bound on the time of one drawing that the fuzzer's own timeout keeps.

#include <SentrelKit/views/Circle.h>
#include <SentrelKit/views/EventRouter.h>
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
#include <SentrelKit/views/detail/AddressSyntax.h>
#include <SentrelKit/views/drawing/cairo/CairoCanvas.h>

#include "tests/views/TextRendererSuppressions.h"

#include <cairo.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace sentrel;

// Values taken from the fuzzer's bytes; zeros when they run out.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

    [[nodiscard]] bool empty() const noexcept { return left_ == 0; }

    template <class T>
    T take() {
        T value{};
        const std::size_t size = std::min(sizeof value, left_);
        std::memcpy(&value, data_, size);
        data_ += size;
        left_ -= size;
        return value;
    }

    // Often a number that a drawing is likely to have, else any bits.
    double number() {
        const auto kind = take<std::uint8_t>();
        if (kind < 128)
            return take<std::int16_t>() / 16.0;
        return take<double>();
    }
    Rect rect() { return {number(), number(), number(), number()}; }
    Color color() { return {number(), number(), number(), number()}; }
    bool flag() { return (take<std::uint8_t>() & 1) != 0; }
    Point point() { return {number(), number()}; }
    std::string text() {
        std::string result(take<std::uint8_t>() % 32, '\0');
        for (char& character : result)
            character = take<char>();
        return result;
    }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

template <class Kind>
std::shared_ptr<Kind> shape(Bytes& bytes) {
    auto made = std::make_shared<Kind>(bytes.rect());
    made->setFill(bytes.flag());
    made->setFlip(bytes.flag());
    made->setLineWidth(bytes.number());
    made->setColor(bytes.color());
    return made;
}

template <class Kind>
std::shared_ptr<Kind> gauge(Bytes& bytes, std::shared_ptr<Kind> made) {
    made->setSuccess(bytes.number());
    made->setWarning(bytes.number());
    made->setDangerColor(bytes.color());
    made->setPercent(bytes.number());
    return made;
}

template <class Kind>
std::shared_ptr<Kind> label(Bytes& bytes) {
    auto made = std::make_shared<Kind>(bytes.rect());
    made->setStringValue(bytes.text());
    made->setFont(bytes.flag() ? FUIFont::normal(bytes.number()) : Font::systemFont(bytes.number()));
    made->setTextColor(bytes.color());
    made->setAlignment(static_cast<TextAlignment>(bytes.take<std::uint8_t>() % 3));
    return made;
}

std::shared_ptr<View> component(Bytes& bytes) {
    switch (bytes.take<std::uint8_t>() % 15) {
    case 0: {
        auto chart = std::make_shared<CircleChart>(bytes.rect());
        chart->setLineWidth(bytes.number());
        chart->setColor(bytes.color());
        chart->setPercent(bytes.number());
        return chart;
    }
    case 1: {
        auto chart = std::make_shared<GaugeCircleChart>(bytes.rect());
        chart->setLineWidth(bytes.number());
        return gauge(bytes, chart);
    }
    case 2:
        return shape<Triangle>(bytes);
    case 3:
        return shape<Circle>(bytes);
    case 4: {
        auto square = shape<Square>(bytes);
        square->setCornerRadius(bytes.number());
        return square;
    }
    case 5: {
        auto line = shape<HorizontalLine>(bytes);
        line->setRounded(bytes.flag());
        return line;
    }
    case 6: {
        auto bar = shape<Bar>(bytes);
        bar->setRounded(bytes.flag());
        bar->setPercent(bytes.number());
        return bar;
    }
    case 7:
        return gauge(bytes, shape<GaugeBar>(bytes));
    case 8: {
        auto thermometer = std::make_shared<Thermometer>(bytes.rect());
        thermometer->setIndicatorColor(bytes.color());
        thermometer->setValue(static_cast<ThermalState>(bytes.take<std::uint8_t>()));
        return thermometer;
    }
    case 9: {
        auto light = std::make_shared<FUIIndicator>(bytes.rect());
        light->setInactiveColor(bytes.color());
        return light;
    }
    case 10: {
        auto button = std::make_shared<FUIButton>(bytes.rect());
        button->setBorderRadius(bytes.number());
        button->setBackgroundColor(bytes.color());
        return button;
    }
    case 11: {
        auto chart = std::make_shared<LineChart>(bytes.rect());
        std::vector<std::int64_t> samples(bytes.take<std::uint8_t>());
        for (std::int64_t& sample : samples)
            sample = bytes.flag() ? bytes.take<std::int64_t>() : bytes.take<std::int8_t>();
        chart->setDataPoints(samples);
        return chart;
    }
    case 12: {
        auto chart = std::make_shared<PieChart>(bytes.rect());
        std::vector<double> amounts(bytes.take<std::uint8_t>() % 16);
        for (double& amount : amounts)
            amount = bytes.number();
        chart->setColorPoints(std::vector<Color>(amounts.size(), FUIColor::carrot()));
        chart->setDataPoints(amounts);
        return chart;
    }
    case 13:
        return label<FUILink>(bytes);
    default:
        return label<TextField>(bytes);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    View root({0, 0, 64, 64});
    for (int count = 0; count < 8 && !bytes.empty(); ++count)
        root.addSubview(component(bytes));
    EventRouter router(root);
    router.moved(bytes.point());
    router.pressed(bytes.point());
    router.released(bytes.point());
    router.pressed(bytes.point());
    router.cancel();
    const double scale = bytes.number();
    const double now = bytes.number();
    const std::string text = bytes.text();
    static_cast<void>(isAddress(text));
    static_cast<void>(Color::initWithHexString(text));

    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 64, 64);
    cairo_t* context = cairo_create(surface);
    {
        CairoCanvas canvas(context);
        canvas.concat(Transform::scale(scale, scale));
        root.display(canvas, now);
    }
    {
        CairoCanvas canvas(context);
        root.display(canvas, now);
    }
    // What was drawn must not keep the next figure from being drawn.
    if (cairo_status(context) != CAIRO_STATUS_SUCCESS || cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
        std::fprintf(stderr, "cairo: %s\n", cairo_status_to_string(cairo_status(context)));
        std::abort();
    }
    cairo_destroy(context);
    cairo_surface_destroy(surface);
    return 0;
}
