// SPDX-License-Identifier: Apache-2.0
#pragma once

/// One sheet a component, with a cell for each of its states: what the golden pictures show and what the pixel check
/// measures. A sheet is white; its cells run from the upper left, row by row.

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/views/Bar.h>
#include <SentrelKit/views/Circle.h>
#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/FUIFont.h>
#include <SentrelKit/views/FUIIndicator.h>
#include <SentrelKit/views/FUILink.h>
#include <SentrelKit/views/GaugeBar.h>
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/Glyph.h>
#include <SentrelKit/views/HorizontalLine.h>
#include <SentrelKit/views/LineChart.h>
#include <SentrelKit/views/PieChart.h>
#include <SentrelKit/views/Square.h>
#include <SentrelKit/views/Thermometer.h>
#include <SentrelKit/views/Triangle.h>
#include <SentrelKit/views/drawing/Picture.h>

#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sentrel {

/// A white card that puts what is added to it into its next cell, 8 points off the cell's edges.
class Sheet : public View {
public:
    Sheet(int columns, int rows, Size cell)
        : View({0, 0, columns * cell.width, rows * cell.height}), columns_(columns), cell_(cell) {}

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override { canvas.fill(Path::rect(rect), FUIColor::white()); }

    template <class T>
    T& add(std::shared_ptr<T> view) {
        view->setFrame(nextCell());
        addSubview(view);
        return *view;
    }

    template <class T>
    T& add() {
        auto view = std::make_shared<T>(nextCell()); // some keep the size that they are made with
        addSubview(view);
        return *view;
    }

    Rect nextCell() {
        const int column = next_ % columns_;
        const int row = next_ / columns_;
        ++next_;
        return Rect{column * cell_.width, row * cell_.height, cell_.width, cell_.height}.inset(8.0);
    }

private:
    int columns_;
    Size cell_;
    int next_ = 0;
};

struct Specimen {
    std::string name;
    std::unique_ptr<View> sheet;
    double time = 0.0; ///< media time to draw it at
};

/// Draws a sheet as a program would that has drawn nothing before: without the line defaults that other sheets leave.
inline bool render(Specimen& specimen, const std::string& path, int scale) {
    Path::setDefaultLineCapStyle(LineCap::butt);
    Path::setDefaultLineWidth(1.0);
    return renderPNG(*specimen.sheet, path, scale, specimen.time);
}

/// Every sheet, made on a clock of its own.
class Specimens {
public:
    Specimens() {
        addCircleChart();
        addGaugeCircleChart();
        addShapes();
        addBar();
        addGaugeBar();
        addLineChart();
        addPieChart();
        addThermometer();
        addFlatControls();
        addTextField();
    }

    [[nodiscard]] std::vector<Specimen>& all() noexcept { return specimens_; }

    static inline const std::vector<double> values{
        0.0, 0.4, 0.6, 42.0, 99.6, 100.0, 150.0, -20.0, std::numeric_limits<double>::quiet_NaN()};

private:
    void keep(std::string name, std::unique_ptr<View> sheet) {
        specimens_.push_back({std::move(name), std::move(sheet), mediaTime()});
    }

    static std::shared_ptr<TextField> labelIn(View& sheet, Rect frame, std::optional<Font> font) {
        auto label = std::make_shared<TextField>(frame);
        label->setFont(std::move(font));
        label->setTextColor(FUIColor::wetAsphalt());
        label->setAlignment(TextAlignment::center);
        sheet.addSubview(label);
        return label;
    }

    template <class Chart>
    std::unique_ptr<Sheet> rings(const std::vector<double>& percents) {
        auto sheet = std::make_unique<Sheet>(9, 1, Size{80, 80});
        for (const double percent : percents) {
            Chart& chart = sheet->add<Chart>();
            chart.setLineWidth(8.0);
            chart.setMyLabel(labelIn(*sheet, chart.frame(), FUIFont::bold(15)));
            chart.setPercent(percent);
        }
        return sheet;
    }

    void addCircleChart() { keep("circle-chart", rings<CircleChart>(values)); }

    void addGaugeCircleChart() {
        keep("gauge-circle-chart", rings<GaugeCircleChart>({0.0, 42.0, 80.99, 81.0, 90.9, 91.0, 100.0, 150.0,
                                                            std::numeric_limits<double>::quiet_NaN()}));
    }

    void addShapes() {
        auto sheet = std::make_unique<Sheet>(6, 4, Size{64, 48});
        for (const bool flip : {false, true}) {
            const auto show = [&](auto shape, bool fill, Color color) {
                shape->setFlip(flip);
                shape->setFill(fill);
                shape->setColor(color);
                shape->setLineWidth(4.0);
                sheet->add(shape);
            };
            for (const bool fill : {true, false}) {
                show(std::make_shared<Triangle>(), fill, FUIColor::carrot());
                show(std::make_shared<Circle>(), fill, FUIColor::nephritis());
                auto square = std::make_shared<Square>();
                square->setCornerRadius(6.0);
                show(square, fill, FUIColor::amethyst());
            }
            for (const bool rounded : {false, true}) {
                auto line = std::make_shared<HorizontalLine>();
                line->setRounded(rounded);
                show(line, true, FUIColor::peterRiver());
            }
            show(std::make_shared<Square>(), true, FUIColor::silver());
            show(std::make_shared<Square>(), false, FUIColor::silver());
            sheet->nextCell();
            sheet->nextCell();
        }
        keep("shapes", std::move(sheet));
    }

