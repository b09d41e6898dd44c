// SPDX-License-Identifier: Apache-2.0
// Draws every component on a light and on a dark sheet, side by side, and writes them as a picture: PNG, SVG or PDF by
// the name's ending.
//
//     gallery docs/gallery.png

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
#include <SentrelKit/views/drawing/Picture.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace sentrel;

namespace {

constexpr double margin = 24.0;
constexpr double gap = 20.0;
constexpr double column = 344.0;
constexpr double sheetWidth = 2 * margin + 2 * column + gap;
constexpr double sheetHeight = 1390.0;

// What is drawn in which colour that is not the components' own.
struct Theme {
    Appearance appearance;
    Color ground;
    Color card;
    Color strong; // figures
    Color soft;   // titles and names
    Color faint;  // what is said beside
    Color rest;   // of a whole
};

Theme light() {
    return {Appearance::light,    FUIColor::clouds(),   FUIColor::white(), FUIColor::wetAsphalt(),
            FUIColor::asbestos(), FUIColor::concrete(), FUIColor::clouds()};
}

Theme dark() {
    return {Appearance::dark,         FUIColor::midnightBlue().blendedColor(0.45, FUIColor::black()),
            FUIColor::midnightBlue(), FUIColor::clouds(),
            FUIColor::silver(),       FUIColor::concrete(),
            FUIColor::asbestos()};
}

// A sheet of a theme. Its coordinates start at the upper left.
class Sheet : public View {
public:
    Sheet(Rect frame, const Theme& theme) : View(frame), theme_(theme) { setAppearance(theme.appearance); }
    [[nodiscard]] const Theme& theme() const { return theme_; }
    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override { canvas.fill(Path::rect(rect), theme_.ground); }

private:
    Theme theme_;
};

template <class Kind>
std::shared_ptr<Kind> put(View& sheet, Rect frame) {
    auto view = std::make_shared<Kind>(frame);
    sheet.addSubview(view);
    return view;
}

std::shared_ptr<TextField> write(View& sheet, Rect frame, std::string_view text, std::optional<Font> font, Color color,
                                 TextAlignment alignment = TextAlignment::left) {
    auto label = put<TextField>(sheet, frame);
    label->setStringValue(text);
    label->setFont(std::move(font));
    label->setTextColor(color);
    label->setAlignment(alignment);
    return label;
}

// A card with its title. Returns the room left on it.
Rect card(Sheet& sheet, Rect frame, std::string_view title) {
    auto ground = put<Square>(sheet, frame);
    ground->setColor(sheet.theme().card);
    ground->setCornerRadius(8.0);
    write(sheet, {frame.x + 16, frame.y + 10, frame.width - 32, 20}, title, FUIFont::bold(13), sheet.theme().soft);
    return {frame.x + 16, frame.y + 40, frame.width - 32, frame.height - 56};
}

void addRings(Sheet& sheet, Rect frame) {
    const Rect room = card(sheet, frame, "Circle charts");
    constexpr std::array<std::pair<const char*, double>, 5> readings{
        {{"Processor", 42.0}, {"Memory", 85.0}, {"Disk", 96.0}, {"Battery", 7.0}, {"Swap", 0.0}}};
    const double step = room.width / readings.size();
    for (std::size_t i = 0; i < readings.size(); ++i) {
        const Rect place{room.x + static_cast<double>(i) * step + (step - 104.0) / 2.0, room.y, 104.0, 104.0};
        auto ring = put<GaugeCircleChart>(sheet, place);
        ring->setLineWidth(8.0);
        const auto value = write(sheet, place, "0%", FUIFont::black(22), sheet.theme().strong, TextAlignment::center);
        ring->setMyLabel(value);
        ring->setPercent(readings[i].second);
        write(sheet, {place.x, place.y + 106.0, place.width, 20.0}, readings[i].first, FUIFont::normal(13),
              sheet.theme().faint, TextAlignment::center);
    }
}

void addThermometers(Sheet& sheet, Rect frame) {
    const Rect room = card(sheet, frame, "Thermometer");
    constexpr std::array<std::pair<const char*, ThermalState>, 4> states{{{"nominal", ThermalState::nominal},
                                                                          {"fair", ThermalState::fair},
                                                                          {"serious", ThermalState::serious},
                                                                          {"critical", ThermalState::critical}}};
    for (std::size_t i = 0; i < states.size(); ++i) {
        const double x = room.x + 20.0 + static_cast<double>(i % 2) * (room.width / 2.0);
        const double y = room.y - 6.0 + static_cast<double>(i / 2) * 74.0;
        auto thermometer = put<Thermometer>(sheet, {x, y, 116.0, 48.0});
        thermometer->setScalesToFit(true);
        thermometer->setIndicatorColor(sheet.theme().strong);
        thermometer->setValue(states[i].second);
        write(sheet, {x, y + 51.0, 116.0, 18.0}, states[i].first, FUIFont::normal(12), sheet.theme().faint,
              TextAlignment::center);
    }
}

void addLineChart(Sheet& sheet, Rect frame) {
    auto chart = put<LineChart>(sheet, frame);
    chart->setDataPoints({12, 18, 9, 26, 31, 22, 40, 35, 52, 47, 64, 58});
    chart->setGradient(true);
    const auto title = write(sheet, {frame.x + 20, frame.y + 16, frame.width - 40, 24}, "Line chart", FUIFont::bold(13),
                             FUIColor::white());
    title->setAlignment(TextAlignment::left);
    write(sheet, {frame.x + 20, frame.y + 14, frame.width - 40, 28}, "58 MB/s", FUIFont::black(20), FUIColor::white(),
          TextAlignment::right);
    write(sheet, {frame.x + 20, frame.y + frame.height - 38, frame.width - 40, 20}, "the last twelve minutes",
          FUIFont::light(13), FUIColor::white());
}

void addSparklines(Sheet& sheet, Rect frame) {
    const Rect room = card(sheet, frame, "Sparklines");
    struct History {
        const char* name;
        const char* now;
        Color color;
        std::vector<std::int64_t> samples;
    };
    const std::vector<History> histories{
        {"Processor", "42%", FUIColor::emerald(), {12, 18, 9, 26, 31, 22, 40, 35, 52, 47, 64, 42}},
        {"Received", "5.8 MB/s", FUIColor::peterRiver(), {1, 2, 1, 30, 44, 47, 45, 12, 3, 2, 26, 58}},
        {"Sent", "0 B/s", FUIColor::amethyst(), {3, 9, 4, 2, 8, 3, 1, 0, 0, 0, 0, 0}}};
    double y = room.y - 4.0;
    for (const History& history : histories) {
        write(sheet, {room.x, y, 90.0, 32.0}, history.name, FUIFont::normal(13), sheet.theme().soft);
        auto line = put<LineChart>(sheet, {room.x + 90.0, y, room.width - 180.0, 32.0});
        line->setSparkline(true);
        line->setGradient(true);
        line->setBackground(history.color);
        line->setDataPoints(history.samples);
        write(sheet, {room.x, y, room.width, 32.0}, history.now, FUIFont::bold(13), sheet.theme().strong,
              TextAlignment::right);
        y += 43.0;
    }
}

void addPieChart(Sheet& sheet, Rect frame) {
    const Rect room = card(sheet, frame, "Pie chart");
    const std::array<std::pair<const char*, double>, 4> parts{
        {{"Applications", 6.2}, {"System", 3.1}, {"Compressed", 1.4}, {"Free", 5.3}}};
    const std::vector<Color> colors{FUIColor::peterRiver(), FUIColor::amethyst(), FUIColor::sunflower(),
                                    sheet.theme().rest};
    auto pie = put<PieChart>(sheet, {room.x, room.y + 8.0, 160.0, 160.0});
    pie->setColorPoints(colors);
    std::vector<double> amounts;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        amounts.push_back(parts[i].second);
        const double y = room.y + 26.0 + static_cast<double>(i) * 32.0;
        put<Circle>(sheet, {room.x + 184.0, y + 5.0, 10.0, 10.0})->setColor(colors[i]);
        write(sheet, {room.x + 202.0, y, 110.0, 20.0}, parts[i].first, FUIFont::normal(13), sheet.theme().soft);
    }
    pie->setDataPoints(amounts);
}

