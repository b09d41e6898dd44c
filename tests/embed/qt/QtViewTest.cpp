// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/embed/qt/QtView.h>

#include "tests/embed/qt/QtProgram.h"
#include "tests/embed/support/AccessibleTree.h"
#include "tests/embed/support/ProcessFigures.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/TemporaryFolder.h"

#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/scripted/CompositePlatform.h>
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/views/CircleChart.h>
#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/FUIIndicator.h>
#include <SentrelKit/views/FUILink.h>
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/drawing/Picture.h>

#include <QAbstractEventDispatcher>
#include <QAccessible>
#include <QCoreApplication>
#include <QEventLoop>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QToolTip>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace sentrel {
namespace {

using testing::ElementsAre;

// A filled rectangle that counts how often it was drawn.
class Counted final : public View {
public:
    explicit Counted(Rect frame, Color color = FUIColor::emerald()) : View(frame), color_(color) {}
    void drawRect(Canvas& canvas, Rect rect) override {
        ++drawn;
        canvas.fill(Path::rect(rect), color_);
    }
    void mouseEntered(const MouseEvent& event) override { moves.push_back(event.location); }
    bool scrollWheel(const ScrollEvent& event) override {
        scrolls.push_back(event);
        return true;
    }

    int drawn = 0;
    std::vector<Point> moves;
    std::vector<ScrollEvent> scrolls;

private:
    Color color_;
};

// Where nothing of the program lies.
constexpr int awayX = 5;
constexpr int awayY = 1000;

class QtViewTest : public testing::Test {
protected:
    QtViewTest() { user.movePointer(awayX, awayY); }

    // Puts a title on a window, shows it and waits for it.
    void show(QWidget& widget, const char* title = "SentrelKit") {
        widget.setWindowTitle(title);
        widget.show();
        window = program.awaitShown(widget);
    }

    // The pixel of the screen at a point of a widget of the window: Qt's own global places are rounded at large scales.
    [[nodiscard]] QPoint onScreen(const QWidget& widget, double x, double y) const {
        const DisplayUser::Place corner = user.placeOf(window);
        const QPointF place = widget.mapTo(widget.window(), QPointF(x, y)) * widget.devicePixelRatioF();
        return QPoint(corner.x, corner.y) + place.toPoint();
    }

    void pointAt(const QWidget& widget, double x, double y) const {
        const QPoint place = onScreen(widget, x, y);
        user.movePointer(place.x(), place.y());
    }

    [[nodiscard]] std::uint32_t pixelAt(const QWidget& widget, double x, double y) const {
        const QPoint place = onScreen(widget, x, y);
        return user.screenshot({place.x(), place.y(), 1, 1}).at(0, 0);
    }

    // Whether the screen comes to show a colour there, to within a step of rounding.
    [[nodiscard]] bool awaitColor(const QWidget& widget, double x, double y, Color color) const {
        const auto isNear = [](std::uint32_t channel, double wanted) {
            return std::abs(static_cast<double>(channel & 0xFF) - wanted * 255.0) < 1.5;
        };
        return serveUntil([&] {
            const std::uint32_t pixel = pixelAt(widget, x, y);
            return isNear(pixel >> 16, color.red) && isNear(pixel >> 8, color.green) && isNear(pixel, color.blue);
        });
    }

    [[nodiscard]] Screenshot pictureOf(const QWidget& widget) const {
        const QPoint corner = onScreen(widget, 0, 0);
        const QPoint other = onScreen(widget, widget.width(), widget.height());
        return user.screenshot({corner.x(), corner.y(), other.x() - corner.x(), other.y() - corner.y()});
    }

    // For the eye: SENTREL_SCREENSHOTS names a folder.
    void keepPicture(const std::string& name) const {
        if (const char* folder = std::getenv("SENTREL_SCREENSHOTS"))
            user.screenshot(window).writePng(std::string(folder) + "/qt-" + name + ".png");
    }

    QtProgram& program = QtProgram::shared();
    const DisplayUser& user = program.user();
    DisplayUser::Window window = 0;
};

// A button with a title on it.
std::shared_ptr<FUIButton> makeButton(Rect frame, const std::string& title) {
    auto button = std::make_shared<FUIButton>(frame);
    auto label = std::make_shared<TextField>(Rect{0, 0, frame.width, frame.height});
    label->setAlignment(TextAlignment::center);
    label->setStringValue(title);
    button->setTitle(label);
    button->addSubview(label);
    return button;
}

std::shared_ptr<View> makeRoot(double width, double height) {
    return std::make_shared<View>(Rect{0, 0, width, height});
}

// Drawing.

// What the screen should show of a view that fills a widget, at its scale and over its ground.
Screenshot expectedPicture(const QtView& widget) {
    const double scale = widget.devicePixelRatioF();
    Screenshot picture{static_cast<int>(widget.width() * scale), static_cast<int>(widget.height() * scale), {}};
    picture.pixels.resize(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height));
    EXPECT_TRUE(
        renderPixels(*widget.view(), picture.pixels.data(), picture.width, picture.height, picture.width * 4, scale));
    const QRgb ground = widget.palette().color(QPalette::Window).rgb();
    for (std::uint32_t& pixel : picture.pixels) {
        std::uint32_t shown = 0;
        for (const unsigned int shift : {0U, 8U, 16U})
            shown |= ((pixel >> shift & 0xFF) + ((ground >> shift & 0xFF) * (255 - (pixel >> 24)) + 127) / 255)
                     << shift;
        pixel = shown;
    }
    return picture;
}

