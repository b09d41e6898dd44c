// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/qt/detail/QtAccessibility.h>

#include <SentrelKit/embed/qt/QtView.h>

#include <QAccessibleWidget>
#include <QPointer>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace sentrel {

namespace {

using Elements = std::vector<AccessibleElement>;

// An element and what it lies in, which is null for the widget itself.
struct Found {
    const AccessibleElement* element = nullptr;
    const AccessibleElement* parent = nullptr;
};

Found find(const Elements& elements, const std::shared_ptr<View>& view, const AccessibleElement* parent = nullptr) {
    for (const AccessibleElement& element : elements) {
        if (element.view.lock() == view)
            return {&element, parent};
        if (const Found inside = find(element.children, view, &element); inside.element)
            return inside;
    }
    return {};
}

const AccessibleElement* findFocused(const Elements& elements) {
    for (const AccessibleElement& element : elements) {
        if (element.isFocused)
            return &element;
        if (const AccessibleElement* inside = findFocused(element.children))
            return inside;
    }
    return nullptr;
}

// The innermost element at a point of the surface; what comes later lies above.
const AccessibleElement* findAt(const Elements& elements, Point point) {
    for (auto element = elements.rbegin(); element != elements.rend(); ++element) {
        if (const AccessibleElement* inside = findAt(element->children, point))
            return inside;
        if (element->frame.contains(point, true))
            return &*element;
    }
    return nullptr;
}

QAccessible::Role roleOf(AccessibilityRole role) {
    switch (role) {
    case AccessibilityRole::none:
        break;
    case AccessibilityRole::group:
        return QAccessible::Grouping;
    case AccessibilityRole::staticText:
        return QAccessible::StaticText;
    case AccessibilityRole::image:
        return QAccessible::Graphic;
    case AccessibilityRole::levelIndicator:
        return QAccessible::ProgressBar; // Qt has no word for a level that is no progress
    case AccessibilityRole::button:
        return QAccessible::Button;
    case AccessibilityRole::link:
        return QAccessible::Link;
    case AccessibilityRole::toggle:
        return QAccessible::CheckBox;
    }
    return QAccessible::NoRole;
}

bool canBePressed(AccessibilityRole role) {
    return role == AccessibilityRole::button || role == AccessibilityRole::link || role == AccessibilityRole::toggle;
}

QRect onScreen(const QtView& widget, Rect frame) {
    const QRect rect = QRectF(frame.x, frame.y, frame.width, frame.height).toRect();
    return {widget.mapToGlobal(rect.topLeft()), rect.size()};
}

// One view. It asks for the elements anew each time: assistive technology asks seldom, views change often.
class ViewObject final : public QAccessibleInterface,
                         public QAccessibleValueInterface,
                         public QAccessibleActionInterface {
public:
    ViewObject(QtView& widget, QtAccessibility& objects, std::weak_ptr<View> view)
        : widget_(widget), objects_(objects), view_(std::move(view)) {}

    bool isValid() const override { return found().element != nullptr; }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return widget_.window()->windowHandle(); }

    QAccessibleInterface* parent() const override {
        const Found self = found();
        return self.parent ? objects_.objectOf(*self.parent) : QAccessible::queryAccessibleInterface(&widget_);
    }
    int childCount() const override { return static_cast<int>(children().size()); }
    QAccessibleInterface* child(int index) const override { return objects_.objectOf(children(), index); }
    int indexOfChild(const QAccessibleInterface* wanted) const override { return objects_.indexOf(children(), wanted); }
    QAccessibleInterface* childAt(int x, int y) const override { return objects_.objectAt(children(), x, y); }

    QAccessible::Role role() const override {
        const Found self = found();
        return self.element ? roleOf(self.element->role) : QAccessible::NoRole;
    }
    QString text(QAccessible::Text kind) const override {
        const Found self = found();
        if (!self.element)
            return {};
        QString value = QString::fromStdString(self.element->value.value_or(""));
        switch (kind) {
        case QAccessible::Name:
            return QString::fromStdString(self.element->name);
        case QAccessible::Value:
            return value;
        case QAccessible::Description: // the one text besides the name that Qt hands on; a level is told as a number
            return self.element->level ? QString() : value;
        default:
            return {};
        }
    }
    void setText(QAccessible::Text /*kind*/, const QString& /*text*/) override {}
    QRect rect() const override {
        const Found self = found();
        return self.element ? onScreen(widget_, self.element->frame) : QRect();
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        const Found self = found();
        if (!self.element) {
            state.invalid = true;
            return state;
        }
        state.disabled = !self.element->isEnabled;
        state.focusable = self.element->isFocusable;
        state.focused = self.element->isFocused && widget_.hasFocus();
        state.invisible = !widget_.surface().isVisible();
        state.readOnly = self.element->level.has_value();
        state.checkable = self.element->role == AccessibilityRole::toggle;
        state.checked = state.checkable && self.element->value == "on";
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override {
        const Found self = found();
        if (type == QAccessible::ActionInterface)
            return static_cast<QAccessibleActionInterface*>(this);
        if (type == QAccessible::ValueInterface && self.element && self.element->level)
            return static_cast<QAccessibleValueInterface*>(this);
        return nullptr;
    }

    // The figure.

    QVariant currentValue() const override {
        const Found self = found();
        return self.element ? self.element->level.value_or(0.0) : 0.0;
    }
    void setCurrentValue(const QVariant& /*value*/) override {}
    QVariant minimumValue() const override { return 0.0; }
    QVariant maximumValue() const override { return 100.0; }
    QVariant minimumStepSize() const override { return 0.0; }

    // What can be done with it.

    QStringList actionNames() const override {
        const Found self = found();
        QStringList names;
        if (self.element && self.element->isEnabled && canBePressed(self.element->role))
            names << pressAction();
        if (self.element && self.element->isFocusable)
            names << setFocusAction();
        return names;
    }
    void doAction(const QString& name) override {
        const std::shared_ptr<View> view = view_.lock();
        if (!view || !actionNames().contains(name))
            return;
        if (name == pressAction()) {
            view->press(); // last: it may take all of this away
            return;
        }
        widget_.setFocus(Qt::OtherFocusReason);
        widget_.surface().events().setFocused(view.get());
    }
    QStringList keyBindingsForAction(const QString& /*name*/) const override { return {}; }

private:
    // What is found lives until the next call.
    Found found() const {
        const std::shared_ptr<View> view = view_.lock();
        if (!view)
            return {};
        elements_ = objects_.elements();
        return find(elements_, view);
    }
    Elements children() const {
        const Found self = found();
        return self.element ? self.element->children : Elements();
    }

    QtView& widget_;
    QtAccessibility& objects_;
    const std::weak_ptr<View> view_;
    mutable Elements elements_;
};

} // namespace

