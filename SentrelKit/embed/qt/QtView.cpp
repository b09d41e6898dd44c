// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/qt/QtView.h>

#include <SentrelKit/embed/qt/detail/MainQueueNotifier.h>
#include <SentrelKit/embed/qt/detail/QtAccessibility.h>
#include <SentrelKit/embed/qt/detail/QtEvents.h>

#include <QCoreApplication>
#include <QHelpEvent>
#include <QImage>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QTimer>
#include <QToolTip>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace sentrel {

namespace {

// Sent by a widget to itself: what was asked for since the last one is shown together.
QEvent::Type showChangesEvent() {
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

Point pointOf(QPointF point) {
    return {point.x(), point.y()};
}

// Whole logical pixels, and one more on each side: at a fractional scale they end inside pixels of the screen.
QRect damageOf(Rect rect) {
    return QRectF(rect.x, rect.y, rect.width, rect.height).toAlignedRect().adjusted(-1, -1, 1, 1);
}

bool acceptsFocus(const View& view) {
    return !view.isHidden() && (view.acceptsFocus() || std::ranges::any_of(view.subviews(), [](const auto& inner) {
                                    return acceptsFocus(*inner);
                                }));
}

} // namespace

class QtView::State final : public QObject {
public:
    State(QtView& owner, std::shared_ptr<View> view)
        : widget(owner), surface(std::move(view)), accessibility(owner),
          followsPalette(!surface.view()->appearance().has_value()) {
        frames.setTimerType(Qt::PreciseTimer);
        connect(&frames, &QTimer::timeout, this, [this] { showFrame(); });
        surface.setDisplayHandler([this] { askForChanges(); });
        surface.setFramesHandler([this](bool needed) { setFrames(needed); });
        followPalette();
        followFocus();
    }
    ~State() override {
        if (followsPalette)
            surface.view()->setAppearance(std::nullopt);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    static QAccessibleInterface* makeAccessible(const QString& /*name*/, QObject* object) {
        auto* const view = dynamic_cast<QtView*>(object);
        return view ? view->state_->accessibility.makeWidgetObject() : nullptr;
    }

    // The window's own word on whether it is seen comes to the window alone.
    bool eventFilter(QObject* object, QEvent* event) override {
        // Of a window that comes back, either may be told first.
        if (object == window && (event->type() == QEvent::Expose || event->type() == QEvent::WindowStateChange))
            updateVisibility();
        if (object == window && event->type() == QEvent::WindowBlocked)
            surface.events().cancel(); // by a dialogue, which gets the release
        return false;
    }

    void updateVisibility() {
        QWindow* const present = widget.window()->windowHandle();
        if (window != present) {
            if (window)
                window->removeEventFilter(this);
            window = present;
            if (window)
                window->installEventFilter(this);
        }
        // Without a window of its own, say in a graphics scene, a widget knows only whether it is shown.
        const bool isSeen = !window || (window->isExposed() && !window->windowStates().testFlag(Qt::WindowMinimized));
        setVisible(widget.isVisible() && isSeen);
    }

    void setVisible(bool visible) {
        if (!visible) {
            surface.events().cancel();
            pixels = QImage();
        }
        surface.setVisible(visible);
    }

    void followPalette() {
        constexpr int middle = 128; // of 0, black, to 255, white
        const bool isDark = widget.palette().color(QPalette::Window).lightness() < middle;
        if (followsPalette)
            surface.view()->setAppearance(isDark ? Appearance::dark : Appearance::light);
    }

    // A widget without controls is none that Tab leads to.
    void followFocus() { widget.setFocusPolicy(acceptsFocus(*surface.view()) ? Qt::StrongFocus : Qt::NoFocus); }

    // Many views may change one after the other.
    void askForChanges() {
        if (!std::exchange(isAskedFor, true))
            QCoreApplication::postEvent(&widget, new QEvent(showChangesEvent()));
    }

    // Whether anything is to be drawn.
    bool showChanges() {
        isAskedFor = false;
        if (const QSize size = widget.sizeHint(); std::exchange(toldSize, size) != size)
            widget.updateGeometry();
        followFocus();
        const std::vector<Rect> damage = surface.dirtyRects();
        for (const Rect& rect : damage)
            widget.update(damageOf(rect));
        if (QAccessible::isActive())
            accessibility.tellChanges();
        return !damage.empty();
    }

    void setFrames(bool needed) {
        if (!needed) {
            frames.stop();
            return;
        }
        const qreal rate = widget.screen()->refreshRate();
        const double milliseconds = 1000.0 / (rate > 1.0 ? rate : 60.0);
        frames.start(std::chrono::milliseconds(std::lround(milliseconds)));
    }

    void showFrame() {
        if (showChanges())
            return;
        // What moved lies outside the picture by now: a whole one tells that it is over.
        pixels = QImage();
        widget.update();
    }

    void pointTo(QPointF point, Qt::KeyboardModifiers modifiers) {
        EventRouter& events = surface.events();
        events.moved(pointOf(point), modifiersOf(modifiers));
        if (events.cursorAt(pointOf(point)) == Cursor::pointingHand)
            widget.setCursor(Qt::PointingHandCursor);
        else
            widget.unsetCursor();
    }

    void paint(const QRegion& region) {
        const double scale = widget.devicePixelRatioF();
        const QSize size(static_cast<int>(std::ceil(widget.width() * scale)),
                         static_cast<int>(std::ceil(widget.height() * scale)));
        std::vector<Rect> damage = surface.dirtyRects();
        if (pixels.size() != size || pixels.devicePixelRatio() != scale) {
            pixels = QImage(size, QImage::Format_ARGB32_Premultiplied);
            pixels.setDevicePixelRatio(scale);
            pixels.fill(Qt::transparent);
            damage = {{0.0, 0.0, double(widget.width()), double(widget.height())}};
        }
        if (!damage.empty() && !surface.drawPixels(pixels.bits(), pixels.width(), pixels.height(),
                                                   static_cast<int>(pixels.bytesPerLine()), scale, damage))
            return;
        QPainter painter(&widget); // clips to the region
        painter.drawImage(0, 0, pixels);
        // Qt may ask for a part before it asks for what was marked.
        for (const Rect& rect : damage)
            if (const QRegion rest = QRegion(damageOf(rect) & widget.rect()) - region; !rest.isEmpty())
                widget.update(rest);
    }

    QtView& widget;
    Surface surface;
    QtAccessibility accessibility;
    QTimer frames;
    QPointer<QWindow> window;
    QImage pixels; ///< what is shown, as long as somebody sees it
    QSize toldSize;
    const bool followsPalette; ///< the view has no appearance of its own
    bool isAskedFor = false;
};

QtView::QtView(std::shared_ptr<View> view, QWidget* parent) : QWidget(parent) {
    static const bool isKnownToAccessibility = [] {
        QAccessible::installFactory(&State::makeAccessible);
        return true;
    }();
    static_cast<void>(isKnownToAccessibility);
    serveMainQueue();
    const Size size = view->frame().width > 0 ? Size{view->frame().width, view->frame().height} : view->naturalSize();
    state_ = std::make_unique<State>(*this, std::move(view));
    setMouseTracking(true);
    resize(static_cast<int>(std::ceil(size.width)), static_cast<int>(std::ceil(size.height)));
}

QtView::~QtView() = default;

const std::shared_ptr<View>& QtView::view() const noexcept {
    return state_->surface.view();
}

Surface& QtView::surface() noexcept {
    return state_->surface;
}

QSize QtView::sizeHint() const {
    const Size size = state_->surface.naturalSize();
    return {static_cast<int>(std::ceil(size.width)), static_cast<int>(std::ceil(size.height))};
}

void QtView::serveMainQueue() {
    serveMainQueueInQt();
}

bool QtView::event(QEvent* event) {
    if (event->type() == showChangesEvent()) {
        state_->showChanges();
        return true;
    }
    switch (event->type()) {
    case QEvent::KeyPress:
        // Before Qt takes Tab for itself. What was pressed may take the widget away.
        if (state_->surface.events().keyPressed(keyOf(static_cast<const QKeyEvent&>(*event)))) {
            event->accept();
            return true;
        }
        break;
    case QEvent::ToolTip: {
        const auto& help = static_cast<const QHelpEvent&>(*event);
        const std::string text = state_->surface.events().toolTipAt(pointOf(help.pos()));
        if (text.empty())
            break; // the widget's own
        QToolTip::showText(help.globalPos(), QString::fromStdString(text).toHtmlEscaped(), this);
        return true;
    }
    default:
        break;
    }
    return QWidget::event(event);
}

void QtView::paintEvent(QPaintEvent* event) {
    state_->paint(event->region());
}

void QtView::resizeEvent(QResizeEvent* event) {
    state_->surface.setSize({double(event->size().width()), double(event->size().height())});
}

void QtView::showEvent(QShowEvent* /*event*/) {
    state_->followFocus(); // before the window may give the focus to it
    state_->updateVisibility();
}

void QtView::hideEvent(QHideEvent* /*event*/) {
    state_->setVisible(false);
}

void QtView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::EnabledChange)
        state_->surface.view()->setEnabled(isEnabled());
    if (event->type() == QEvent::PaletteChange)
        state_->followPalette();
    QWidget::changeEvent(event);
}