// Whether one shows the other, to within two steps of rounding. A side may have one pixel more, of which it has a part.
bool isClose(const Screenshot& shot, const Screenshot& expected) {
    if (std::abs(shot.width - expected.width) > 1 || std::abs(shot.height - expected.height) > 1)
        return false;
    for (int y = 0; y < std::min(shot.height, expected.height); ++y)
        for (int x = 0; x < std::min(shot.width, expected.width); ++x)
            for (const unsigned int shift : {0U, 8U, 16U})
                if (std::abs(static_cast<int>(shot.at(x, y) >> shift & 0xFF) -
                             static_cast<int>(expected.at(x, y) >> shift & 0xFF)) > 2)
                    return false;
    return true;
}

// A ring with a label, and another.
struct Rings {
    std::shared_ptr<View> root = makeRoot(215, 103);
    std::shared_ptr<GaugeCircleChart> left = std::make_shared<GaugeCircleChart>(Rect{0, 0, 103, 103});
    std::shared_ptr<GaugeCircleChart> right = std::make_shared<GaugeCircleChart>(Rect{112, 0, 103, 103});
    std::shared_ptr<TextField> label = std::make_shared<TextField>(Rect{0, 33, 103, 36});

    Rings() {
        label->setAlignment(TextAlignment::center);
        left->setMyLabel(label);
        left->addSubview(label);
        root->addSubview(left);
        root->addSubview(right);
        left->setPercent(42);
        right->setPercent(95);
    }
};

TEST_F(QtViewTest, ShowsTheViewPixelByPixelAtTheScaleOfTheScreen) {
    const Rings rings;
    QtView widget(rings.root);
    show(widget);
    if (const char* wanted = std::getenv("QT_SCALE_FACTOR")) {
        EXPECT_EQ(widget.devicePixelRatioF(), std::atof(wanted));
    }
    const Screenshot expected = expectedPicture(widget);
    EXPECT_TRUE(serveUntil([&] { return isClose(pictureOf(widget), expected); }));
    keepPicture("rings-at-" + std::to_string(widget.devicePixelRatioF()).substr(0, 4));
}

// At a fractional scale neither the widget nor what changes begins or ends with a pixel of the screen.
TEST_F(QtViewTest, APartDrawnAnewFitsTheRestPixelByPixelAtThePlaceOfTheWidget) {
    const Rings rings;
    QWidget host;
    host.resize(300, 200);
    auto* const widget = new QtView(rings.root, &host);
    widget->move(7, 13);
    show(host);
    ASSERT_TRUE(serveUntil([&] { return widget->surface().isVisible() && widget->surface().dirtyRects().empty(); }));
    rings.left->setPercent(83);
    ASSERT_TRUE(serveUntil([&] { return widget->surface().dirtyRects().empty(); }));
    rings.right->setPercent(7);
    ASSERT_TRUE(serveUntil([&] { return widget->surface().dirtyRects().empty(); }));
    const auto settled = [&] {
        Screenshot last;
        return serveUntil([&] {
            const Screenshot before = std::exchange(last, user.screenshot(window));
            return before == last;
        });
    };
    ASSERT_TRUE(settled());
    const Screenshot byParts = user.screenshot(window);
    keepPicture("by-parts-at-" + std::to_string(widget->devicePixelRatioF()).substr(0, 4));
    host.hide();
    host.show();
    ASSERT_TRUE(serveUntil([&] { return widget->surface().isVisible() && widget->surface().dirtyRects().empty(); }));
    EXPECT_TRUE(serveUntil([&] { return user.screenshot(window) == byParts; })) << "drawn as a whole";
}

TEST_F(QtViewTest, FollowsAScaleThatChangesWhileItIsShown) {
    const Rings rings;
    QtView widget(rings.root);
    show(widget);
    const double before = widget.devicePixelRatioF();
    for (const int dotsPerInch : {192, 120, 96}) {
        SCOPED_TRACE(dotsPerInch);
        program.settings().set({{"Xft/DPI", dotsPerInch * 1024}});
        const double scale = before * dotsPerInch / 96;
        ASSERT_TRUE(serveUntil([&] { return widget.devicePixelRatioF() == scale; }));
        // Qt takes the new scale for a window when its size changes.
        widget.resize(widget.width() + 1, widget.height() + 1);
        EXPECT_TRUE(serveUntil([&] { return isClose(pictureOf(widget), expectedPicture(widget)); }));
        keepPicture("at-" + std::to_string(dotsPerInch) + "-dots-per-inch");
    }
}

