// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/embed/support/DesktopSession.h"
#include "tests/embed/support/DisplayUser.h"

#include <gtkmm/application.h>
#include <gtkmm/window.h>

#include <functional>
#include <memory>

namespace sentrel {

/// Serves GTK's loop until the condition holds; false if that takes longer than a test may take.
[[nodiscard]] bool serveUntil(const std::function<bool()>& condition);

/// The program that the tests of this folder are, on a desktop of its own; made for the first test that runs.
class GtkProgram {
public:
    /// The one there is.
    static GtkProgram& shared();

    [[nodiscard]] const DisplayUser& user() const { return *user_; }

    /// A window that is shown, once it is there and has the keyboard.
    [[nodiscard]] DisplayUser::Window awaitShown(Gtk::Window& window) const;

    void start();
    void end();

private:
    std::unique_ptr<DesktopSession> session_;
    Glib::RefPtr<Gtk::Application> application_;
    std::unique_ptr<DisplayUser> user_;
};

} // namespace sentrel