void QtView::enterEvent(QEnterEvent* event) {
    state_->pointTo(event->position(), event->modifiers());
}

void QtView::leaveEvent(QEvent* /*event*/) {
    state_->surface.events().left();
}

void QtView::mouseMoveEvent(QMouseEvent* event) {
    state_->pointTo(event->position(), event->modifiers());
}

void QtView::mousePressEvent(QMouseEvent* event) {
    const std::optional<MouseButton> button = buttonOf(event->button());
    if (!button)
        return event->ignore();
    state_->surface.events().pressed(pointOf(event->position()), *button, modifiersOf(event->modifiers()));
}

void QtView::mouseDoubleClickEvent(QMouseEvent* event) {
    mousePressEvent(event); // a second press, for views
}

void QtView::mouseReleaseEvent(QMouseEvent* event) {
    const std::optional<MouseButton> button = buttonOf(event->button());
    if (!button)
        return event->ignore();
    // Last: an action may take the widget away.
    state_->surface.events().released(pointOf(event->position()), *button, modifiersOf(event->modifiers()));
}

void QtView::wheelEvent(QWheelEvent* event) {
    event->setAccepted(state_->surface.events().scrolled(scrollOf(*event)));
}

void QtView::focusInEvent(QFocusEvent* event) {
    EventRouter& events = state_->surface.events();
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason) {
        events.setFocused(nullptr);
        event->reason() == Qt::TabFocusReason ? events.focusNext() : events.focusPrevious();
    } else {
        events.keyboardCame();
    }
}

void QtView::focusOutEvent(QFocusEvent* /*event*/) {
    state_->surface.events().keyboardLeft();
}

bool QtView::focusNextPrevChild(bool next) {
    const bool found = QWidget::focusNextPrevChild(next);
    if (!hasFocus())
        return found;
    // There is no other widget: it begins anew.
    EventRouter& events = state_->surface.events();
    events.setFocused(nullptr);
    return next ? events.focusNext() : events.focusPrevious();
}

} // namespace sentrel
