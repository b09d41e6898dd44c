// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtkmm/widget.h>

#include <functional>

namespace sentrel {

/// Watches whether anybody can see a mapped widget: whether its window is minimised, on another workspace or suspended,
/// as far as the toolkit and the display tell. Main thread.
class Onlooker {
public:
    /// Calls `changed` at each change that the window is told of.
    explicit Onlooker(std::function<void()> changed) : changed_(std::move(changed)) {}
    ~Onlooker() { end(); }
    Onlooker(const Onlooker&) = delete;
    Onlooker& operator=(const Onlooker&) = delete;

    /// Watches the window that a mapped widget is in.
    void begin(Gtk::Widget& widget);

    /// Watches nothing; then nobody looks.
    void end();

    /// Whether somebody can see the window.
    [[nodiscard]] bool looks() const;

private:
    void listenToDisplay();
    void heard(const void* displayEvent);

    std::function<void()> changed_;
    Glib::RefPtr<Gdk::Surface> surface_;
    sigc::connection state_;
    unsigned long displayEvents_ = 0; // the handler of the display's events, where they are heard
    bool isUnmapped_ = false;         // by the window manager, say for another workspace
};

} // namespace sentrel
