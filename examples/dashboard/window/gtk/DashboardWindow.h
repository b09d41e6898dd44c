// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/Board.h"
#include "examples/dashboard/Sampler.h"
#include "examples/dashboard/window/gtk/BoardWidget.h"

#include <gtkmm/scrolledwindow.h>
#include <gtkmm/window.h>

#include <memory>

namespace dashboard {

/// The dashboard in a window of GTK, which scrolls where it is lower than its content. It samples while it is seen.
class DashboardWindow final : public Gtk::Window {
public:
    /// A registry and settings that outlive it.
    DashboardWindow(sentrel::System& system, Settings& settings);
    ~DashboardWindow() override;

    [[nodiscard]] Board& board() { return *board_; }
    [[nodiscard]] BoardWidget& widget() { return widget_; }

private:
    void showFigures();

    const std::shared_ptr<Board> board_;
    Sampler sampler_;
    BoardWidget widget_;
    Gtk::ScrolledWindow scroller_;
    const std::shared_ptr<int> listener_ = std::make_shared<int>();
};

} // namespace dashboard