void addBars(Sheet& sheet, Rect frame) {
    const Rect room = card(sheet, frame, "Bars and gauge bars");
    constexpr std::array<std::pair<const char*, double>, 4> volumes{
        {{"Archive", 34.0}, {"Home", 78.0}, {"Photos", 95.0}, {"Root", 99.5}}};
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        const double y = room.y + static_cast<double>(i) * 36.0;
        auto bar = put<GaugeBar>(sheet, {room.x, y + 18.0, room.width, 12.0});
        bar->setLineWidth(6.0);
        bar->setPercent(volumes[i].second);
        write(sheet, {room.x, y, room.width, 18.0}, volumes[i].first, FUIFont::normal(13), sheet.theme().soft);
        write(sheet, {room.x, y, room.width, 18.0}, *bar->accessibilityValue(), FUIFont::bold(13), sheet.theme().strong,
              TextAlignment::right);
    }
    auto plain = put<Bar>(sheet, {room.x, room.y + 4.0 * 36.0 + 18.0, room.width, 12.0});
    plain->setLineWidth(6.0);
    plain->setPercent(61.0);
    write(sheet, {room.x, room.y + 4.0 * 36.0, room.width, 18.0}, "Plain bar", FUIFont::normal(13), sheet.theme().soft);
}

void addShapes(Sheet& sheet, Rect frame) {
    const Rect room = card(sheet, frame, "Shapes");
    const auto show = [&](auto shape, int place, bool fill, Color color) {
        shape->setFrame({room.x + 8.0 + place % 4 * 78.0, room.y + place / 4 * 62.0, 48.0, 48.0});
        shape->setFill(fill);
        shape->setLineWidth(4.0);
        shape->setColor(color);
        sheet.addSubview(shape);
    };
    for (const bool fill : {true, false}) {
        const int row = fill ? 0 : 4;
        show(std::make_shared<Triangle>(), row, fill, FUIColor::carrot());
        show(std::make_shared<Circle>(), row + 1, fill, FUIColor::nephritis());
        auto square = std::make_shared<Square>();
        square->setCornerRadius(10.0);
        show(square, row + 2, fill, FUIColor::wisteria());
    }
    auto flipped = std::make_shared<Triangle>();
    flipped->setFlip(true);
    show(flipped, 3, true, FUIColor::pomegranate());
    auto line = std::make_shared<HorizontalLine>();
    line->setRounded(true);
    show(line, 7, true, FUIColor::belizeHole());
}

