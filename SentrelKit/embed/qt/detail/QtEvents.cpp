// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/qt/detail/QtEvents.h>

#include <QApplication>

namespace sentrel {

namespace {

Key keyOf(int key) {
    switch (key) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab: // Qt's name for Shift-Tab
        return Key::tab;
    case Qt::Key_Space:
        return Key::space;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return Key::enter;
    case Qt::Key_Escape:
        return Key::escape;
    case Qt::Key_Left:
        return Key::left;
    case Qt::Key_Right:
        return Key::right;
    case Qt::Key_Up:
        return Key::up;
    case Qt::Key_Down:
        return Key::down;
    case Qt::Key_Home:
        return Key::home;
    case Qt::Key_End:
        return Key::end;
    case Qt::Key_PageUp:
        return Key::pageUp;
    case Qt::Key_PageDown:
        return Key::pageDown;
    default:
        return Key::other;
    }
}

} // namespace

Modifiers modifiersOf(Qt::KeyboardModifiers modifiers) {
    return {modifiers.testFlag(Qt::ShiftModifier), modifiers.testFlag(Qt::ControlModifier),
            modifiers.testFlag(Qt::AltModifier), modifiers.testFlag(Qt::MetaModifier)};
}

std::optional<MouseButton> buttonOf(Qt::MouseButton button) {
    switch (button) {
    case Qt::LeftButton:
        return MouseButton::primary;
    case Qt::RightButton:
        return MouseButton::secondary;
    case Qt::MiddleButton:
        return MouseButton::middle;
    default:
        return std::nullopt;
    }
}

ScrollEvent scrollOf(const QWheelEvent& event) {
    constexpr double eighthsAStep = 120.0; // of a degree, as Qt counts a wheel's usual step
    constexpr double pointsALine = 16.0;
    QPointF delta = event.pixelDelta();
    if (delta.isNull())
        delta = QPointF(event.angleDelta()) / eighthsAStep * QApplication::wheelScrollLines() * pointsALine;
    return {{event.position().x(), event.position().y()}, -delta.x(), -delta.y(), modifiersOf(event.modifiers())};
}

KeyEvent keyOf(const QKeyEvent& event) {
    return {keyOf(event.key()), event.text().toStdString(), modifiersOf(event.modifiers()), event.isAutoRepeat()};
}

} // namespace sentrel