TEST_F(QtViewTest, OnlyWhatChangesIsDrawn) {
    const auto root = makeRoot(200, 100);
    const auto left = std::make_shared<Counted>(Rect{0, 0, 90, 100});
    const auto right = std::make_shared<Counted>(Rect{110, 0, 90, 100});
    root->addSubview(left);
    root->addSubview(right);
    QtView widget(root);
    show(widget);
    ASSERT_TRUE(awaitColor(widget, 150, 50, FUIColor::emerald()));
    const int before = left->drawn;
    const int drawn = right->drawn;
    right->setNeedsDisplay(true);
    EXPECT_TRUE(serveUntil([&] { return right->drawn == drawn + 1; }));
    EXPECT_EQ(left->drawn, before);
}

TEST_F(QtViewTest, SeveralChangesAreDrawnTogether) {
    const auto view = std::make_shared<Counted>(Rect{0, 0, 100, 100});
    QtView widget(view);
    show(widget);
    ASSERT_TRUE(awaitColor(widget, 50, 50, FUIColor::emerald()));
    const int before = view->drawn;
    for (int i = 0; i < 50; ++i)
        view->setNeedsDisplay(true);
    EXPECT_TRUE(serveUntil([&] { return view->drawn > before; }));
    EXPECT_EQ(view->drawn, before + 1);
}

TEST_F(QtViewTest, HasTheNaturalSizeOfItsViewAndFollowsIt) {
    QWidget host;
    auto* const layout = new QHBoxLayout(&host);
    const auto view = std::make_shared<Counted>(Rect{0, 0, 123, 45});
    auto* const widget = new QtView(view);
    EXPECT_EQ(widget->sizeHint(), QSize(123, 45));
    widget->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    layout->addWidget(widget);
    show(host);
    EXPECT_EQ(widget->size(), QSize(123, 45));
    EXPECT_EQ(view->frame(), Rect({0, 0, 123, 45}));
    view->setNaturalSize(Size{80, 60});
    EXPECT_TRUE(serveUntil([&] { return widget->size() == QSize(80, 60); }));
    EXPECT_EQ(view->frame(), Rect({0, 0, 80, 60}));
}

TEST_F(QtViewTest, FollowsALightOrDarkPalette) {
    const auto ring = std::make_shared<GaugeCircleChart>(Rect{0, 0, 96, 96});
    const auto label = std::make_shared<TextField>(Rect{0, 30, 96, 36});
    label->setAlignment(TextAlignment::center);
    ring->setMyLabel(label);
    ring->addSubview(label);
    ring->setPercent(42);
    QtView widget(ring);
    show(widget);
    // Of the green in the label's pixels.
    const auto extremes = [&] {
        const QPoint corner = onScreen(widget, 20, 35);
        const Screenshot shot = user.screenshot({corner.x(), corner.y(), 56, 26});
        std::pair<std::uint32_t, std::uint32_t> extreme = {0xFF, 0}; // the least and the most
        for (const std::uint32_t pixel : shot.pixels)
            extreme = {std::min(extreme.first, pixel >> 8 & 0xFF), std::max(extreme.second, pixel >> 8 & 0xFF)};
        return extreme;
    };
    EXPECT_TRUE(serveUntil([&] { return extremes().first < 0x20; })) << "black text";
    EXPECT_EQ(ring->effectiveAppearance(), Appearance::light);
    keepPicture("light");
    const QPalette before = QApplication::palette();
    QPalette dark(QColor(0x30, 0x30, 0x30));
    QApplication::setPalette(dark);
    EXPECT_TRUE(serveUntil([&] { return ring->effectiveAppearance() == Appearance::dark; }));
    EXPECT_TRUE(awaitColor(widget, 2, 2, Color{double(0x30) / 255, double(0x30) / 255, double(0x30) / 255}));
    EXPECT_TRUE(serveUntil([&] { return extremes().second > 0xE0; })) << "white text";
    keepPicture("dark");
    QApplication::setPalette(before);
    EXPECT_TRUE(serveUntil([&] { return extremes().first < 0x20; }));
}

TEST_F(QtViewTest, AViewWithAnAppearanceOfItsOwnKeepsIt) {
    const auto label = std::make_shared<TextField>(Rect{0, 0, 96, 36});
    label->setAppearance(Appearance::dark);
    const auto other = std::make_shared<TextField>(Rect{0, 0, 96, 36});
    {
        const QtView first(label);
        const QtView second(other);
        EXPECT_EQ(label->appearance(), Appearance::dark);
        EXPECT_EQ(other->appearance(), Appearance::light);
    }
    EXPECT_EQ(label->appearance(), Appearance::dark);
    EXPECT_EQ(other->appearance(), std::nullopt) << "to follow the next widget";
}

// The pointer.

