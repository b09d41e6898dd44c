// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What assistive technology is told of a widget's views.

#include <SentrelKit/views/Accessibility.h>
#include <SentrelKit/views/View.h>

#include <QAccessible>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel {

class QtView;

/// The objects that stand for a widget's views, made as they are asked for. Main thread.
class QtAccessibility {
public:
    explicit QtAccessibility(QtView& widget);
    ~QtAccessibility();
    QtAccessibility(const QtAccessibility&) = delete;
    QtAccessibility& operator=(const QtAccessibility&) = delete;

    /// A new object that stands for the widget itself. Qt owns it.
    [[nodiscard]] QAccessibleInterface* makeWidgetObject();

    /// The widget's elements as they are now.
    [[nodiscard]] std::vector<AccessibleElement> elements() const;

    /// The object that stands for an element's view: the same one as long as the view lives.
    [[nodiscard]] QAccessibleInterface* objectOf(const AccessibleElement& element);

    /// The object of one of these elements by its place among them; null if there is none.
    [[nodiscard]] QAccessibleInterface* objectOf(const std::vector<AccessibleElement>& elements, int index);

    /// The place among these elements of the one that an object stands for; -1 if it is none of them.
    [[nodiscard]] int indexOf(const std::vector<AccessibleElement>& elements, const QAccessibleInterface* object);

    /// The object of the innermost of these elements at a point of the screen; null if there is none.
    [[nodiscard]] QAccessibleInterface* objectAt(const std::vector<AccessibleElement>& elements, int x, int y);

    /// Tells assistive technology what has changed since it was told last.
    void tellChanges();

private:
    class WidgetObject;

    struct Object {
        std::weak_ptr<View> view;
        QAccessible::Id id = 0;
    };

    /// What was told of an element.
    struct Told {
        std::string name;
        std::optional<std::string> value;
        std::optional<double> level;
        bool isFocused = false;
    };

    void tell(const std::vector<AccessibleElement>& elements, std::map<const View*, Told>& told);

    QtView& widget_;
    WidgetObject* widgetObject_ = nullptr; ///< while there is one
    std::map<const View*, Object> objects_;
    std::map<const View*, Told> told_;
};

} // namespace sentrel
