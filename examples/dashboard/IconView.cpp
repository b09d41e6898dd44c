// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/IconView.h"

#include "examples/dashboard/Style.h"
#include "tools/terminal/TerminalText.h"

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/FUIFont.h>

#include <array>
#include <cctype>
#include <utility>

namespace dashboard {

using namespace sentrel;

namespace {

// One character of UTF-8, or of nothing a dot.
std::string firstLetter(const std::string& name) {
    const std::string safe = terminal::plainText(name);
    if (safe.empty())
        return "·";
    std::size_t size = 1;
    while (size < safe.size() && (static_cast<unsigned char>(safe[size]) & 0xC0U) == 0x80U)
        ++size;
    std::string letter = safe.substr(0, size);
    if (size == 1)
        letter[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(letter[0])));
    return letter;
}

Color colorOf(const std::string& name) {
    static const std::array<Color, 6> colors = {FUIColor::belizeHole(), FUIColor::wisteria(), FUIColor::greenSea(),
                                                FUIColor::pumpkin(),    FUIColor::asbestos(), FUIColor::pomegranate()};
    std::size_t sum = 0;
    for (const char c : name)
        sum = sum * 31 + static_cast<unsigned char>(c);
    return colors.at(sum % colors.size());
}

} // namespace

IconView::IconView() : View({0, 0, side, side}) {}

void IconView::show(const std::string& name, const std::optional<Icon>& icon) {
    if (name == name_ && icon == icon_)
        return;
    name_ = name;
    icon_ = icon;
    setNeedsDisplay(true);
}

void IconView::setIsDrawnByHost(bool isDrawnByHost) {
    if (std::exchange(isDrawnByHost_, isDrawnByHost) != isDrawnByHost)
        setNeedsDisplay(true);
}

void IconView::drawRect(Canvas& canvas, Rect rect) {
    if (isDrawnByHost_)
        return;
    canvas.fill(Path::roundedRect(rect.inset(1), 5, 5), colorOf(name_));
    const auto bold = FUIFont::bold(12);
    canvas.drawText(firstLetter(name_), bold ? *bold : Font::systemFont(11), FUIColor::white(), rect,
                    TextAlignment::center);
}

} // namespace dashboard
