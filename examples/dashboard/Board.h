// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/IconView.h"
#include "examples/dashboard/Settings.h"

#include <SentrelKit/system/System.h>
#include <SentrelKit/views/View.h>

#include <functional>
#include <memory>
#include <vector>

namespace dashboard {

/// The whole dashboard: a heading and a panel for each thing that the machine has, in as many columns as the width has
/// room for. It shows what the models know; a host samples, and calls `tick` once a second while it does. Main thread.
class Board final : public sentrel::View {
public:
    static constexpr double narrowest = 360; ///< points

    /// A registry and settings that outlive it.
    Board(const sentrel::System& system, Settings& settings);
    ~Board() override;

    /// Takes the figures over from the models.
    void refresh();

    /// The same, and adds them to the histories: a second has passed.
    void tick();

    /// Begins the histories anew. To be called when sampling begins after a pause.
    void forgetHistory();

    /// Called after the user changed a setting.
    void setSettingsHandler(std::function<void()> handler);

    /// The height that shows all of it in a width, in points.
    [[nodiscard]] double heightFor(double width) const;

    /// The places of applications' icons that are shown now.
    [[nodiscard]] std::vector<std::shared_ptr<IconView>> icons() const;

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(sentrel::Canvas& canvas, sentrel::Rect rect) override;
    [[nodiscard]] sentrel::Size fittingSize() const override;

protected:
    void layout() override;

private:
    struct Parts;

    void toggleSettings();
    void showPanels();

    const sentrel::System& system_;
    Settings& settings_;
    std::function<void()> settingsChanged_;
    double measuredWidth_ = 0;
    bool isFirstTick_ = true; // no sample of this time is there yet
    std::unique_ptr<Parts> parts_;
};

} // namespace dashboard