TEST_F(QtViewTest, AButtonIsLitUnderThePointerPressedAndReleased) {
    const auto root = makeRoot(200, 100);
    const auto button = makeButton({20, 20, 160, 60}, "Eject");
    int sent = 0;
    button->setAction([&](Control&) { ++sent; });
    root->addSubview(button);
    QtView widget(root);
    show(widget);
    const Color resting = button->backgroundColor();
    ASSERT_TRUE(awaitColor(widget, 40, 30, resting));
    keepPicture("button-resting");
    const std::string arrow = user.pointerName();

    pointAt(widget, 40, 40);
    EXPECT_TRUE(awaitColor(widget, 40, 30, resting.blendedColor(0.15, FUIColor::white())));
    EXPECT_TRUE(serveUntil([&] { return user.pointerName() != arrow; })) << "a hand, and not " << arrow;
    keepPicture("button-under-the-pointer");
    user.pressButton();
    EXPECT_TRUE(awaitColor(widget, 40, 30, resting.blendedColor(0.15, FUIColor::black())));
    keepPicture("button-pressed");
    EXPECT_EQ(sent, 0);
    user.releaseButton();
    EXPECT_TRUE(serveUntil([&] { return sent == 1; }));
    EXPECT_TRUE(awaitColor(widget, 40, 30, resting));

    pointAt(widget, 5, 5);
    EXPECT_TRUE(serveUntil([&] { return user.pointerName() == arrow; }));
}

TEST_F(QtViewTest, APressThatEndsOutsideSendsNothing) {
    const auto root = makeRoot(200, 100);
    const auto button = makeButton({20, 20, 160, 60}, "Eject");
    int sent = 0;
    button->setAction([&](Control&) { ++sent; });
    root->addSubview(button);
    QtView widget(root);
    show(widget);
    const Color resting = button->backgroundColor();
    pointAt(widget, 40, 40);
    user.pressButton();
    ASSERT_TRUE(awaitColor(widget, 40, 30, resting.blendedColor(0.15, FUIColor::black())));
    user.movePointer(awayX, awayY); // outside the window too
    EXPECT_TRUE(awaitColor(widget, 40, 30, resting));
    user.releaseButton();
    // The next whole click is the first that counts.
    pointAt(widget, 40, 40);
    EXPECT_TRUE(awaitColor(widget, 40, 30, resting.blendedColor(0.15, FUIColor::white())));
    EXPECT_EQ(sent, 0);
    user.pressButton();
    user.releaseButton();
    EXPECT_TRUE(serveUntil([&] { return sent == 1; }));
}

TEST_F(QtViewTest, EachOfTwoQuickClicksCounts) {
    const auto button = makeButton({0, 0, 160, 60}, "Twice");
    int sent = 0;
    button->setAction([&](Control&) { ++sent; });
    QtView widget(button);
    show(widget);
    pointAt(widget, 40, 30);
    // The window manager looks at each press before the program does, and loses one that comes meanwhile.
    for (int click = 1; click <= 2; ++click) {
        user.pressButton();
        user.releaseButton();
        EXPECT_TRUE(serveUntil([&] { return sent == click; }));
    }
}

TEST_F(QtViewTest, ALinkOpensItsAddress) {
    platform::ScriptedPlatform script;
    platform::CompositePlatform machine(platform::current(), {.desktop = &script.desktop()});
    const platform::Override override(machine);
    const auto link = std::make_shared<FUILink>(Rect{0, 0, 200, 30});
    link->setStringValue("More about this");
    link->setUrl("https://example.org/more");
    link->setTextColor(FUIColor::peterRiver());
    QtView widget(link);
    show(widget);
    const QPoint place = onScreen(widget, 20, 15);
    user.click(place.x(), place.y());
    EXPECT_TRUE(serveUntil([&] { return !script.desktop().calls.list().empty(); }));
    EXPECT_THAT(script.desktop().calls.list(), ElementsAre("openAddress https://example.org/more"));
    keepPicture("link");
}

// As a host ejects a volume: what was asked for is asked once more, where the first button was.
TEST_F(QtViewTest, AConfirmationTakesThePlaceOfItsButton) {
    const auto root = makeRoot(260, 60);
    int ejected = 0;
    const auto eject = makeButton({10, 10, 110, 40}, "Eject");
    const auto sure = makeButton({10, 10, 110, 40}, "Really");
    const auto cancel = makeButton({140, 10, 110, 40}, "Cancel");
    sure->setBackgroundColor(FUIColor::alizarin());
    const auto ask = [&](bool isAsking) {
        eject->setHidden(isAsking);
        sure->setHidden(!isAsking);
        cancel->setHidden(!isAsking);
    };
    eject->setAction([&](Control&) { ask(true); });
    sure->setAction([&](Control&) {
        ++ejected;
        ask(false);
    });
    cancel->setAction([&](Control&) { ask(false); });
    for (const auto& button : {eject, sure, cancel})
        root->addSubview(button);
    ask(false);
    QtView widget(root);
    show(widget);
    const auto click = [&](double x, double y) {
        const QPoint place = onScreen(widget, x, y);
        user.click(place.x(), place.y());
    };
    click(30, 30);
    EXPECT_TRUE(awaitColor(widget, 200, 18, FUIColor::turquoise())) << "the way back";
    keepPicture("confirmation");
    EXPECT_EQ(ejected, 0);
    click(200, 30);
    EXPECT_TRUE(serveUntil([&] { return sure->isHidden(); }));
    click(30, 30);
    EXPECT_TRUE(serveUntil([&] { return !sure->isHidden(); }));
    click(30, 30);
    EXPECT_TRUE(serveUntil([&] { return ejected == 1; }));
    EXPECT_FALSE(eject->isHidden());
}

