// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Board.h"

#include "examples/dashboard/Columns.h"
#include "examples/dashboard/Controls.h"
#include "examples/dashboard/Panels.h"
#include "examples/dashboard/SettingsPanel.h"
#include "examples/dashboard/VolumesPanel.h"

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/drawing/Canvas.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace dashboard {

using namespace sentrel;

namespace {

constexpr double headingHeight = 44;
constexpr double usualWidth = 1000;

double marginIn(double width) {
    return width < 480 ? 12 : 20;
}

} // namespace

struct Board::Parts {
    // A panel and what has to be sampled for it, if anything.
    struct Entry {
        std::shared_ptr<Panel> panel;
        std::optional<Group> group;
    };

    Parts(System& system, Settings& choices, const std::function<void()>& changed)
        : settings(std::make_shared<SettingsPanel>(choices, changed)),
          applications(std::make_shared<ApplicationsPanel>(system.apps())),
          entries{{settings, std::nullopt},
                  {std::make_shared<ProcessorPanel>(system), Group::processor},
                  {std::make_shared<MemoryPanel>(system), Group::memory},
                  {std::make_shared<NetworkPanel>(system), Group::network},
                  {std::make_shared<VolumesPanel>(system.disk()), Group::volumes},
                  {applications, Group::applications},
                  {std::make_shared<BatteryPanel>(system.battery()), std::nullopt},
                  {std::make_shared<GraphicsPanel>(system.gpu()), std::nullopt}} {}

    std::shared_ptr<Stack> heading = makeRow(12);
    std::shared_ptr<Label> name = makeLine(TextStyle::headline);
    std::shared_ptr<Label> brand = makeLine(TextStyle::caption);
    std::shared_ptr<Button> settingsButton;
    std::shared_ptr<SettingsPanel> settings;
    std::shared_ptr<ApplicationsPanel> applications;
    const std::vector<Entry> entries;
    bool showsSettings = false;

    [[nodiscard]] std::vector<std::shared_ptr<Panel>> shown() const {
        std::vector<std::shared_ptr<Panel>> panels;
        for (const Entry& entry : entries)
            if (!entry.panel->isHidden())
                panels.push_back(entry.panel);
        return panels;
    }

    // The panels that are shown, in a width and at least in a height.
    [[nodiscard]] std::vector<Rect> frames(double width, double height) const {
        std::vector<ColumnItem> items;
        for (const auto& panel : shown())
            items.push_back({panel->naturalSize().height, panel->stretch()});
        const double margin = marginIn(width);
        std::vector<Rect> frames = inColumns(items, width - 2 * margin, height - headingHeight - 2 * margin - gap, gap);
        for (Rect& frame : frames) {
            frame.x += margin;
            frame.y += margin + headingHeight + gap;
        }
        return frames;
    }
};

Board::Board(System& system, Settings& settings)
    : system_(system), settings_(settings), parts_(std::make_unique<Parts>(system, settings, [this] {
          refresh();
          if (settingsChanged_)
              settingsChanged_();
      })) {
    setAccessibilityName("Dashboard");
    const auto words = parts_->heading->add(makeColumn(2), 1);
    words->add(parts_->name);
    words->add(parts_->brand);
    parts_->settingsButton = parts_->heading->add(
        std::make_shared<Button>("Settings", FUIColor::belizeHole(), [this] { toggleSettings(); }));
    addSubview(parts_->heading);
    for (const Parts::Entry& entry : parts_->entries)
        addSubview(entry.panel);
    showPanels();
}

Board::~Board() = default;

void Board::refresh() {
    const std::string name = system_.net().localhostName().value_or("");
    parts_->name->show(name.empty() ? "This machine" : name);
    parts_->brand->show(system_.cpu().brand());
    showPanels();
}

void Board::showPanels() {
    for (const Parts::Entry& entry : parts_->entries) {
        const bool isWanted =
            entry.panel == parts_->settings ? parts_->showsSettings : !entry.group || settings_.samples(*entry.group);
        entry.panel->setHidden(!isWanted || !entry.panel->refresh());
    }
}

void Board::forgetHistory() {
    for (const Parts::Entry& entry : parts_->entries)
        entry.panel->forget();
}

void Board::setSettingsHandler(std::function<void()> handler) {
    settingsChanged_ = std::move(handler);
}

void Board::toggleSettings() {
    parts_->showsSettings = !parts_->showsSettings;
    parts_->settings->refresh();
    parts_->settings->setHidden(!parts_->showsSettings);
    parts_->settingsButton->setTitleText(parts_->showsSettings ? "Done" : "Settings");
}

double Board::heightFor(double width) const {
    double height = 0;
    for (const Rect& frame : parts_->frames(width, 0))
        height = std::max(height, frame.y + frame.height);
    return height + marginIn(width);
}

Size Board::fittingSize() const {
    const double width = bounds().width > 0 ? bounds().width : usualWidth;
    return {width, heightFor(width)};
}

void Board::layout() {
    if (std::exchange(measuredWidth_, bounds().width) != bounds().width)
        invalidateNaturalSize(); // which follows the width
    const double margin = marginIn(bounds().width);
    parts_->heading->setFrame({margin, margin, std::max(bounds().width - 2 * margin, 0.0), headingHeight});
    const auto panels = parts_->shown();
    const std::vector<Rect> frames = parts_->frames(bounds().width, bounds().height);
    for (std::size_t i = 0; i < panels.size(); ++i)
        panels[i]->setFrame(frames[i]);
}

std::vector<std::shared_ptr<IconView>> Board::icons() const {
    return parts_->applications->isHidden() ? std::vector<std::shared_ptr<IconView>>() : parts_->applications->icons();
}

void Board::drawRect(Canvas& canvas, Rect rect) {
    canvas.fill(Path::rect(rect), groundColor(effectiveAppearance()));
}

} // namespace dashboard
