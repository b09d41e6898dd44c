// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/Accessibility.h>

#include <gtkmm/widget.h>

#include <functional>
#include <memory>
#include <vector>

namespace sentrel {

/// What stands in the toolkit's tree for something that a view shows: assistive technology reads and presses it, and
/// the keyboard's focus goes to it. It draws nothing and no pointer finds it. Main thread.
class StandIn : public Gtk::Widget {
public:
    /// What the widget that holds all stand-ins does when the toolkit gives one of them something.
    struct Handlers {
        std::function<void(const std::shared_ptr<View>& view)> focused;   ///< the toolkit gave the focus to it
        std::function<void(const std::shared_ptr<View>& view)> unfocused; ///< and took it away
        std::function<void(const std::shared_ptr<View>& view)> pressed;   ///< assistive technology pressed it
    };

    /// For an element, whose role it keeps.
    StandIn(const AccessibleElement& element, const Handlers& handlers);
    ~StandIn() override;
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    /// Whether it can stand for an element: the same view in the same role.
    [[nodiscard]] bool standsFor(const AccessibleElement& element) const;

    /// Tells what is new, of the element and of those in it; `origin` is where the widget around it lies on the
    /// surface.
    void update(const AccessibleElement& element, Point origin);

    /// Gives the widget its place in the one around it.
    void place();

    /// The widget.
    [[nodiscard]] Gtk::Widget& widget() noexcept { return *widget_; }

    /// The stand-in for a view, this one or one in it, or null.
    [[nodiscard]] StandIn* find(const View& view);

    /// Makes a list of stand-ins that of the elements, keeping those that stay; `parent` is the widget around them.
    static void match(std::vector<std::unique_ptr<StandIn>>& list, const std::vector<AccessibleElement>& elements,
                      Gtk::Widget& parent, Point origin, const Handlers& handlers);

private:
    void tell(const AccessibleElement& element);

    std::unique_ptr<Gtk::Widget> widget_;
    std::weak_ptr<View> view_;
    AccessibilityRole role_;
    const Handlers& handlers_;
    sigc::connection entered_;
    sigc::connection left_;
    Rect frame_;
    std::string name_;
    std::optional<std::string> value_;
    std::vector<std::unique_ptr<StandIn>> inside_;
};

} // namespace sentrel
