// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/LineChart.h>

#include "examples/dashboard/Label.h"
#include "examples/dashboard/Recording.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace dashboard {

/// A line over its own gradient, with guide lines at its scale's end, half of it and zero. The scale ends at the
/// greatest sample, or where the host says.
class Sparkline final : public sentrel::View {
public:
    Sparkline(const std::string& name, sentrel::Color color, std::optional<std::int64_t> scale = std::nullopt);

    void show(const Recording& recording);

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(sentrel::Canvas& canvas, sentrel::Rect rect) override;
    [[nodiscard]] sentrel::Size fittingSize() const override { return {120, 44}; }

protected:
    void layout() override;

private:
    const std::optional<std::int64_t> scale_;
    double height_ = 1; // of the line, as a part of the view's
    std::shared_ptr<sentrel::LineChart> line_;
};

/// The greatest of them; 0 without any.
std::int64_t peakOf(const std::vector<std::int64_t>& points);

/// A history as a card of its own colour, with words above and below the line.
class HistoryCard final : public sentrel::LineChart {
public:
    explicit HistoryCard(const std::string& name);

    void show(const Recording& recording, const std::string& peak);

    [[nodiscard]] sentrel::Size fittingSize() const override { return {120, 168}; }

protected:
    void layout() override;

private:
    std::shared_ptr<Label> title_;
    std::shared_ptr<Label> peak_;
    std::shared_ptr<Label> begin_;
    std::shared_ptr<Label> end_;
};

} // namespace dashboard
