// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/Charts.h"
#include "examples/dashboard/Gauges.h"
#include "examples/dashboard/IconView.h"
#include "examples/dashboard/Panel.h"
#include "examples/dashboard/RowList.h"

#include <SentrelKit/system/System.h>
#include <SentrelKit/views/FUILink.h>
#include <SentrelKit/views/GaugeBar.h>
#include <SentrelKit/views/PieChart.h>
#include <SentrelKit/views/Thermometer.h>

#include <array>
#include <memory>
#include <vector>

/// The panels of the dashboard but for the one of volumes. Each reads one model, whose registry outlives it.
namespace dashboard {

/// Load as a ring, as a history and by what causes it; heat, uptime.
class ProcessorPanel final : public Panel {
public:
    explicit ProcessorPanel(sentrel::System& system);
    bool refresh() override;
    void forget() override { recording_.forget(); }

private:
    const sentrel::CPU& cpu_;
    Recording recording_; // in tenths of a percent
    std::shared_ptr<sentrel::GaugeCircleChart> ring_;
    std::shared_ptr<InfoRow> user_;
    std::shared_ptr<InfoRow> system_;
    std::shared_ptr<InfoRow> load_;
    std::shared_ptr<InfoRow> threads_;
    std::shared_ptr<SplitBar> split_;
    std::shared_ptr<sentrel::Thermometer> heat_;
    std::shared_ptr<InfoRow> heatRow_;
    std::shared_ptr<InfoRow> uptime_;
    std::shared_ptr<HistoryCard> chart_;
};

/// Use as a ring, kinds as a pie, swap.
class MemoryPanel final : public Panel {
public:
    explicit MemoryPanel(sentrel::System& system);
    bool refresh() override;
    void forget() override { recording_.forget(); }

private:
    const sentrel::Memory& memory_;
    Recording recording_; // in percent
    std::shared_ptr<sentrel::GaugeCircleChart> ring_;
    std::shared_ptr<RowList> sums_;
    std::shared_ptr<sentrel::PieChart> pie_;
    std::array<std::shared_ptr<InfoRow>, 4> kinds_;
    std::shared_ptr<Sparkline> chart_;
    std::shared_ptr<InfoRow> swap_;
    std::shared_ptr<sentrel::GaugeBar> swapBar_;
};

/// Rates as histories, peaks, addresses, how far the connection reaches.
class NetworkPanel final : public Panel {
public:
    explicit NetworkPanel(sentrel::System& system);
    bool refresh() override;
    void forget() override;

private:
    void showRouter();

    const sentrel::Network& network_;
    Recording in_; // bytes per second
    Recording out_;
    std::shared_ptr<InfoRow> received_;
    std::shared_ptr<Sparkline> receivedChart_;
    std::shared_ptr<InfoRow> sent_;
    std::shared_ptr<Sparkline> sentChart_;
    std::shared_ptr<InfoRow> peaks_;
    std::shared_ptr<RowList> addresses_;
    std::shared_ptr<sentrel::Stack> routerRow_;
    std::shared_ptr<sentrel::FUILink> router_;
    std::shared_ptr<RowList> names_;
};

/// Charge, what happens to it, health.
class BatteryPanel final : public Panel {
public:
    explicit BatteryPanel(const sentrel::Battery& battery);
    bool refresh() override;

private:
    const sentrel::Battery& battery_;
    std::shared_ptr<sentrel::CircleChart> ring_;
    std::shared_ptr<RowList> rows_;
};

/// The graphics processors, and which one draws.
class GraphicsPanel final : public Panel {
public:
    explicit GraphicsPanel(const sentrel::GPU& gpu);
    bool refresh() override;

private:
    const sentrel::GPU& gpu_;
    std::shared_ptr<RowList> rows_;
};

/// The applications that use the processor and the memory most, with their icons.
class ApplicationsPanel final : public Panel {
public:
    explicit ApplicationsPanel(const sentrel::Applications& apps);
    bool refresh() override;

    /// The icons that are shown now.
    [[nodiscard]] std::vector<std::shared_ptr<IconView>> icons() const;

private:
    struct Row {
        std::shared_ptr<sentrel::Stack> line;
        std::shared_ptr<IconView> icon;
        std::shared_ptr<InfoRow> text;
    };
    using Section = std::array<Row, 3>;
    using Processes = std::vector<std::shared_ptr<const sentrel::Applications::Process>>;

    Section addSection(const std::string& title);
    static void show(const Section& section, const Processes& processes, bool byMemory);

    const sentrel::Applications& apps_;
    Section busiest_;
    Section largest_;
};

} // namespace dashboard