TEST_F(QtViewTest, AViewMayBeUsedAsLongAsItsWidgetMay) {
    const auto button = makeButton({0, 0, 160, 60}, "Eject");
    int sent = 0;
    button->setAction([&](Control&) { ++sent; });
    QtView widget(button);
    widget.setEnabled(false);
    EXPECT_FALSE(button->isUsable());
    show(widget);
    widget.setEnabled(true);
    EXPECT_TRUE(awaitColor(widget, 10, 10, button->backgroundColor())) << "pale no more";
    const QPoint place = onScreen(widget, 30, 30);
    user.click(place.x(), place.y());
    EXPECT_TRUE(serveUntil([&] { return sent == 1; }));
}

TEST_F(QtViewTest, TheToolTipUnderARestingPointerIsShown) {
    const auto root = makeRoot(200, 100);
    const auto view = std::make_shared<Counted>(Rect{0, 0, 90, 100});
    view->setToolTip("Four cores");
    root->addSubview(view);
    QtView widget(root);
    show(widget);
    pointAt(widget, 40, 50);
    EXPECT_TRUE(serveUntil([&] { return QToolTip::isVisible() && QToolTip::text() == "Four cores"; }));
    QToolTip::hideText();
}

TEST_F(QtViewTest, TheWheelTurnsOverAView) {
    const auto view = std::make_shared<Counted>(Rect{0, 0, 100, 100});
    QtView widget(view);
    show(widget);
    pointAt(widget, 30, 40);
    user.pressButton(5); // one step down
    user.releaseButton(5);
    ASSERT_TRUE(serveUntil([&] { return !view->scrolls.empty(); }));
    EXPECT_GT(view->scrolls.front().deltaY, 0.0);
    EXPECT_EQ(view->scrolls.front().deltaX, 0.0);
    EXPECT_NEAR(view->scrolls.front().location.x, 30, 1);
    EXPECT_NEAR(view->scrolls.front().location.y, 40, 1);
}

// The keyboard.

TEST_F(QtViewTest, TabLeadsThroughTheControlsAndSpacePressesThem) {
    QWidget host;
    auto* const layout = new QVBoxLayout(&host);
    auto* const before = new QLineEdit;
    const auto root = makeRoot(220, 60);
    const auto first = makeButton({10, 10, 90, 40}, "One");
    const auto second = makeButton({120, 10, 90, 40}, "Two");
    int sent = 0;
    first->setAction([&](Control&) { sent += 1; });
    second->setAction([&](Control&) { sent += 10; });
    root->addSubview(first);
    root->addSubview(second);
    auto* const widget = new QtView(root);
    auto* const after = new QLineEdit;
    layout->addWidget(before);
    layout->addWidget(widget);
    layout->addWidget(after);
    before->setFocus();
    show(host);
    ASSERT_TRUE(serveUntil([&] { return before->hasFocus(); }));
    ASSERT_TRUE(awaitColor(*widget, 20, 14, FUIColor::turquoise()));
    const Screenshot unfocused = pictureOf(*widget);

    user.typeKey("Tab");
    EXPECT_TRUE(serveUntil([&] { return first->focus() == Focus::visible; }));
    EXPECT_TRUE(serveUntil([&] { return pictureOf(*widget) != unfocused; })) << "the ring";
    keepPicture("focus");
    user.typeKey("space");
    EXPECT_TRUE(serveUntil([&] { return sent == 1; }));
    user.typeKey("Tab");
    EXPECT_TRUE(serveUntil([&] { return second->focus() == Focus::visible; }));
    user.typeKey("Return");
    EXPECT_TRUE(serveUntil([&] { return sent == 11; }));
    user.typeKey("Tab");
    EXPECT_TRUE(serveUntil([&] { return after->hasFocus(); }));
    EXPECT_EQ(second->focus(), Focus::none);
    user.typeKey("shift+Tab");
    EXPECT_TRUE(serveUntil([&] { return second->focus() == Focus::visible; })) << "backwards, from its end";
    user.typeKey("shift+Tab");
    EXPECT_TRUE(serveUntil([&] { return first->focus() == Focus::visible; }));
    user.typeKey("shift+Tab");
    EXPECT_TRUE(serveUntil([&] { return before->hasFocus(); }));
    EXPECT_TRUE(serveUntil([&] { return pictureOf(*widget) == unfocused; })) << "the ring is gone";
}

TEST_F(QtViewTest, TabBeginsAnewInAWindowOfOneWidget) {
    const auto root = makeRoot(220, 60);
    const auto first = makeButton({10, 10, 90, 40}, "One");
    const auto second = makeButton({120, 10, 90, 40}, "Two");
    root->addSubview(first);
    root->addSubview(second);
    QtView widget(root);
    show(widget);
    for (const auto& expected : {first, second, first}) {
        user.typeKey("Tab");
        EXPECT_TRUE(serveUntil([&] { return expected->focus() == Focus::visible; }));
    }
}

