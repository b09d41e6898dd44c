// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/gtk/GtkView.h>
#include <SentrelKit/views/GaugeCircleChart.h>

#include <gtkmm/application.h>
#include <gtkmm/applicationwindow.h>

// A ring in a window. Without an argument nothing: it can be built, linked and loaded, also where there is no display.
int main(int argc, char** argv) {
    if (argc == 1)
        return 0;
    const auto program = Gtk::Application::create("org.sentrelkit.Consumer", Gio::Application::Flags::NON_UNIQUE);
    program->signal_activate().connect([&program] {
        auto* const window = new Gtk::ApplicationWindow(program);
        auto ring = sentrel::GaugeCircleChart::labelled({0, 0, 96, 96}, "Processor");
        ring->setPercent(42.0);
        window->set_child(*Gtk::make_managed<sentrel::GtkView>(ring));
        window->show();
    });
    return program->run(1, argv);
}
