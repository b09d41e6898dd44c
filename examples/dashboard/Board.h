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
/// room for. It shows what the models know; a host samples, and calls `refresh` for each look at them. Main thread.
class Board final : public sentrel::View {
public:
    static constexpr double narrowest = 360; ///< points

    /// A registry and settings that outlive it.
    Board(sentrel::System& system, Settings& settings);
    ~Board() override;

    /// Takes the figures over from the models.
    void refresh();

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

    sentrel::System& system_;
    Settings& settings_;
    std::function<void()> settingsChanged_;
    double measuredWidth_ = 0;
    std::unique_ptr<Parts> parts_;
};

} // namespace dashboard
