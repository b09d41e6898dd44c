// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/VolumesPanel.h"

#include "examples/dashboard/Texts.h"
#include "tools/terminal/TerminalText.h"

#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/views/FUIColor.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace dashboard {

using namespace sentrel;

namespace {

constexpr std::size_t mostShown = 8;

// Where desktops mount what people plug in.
bool isRemovable(const Disk::Volume& volume) {
    constexpr std::array<std::string_view, 4> places = {"/media/", "/run/media/", "/mnt/", "/Volumes/"};
    const std::string path = volume.path();
    return !volume.isRootFS() &&
           std::any_of(places.begin(), places.end(), [&](auto place) { return path.rfind(place, 0) == 0; });
}

std::string healthText(const Disk::Volume& volume) {
    const auto& smart = volume.smart();
    if (!smart || smart->capable == 0)
        return volume.fstype();
    const std::string health = smart->healthy != 0 ? "healthy" : "failing";
    return smart->temperature == 0 ? health : health + ", " + degrees(smart->temperature);
}

} // namespace

VolumeRow::VolumeRow(std::shared_ptr<Disk::Volume> volume) : Stack(Axis::column), volume_(std::move(volume)) {
    setSpacing(3);
    const auto head = add(makeRow(12));
    space_ = head->add(std::make_shared<InfoRow>(), 1);
    space_->setIsProminent();
    eject_ = head->add(std::make_shared<Button>("Eject", FUIColor::asbestos(), [this] { ask(true); }));
    eject_->setHidden(!isRemovable(*volume_));
    bar_ = add(std::make_shared<GaugeBar>(Rect{0, 0, 120, 12}));
    bar_->setLineWidth(8);
    bar_->setRounded(false);
    rates_ = add(std::make_shared<InfoRow>());

    question_ = add(makeRow(8));
    questionText_ = question_->add(makeLine(TextStyle::value), 1);
    const auto cancel =
        question_->add(std::make_shared<Button>("Cancel", FUIColor::asbestos(), [this] { ask(false); }));
    const auto confirm =
        question_->add(std::make_shared<Button>("Eject", FUIColor::pomegranate(), [this] { eject(); }));
    cancel->setAccessibilityName("Keep");
    confirm->setAccessibilityName("Eject now");
    question_->setHidden(true);
    answer_ = add(makeLine(TextStyle::caption));
    answer_->setHidden(true);
    refresh();
}

void VolumeRow::refresh() {
    const std::string name = terminal::plainText(volume_->name());
    space_->show(name, spaceText(*volume_));
    space_->setToolTip(terminal::plainText(volume_->path()));
    bar_->setAccessibilityName(name);
    bar_->setPercent(volume_->usagePercent());
    rates_->show(ratesText(*volume_), healthText(*volume_));
    rates_->setIsAlarming(volume_->smart() && volume_->smart()->healthy == 0);
    eject_->setAccessibilityName("Eject " + name);
    questionText_->show("Eject " + name + "?");
}

void VolumeRow::ask(bool isAsking) {
    question_->setHidden(!isAsking);
    eject_->setHidden(isAsking);
    answer_->setHidden(true);
}

void VolumeRow::eject() {
    ask(false);
    const bool isStarted = volume_->eject();
    answer_->show(isStarted ? "Ejecting. Wait until it is gone from this list." : "It could not be ejected.");
    answer_->setHidden(false);
}

VolumesPanel::VolumesPanel(const Disk& disk) : Panel("Volumes"), disk_(disk) {
    setSpacing(14);
}

bool VolumesPanel::refresh() {
    auto volumes = sortedVolumes(disk_);
    const std::size_t count = volumes.size();
    volumes.resize(std::min(count, mostShown));
    note(count > mostShown ? std::to_string(mostShown) + " of " + std::to_string(count) : "");
    const bool isSame = std::equal(volumes.begin(), volumes.end(), rows_.begin(), rows_.end(),
                                   [](const auto& volume, const auto& row) { return volume == row->volume(); });
    if (!isSame) {
        // A volume that stays keeps its row, and a question that it asks.
        std::vector<std::shared_ptr<VolumeRow>> before;
        before.swap(rows_);
        for (const auto& row : before)
            row->removeFromSuperview();
        for (const auto& volume : volumes) {
            const auto known =
                std::find_if(before.begin(), before.end(), [&](const auto& row) { return row->volume() == volume; });
            rows_.push_back(add(known != before.end() ? *known : std::make_shared<VolumeRow>(volume)));
        }
    }
    for (const auto& row : rows_)
        row->refresh();
    return count > 0;
}

} // namespace dashboard