TEST_F(QtViewTest, TabPassesOverAWidgetWithoutControls) {
    QWidget host;
    auto* const layout = new QVBoxLayout(&host);
    auto* const before = new QLineEdit;
    auto* const after = new QLineEdit;
    layout->addWidget(before);
    layout->addWidget(new QtView(std::make_shared<GaugeCircleChart>(Rect{0, 0, 90, 90})));
    layout->addWidget(after);
    before->setFocus();
    show(host);
    ASSERT_TRUE(serveUntil([&] { return before->hasFocus(); }));
    user.typeKey("Tab");
    EXPECT_TRUE(serveUntil([&] { return after->hasFocus(); }));
}

// Whether anybody sees it.

TEST_F(QtViewTest, AHiddenMinimisedOrAbsentWindowIsNotDrawnAndTheHostIsTold) {
    struct Owner {};
    const auto owner = std::make_shared<Owner>();
    const auto view = std::make_shared<Counted>(Rect{0, 0, 100, 100});
    QtView widget(view);
    std::vector<bool> told;
    widget.surface().onVisibilityChanged().listen(owner, [&](bool isVisible) { told.push_back(isVisible); });
    show(widget);
    EXPECT_THAT(told, ElementsAre(true));

    struct Way {
        const char* name;
        std::function<void()> hide;
        std::function<void()> show;
    };
    const std::vector<Way> ways = {
        {"hidden", [&] { widget.hide(); }, [&] { widget.show(); }},
        {"minimised", [&] { user.minimise(window); }, [&] { user.activate(window); }},
        {"on another workspace", [&] { user.showWorkspace(1); }, [&] { user.showWorkspace(0); }},
    };
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        told.clear();
        way.hide();
        ASSERT_TRUE(serveUntil([&] { return !widget.surface().isVisible(); }));
        const int drawn = view->drawn;
        // What is asked for now is drawn once it is seen again; a whole round of the loop shows that it is not before.
        view->setNeedsDisplay(true);
        bool isRound = false;
        QTimer::singleShot(50, [&] { isRound = true; });
        ASSERT_TRUE(serveUntil([&] { return isRound; }));
        EXPECT_EQ(view->drawn, drawn);
        way.show();
        EXPECT_TRUE(serveUntil([&] { return view->drawn > drawn && widget.surface().isVisible(); }));
        EXPECT_THAT(told, ElementsAre(false, true));
        EXPECT_TRUE(awaitColor(widget, 50, 50, FUIColor::emerald()));
    }
}

TEST_F(QtViewTest, AWidgetOnAnotherPageIsNotSeen) {
    QWidget host;
    auto* const layout = new QVBoxLayout(&host);
    auto* const page = new QWidget;
    auto* const inner = new QVBoxLayout(page);
    const auto view = std::make_shared<Counted>(Rect{0, 0, 100, 100});
    auto* const widget = new QtView(view);
    inner->addWidget(widget);
    layout->addWidget(page);
    layout->addWidget(new QPushButton("other"));
    show(host);
    EXPECT_TRUE(serveUntil([&] { return widget->surface().isVisible(); }));
    page->hide();
    EXPECT_FALSE(widget->surface().isVisible());
    page->show();
    EXPECT_TRUE(serveUntil([&] { return widget->surface().isVisible(); }));
}

TEST_F(QtViewTest, FramesComeOnlyWhileSomethingMovesAndSomebodySeesIt) {
    const auto button = makeButton({0, 0, 160, 60}, "Fade");
    const auto marker = std::make_shared<Counted>(Rect{150, 0, 10, 10});
    button->addSubview(marker); // drawn with each frame of the button
    QtView widget(button);
    show(widget);
    ASSERT_TRUE(awaitColor(widget, 10, 10, button->backgroundColor()));
    EXPECT_FALSE(widget.surface().needsFrames());

    const int before = marker->drawn;
    button->aimateBackgroundColor(FUIColor::alizarin());
    EXPECT_TRUE(widget.surface().needsFrames());
    EXPECT_TRUE(serveUntil([&] { return !widget.surface().needsFrames(); }));
    EXPECT_TRUE(awaitColor(widget, 10, 10, FUIColor::alizarin()));
    // A quarter of a second at the screen's rate: no more frames than that, and more than a stutter.
    const double rate = widget.screen()->refreshRate();
    EXPECT_LE(marker->drawn - before, static_cast<int>(rate * 0.25) + 5);
    EXPECT_GE(marker->drawn - before, 4);

    // The same while nobody looks.
    button->aimateBackgroundColor(FUIColor::turquoise());
    widget.hide();
    EXPECT_FALSE(widget.surface().needsFrames());
    const int hidden = marker->drawn;
    button->aimateBackgroundColor(FUIColor::alizarin());
    EXPECT_FALSE(widget.surface().needsFrames());
    bool isOver = false;
    QTimer::singleShot(100, [&] { isOver = true; });
    ASSERT_TRUE(serveUntil([&] { return isOver; }));
    EXPECT_EQ(marker->drawn, hidden);
}

