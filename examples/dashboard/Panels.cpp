// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Panels.h"

#include "examples/dashboard/Texts.h"

#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/views/FUIColor.h>

#include <cmath>
#include <cstdio>
#include <utility>

namespace dashboard {

using namespace sentrel;

namespace {

constexpr double besideRing = 18; // points between a ring and its rows

// A ring or a pie with rows beside it.
std::shared_ptr<Stack> addPictureRow(Panel& panel, const std::shared_ptr<View>& picture, Size size,
                                     const std::shared_ptr<View>& rows) {
    picture->setNaturalSize(size);
    const auto row = panel.add(makeRow(besideRing));
    row->add(picture);
    row->add(rows, 1);
    return row;
}

std::shared_ptr<InfoRow> addTo(Stack& column, const std::string& name) {
    return column.add(std::make_shared<InfoRow>(name));
}

std::string loadText(const CPU& cpu) {
    const auto averages = cpu.loadavg();
    return toStr(averages[0]) + "  " + toStr(averages[1]) + "  " + toStr(averages[2]);
}

} // namespace

// Processor.

namespace {

const Color userColor = FUIColor::peterRiver();
const Color systemColor = FUIColor::amethyst();

} // namespace

ProcessorPanel::ProcessorPanel(System& system)
    : Panel("Processor"), cpu_(system.cpu()), recording_(system, cpu_, [this] { return cpu_.usage() * 10; }) {
    setStretch(3);
    ring_ = makeRing("Processor load");
    const auto rows = makeColumn();
    user_ = addTo(*rows, "User");
    user_->setDot(userColor);
    system_ = addTo(*rows, "System");
    system_->setDot(systemColor);
    load_ = addTo(*rows, "Load");
    load_->setToolTip("Runnable threads over the last 1, 5 and 15 minutes");
    threads_ = addTo(*rows, "Threads");
    addPictureRow(*this, ring_, {ringSide, ringSide}, rows);
    split_ = add(std::make_shared<SplitBar>(std::vector<Color>{userColor, systemColor}));

    heat_ = std::make_shared<Thermometer>(Rect{0, 0, ringSide, 46});
    heat_->setScalesToFit(true);
    heat_->setIndicatorColor(FUIColor::concrete()); // shows on both grounds
    heat_->setAccessibilityName("Thermal state");
    const auto beside = makeColumn();
    heatRow_ = addTo(*beside, "Heat");
    uptime_ = addTo(*beside, "Up for");
    addPictureRow(*this, heat_, {ringSide, 46}, beside);

    chart_ = add(std::make_shared<HistoryCard>("Processor history"), 1);
}

bool ProcessorPanel::refresh() {
    note(std::to_string(cpu_.logicalCores()) + (cpu_.logicalCores() == 1 ? " core" : " cores"));
    showPercent(*ring_, cpu_.usage());
    user_->show(percentText(cpu_.user()));
    system_->show(percentText(cpu_.sys()));
    load_->show(loadText(cpu_));
    threads_->show(std::to_string(cpu_.threads()));
    split_->show({cpu_.user(), cpu_.sys()});
    heat_->setValue(cpu_.thermalState());
    heatRow_->setIsAlarming(cpu_.thermalState() >= ThermalState::serious);
    heatRow_->show(thermalStateName(cpu_.thermalState()));
    uptime_->show(durationText(cpu_.uptime()));
    chart_->show(recording_, "peak " + percentText(static_cast<double>(peakOf(recording_.points())) / 10));
    return true;
}

// Memory.

namespace {

struct Kind {
    const char* name;
    Color color;
};

const std::array<Kind, 4> memoryKinds = {{{"Wired", FUIColor::amethyst()},
                                          {"Active", FUIColor::peterRiver()},
                                          {"Compressed", FUIColor::sunflower()},
                                          {"Free", FUIColor::silver()}}};

} // namespace

MemoryPanel::MemoryPanel(System& system)
    : Panel("Memory"), memory_(system.mem()), recording_(system, memory_, [this] { return memory_.usage(); }) {
    setStretch(1);
    ring_ = makeRing("Memory use");
    sums_ = std::make_shared<RowList>();
    addPictureRow(*this, ring_, {ringSide, ringSide}, sums_);

    pie_ = std::make_shared<PieChart>(Rect{0, 0, ringSide, ringSide});
    pie_->setAccessibilityName("Memory by kind");
    std::vector<Color> colors;
    const auto legend = makeColumn();
    for (std::size_t i = 0; i < memoryKinds.size(); ++i) {
        colors.push_back(memoryKinds.at(i).color);
        kinds_.at(i) = addTo(*legend, memoryKinds.at(i).name);
        kinds_.at(i)->setDot(memoryKinds.at(i).color);
    }
    pie_->setColorPoints(colors);
    addPictureRow(*this, pie_, {ringSide - 8, ringSide - 8}, legend);

    chart_ = add(std::make_shared<Sparkline>("Memory history", FUIColor::peterRiver(), 100), 1);
    swap_ = addRow("Swap");
    swapBar_ = add(std::make_shared<GaugeBar>(Rect{0, 0, 120, 8}));
    swapBar_->setLineWidth(6);
    swapBar_->setRounded(false);
    swapBar_->setAccessibilityName("Swap use");
}

bool MemoryPanel::refresh() {
    note(byteStr(memory_.physical()));
    showPercent(*ring_, memory_.usage());
    sums_->show({{"Used", byteStr(memory_.wired() + memory_.active() + memory_.compressed())},
                 {"Applications", byteStr(memory_.appMemory())},
                 {"Cached files", byteStr(memory_.cachedFiles())}});
    const std::array<std::uint64_t, 4> amounts = {memory_.wired(), memory_.active(), memory_.compressed(),
                                                  memory_.free()};
    std::vector<double> parts;
    for (std::size_t i = 0; i < amounts.size(); ++i) {
        kinds_.at(i)->show(byteStr(amounts.at(i)));
        parts.push_back(static_cast<double>(amounts.at(i)));
    }
    pie_->setDataPoints(std::move(parts));
    chart_->show(recording_);
    const auto swap = memory_.swap();
    swap_->show(swapText(memory_));
    swapBar_->setHidden(swap.total == 0);
    if (swap.total > 0)
        swapBar_->setPercent(std::round(static_cast<double>(swap.used) * 100 / static_cast<double>(swap.total)));
    return true;
}

// Network.

namespace {

// The page of a router, whose address is numeric. Empty for anything else that a network may tell.
std::string pageOf(const std::string& address) {
    if (address.empty() || address.find_first_not_of("0123456789abcdefABCDEF.:") != std::string::npos)
        return {};
    return address.find(':') == std::string::npos ? "http://" + address + "/" : "http://[" + address + "]/";
}

} // namespace

NetworkPanel::NetworkPanel(System& system)
    : Panel("Network"), network_(system.net()),
      in_(system, network_, [this] { return network_.aggregated()->ibytesps(); }),
      out_(system, network_, [this] { return network_.aggregated()->obytesps(); }) {
    setStretch(2);
    received_ = addRow("Received");
    received_->setDot(FUIColor::turquoise());
    receivedChart_ = add(std::make_shared<Sparkline>("Received history", FUIColor::turquoise()), 1);
    sent_ = addRow("Sent");
    sent_->setDot(FUIColor::carrot());
    sentChart_ = add(std::make_shared<Sparkline>("Sent history", FUIColor::carrot()), 1);

    const auto rows = add(makeColumn());
    peaks_ = addTo(*rows, "Peaks");
    addresses_ = rows->add(std::make_shared<RowList>());
    routerRow_ = rows->add(makeRow(12, Stack::Alignment::fill));
    routerRow_->add(std::make_shared<InfoRow>("Router"), 1);
    router_ = routerRow_->add(std::make_shared<FUILink>());
    router_->setFont(fontOf(TextStyle::value));
    router_->setToolTip("Opens the router's own page");
    names_ = rows->add(std::make_shared<RowList>());
}

bool NetworkPanel::refresh() {
    const auto all = network_.aggregated();
    note(connectionName(network_));
    received_->show(bpsStr(all->ibytesps()));
    sent_->show(bpsStr(all->obytesps()));
    receivedChart_->show(in_);
    sentChart_->show(out_);
    peaks_->show(peaksText(*all));
    Rows addresses;
    for (const auto& [device, interface] : network_.interfaces())
        addresses.emplace_back(interface->name() + " " + device, interface->ipaddr());
    addresses_->show(addresses);
    showRouter();
    Rows names;
    if (const auto dns = network_.dns())
        names.emplace_back("DNS", *dns);
    if (const auto address = network_.publicAddress())
        names.emplace_back("Public address", *address);
    names_->show(names);
    return true;
}

void NetworkPanel::showRouter() {
    const std::string router = network_.router().value_or("");
    const std::string page = pageOf(router);
    routerRow_->setHidden(page.empty());
    router_->setStringValue(router);
    router_->setUrl(page);
    const bool isDark = effectiveAppearance() == Appearance::dark;
    const Color color = isDark ? FUIColor::peterRiver() : FUIColor::belizeHole();
    if (router_->hoverColor() == color)
        return; // the pointer may be over it
    router_->setTextColor(color);
    router_->setHoverColor(color);
    router_->setActiveColor(FUIColor::alizarin());
}

void NetworkPanel::forget() {
    in_.forget();
    out_.forget();
}

// Battery.

BatteryPanel::BatteryPanel(const Battery& battery) : Panel("Battery"), battery_(battery) {
    ring_ = std::make_shared<CircleChart>(Rect{0, 0, ringSide, ringSide});
    ring_->setLineWidth(9);
    ring_->addLabel();
    ring_->setAccessibilityName("Charge");
    rows_ = std::make_shared<RowList>();
    addPictureRow(*this, ring_, {ringSide, ringSide}, rows_);
}

bool BatteryPanel::refresh() {
    if (!showsBattery(battery_))
        return false;
    note(battery_.isACPowered() ? "on mains power" : "on battery power");
    const auto percent = static_cast<double>(battery_.percent());
    ring_->setColor(percent < 10 ? FUIColor::alizarin() : percent < 25 ? FUIColor::sunflower() : FUIColor::emerald());
    showPercent(*ring_, percent);
    const std::string state = battery_.isFullyCharged() ? "charged"
                              : battery_.isCharging()   ? "charging"
                                                        : "discharging";
    Rows rows = {{"State", state}};
    if (const std::string remaining = battery_.timeRemaining(); !remaining.empty())
        rows.emplace_back("Time", remaining);
    rows.emplace_back("Power", std::to_string(std::llround(std::abs(battery_.watts()))) + " W");
    rows.emplace_back("Health",
                      std::to_string(battery_.health()) + "%, " + std::to_string(battery_.cycleCount()) + " cycles");
    if (battery_.temperature() != 0)
        rows.emplace_back("Temperature", degrees(battery_.temperature()));
    rows_->show(rows);
    return true;
}

// Graphics.

GraphicsPanel::GraphicsPanel(const GPU& gpu) : Panel("Graphics"), gpu_(gpu), rows_(add(std::make_shared<RowList>())) {}

bool GraphicsPanel::refresh() {
    const auto current = gpu_.current();
    Rows rows;
    const auto addProcessor = [&](const char* kind, const std::optional<GPU::Processor>& processor) {
        if (processor)
            rows.emplace_back(processor == current ? std::string(kind) + ", in use" : kind, processor->name);
    };
    addProcessor("Integrated", gpu_.integrated());
    addProcessor("Discrete", gpu_.discrete());
    rows_->show(rows);
    return !rows.empty();
}

// Applications.

ApplicationsPanel::ApplicationsPanel(const Applications& apps)
    : Panel("Applications"), apps_(apps), busiest_(addSection("By processor")), largest_(addSection("By memory")) {
    setSpacing(4);
}

ApplicationsPanel::Section ApplicationsPanel::addSection(const std::string& title) {
    add(makeSpace(0, 2));
    add(makeLine(TextStyle::caption, title));
    Section section;
    for (Row& row : section) {
        row.line = add(makeRow(9));
        row.icon = row.line->add(std::make_shared<IconView>());
        row.text = row.line->add(std::make_shared<InfoRow>(), 1);
        row.text->setIsProminent();
    }
    return section;
}

bool ApplicationsPanel::refresh() {
    note(std::to_string(apps_.count()) + " running");
    show(busiest_, apps_.cpu(), false);
    show(largest_, apps_.mem(), true);
    return apps_.count() > 0;
}

void ApplicationsPanel::show(const Section& section, const Processes& processes, bool byMemory) {
    for (std::size_t i = 0; i < section.size(); ++i) {
        const Row& row = section.at(i);
        row.line->setHidden(i >= processes.size());
        if (i >= processes.size())
            continue;
        const auto& process = *processes[i];
        const std::string name = process.name().empty() ? "Process " + std::to_string(process.pid()) : process.name();
        row.icon->show(name, process.icon());
        row.text->show(name, byMemory ? byteStr(process.mem()) : percentText(process.cpu()));
    }
}

std::vector<std::shared_ptr<IconView>> ApplicationsPanel::icons() const {
    std::vector<std::shared_ptr<IconView>> icons;
    for (const Section* section : {&busiest_, &largest_})
        for (const Row& row : *section)
            if (!row.line->isHidden())
                icons.push_back(row.icon);
    return icons;
}

} // namespace dashboard