// The widget, in which the views lie.
class QtAccessibility::WidgetObject final : public QAccessibleWidget {
public:
    WidgetObject(QtView& widget, QtAccessibility& objects)
        : QAccessibleWidget(&widget, QAccessible::Grouping), objects_(objects) {}
    ~WidgetObject() override { objects_.widgetObject_ = nullptr; }

    int childCount() const override { return static_cast<int>(objects_.elements().size()); }
    QAccessibleInterface* child(int index) const override { return objects_.objectOf(objects_.elements(), index); }
    int indexOfChild(const QAccessibleInterface* wanted) const override {
        return objects_.indexOf(objects_.elements(), wanted);
    }
    QAccessibleInterface* childAt(int x, int y) const override { return objects_.objectAt(objects_.elements(), x, y); }
    QAccessibleInterface* focusChild() const override {
        const Elements elements = objects_.elements();
        const AccessibleElement* focused = objects_.widget_.hasFocus() ? findFocused(elements) : nullptr;
        return focused ? objects_.objectOf(*focused) : QAccessibleWidget::focusChild();
    }

private:
    QtAccessibility& objects_;
};

QtAccessibility::QtAccessibility(QtView& widget) : widget_(widget) {}

QtAccessibility::~QtAccessibility() {
    if (widgetObject_)
        QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(widgetObject_));
    for (const auto& [view, object] : objects_)
        QAccessible::deleteAccessibleInterface(object.id);
}

QAccessibleInterface* QtAccessibility::makeWidgetObject() {
    return widgetObject_ = new WidgetObject(widget_, *this);
}

Elements QtAccessibility::elements() const {
    return widget_.surface().accessibleElements();
}

QAccessibleInterface* QtAccessibility::objectOf(const AccessibleElement& element) {
    const std::shared_ptr<View> view = element.view.lock();
    if (!view)
        return nullptr;
    Object& object = objects_[view.get()];
    if (object.view.lock() != view) { // none yet, or that of a view which lay at the same place in memory
        if (object.id != 0)
            QAccessible::deleteAccessibleInterface(object.id);
        // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): it is Qt's from here on
        object = {view, QAccessible::registerAccessibleInterface(new ViewObject(widget_, *this, view))};
    }
    return QAccessible::accessibleInterface(object.id);
}

QAccessibleInterface* QtAccessibility::objectOf(const Elements& elements, int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= elements.size())
        return nullptr;
    return objectOf(elements[static_cast<std::size_t>(index)]);
}

int QtAccessibility::indexOf(const Elements& elements, const QAccessibleInterface* object) {
    const auto found = std::ranges::find(elements, object, [this](const auto& element) { return objectOf(element); });
    return found == elements.end() ? -1 : static_cast<int>(found - elements.begin());
}

QAccessibleInterface* QtAccessibility::objectAt(const Elements& elements, int x, int y) {
    const QPoint point = widget_.mapFromGlobal(QPoint(x, y));
    const AccessibleElement* const at = findAt(elements, {double(point.x()), double(point.y())});
    return at ? objectOf(*at) : nullptr;
}

void QtAccessibility::tellChanges() {
    for (auto entry = objects_.begin(); entry != objects_.end();) {
        if (entry->second.view.expired()) {
            QAccessible::deleteAccessibleInterface(entry->second.id);
            entry = objects_.erase(entry);
        } else {
            ++entry;
        }
    }
    std::map<const View*, Told> told;
    tell(elements(), told);
    told_ = std::move(told);
}

void QtAccessibility::tell(const Elements& elements, std::map<const View*, Told>& told) {
    for (const AccessibleElement& element : elements) {
        const std::shared_ptr<View> view = element.view.lock();
        QAccessibleInterface* const object = objectOf(element);
        if (!object)
            continue;
        const auto say = [&](QAccessible::Event kind) {
            QAccessibleEvent event(object, kind);
            QAccessible::updateAccessibility(&event);
        };
        const auto before = told_.find(view.get());
        const bool isNew = before == told_.end();
        if (isNew)
            say(QAccessible::ObjectCreated);
        else if (before->second.name != element.name)
            say(QAccessible::NameChanged);
        if (!isNew && element.level && before->second.level != element.level) {
            QAccessibleValueChangeEvent event(object, *element.level);
            QAccessible::updateAccessibility(&event);
        } else if (!isNew && !element.level && before->second.value != element.value) {
            say(QAccessible::DescriptionChanged);
        }
        if (element.isFocused && widget_.hasFocus() && (isNew || !before->second.isFocused))
            say(QAccessible::Focus);
        told[view.get()] = {element.name, element.value, element.level, element.isFocused && widget_.hasFocus()};
        tell(element.children, told);
    }
}

} // namespace sentrel
