// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/system/Disk/Disk.h>
#include <SentrelKit/views/GaugeBar.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/View.h>

#include <memory>
#include <string>
#include <vector>

namespace dashboard {

/// A gauge bar for each of the first few volumes, with space and rates as text.
class VolumePanel final : public sentrel::View {
public:
    VolumePanel(sentrel::Rect frame, const std::string& title);

    void show(const std::vector<std::shared_ptr<sentrel::Disk::Volume>>& volumes);

    [[nodiscard]] bool isFlipped() const override { return true; }

private:
    struct Row {
        std::shared_ptr<sentrel::TextField> name;
        std::shared_ptr<sentrel::TextField> space;
        std::shared_ptr<sentrel::GaugeBar> bar;
        std::shared_ptr<sentrel::TextField> rates;
    };
    void addRow(double y);

    std::vector<Row> rows_;
};

} // namespace dashboard
