// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/Controls.h"
#include "examples/dashboard/Panel.h"

#include <SentrelKit/system/Disk/Disk.h>
#include <SentrelKit/views/GaugeBar.h>

#include <memory>
#include <vector>

namespace dashboard {

/// One volume: space as a bar, rates, the drive's health and, for one that can be taken away, a button that ejects it
/// after it asked.
class VolumeRow final : public sentrel::Stack {
public:
    explicit VolumeRow(std::shared_ptr<sentrel::Disk::Volume> volume);

    [[nodiscard]] const std::shared_ptr<sentrel::Disk::Volume>& volume() const { return volume_; }
    void refresh();

private:
    void ask(bool isAsking);
    void eject();

    const std::shared_ptr<sentrel::Disk::Volume> volume_;
    std::shared_ptr<InfoRow> space_;
    std::shared_ptr<Button> eject_;
    std::shared_ptr<sentrel::GaugeBar> bar_;
    std::shared_ptr<InfoRow> rates_;
    std::shared_ptr<sentrel::Stack> question_;
    std::shared_ptr<Label> questionText_;
    std::shared_ptr<Label> answer_; // what became of the eject
};

/// The mounted volumes, the root one first.
class VolumesPanel final : public Panel {
public:
    /// The model outlives it.
    explicit VolumesPanel(const sentrel::Disk& disk);
    bool refresh() override;

private:
    const sentrel::Disk& disk_;
    std::vector<std::shared_ptr<VolumeRow>> rows_;
};

} // namespace dashboard
