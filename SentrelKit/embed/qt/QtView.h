// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A tree of views in a program of Qt Widgets. Main thread.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/Surface.h>

#include <QWidget>

#include <memory>

namespace sentrel {

/// Shows a view without superview, as large as the widget: a point is a logical pixel. A program needs no more than
/// this:
///
///     QApplication program(argc, argv);
///     auto ring = std::make_shared<sentrel::GaugeCircleChart>(sentrel::Rect{0, 0, 96, 96});
///     sentrel::QtView widget(ring);
///     widget.show();
///     return program.exec();
///
/// - What changes is drawn, and nothing else, at the scale of the widget's screen. While something moves by itself a
///   timer draws it at the screen's rate; at rest no timer runs.
/// - While nobody can see the widget (hidden, minimised, on another workspace, or covered as far as the system tells)
///   nothing is drawn and no timer runs. `surface().onVisibilityChanged()` tells, so that sampling can stop too.
/// - Pointer, wheel and keys reach the views; Tab leads through what takes the focus, then to the next widget.
/// - Assistive technology is told each view's role, name and value, may press it and give it the focus.
/// - A view without an appearance of its own follows the widget's palette, light or dark.
/// - The first widget makes the main queue run in the program's loop, whether Qt has GLib or not.
///
/// A view's action may hide the widget; to destroy it there, it calls `deleteLater`.
class SENTREL_API QtView : public QWidget {
public:
    /// Shows a view, which it keeps and whose display handler it takes.
    explicit QtView(std::shared_ptr<View> view, QWidget* parent = nullptr);

    /// The view, if others keep it, can be shown elsewhere then.
    ~QtView() override;

    /// The view that is shown.
    [[nodiscard]] const std::shared_ptr<View>& view() const noexcept;

    /// What the view is shown on: it tells whether anybody sees it. The size, the events and the handlers are the
    /// widget's business.
    [[nodiscard]] Surface& surface() noexcept;

    /// The size that the view would like to have.
    [[nodiscard]] QSize sizeHint() const override;

    /// Makes the main queue run in the program's loop from now on, for a program that uses it before its first widget,
    /// or without one. After the QCoreApplication is made; once is enough.
    static void serveMainQueue();

protected:
    /// @cond
    // What the toolkit asks and tells its widget.
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    /// @endcond

private:
    class State;
    std::unique_ptr<State> state_;
};

} // namespace sentrel
