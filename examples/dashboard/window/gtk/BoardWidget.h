// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/Board.h"

#include <SentrelKit/embed/gtk/GtkView.h>
#include <SentrelKit/platform/Icon.h>

#include <gdkmm/paintable.h>

#include <memory>
#include <utility>
#include <vector>

namespace dashboard {

/// The dashboard as a widget that asks for the height that its width needs, with the icons of the desktop's theme over
/// the places that the dashboard has for them.
class BoardWidget final : public sentrel::GtkView {
public:
    explicit BoardWidget(std::shared_ptr<Board> board);

    /// Finds the pictures of the icons that are shown now.
    void matchIcons();

protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override;
    void measure_vfunc(Gtk::Orientation orientation, int for_size, int& minimum, int& natural, int& minimum_baseline,
                       int& natural_baseline) const override;
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;

private:
    using Picture = Glib::RefPtr<Gdk::Paintable>; // null for one that is not to be had

    Picture find(const sentrel::Icon& icon);
    [[nodiscard]] Picture look(const sentrel::Icon& icon);

    const std::shared_ptr<Board> board_;
    std::vector<std::pair<sentrel::Icon, Picture>> known_;
    std::vector<std::pair<std::shared_ptr<IconView>, Picture>> shown_;
};

} // namespace dashboard