void addControls(Sheet& sheet, Rect frame) {
    const Rect room = card(sheet, frame, "Flat controls");
    const std::array<const char*, 3> titles{"Resting", "Hovered", "Pressed"};
    const MouseEvent event;
    for (std::size_t i = 0; i < titles.size(); ++i) {
        auto button = put<FUIButton>(sheet, {room.x + static_cast<double>(i) * 106.0, room.y, 98.0, 34.0});
        const auto title =
            write(*button, button->bounds(), titles[i], FUIFont::bold(13), FUIColor::white(), TextAlignment::center);
        button->setTitle(title);
        if (i > 0)
            button->mouseEntered(event);
        if (i > 1)
            button->mouseDown(event);
    }
    for (const bool active : {true, false}) {
        auto light = put<FUIIndicator>(sheet, {room.x, room.y + (active ? 52.0 : 82.0), 18.0, 18.0});
        light->setActiveColor(FUIColor::emerald());
        light->setIsActive(active);
        write(sheet, {room.x + 28.0, room.y + (active ? 50.0 : 80.0), 90.0, 22.0}, active ? "Active" : "Inactive",
              FUIFont::normal(13), sheet.theme().soft);
    }
    auto link = put<FUILink>(sheet, {room.x + 130.0, room.y + 50.0, 180.0, 22.0});
    link->setStringValue("A link that is hovered");
    link->setUrl("https://example.org");
    link->setFont(FUIFont::normal(15));
    link->setHoverColor(FUIColor::peterRiver());
    link->mouseEntered(event);
}

void addFaces(Sheet& sheet, Rect frame) {
    const Rect room = card(sheet, frame, "Faces");
    const std::pair<const char*, std::optional<Font>> faces[] = {{"Light 27.4 GB free", FUIFont::light(19)},
                                                                 {"Normal 27.4 GB free", FUIFont::normal(19)},
                                                                 {"Italic 27.4 GB free", FUIFont::italic(19)},
                                                                 {"Bold 27.4 GB free", FUIFont::bold(19)},
                                                                 {"Black 27.4 GB free", FUIFont::black(19)}};
    double y = room.y - 6.0;
    for (const auto& [text, font] : faces) {
        write(sheet, {room.x, y, room.width, 24.0}, text, font, sheet.theme().strong);
        y += 25.0;
    }
}

