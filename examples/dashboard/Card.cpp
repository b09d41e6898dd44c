#include "Card.h"

#include "RingPanel.h"
#include "Texts.h"

#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/system/Time.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/FUIFont.h>
#include <SentrelKit/views/Path.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/canvas/Canvas.h>

#include <cstdio>
#include <string>

namespace dashboard {

using namespace sentrel;

namespace {

constexpr double margin = 16;
constexpr double padding = 24;
constexpr Rect page = {0, 0, 640, 316};

std::shared_ptr<TextField> addLabel(View& view, Rect frame, std::optional<Font> font, Color color) {
    auto label = std::make_shared<TextField>(frame);
    label->setFont(std::move(font));
    label->setTextColor(color);
    view.addSubview(label);
    return label;
}

std::string percentText(double percent) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %%", percent);
    return text;
}

} // namespace

struct Card::Parts {
    std::shared_ptr<TextField> title;
    std::shared_ptr<TextField> subtitle;
    std::shared_ptr<RingPanel> processor;
    std::shared_ptr<RingPanel> memory;
};

Card::Card(const System& system) : View(page), system_(system), parts_(std::make_unique<Parts>()) {
    const double left = margin + padding;
    const double width = page.width - 2 * left;
    parts_->title = addLabel(*this, {left, margin + 18, width, 26}, FUIFont::bold(20), FUIColor::midnightBlue());
    parts_->subtitle = addLabel(*this, {left, margin + 44, width, 20}, FUIFont::normal(12), FUIColor::asbestos());
    const double panel = (width - padding) / 2;
    parts_->processor = std::make_shared<RingPanel>(Rect{left, margin + 84, panel, 176}, "Processor");
    parts_->memory = std::make_shared<RingPanel>(Rect{left + panel + padding, margin + 84, panel, 176}, "Memory");
    addSubview(parts_->processor);
    addSubview(parts_->memory);
}

Card::~Card() = default;

void Card::refresh() {
    const CPU& cpu = system_.cpu();
    const Memory& memory = system_.mem();
    parts_->title->setStringValue(cpu.brand());
    parts_->subtitle->setStringValue(std::to_string(cpu.logicalCores()) + " cores, up " + Time::uptime(cpu.uptime()) +
                                     ", thermal state " + thermalStateName(cpu.thermalState()));
    const auto averages = cpu.loadavg();
    parts_->processor->show(cpu.usage(), {{"User", percentText(cpu.user())},
                                          {"System", percentText(cpu.sys())},
                                          {"Idle", percentText(cpu.idle())},
                                          {"Load", toStr(averages[0])},
                                          {"Threads", std::to_string(cpu.threads())}});
    parts_->memory->show(memory.usage(), {{"Wired", byteStr(memory.wired())},
                                          {"Active", byteStr(memory.active())},
                                          {"Compressed", byteStr(memory.compressed())},
                                          {"Free", byteStr(memory.free())},
                                          {"Swap", swapText(memory)}});
}

void Card::drawRect(Canvas& canvas, Rect rect) {
    canvas.fill(Path::rect(rect), FUIColor::clouds());
    const Rect card = rect.inset(margin);
    // A soft shadow: a few translucent outlines, each a little larger and lower.
    for (int i = 3; i > 0; --i)
        canvas.fill(
            Path::roundedRect({card.x - i, card.y - i + 2, card.width + 2 * i, card.height + 2 * i}, 10 + i, 10 + i),
            FUIColor::midnightBlue(0.03));
    canvas.fill(Path::roundedRect(card, 10, 10), FUIColor::white());
}

} // namespace dashboard
