// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/window/gtk/DashboardWindow.h"

#include <algorithm>

namespace dashboard {

namespace {

constexpr int usualWidth = 1000;
constexpr int greatestHeight = 780;
constexpr int leastHeight = 240;

} // namespace

DashboardWindow::DashboardWindow(sentrel::System& system, Settings& settings)
    : board_(std::make_shared<Board>(system, settings)), sampler_(system, settings, [this] { showFigures(); }),
      widget_(board_) {
    set_title("Machine Dashboard");
    set_icon_name("org.sentrelkit.Dashboard");
    board_->setSettingsHandler([this] { sampler_.settingsChanged(); });
    widget_.surface().onVisibilityChanged().listen(listener_, [this](bool isVisible) {
        if (!isVisible) {
            sampler_.stop();
            return;
        }
        board_->forgetHistory();
        sampler_.start();
        showFigures();
    });
    // The first thing with a focus gets it when the window comes: nobody pressed a key for that yet.
    signal_show().connect([this] { unset_focus(); });
    scroller_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    scroller_.set_min_content_height(leastHeight);
    scroller_.set_child(widget_);
    set_child(scroller_);
    const int height = static_cast<int>(board_->heightFor(usualWidth));
    set_default_size(usualWidth, std::clamp(height, leastHeight, greatestHeight));
}

void DashboardWindow::showFigures() {
    board_->refresh();
    widget_.matchIcons();
}

DashboardWindow::~DashboardWindow() = default;

} // namespace dashboard
