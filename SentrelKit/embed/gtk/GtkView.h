// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A tree of views in a program of gtkmm. Main thread.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/Surface.h>

#include <gtkmm/widget.h>

#include <memory>

namespace sentrel {

/// Shows a view without superview, as large as the widget: a point is a logical pixel. A program needs no more than
/// this:
///
///     auto program = Gtk::Application::create();
///     program->signal_activate().connect([&] {
///         auto* const window = new Gtk::ApplicationWindow(program);
///         window->set_child(*Gtk::make_managed<sentrel::GtkView>(
///             sentrel::GaugeCircleChart::labelled({0, 0, 96, 96}, "Processor")));
///         window->show();
///     });
///     return program->run();
///
/// - What changes is drawn, and nothing else, at the scale of the widget's screen. While something moves by itself,
///   each frame of the window's frame clock draws it; at rest no clock runs.
/// - While nobody can see the widget (hidden, minimised, on another workspace, or suspended as far as the system tells)
///   nothing is drawn and no clock runs. `surface().onVisibilityChanged()` tells, so that sampling can stop too.
/// - Pointer, wheel, touch and keys reach the views; Tab leads through what takes the focus, then to the next widget.
/// - Assistive technology is told each view's role, name and value, may press it and give it the focus.
/// - Views without an appearance of their own follow the theme, light or dark.
/// - The main queue runs in the program's loop without further ado.
///
/// A view's action may destroy the widget.
class SENTREL_API GtkView : public Gtk::Widget {
public:
    /// Shows a view, which it keeps and whose display handler it takes.
    explicit GtkView(std::shared_ptr<View> view);

    /// The view, if others keep it, can be shown elsewhere then.
    ~GtkView() override;
    GtkView(const GtkView&) = delete;
    GtkView& operator=(const GtkView&) = delete;

    /// The view that is shown.
    [[nodiscard]] const std::shared_ptr<View>& view() const noexcept;

    /// What the view is shown on: it tells whether anybody sees it. The size, the events and the handlers are the
    /// widget's business.
    [[nodiscard]] Surface& surface() noexcept;

protected:
    /// @cond
    // What the toolkit asks and tells its widget. The natural size is the view's; it can be made as small as nothing.
    Gtk::SizeRequestMode get_request_mode_vfunc() const override;
    void measure_vfunc(Gtk::Orientation orientation, int for_size, int& minimum, int& natural, int& minimum_baseline,
                       int& natural_baseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) override;
    void on_map() override;
    void on_unmap() override;
    /// @endcond

private:
    class State;
    std::unique_ptr<State> state_;
};

} // namespace sentrel