TEST_F(QtViewTest, AtRestTheProgramSleeps) {
    QtView widget(makeButton({0, 0, 160, 60}, "Rest"));
    show(widget);
    ASSERT_TRUE(awaitColor(widget, 10, 10, FUIColor::turquoise()));
    // Qt itself has something to do for a while after a window came: until a quarter of a second goes by without.
    const auto wakings = [] {
        QEventLoop loop;
        QTimer::singleShot(250, &loop, &QEventLoop::quit);
        const std::uint64_t before = mainThreadWaits();
        loop.exec();
        return mainThreadWaits() - before;
    };
    std::uint64_t fewest = wakings();
    for (int attempt = 0; attempt < 20 && fewest > 2; ++attempt)
        fewest = std::min(fewest, wakings());
    EXPECT_LE(fewest, 2U) << "for the timer that ends the wait";
}

TEST_F(QtViewTest, AWindowShownAndHiddenTwoHundredTimesLeavesNothingBehind) {
    const auto button = makeButton({0, 0, 160, 60}, "Again");
    QtView widget(button);
    const auto once = [&] {
        widget.show();
        ASSERT_TRUE(serveUntil([&] { return widget.surface().isVisible(); }));
        button->aimateBackgroundColor(FUIColor::alizarin());
        widget.hide();
        ASSERT_TRUE(serveUntil([&] { return !widget.surface().isVisible(); }));
    };
    for (int i = 0; i < 20; ++i)
        once();
    const std::size_t descriptors = openDescriptors();
    const std::size_t threads = runningThreads();
    const std::uint64_t memory = residentBytes();
    const qsizetype children = widget.children().size() + qApp->children().size();
    for (int i = 0; i < 200; ++i)
        once();
    EXPECT_EQ(openDescriptors(), descriptors);
    EXPECT_LE(runningThreads(), threads) << "a worker without work may end";
    EXPECT_EQ(widget.children().size() + qApp->children().size(), children);
    // The address sanitizer keeps what is freed for a while, and looks for leaks itself.
    if (!underAddressSanitizer) {
        EXPECT_LT(residentBytes(), memory + 2'000'000) << "10,000 bytes a time";
    }
    EXPECT_FALSE(widget.surface().needsFrames());
}

// Lives.

TEST_F(QtViewTest, AViewOutlivesItsWidgetAndIsShownInAnother) {
    const auto view = std::make_shared<Counted>(Rect{0, 0, 100, 100});
    {
        QtView widget(view);
        show(widget, "The first");
        ASSERT_TRUE(awaitColor(widget, 50, 50, FUIColor::emerald()));
    }
    view->setNeedsDisplay(true); // reaches nobody
    QtView widget(view);
    show(widget, "The second");
    EXPECT_TRUE(awaitColor(widget, 50, 50, FUIColor::emerald()));
}

TEST_F(QtViewTest, AWidgetKeepsItsView) {
    auto view = std::make_shared<Counted>(Rect{0, 0, 100, 100});
    const std::weak_ptr<View> watched = view;
    auto widget = std::make_unique<QtView>(std::move(view));
    show(*widget);
    EXPECT_TRUE(awaitColor(*widget, 50, 50, FUIColor::emerald()));
    widget.reset();
    EXPECT_TRUE(watched.expired());
}

TEST_F(QtViewTest, AnActionMayTakeItsWidgetAway) {
    const auto button = makeButton({0, 0, 160, 60}, "Close");
    QPointer<QtView> widget = new QtView(button);
    button->setAction([&](Control&) {
        widget->hide();
        widget->deleteLater();
    });
    show(*widget);
    ASSERT_TRUE(awaitColor(*widget, 10, 10, FUIColor::turquoise()));
    const QPoint place = onScreen(*widget, 30, 30);
    user.click(place.x(), place.y());
    EXPECT_TRUE(serveUntil([&] { return widget.isNull(); }));
}

TEST_F(QtViewTest, ADialogueOpenedByAnActionIsServedInside) {
    const auto button = makeButton({0, 0, 160, 60}, "Ask");
    QtView widget(button);
    bool wasServed = false;
    button->setAction([&](Control&) {
        QEventLoop inner;
        dispatch::mainQueue()->async([&] {
            wasServed = true;
            inner.quit();
        });
        inner.exec();
    });
    show(widget);
    ASSERT_TRUE(awaitColor(widget, 10, 10, FUIColor::turquoise()));
    const QPoint place = onScreen(widget, 30, 30);
    user.click(place.x(), place.y());
    EXPECT_TRUE(serveUntil([&] { return wasServed; }));
}

// The main queue.

