// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Card.h"

#include "examples/dashboard/Labels.h"
#include "examples/dashboard/RingPanel.h"
#include "examples/dashboard/Table.h"
#include "examples/dashboard/Texts.h"
#include "examples/dashboard/VolumePanel.h"

#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/system/Time.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/drawing/Path.h>

#include <string>
#include <utility>

namespace dashboard {

using namespace sentrel;

namespace {

constexpr double margin = 16;
constexpr double padding = 24;
constexpr Rect page = {0, 0, 680, 690};
constexpr double left = margin + padding;
constexpr double width = page.width - 2 * left;

// The frame of one of several columns.
Rect column(int index, int count, double y, double height) {
    const double columnWidth = (width - (count - 1) * padding) / count;
    return {left + index * (columnWidth + padding), y, columnWidth, height};
}

Rows networkRows(const Network& network) {
    const auto all = network.aggregated();
    Rows rows = {{"In", bpsStr(all->ibytesps())},
                 {"Out", bpsStr(all->obytesps())},
                 {"Peaks", bpsStr(all->peakibytesps()) + ", " + bpsStr(all->peakobytesps())}};
    for (const auto& [device, interface] : network.interfaces())
        rows.emplace_back(interface->name() + " " + device, interface->ipaddr());
    rows.emplace_back("Router", network.router().value_or("none"));
    rows.emplace_back("DNS", network.dns().value_or("none"));
    return rows;
}

Rows batteryRows(const Battery& battery) {
    if (!showsBattery(battery))
        return {{"State", batteryText(battery)}};
    return {{"State", batteryText(battery)},
            {"Remaining", battery.timeRemaining()},
            {"Health", std::to_string(battery.health()) + " %, " + std::to_string(battery.cycleCount()) + " cycles"},
            {"Power", toStr(battery.watts()) + " W"}};
}

Rows busiestRows(const Applications& apps) {
    Rows rows;
    for (const auto& process : apps.cpu())
        rows.emplace_back(process->name(), percentText(process->cpu()));
    return rows;
}

Rows largestRows(const Applications& apps) {
    Rows rows;
    for (const auto& process : apps.mem())
        rows.emplace_back(process->name(), byteStr(process->mem()));
    return rows;
}

} // namespace

struct Card::Parts {
    std::shared_ptr<TextField> headline;
    std::shared_ptr<TextField> remark;
    std::shared_ptr<RingPanel> processor = std::make_shared<RingPanel>(column(0, 2, 100, 170), "Processor");
    std::shared_ptr<RingPanel> memory = std::make_shared<RingPanel>(column(1, 2, 100, 170), "Memory");
    std::shared_ptr<VolumePanel> volumes = std::make_shared<VolumePanel>(column(0, 2, 290, 216), "Volumes");
    std::shared_ptr<TablePanel> network = std::make_shared<TablePanel>(column(1, 2, 290, 216), "Network");
    std::shared_ptr<TablePanel> battery = std::make_shared<TablePanel>(column(0, 3, 526, 130), "Battery");
    std::shared_ptr<TablePanel> busiest = std::make_shared<TablePanel>(column(1, 3, 526, 130), "Busiest applications");
    std::shared_ptr<TablePanel> largest = std::make_shared<TablePanel>(column(2, 3, 526, 130), "Largest applications");
};

Card::Card(const System& system) : View(page), system_(system), parts_(std::make_unique<Parts>()) {
    parts_->headline = addLabel(*this, {left, margin + 18, width, 26}, LabelStyle::headline);
    parts_->remark = addLabel(*this, {left, margin + 44, width, 20}, LabelStyle::remark);
    for (const std::shared_ptr<View>& panel : std::initializer_list<std::shared_ptr<View>>{
             parts_->processor, parts_->memory, parts_->volumes, parts_->network, parts_->battery, parts_->busiest,
             parts_->largest})
        addSubview(panel);
}

Card::~Card() = default;

void Card::refresh() {
    const CPU& cpu = system_.cpu();
    const Memory& memory = system_.mem();
    parts_->headline->setStringValue(cpu.brand());
    parts_->remark->setStringValue(std::to_string(cpu.logicalCores()) + " cores, up " + Time::uptime(cpu.uptime()) +
                                   ", thermal state " + thermalStateName(cpu.thermalState()));
    parts_->processor->show(cpu.usage(), {{"User", percentText(cpu.user())},
                                          {"System", percentText(cpu.sys())},
                                          {"Idle", percentText(cpu.idle())},
                                          {"Load", toStr(cpu.loadavg()[0])},
                                          {"Threads", std::to_string(cpu.threads())}});
    parts_->memory->show(memory.usage(), {{"Wired", byteStr(memory.wired())},
                                          {"Active", byteStr(memory.active())},
                                          {"Compressed", byteStr(memory.compressed())},
                                          {"Free", byteStr(memory.free())},
                                          {"Swap", swapText(memory)}});
    parts_->volumes->show(sortedVolumes(system_.disk()));
    parts_->network->show(networkRows(system_.net()));
    parts_->battery->show(batteryRows(system_.battery()));
    parts_->busiest->show(busiestRows(system_.apps()));
    parts_->largest->show(largestRows(system_.apps()));
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
