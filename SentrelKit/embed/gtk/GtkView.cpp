// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/gtk/GtkView.h>

#include <SentrelKit/embed/gtk/detail/Onlooker.h>
#include <SentrelKit/embed/gtk/detail/StandIn.h>
#include <SentrelKit/embed/gtk/detail/Tiles.h>

#include <gdkmm/cursor.h>
#include <gdkmm/surface.h>
#include <glibmm/main.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/eventcontrollerlegacy.h>
#include <gtkmm/eventcontrollermotion.h>
#include <gtkmm/eventcontrollerscroll.h>
#include <gtkmm/native.h>
#include <gtkmm/snapshot.h>
#include <gtkmm/stylecontext.h>
#include <gtkmm/tooltip.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

namespace sentrel {

namespace {

constexpr double wheelStep = 40.0; // points

Modifiers modifiersOf(Gdk::ModifierType state) {
    const auto holds = [state](Gdk::ModifierType one) { return (state & one) == one; };
    return {holds(Gdk::ModifierType::SHIFT_MASK), holds(Gdk::ModifierType::CONTROL_MASK),
            holds(Gdk::ModifierType::ALT_MASK), holds(Gdk::ModifierType::SUPER_MASK)};
}

std::optional<MouseButton> buttonOf(unsigned int number) {
    switch (number) {
    case GDK_BUTTON_PRIMARY:
        return MouseButton::primary;
    case GDK_BUTTON_SECONDARY:
        return MouseButton::secondary;
    case GDK_BUTTON_MIDDLE:
        return MouseButton::middle;
    default:
        return std::nullopt;
    }
}

Key keyOf(unsigned int value) {
    switch (value) {
    case GDK_KEY_Tab:
    case GDK_KEY_ISO_Left_Tab:
    case GDK_KEY_KP_Tab:
        return Key::tab;
    case GDK_KEY_space:
    case GDK_KEY_KP_Space:
        return Key::space;
    case GDK_KEY_Return:
    case GDK_KEY_ISO_Enter:
    case GDK_KEY_KP_Enter:
        return Key::enter;
    case GDK_KEY_Escape:
        return Key::escape;
    case GDK_KEY_Left:
    case GDK_KEY_KP_Left:
        return Key::left;
    case GDK_KEY_Right:
    case GDK_KEY_KP_Right:
        return Key::right;
    case GDK_KEY_Up:
    case GDK_KEY_KP_Up:
        return Key::up;
    case GDK_KEY_Down:
    case GDK_KEY_KP_Down:
        return Key::down;
    case GDK_KEY_Home:
    case GDK_KEY_KP_Home:
        return Key::home;
    case GDK_KEY_End:
    case GDK_KEY_KP_End:
        return Key::end;
    case GDK_KEY_Page_Up:
    case GDK_KEY_KP_Page_Up:
        return Key::pageUp;
    case GDK_KEY_Page_Down:
    case GDK_KEY_KP_Page_Down:
        return Key::pageDown;
    default:
        return Key::other;
    }
}

std::string textOf(unsigned int key) {
    const gunichar character = gdk_keyval_to_unicode(key);
    return character ? Glib::ustring(1, character).raw() : std::string();
}

} // namespace

// What the widget is made of. Events are handed on last, for they may destroy the widget and this with it.
class SENTREL_LOCAL GtkView::State {
public:
    State(GtkView& widget, std::shared_ptr<View> view) : surface(std::move(view)), widget_(widget) {
        surface.setDisplayHandler([this] {
            isChanged_ = true;
            if (!isDrawing_)
                widget_.queue_draw();
        });
        surface.setFramesHandler([this](bool needed) { runFrames(needed); });
        listenToPointer();
        listenToKeys();
        widget_.set_has_tooltip(true);
        connections_.push_back(widget_.signal_query_tooltip().connect(
            [this](int x, int y, bool isByKey, const Glib::RefPtr<Gtk::Tooltip>& tip) {
                const std::string text =
                    isByKey ? std::string()
                            : surface.events().toolTipAt({static_cast<double>(x), static_cast<double>(y)});
                tip->set_text(text);
                return !text.empty();
            },
            true));
    }
    ~State() {
        // The toolkit may keep its part of the widget.
        for (sigc::connection& connection : connections_)
            connection.disconnect();
        afterFrame_.disconnect();
        runFrames(false);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    void map() {
        onlooker_.begin(widget_);
        matchStandIns();
        updateVisibility();
    }
    void unmap() {
        onlooker_.end();
        surface.events().cancel();
        tiles_.clear();
        updateVisibility();
    }

    void allocate(int width, int height) {
        surface.setSize({static_cast<double>(width), static_cast<double>(height)});
        matchStandIns();
        for (const auto& one : standIns_)
            one->place();
    }

    void draw(Gtk::Snapshot& snapshot) {
        isDrawing_ = true;
        followTheme();
        isDrawing_ = false;
        tiles_.update(surface, sizeOf(*surface.view()), scale());
        tiles_.append(snapshot);
        // Not in the middle of a frame: it may ask for another size. Frames may outrun the idle loop.
        if (std::exchange(isChanged_, false) && !afterFrame_.connected())
            afterFrame_ = Glib::signal_idle().connect([this] {
                followView();
                return false;
            });
    }

    [[nodiscard]] Size naturalSize() const { return surface.naturalSize(); }

    Surface surface;

private:
    static Size sizeOf(const View& view) { return {view.bounds().width, view.bounds().height}; }

    [[nodiscard]] double scale() const {
#if GTK_CHECK_VERSION(4, 12, 0)
        if (const Gtk::Native* const native = widget_.get_native())
            return gdk_surface_get_scale(const_cast<GdkSurface*>(native->get_surface()->gobj()));
#endif
        return widget_.get_scale_factor();
    }

    // Drawing.

    void updateVisibility() {
        surface.setVisible(widget_.get_mapped() && onlooker_.looks());
    }

    void runFrames(bool needed) {
        if (needed && !frames_)
            frames_ = widget_.add_tick_callback([this](const Glib::RefPtr<Gdk::FrameClock>& /*clock*/) {
                widget_.queue_draw();
                return true;
            });
        if (!needed && frames_)
            widget_.remove_tick_callback(std::exchange(frames_, 0));
    }

    // Text that the theme writes in a light colour stands on a dark ground.
    void followTheme() {
        View& view = *surface.view();
        if (view.appearance() != appearance_)
            return; // the host's choice
        const Gdk::RGBA ink = widget_.get_style_context()->get_color();
        const double lightness = 0.299 * ink.get_red() + 0.587 * ink.get_green() + 0.114 * ink.get_blue();
        appearance_ = lightness > 0.5 ? Appearance::dark : Appearance::light;
        view.setAppearance(appearance_);
    }

    // What the toolkit is told of the view's content.

    void followView() {
        matchStandIns();
        const Size natural = naturalSize();
        if (!(natural == natural_)) {
            natural_ = natural;
            widget_.queue_resize();
        } else {
            widget_.queue_allocate();
        }
    }

    void matchStandIns() {
        StandIn::match(standIns_, surface.accessibleElements(), widget_, {}, handlers_);
    }

    // The pointer.

    void listenToPointer() {
        const auto motion = Gtk::EventControllerMotion::create();
        const auto moved = [this, controller = motion.get()](double x, double y) {
            pointer_ = {x, y};
            surface.events().moved(pointer_, modifiersOf(controller->get_current_event_state()));
            showCursor(pointer_);
        };
        connections_.push_back(motion->signal_enter().connect(moved));
        connections_.push_back(motion->signal_motion().connect(moved));
        connections_.push_back(motion->signal_leave().connect([this] { surface.events().left(); }));
        widget_.add_controller(motion);

        const auto scroll = Gtk::EventControllerScroll::create();
        scroll->set_flags(Gtk::EventControllerScroll::Flags::BOTH_AXES);
        connections_.push_back(scroll->signal_scroll().connect(
            [this, controller = scroll.get()](double x, double y) {
                const double step = controller->get_unit() == Gdk::ScrollUnit::WHEEL ? wheelStep : 1.0;
                return surface.events().scrolled(
                    {pointer_, x * step, y * step, modifiersOf(controller->get_current_event_state())});
            },
            false));
        widget_.add_controller(scroll);

        // Gestures give a press up once the pointer is far enough: here the release comes wherever it happens.
        const auto buttons = Gtk::EventControllerLegacy::create();
        connections_.push_back(buttons->signal_event().connect(
            [this](const Glib::RefPtr<const Gdk::Event>& event) { return handle(*event); }, false));
        widget_.add_controller(buttons);
    }

    bool handle(const Gdk::Event& event) {
        const auto type = event.get_event_type();
        const Modifiers modifiers = modifiersOf(event.get_modifier_state());
        const std::optional<Point> place = placeOf(event);
        switch (type) {
        case Gdk::Event::Type::BUTTON_PRESS:
        case Gdk::Event::Type::BUTTON_RELEASE: {
            const std::optional<MouseButton> button = buttonOf(event.get_button());
            if (!button || !place)
                return false;
            if (type == Gdk::Event::Type::BUTTON_PRESS)
                press(*place, *button, modifiers);
            else
                surface.events().released(*place, *button, modifiers);
            return true;
        }
        case Gdk::Event::Type::TOUCH_BEGIN:
        case Gdk::Event::Type::TOUCH_UPDATE:
        case Gdk::Event::Type::TOUCH_END:
            if (!place || !event.get_touch_emulating_pointer())
                return false;
            if (type == Gdk::Event::Type::TOUCH_BEGIN)
                press(*place, MouseButton::primary, modifiers);
            else if (type == Gdk::Event::Type::TOUCH_UPDATE)
                surface.events().moved(*place, modifiers);
            else
                surface.events().released(*place, MouseButton::primary, modifiers);
            return true;
        case Gdk::Event::Type::TOUCH_CANCEL:
        case Gdk::Event::Type::GRAB_BROKEN:
            surface.events().cancel();
            return false;
        default:
            return false;
        }
    }

    void press(Point place, MouseButton button, Modifiers modifiers) {
        surface.events().pressed(place, button, modifiers);
        if (button == MouseButton::primary)
            focusQuietly();
    }

    // Where an event is on the view; the toolkit says where it is on the window.
    [[nodiscard]] std::optional<Point> placeOf(const Gdk::Event& event) const {
        double x = 0.0;
        double y = 0.0;
        Gtk::Native* const native = widget_.get_native();
        if (!native || !event.get_position(x, y))
            return std::nullopt;
        double left = 0.0;
        double top = 0.0;
        native->get_surface_transform(left, top);
        auto* const window = dynamic_cast<Gtk::Widget*>(native);
        double ownX = 0.0;
        double ownY = 0.0;
        if (!window || !window->translate_coordinates(widget_, x - left, y - top, ownX, ownY))
            return std::nullopt;
        return Point{ownX, ownY};
    }

    void showCursor(Point place) {
        const Cursor cursor = surface.events().cursorAt(place);
        if (std::exchange(cursor_, cursor) == cursor)
            return;
        if (cursor == Cursor::pointingHand)
            widget_.set_cursor("pointer");
        else
            widget_.set_cursor();
    }

    // The keyboard. The toolkit leads the focus from stand-in to stand-in, and so from view to view.

    void listenToKeys() {
        const auto keys = Gtk::EventControllerKey::create();
        connections_.push_back(keys->signal_key_pressed().connect(
            [this](unsigned int value, unsigned int /*code*/, Gdk::ModifierType state) {
                const Key key = keyOf(value);
                return key != Key::tab && surface.events().keyPressed({key, textOf(value), modifiersOf(state),
                                                                       std::exchange(held_, value) == value});
            },
            false));
        connections_.push_back(keys->signal_key_released().connect(
            [this](unsigned int /*value*/, unsigned int /*code*/, Gdk::ModifierType /*state*/) { held_ = 0; }));
        widget_.add_controller(keys);
    }

    void focused(const std::shared_ptr<View>& view) {
        if (surface.events().focused() != view)
            surface.events().setFocused(view.get(), Focus::visible);
    }

    // A click may have given the focus to another view by now.
    void unfocused(const std::shared_ptr<View>& view) {
        if (surface.events().focused() == view)
            surface.events().setFocused(nullptr);
    }

    // The toolkit follows a click.
    void focusQuietly() {
        const std::shared_ptr<View> view = surface.events().focused();
        if (!view)
            return;
        for (const auto& one : standIns_)
            if (StandIn* const found = one->find(*view)) {
                if (!found->widget().has_focus())
                    found->widget().grab_focus();
                return;
            }
    }

    GtkView& widget_;
    Tiles tiles_;
    Onlooker onlooker_{[this] { updateVisibility(); }};
    StandIn::Handlers handlers_{[this](const std::shared_ptr<View>& view) { focused(view); },
                                [this](const std::shared_ptr<View>& view) { unfocused(view); },
                                [](const std::shared_ptr<View>& view) { view->press(); }};
    std::vector<std::unique_ptr<StandIn>> standIns_;
    std::vector<sigc::connection> connections_;
    sigc::connection afterFrame_;
    Size natural_;
    std::optional<Appearance> appearance_; // as the theme says
    guint frames_ = 0;
    bool isChanged_ = false;
    bool isDrawing_ = false;
    Point pointer_;
    Cursor cursor_ = Cursor::arrow;
    unsigned int held_ = 0; // the key that went down last
};

GtkView::GtkView(std::shared_ptr<View> view)
    : Glib::ObjectBase("SentrelKitView"), state_(std::make_unique<State>(*this, std::move(view))) {
    property_accessible_role().set_value(Gtk::Accessible::Role::GROUP);
}

GtkView::~GtkView() = default;

const std::shared_ptr<View>& GtkView::view() const noexcept {
    return state_->surface.view();
}

Surface& GtkView::surface() noexcept {
    return state_->surface;
}

Gtk::SizeRequestMode GtkView::get_request_mode_vfunc() const {
    return Gtk::SizeRequestMode::CONSTANT_SIZE;
}

void GtkView::measure_vfunc(Gtk::Orientation orientation, int /*for_size*/, int& minimum, int& natural,
                            int& minimum_baseline, int& natural_baseline) const {
    const Size size = state_->naturalSize();
    minimum = 0;
    natural = static_cast<int>(std::ceil(orientation == Gtk::Orientation::HORIZONTAL ? size.width : size.height));
    minimum_baseline = natural_baseline = -1;
}

void GtkView::size_allocate_vfunc(int width, int height, int /*baseline*/) {
    state_->allocate(width, height);
}

void GtkView::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    state_->draw(*snapshot.get());
}

void GtkView::on_map() {
    Gtk::Widget::on_map();
    state_->map();
}

void GtkView::on_unmap() {
    state_->unmap();
    Gtk::Widget::on_unmap();
}

} // namespace sentrel