    template <class Kind>
    std::unique_ptr<Sheet> bars(const std::vector<double>& percents) {
        auto sheet = std::make_unique<Sheet>(3, static_cast<int>(percents.size()), Size{136, 32});
        for (const double percent : percents) {
            for (const auto& [rounded, flip] : {std::pair{true, false}, {false, false}, {true, true}}) {
                Kind& bar = sheet->template add<Kind>();
                bar.setLineWidth(6.0);
                bar.setRounded(rounded);
                bar.setFlip(flip);
                bar.setPercent(percent);
            }
        }
        return sheet;
    }

    void addBar() { keep("bar", bars<Bar>(values)); }

    void addGaugeBar() {
        auto sheet = bars<GaugeBar>({42.0, 90.9, 91.0, 98.9, 99.0, 150.0, std::numeric_limits<double>::quiet_NaN()});
        keep("gauge-bar", std::move(sheet));
    }

    void addLineChart() {
        auto sheet = std::make_unique<Sheet>(3, 2, Size{240, 190});
        sheet->add<LineChart>();
        for (const auto& samples :
             std::vector<std::vector<std::int64_t>>{{5, 5, 5, 5}, {0, 0, 0}, {7}, {10, -3, 4, 0, 8}, {1, 100}})
            sheet->add<LineChart>().setDataPoints(samples);
        keep("line-chart", std::move(sheet));
    }

    void addPieChart() {
        auto sheet = std::make_unique<Sheet>(5, 1, Size{96, 96});
        const std::vector<Color> colors{FUIColor::peterRiver(), FUIColor::sunflower(), FUIColor::alizarin()};
        for (const auto& amounts :
             std::vector<std::vector<double>>{{1, 1, 2}, {0, 0, 0}, {1, 1}, {3, -1, 2}, {60, 30, 10}}) {
            PieChart& pie = sheet->add<PieChart>();
            pie.setColorPoints(colors);
            pie.setDataPoints(amounts);
        }
        keep("pie-chart", std::move(sheet));
    }

    void addThermometer() {
        auto sheet = std::make_unique<Sheet>(6, 1, Size{156, 80});
        const auto card = std::make_shared<Square>(sheet->bounds());
        card->setColor(FUIColor::wetAsphalt());
        sheet->addSubview(card);
        sheet->add<Thermometer>();
        for (const auto state :
             {ThermalState::nominal, ThermalState::fair, ThermalState::serious, ThermalState::critical})
            sheet->add<Thermometer>().setValue(state);
        Thermometer& moving = sheet->add<Thermometer>();
        machine_.advance(10.0);
        moving.setValue(ThermalState::nominal);
        machine_.advance(0.2);
        keep("thermometer", std::move(sheet));
    }

    void addFlatControls() {
        auto sheet = std::make_unique<Sheet>(4, 3, Size{120, 48});
        const MouseEvent event;
        for (int state = 0; state < 4; ++state) { // at rest, under the pointer, pressed, fading
            FUIButton& button = sheet->add<FUIButton>();
            if (state > 0)
                button.mouseEntered(event);
            if (state == 2)
                button.mouseDown(event);
            machine_.advance(state == 3 ? 0.0 : 1.0);
            button.setTitle(labelIn(button, button.bounds(), FUIFont::bold(14)));
            button.title()->setStringValue("Eject");
            button.title()->setTextColor(FUIColor::white());
        }
        for (int state = 0; state < 4; ++state) {
            FUILink& link = sheet->add<FUILink>();
            link.setStringValue("example.org");
            link.setFont(FUIFont::normal(14));
            link.setTextColor(FUIColor::asbestos());
            link.setHoverColor(FUIColor::peterRiver());
            link.setActiveColor(FUIColor::belizeHole());
            if (state > 0)
                link.mouseEntered(event);
            if (state == 2)
                link.mouseDown(event);
            if (state == 3)
                link.mouseExited(event);
        }
        for (const bool active : {false, true}) {
            FUIIndicator& light = sheet->add<FUIIndicator>();
            light.setFrame({light.frame().x, light.frame().y, light.frame().height, light.frame().height});
            light.setActiveColor(FUIColor::emerald());
            light.setIsActive(active);
        }
        machine_.advance(0.125);
        keep("flat-controls", std::move(sheet));
    }

    void addTextField() {
        auto sheet = std::make_unique<Sheet>(3, 3, Size{160, 48});
        const std::pair<std::optional<Font>, TextAlignment> styles[] = {
            {FUIFont::normal(18), TextAlignment::left},  {FUIFont::light(18), TextAlignment::center},
            {FUIFont::bold(18), TextAlignment::right},   {FUIFont::italic(18), TextAlignment::left},
            {FUIFont::black(18), TextAlignment::center}, {FUIFont::normal(30), TextAlignment::center}};
        for (const auto& [font, alignment] : styles) {
            TextField& label = sheet->add<TextField>();
            label.setStringValue("Größe 42%");
            label.setFont(font);
            label.setTextColor(FUIColor::midnightBlue());
            label.setAlignment(alignment);
        }
        TextField& icon = sheet->add<TextField>(); // leaves no ink where the icon font is missing
        icon.setFont(FUIFont::normal(18));
        icon.setStringValue("[" + std::string(Glyph::wifi) + "]");
        keep("text-field", std::move(sheet));
    }

    platform::ScriptedPlatform machine_;
    platform::Override scope_{machine_};
    std::vector<Specimen> specimens_;
};

} // namespace sentrel
