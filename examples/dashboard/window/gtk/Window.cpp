// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Window.h"

#include "examples/dashboard/window/gtk/DashboardWindow.h"

#include <glibmm/main.h>
#include <gtkmm/application.h>

#include <cmath>
#include <cstdlib>
#include <memory>

namespace dashboard {

namespace {

std::string valueOf(const char* variable) {
    const char* const value = std::getenv(variable);
    return value ? value : "";
}

} // namespace

std::optional<std::string> openDisplay() {
    const std::string names[] = {valueOf("WAYLAND_DISPLAY"), valueOf("DISPLAY")};
    if (names[0].empty() && names[1].empty())
        return "there is no display (neither DISPLAY nor WAYLAND_DISPLAY is set)";
    gtk_disable_setlocale(); // figures have a decimal point here, whatever the locale
    if (gtk_init_check())
        return std::nullopt;
    return "the display " + (names[0].empty() ? names[1] : names[0]) + " does not open";
}

int showWindow(sentrel::System& system, Settings& settings, std::optional<double> seconds) {
    const auto program = Gtk::Application::create("org.sentrelkit.Dashboard", Gio::Application::Flags::NON_UNIQUE);
    program->set_accels_for_action("window.close", {"<Control>w", "<Control>q"});
    std::unique_ptr<DashboardWindow> window;
    program->signal_activate().connect([&] {
        window = std::make_unique<DashboardWindow>(system, settings);
        program->add_window(*window);
        window->show();
        if (seconds)
            Glib::signal_timeout().connect_once([&] { window->close(); },
                                                static_cast<unsigned int>(std::llround(*seconds * 1000)));
    });
    const int status = program->run();
    window.reset();
    return status;
}

} // namespace dashboard