TEST_F(QtViewTest, TheMainQueueRunsInTheProgramsLoop) {
    QtView::serveMainQueue();
    const QString loop = QCoreApplication::eventDispatcher()->metaObject()->className();
    if (qEnvironmentVariableIsSet("QT_NO_GLIB")) {
        EXPECT_FALSE(loop.contains("Glib")) << loop.toStdString();
    }
    int ticks = 0;
    std::thread::id thread;
    const auto timer = dispatch::mainQueue()->makeTimer(1'000'000, [&] { ++ticks; });
    timer->resume();
    std::thread([&] { dispatch::mainQueue()->async([&] { thread = std::this_thread::get_id(); }); }).join();
    EXPECT_TRUE(serveUntil([&] { return ticks >= 5 && thread == std::this_thread::get_id(); }));
    timer->suspend();
}

// Assistive technology.

// What a screen reader hears while it listens.
std::vector<std::string>* heard = nullptr;

void hear(QAccessibleEvent* event) {
    QAccessibleInterface* const object = event->accessibleInterface();
    const std::string name = object ? object->text(QAccessible::Name).toStdString() : "";
    if (heard && event->type() == QAccessible::ValueChanged)
        heard->push_back(name + " " + object->valueInterface()->currentValue().toString().toStdString() + " percent");
    if (heard && event->type() == QAccessible::NameChanged)
        heard->push_back("now " + name);
    if (heard && event->type() == QAccessible::Focus && !name.empty())
        heard->push_back("at " + name);
}

TEST_F(QtViewTest, AssistiveTechnologyHearsOfChanges) {
    const auto root = makeRoot(200, 100);
    const auto ring = std::make_shared<GaugeCircleChart>(Rect{0, 0, 90, 90});
    ring->setAccessibilityName("Processor");
    const auto button = makeButton({100, 0, 90, 40}, "Eject");
    root->addSubview(ring);
    root->addSubview(button);
    QtView widget(root);
    show(widget);
    QAccessible::setActive(true);
    const auto before = QAccessible::installUpdateHandler(hear);
    ring->setPercent(1);
    ASSERT_TRUE(serveUntil([&] { return widget.surface().dirtyRects().empty(); }));
    QCoreApplication::sendPostedEvents(); // the window may have been painted before the change was told
    std::vector<std::string> words;
    heard = &words;
    ring->setPercent(42);
    EXPECT_TRUE(serveUntil([&] { return !words.empty(); }));
    ring->setAccessibilityName("Graphics");
    ring->setNeedsDisplay(true);
    EXPECT_TRUE(serveUntil([&] { return words.size() == 2; }));
    user.typeKey("Tab");
    EXPECT_TRUE(serveUntil([&] { return words.size() == 3; }));
    EXPECT_THAT(words, ElementsAre("Processor 42 percent", "now Graphics", "at Eject"));
    heard = nullptr;
    QAccessible::installUpdateHandler(before);
}

const AccessibleObject* find(const std::vector<AccessibleObject>& tree, const std::string& name) {
    const auto found = std::ranges::find(tree, name, &AccessibleObject::name);
    return found == tree.end() ? nullptr : &*found;
}

TEST_F(QtViewTest, AssistiveTechnologyIsToldRolesNamesAndValues) {
    const auto root = makeRoot(400, 120);
    const auto ring = std::make_shared<GaugeCircleChart>(Rect{10, 10, 100, 100});
    ring->setAccessibilityName("Processor");
    ring->setPercent(42);
    const auto button = makeButton({120, 10, 100, 40}, "Eject");
    int sent = 0;
    button->setAction([&](Control&) { ++sent; });
    const auto link = std::make_shared<FUILink>(Rect{240, 10, 100, 30});
    link->setStringValue("More about this");
    const auto light = std::make_shared<FUIIndicator>(Rect{350, 10, 20, 20});
    light->setAccessibilityName("Notices");
    const auto label = std::make_shared<TextField>(Rect{120, 80, 200, 20});
    label->setStringValue("Two volumes");
    for (const auto& view : std::vector<std::shared_ptr<View>>{ring, button, link, light, label})
        root->addSubview(view);
    QtView widget(root);
    show(widget);
    std::vector<AccessibleObject> tree = readAccessibleTree(serveUntil);
    const AccessibleObject* object = find(tree, "Processor");
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->role, "progress bar");
    EXPECT_EQ(object->value, "42");
    object = find(tree, "Eject");
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->role, "push button");
    EXPECT_TRUE(object->is("focusable"));
    object = find(tree, "More about this");
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->role, "link");
    object = find(tree, "Notices");
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->role, "check box");
    EXPECT_EQ(object->description, light->accessibilityValue());
    object = find(tree, "Two volumes");
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->role, "label");

    EXPECT_TRUE(doAccessibleAction("Eject", serveUntil));
    EXPECT_TRUE(serveUntil([&] { return sent == 1; }));
    EXPECT_TRUE(focusAccessible("Eject", serveUntil));
    EXPECT_TRUE(serveUntil([&] { return button->focus() != Focus::none; }));

    ring->setPercent(57);
    label->setHidden(true);
    tree = readAccessibleTree(serveUntil);
    object = find(tree, "Processor");
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->value, "57");
    EXPECT_EQ(find(tree, "Two volumes"), nullptr);
    object = find(tree, "Eject");
    ASSERT_NE(object, nullptr);
    EXPECT_TRUE(object->is("focused"));
}

} // namespace
} // namespace sentrel
