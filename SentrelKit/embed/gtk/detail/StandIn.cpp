// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/gtk/detail/StandIn.h>

#include <SentrelKit/views/View.h>

#include <giomm/simpleactiongroup.h>
#include <gtkmm/eventcontrollerfocus.h>
#include <gtkmm/levelbar.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace sentrel {

namespace {

Gtk::Accessible::Role roleOf(AccessibilityRole role) noexcept {
    switch (role) {
    case AccessibilityRole::staticText:
        return Gtk::Accessible::Role::LABEL;
    case AccessibilityRole::image:
        return Gtk::Accessible::Role::IMG;
    case AccessibilityRole::levelIndicator:
        return Gtk::Accessible::Role::METER;
    case AccessibilityRole::button:
        return Gtk::Accessible::Role::BUTTON;
    case AccessibilityRole::link:
        return Gtk::Accessible::Role::LINK;
    case AccessibilityRole::toggle:
        return Gtk::Accessible::Role::CHECKBOX;
    case AccessibilityRole::group:
    case AccessibilityRole::none:
        break;
    }
    return Gtk::Accessible::Role::GROUP;
}

// A widget that takes any size and shows nothing.
template <class Kind>
class Blank : public Kind {
public:
    Blank(const char* typeName, std::function<void()> placeInner)
        : Glib::ObjectBase(typeName), placeInner_(std::move(placeInner)) {}

protected:
    void measure_vfunc(Gtk::Orientation /*orientation*/, int /*for_size*/, int& minimum, int& natural,
                       int& minimum_baseline, int& natural_baseline) const override {
        minimum = natural = 0;
        minimum_baseline = natural_baseline = -1;
    }
    void size_allocate_vfunc(int /*width*/, int /*height*/, int /*baseline*/) override { placeInner_(); }
    void snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& /*snapshot*/) override {}

private:
    std::function<void()> placeInner_;
};

bool canBePressed(AccessibilityRole role) noexcept {
    return role == AccessibilityRole::button || role == AccessibilityRole::link || role == AccessibilityRole::toggle;
}

} // namespace

StandIn::StandIn(const AccessibleElement& element, const Handlers& handlers)
    : view_(element.view), role_(element.role), handlers_(handlers) {
    const auto placeInner = [this] {
        for (const auto& inner : inside_)
            inner->place();
    };
    // Only the toolkit's own widget of that kind has a figure that assistive technology reads.
    if (element.level)
        widget_ = std::make_unique<Blank<Gtk::LevelBar>>("SentrelKitLevel", placeInner);
    else
        widget_ = std::make_unique<Blank<Gtk::Widget>>("SentrelKitStandIn", placeInner);
    widget_->property_accessible_role().set_value(roleOf(role_));
    widget_->set_can_target(false);
    const auto focus = Gtk::EventControllerFocus::create();
    const auto tell = [this](const std::function<void(const std::shared_ptr<View>&)>& handler) {
        return [this, &handler] {
            if (const std::shared_ptr<View> view = view_.lock())
                handler(view);
        };
    };
    entered_ = focus->signal_enter().connect(tell(handlers_.focused));
    left_ = focus->signal_leave().connect(tell(handlers_.unfocused));
    widget_->add_controller(focus);
    if (!canBePressed(role_))
        return;
    const auto actions = Gio::SimpleActionGroup::create();
    actions->add_action("press", tell(handlers_.pressed));
    widget_->insert_action_group("view", actions);
}

StandIn::~StandIn() {
    // The toolkit may keep its part of the widget, and tell it that the focus goes.
    entered_.disconnect();
    left_.disconnect();
    widget_->insert_action_group("view", {});
    inside_.clear();
    if (widget_->get_parent())
        widget_->unparent();
}

bool StandIn::standsFor(const AccessibleElement& element) const {
    // The same control block: a view that took the place of one that is gone is another.
    const bool isLevel = dynamic_cast<const Gtk::LevelBar*>(widget_.get()) != nullptr;
    return role_ == element.role && isLevel == element.level.has_value() && !view_.owner_before(element.view) &&
           !element.view.owner_before(view_);
}

void StandIn::tell(const AccessibleElement& element) {
    GtkAccessible* const accessible = GTK_ACCESSIBLE(widget_->gobj());
    if (element.name != name_) {
        name_ = element.name;
        gtk_accessible_update_property(accessible, GTK_ACCESSIBLE_PROPERTY_LABEL, name_.c_str(), -1);
    }
    if (element.value == value_)
        return;
    value_ = element.value;
    const std::string value = value_.value_or(std::string());
    gtk_accessible_update_property(accessible, GTK_ACCESSIBLE_PROPERTY_DESCRIPTION, value.c_str(), -1);
    if (role_ == AccessibilityRole::toggle)
        gtk_accessible_update_state(accessible, GTK_ACCESSIBLE_STATE_CHECKED,
                                    value == "on" ? GTK_ACCESSIBLE_TRISTATE_TRUE : GTK_ACCESSIBLE_TRISTATE_FALSE, -1);
    if (role_ != AccessibilityRole::levelIndicator)
        return;
    gtk_accessible_update_property(accessible, GTK_ACCESSIBLE_PROPERTY_VALUE_TEXT, value.c_str(), -1);
    if (auto* const bar = dynamic_cast<Gtk::LevelBar*>(widget_.get())) {
        bar->set_max_value(100.0);
        bar->set_value(element.level.value_or(0.0));
    }
}

void StandIn::update(const AccessibleElement& element, Point origin) {
    tell(element);
    widget_->set_focusable(element.isFocusable);
    widget_->set_sensitive(element.isEnabled);
    frame_ = {element.frame.x - origin.x, element.frame.y - origin.y, element.frame.width, element.frame.height};
    match(inside_, element.children, *widget_, {element.frame.x, element.frame.y}, handlers_);
}

void StandIn::place() {
    const double left = std::round(frame_.x);
    const double top = std::round(frame_.y);
    widget_->size_allocate({static_cast<int>(left), static_cast<int>(top),
                            static_cast<int>(std::max(std::round(frame_.x + frame_.width) - left, 0.0)),
                            static_cast<int>(std::max(std::round(frame_.y + frame_.height) - top, 0.0))},
                           -1);
}

StandIn* StandIn::find(const View& view) {
    if (view_.lock().get() == &view)
        return this;
    for (const auto& inner : inside_)
        if (StandIn* const found = inner->find(view))
            return found;
    return nullptr;
}

void StandIn::match(std::vector<std::unique_ptr<StandIn>>& list, const std::vector<AccessibleElement>& elements,
                    Gtk::Widget& parent, Point origin, const Handlers& handlers) {
    std::vector<std::unique_ptr<StandIn>> before = std::exchange(list, {});
    Gtk::Widget* previous = nullptr;
    for (const AccessibleElement& element : elements) {
        const auto known =
            std::ranges::find_if(before, [&](const auto& one) { return one && one->standsFor(element); });
        if (known != before.end()) {
            list.push_back(std::move(*known));
        } else {
            list.push_back(std::make_unique<StandIn>(element, handlers));
            list.back()->widget().set_parent(parent);
        }
        Gtk::Widget& present = list.back()->widget();
        if (previous ? present.get_prev_sibling() != previous : present.get_prev_sibling() != nullptr) {
            if (previous)
                present.insert_after(parent, *previous);
            else
                present.insert_at_start(parent);
        }
        previous = &present;
        list.back()->update(element, origin);
    }
}

} // namespace sentrel
