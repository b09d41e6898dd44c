// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/gtk/detail/Onlooker.h>

#include <gdkmm/surface.h>
#include <gdkmm/toplevel.h>
#include <gtkmm/native.h>

#ifdef GDK_WINDOWING_X11
#include <gdk/x11/gdkx.h>
#endif

#include <utility>

namespace sentrel {

void Onlooker::begin(Gtk::Widget& widget) {
    end();
    if (Gtk::Native* const native = widget.get_native())
        surface_ = native->get_surface();
    if (const auto toplevel = std::dynamic_pointer_cast<Gdk::Toplevel>(surface_))
        state_ = toplevel->property_state().signal_changed().connect([this] { changed_(); });
    listenToDisplay();
}

// The toolkit does not tell when an X11 window manager takes a window off the screen without minimising it.
void Onlooker::listenToDisplay() {
#ifdef GDK_WINDOWING_X11
    GdkDisplay* const display = surface_ ? gdk_surface_get_display(surface_->gobj()) : nullptr;
    if (!display || !GDK_IS_X11_DISPLAY(display))
        return;
    const auto handler = +[](GdkX11Display*, gpointer event, gpointer self) {
        static_cast<Onlooker*>(self)->heard(event);
        return FALSE;
    };
    displayEvents_ = g_signal_connect(display, "xevent", G_CALLBACK(handler), this);
#endif
}

void Onlooker::heard([[maybe_unused]] const void* displayEvent) {
#ifdef GDK_WINDOWING_X11
    const auto& event = *static_cast<const XEvent*>(displayEvent);
    const bool isOurs = event.xany.window == gdk_x11_surface_get_xid(surface_->gobj());
    if (!isOurs || (event.type != UnmapNotify && event.type != MapNotify))
        return;
    isUnmapped_ = event.type == UnmapNotify;
    changed_();
#endif
}

void Onlooker::end() {
    state_.disconnect();
    if (displayEvents_ != 0)
        g_signal_handler_disconnect(gdk_surface_get_display(surface_->gobj()), std::exchange(displayEvents_, 0));
    surface_.reset();
    isUnmapped_ = false;
}

bool Onlooker::looks() const {
    if (!surface_ || !surface_->get_mapped() || isUnmapped_)
        return false;
    const auto toplevel = std::dynamic_pointer_cast<Gdk::Toplevel>(surface_);
    if (!toplevel)
        return true;
    const Gdk::Toplevel::State state = toplevel->get_state();
    if ((state & Gdk::Toplevel::State::MINIMIZED) == Gdk::Toplevel::State::MINIMIZED)
        return false;
#if GTK_CHECK_VERSION(4, 12, 0)
    constexpr auto suspended = static_cast<Gdk::Toplevel::State>(GDK_TOPLEVEL_STATE_SUSPENDED);
    if ((state & suspended) == suspended)
        return false;
#endif
    return true;
}

} // namespace sentrel