void addPalette(Sheet& sheet, Rect frame) {
    const Rect room = card(sheet, frame, "Palette");
    const std::pair<const char*, Color> colors[] = {{"turquoise", FUIColor::turquoise()},
                                                    {"emerald", FUIColor::emerald()},
                                                    {"peterRiver", FUIColor::peterRiver()},
                                                    {"amethyst", FUIColor::amethyst()},
                                                    {"wetAsphalt", FUIColor::wetAsphalt()},
                                                    {"sunflower", FUIColor::sunflower()},
                                                    {"carrot", FUIColor::carrot()},
                                                    {"alizarin", FUIColor::alizarin()},
                                                    {"clouds", FUIColor::clouds()},
                                                    {"concrete", FUIColor::concrete()},
                                                    {"white", FUIColor::white()},
                                                    {"greenSea", FUIColor::greenSea()},
                                                    {"nephritis", FUIColor::nephritis()},
                                                    {"belizeHole", FUIColor::belizeHole()},
                                                    {"wisteria", FUIColor::wisteria()},
                                                    {"midnightBlue", FUIColor::midnightBlue()},
                                                    {"orange", FUIColor::orange()},
                                                    {"pumpkin", FUIColor::pumpkin()},
                                                    {"pomegranate", FUIColor::pomegranate()},
                                                    {"silver", FUIColor::silver()},
                                                    {"asbestos", FUIColor::asbestos()},
                                                    {"black", FUIColor::black()}};
    constexpr int inRow = 8;
    const double step = room.width / inRow;
    int place = 0;
    for (const auto& [name, color] : colors) {
        const double x = room.x + place % inRow * step;
        const double y = room.y + place / inRow * 58.0;
        auto swatch = put<Square>(sheet, {x, y, step - 8.0, 30.0});
        swatch->setCornerRadius(4.0);
        swatch->setColor(color);
        if (color == sheet.theme().card || color == FUIColor::white()) {
            auto edge = put<Square>(sheet, {x - 1.0, y - 1.0, step - 6.0, 32.0});
            edge->setFill(false);
            edge->setLineWidth(1.0);
            edge->setCornerRadius(4.0);
            edge->setColor(FUIColor::silver());
        }
        write(sheet, {x, y + 32.0, step - 8.0, 16.0}, name, FUIFont::normal(11), sheet.theme().soft,
              TextAlignment::center);
        ++place;
    }
}

void addAll(Sheet& sheet) {
    const bool isDark = sheet.theme().appearance == Appearance::dark;
    write(sheet, {margin, 14.0, 400.0, 44.0}, "SentrelKit", FUIFont::black(32), sheet.theme().strong);
    write(sheet, {margin, 14.0, sheetWidth - 2 * margin, 44.0}, isDark ? "on dark ground" : "every component, drawn",
          FUIFont::light(18), sheet.theme().soft, TextAlignment::right);

    const auto place = [](int across, double top, double height, int columns = 1) {
        return Rect{margin + across * (column + gap), top, columns * column + (columns - 1) * gap, height};
    };
    addRings(sheet, place(0, 70, 190, 2));
    addThermometers(sheet, place(0, 280, 200));
    addLineChart(sheet, place(1, 280, 200));
    addPieChart(sheet, place(0, 500, 240));
    addBars(sheet, place(1, 500, 240));
    addShapes(sheet, place(0, 760, 172));
    addSparklines(sheet, place(1, 760, 172));
    addControls(sheet, place(0, 952, 172));
    addFaces(sheet, place(1, 952, 172));
    addPalette(sheet, place(0, 1144, 222, 2));
}

bool endsWith(std::string_view text, std::string_view ending) {
    return text.size() >= ending.size() && text.substr(text.size() - ending.size()) == ending;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s PICTURE.png|.svg|.pdf\n", argv[0]);
        return 2;
    }
    const std::string path = argv[1];

    View both({0, 0, 2 * sheetWidth, sheetHeight});
    for (const Theme& theme : {light(), dark()}) {
        const double left = theme.appearance == Appearance::dark ? sheetWidth : 0.0;
        auto sheet = std::make_shared<Sheet>(Rect{left, 0, sheetWidth, sheetHeight}, theme);
        addAll(*sheet);
        both.addSubview(sheet);
    }

    // As bars leave it behind once one was drawn: rings look the same on both sheets.
    Path::setDefaultLineCapStyle(LineCap::round);
    const double settled = mediaTime() + 1.0; // when the needles and the buttons have come to rest
    const bool written = endsWith(path, ".svg")   ? renderSVG(both, path, settled)
                         : endsWith(path, ".pdf") ? renderPDF(both, path, settled)
                                                  : renderPNG(both, path, 2.0, settled);
    if (!written) {
        std::fputs("gallery: cannot write the picture\n", stderr);
        return 1;
    }
    return 0;
}
