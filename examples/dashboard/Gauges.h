// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/CircleChart.h>
#include <SentrelKit/views/GaugeCircleChart.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace dashboard {

/// The ring of a panel, with its percentage inside.
std::shared_ptr<sentrel::GaugeCircleChart> makeRing(const std::string& name);

constexpr double ringSide = 104; ///< points

/// Shows a percentage. A ring eases over a step that the eye can follow; for the small ones of a machine at rest
/// no frame is drawn but the one that shows them.
void showPercent(sentrel::CircleChart& ring, double percent);

/// Shares of a whole beside each other on one bar.
class SplitBar final : public sentrel::View {
public:
    explicit SplitBar(std::vector<sentrel::Color> colors) : colors_(std::move(colors)) {}

    /// In percent of the bar, by the colours' order.
    void show(const std::vector<double>& percents);

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(sentrel::Canvas& canvas, sentrel::Rect rect) override;
    [[nodiscard]] sentrel::Size fittingSize() const override { return {120, 8}; }

private:
    const std::vector<sentrel::Color> colors_;
    std::vector<double> percents_;
};

} // namespace dashboard
