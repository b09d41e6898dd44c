// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/window/gtk/BoardWidget.h"

#include <gdkmm/pixbuf.h>
#include <gdkmm/texture.h>
#include <gtkmm/icontheme.h>
#include <gtkmm/snapshot.h>

#include <gtk/gtk.h>

#include <cmath>

namespace dashboard {

using namespace sentrel;

namespace {

constexpr int usualWidth = 1000;
constexpr std::size_t mostKept = 64; // pictures

} // namespace

BoardWidget::BoardWidget(std::shared_ptr<Board> board) : GtkView(board), board_(std::move(board)) {}

Gtk::SizeRequestMode BoardWidget::get_request_mode_vfunc() const {
    return Gtk::SizeRequestMode::HEIGHT_FOR_WIDTH;
}

void BoardWidget::measure_vfunc(Gtk::Orientation orientation, int for_size, int& minimum, int& natural,
                                int& minimum_baseline, int& natural_baseline) const {
    if (orientation == Gtk::Orientation::HORIZONTAL) {
        minimum = static_cast<int>(Board::narrowest);
        natural = usualWidth;
    } else {
        minimum = natural = static_cast<int>(std::ceil(board_->heightFor(for_size > 0 ? for_size : usualWidth)));
    }
    minimum_baseline = natural_baseline = -1;
}

void BoardWidget::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    GtkView::snapshot_vfunc(snapshot);
    for (const auto& [view, picture] : shown_) {
        if (!picture || !view->superview() || view->superview()->isHidden())
            continue;
        const Point place = view->toSurface().apply({0, 0});
        const graphene_point_t corner{static_cast<float>(place.x), static_cast<float>(place.y)};
        snapshot->save();
        gtk_snapshot_translate(snapshot->gobj(), &corner);
        picture->snapshot(snapshot, view->bounds().width, view->bounds().height);
        snapshot->restore();
    }
}

void BoardWidget::matchIcons() {
    shown_.clear();
    for (const std::shared_ptr<IconView>& view : board_->icons()) {
        const Picture picture = view->icon() ? find(*view->icon()) : Picture();
        view->setIsDrawnByHost(picture != nullptr);
        shown_.emplace_back(view, picture);
    }
}

BoardWidget::Picture BoardWidget::find(const Icon& icon) {
    for (const auto& [known, picture] : known_)
        if (known == icon)
            return picture;
    if (known_.size() >= mostKept)
        known_.clear();
    known_.emplace_back(icon, look(icon));
    return known_.back().second;
}

BoardWidget::Picture BoardWidget::look(const Icon& icon) {
    const int side = static_cast<int>(IconView::side);
    const int scale = get_scale_factor();
    if (icon.kind() == Icon::Kind::path) {
        try {
            return Gdk::Texture::create_for_pixbuf(
                Gdk::Pixbuf::create_from_file(icon.text(), side * scale, side * scale, true));
        } catch (const Glib::Error&) {
            return {};
        }
    }
    const auto theme = Gtk::IconTheme::get_for_display(get_display());
    if (icon.kind() != Icon::Kind::name || !theme->has_icon(icon.text()))
        return {};
    return theme->lookup_icon(icon.text(), side, scale);
}

} // namespace dashboard
