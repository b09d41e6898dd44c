// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/FUIFont.h>
#include <SentrelKit/views/FUIIndicator.h>
#include <SentrelKit/views/FUILink.h>
#include <SentrelKit/views/GaugeBar.h>
#include <SentrelKit/views/TextField.h>
#include <SentrelKit/views/View.h>
#include <SentrelKit/views/drawing/RecordingCanvas.h>
#include <SentrelKit/views/layers/Layer.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace sentrel {

namespace {

// A view that fills a small square at its own origin.
class Mark : public View {
public:
    explicit Mark(Rect frame, bool flipped = false) : View(frame), flipped_(flipped) {}
    [[nodiscard]] bool isFlipped() const override { return flipped_; }
    void drawRect(Canvas& canvas, Rect rect) override {
        drawn = rect;
        canvas.fill(Path::rect({0, 0, 1, 1}), Color{});
    }
    Rect drawn;

private:
    bool flipped_;
};

// Where the marks of a tree land on the surface, in the order in which they are drawn.
std::vector<Point> marksOf(View& view) {
    RecordingCanvas canvas;
    view.display(canvas, 0.0);
    std::vector<Transform> transforms{Transform{}};
    std::vector<Point> places;
    for (const auto& call : canvas.calls()) {
        if (std::holds_alternative<RecordingCanvas::Save>(call))
            transforms.push_back(transforms.back());
        else if (std::holds_alternative<RecordingCanvas::Restore>(call))
            transforms.pop_back();
        else if (const auto* concat = std::get_if<RecordingCanvas::Concat>(&call))
            transforms.back() = transforms.back().after(concat->transform);
        else if (std::holds_alternative<RecordingCanvas::Fill>(call))
            places.push_back(transforms.back().apply({0, 0}));
    }
    EXPECT_EQ(transforms.size(), 1U);
    return places;
}

TEST(View, HasItsBoundsAtItsOwnOrigin) {
    const View view({10, 20, 30, 40});
    EXPECT_EQ(view.bounds(), (Rect{0, 0, 30, 40}));
    EXPECT_FALSE(view.isFlipped());
    EXPECT_FALSE(view.needsDisplay());
    EXPECT_EQ(view.accessibilityValue(), std::nullopt);
}

TEST(View, TakesAZeroFrameFromAnArchiveWithoutOne) {
    for (const PropertyList& archive :
         {PropertyList(), PropertyList(PropertyList::Dictionary{}),
          PropertyList(PropertyList::Dictionary{{"frame", 3}}),
          PropertyList(PropertyList::Dictionary{{"frame", PropertyList::List{1, 2, 3}}}),
          PropertyList(PropertyList::Dictionary{{"frame", PropertyList::List{"a", "b", "c", "d"}}})}) {
        Coder coder(archive);
        EXPECT_EQ(View(coder).frame(), Rect{});
    }
}

TEST(View, PutsItsOriginAtTheLowerLeftUnlessFlipped) {
    Mark upright({5, 6, 30, 40});
    EXPECT_EQ(marksOf(upright), (std::vector<Point>{{0, 40}}));
    EXPECT_EQ(upright.drawn, (Rect{0, 0, 30, 40}));
    Mark flipped({5, 6, 30, 40}, true);
    EXPECT_EQ(marksOf(flipped), (std::vector<Point>{{0, 0}}));
}

TEST(View, PlacesSubviewsInItsOwnCoordinates) {
    for (const bool rootFlipped : {false, true}) {
        for (const bool childFlipped : {false, true}) {
            Mark root({0, 0, 100, 200}, rootFlipped);
            root.addSubview(std::make_shared<Mark>(Rect{10, 20, 30, 40}, childFlipped));
            const double top = rootFlipped ? 20 : 200 - 20 - 40;
            const auto marks = marksOf(root);
            ASSERT_EQ(marks.size(), 2U);
            EXPECT_EQ(marks[1], (Point{10, childFlipped ? top : top + 40}));
        }
    }
}

TEST(View, ClipsWhatItAndItsSubviewsDrawToItsBounds) {
    Mark root({0, 0, 100, 200});
    root.addSubview(std::make_shared<Mark>(Rect{90, 0, 30, 40}));
    RecordingCanvas canvas;
    root.display(canvas, 0.0);
    const auto clips = canvas.all<RecordingCanvas::Clip>();
    ASSERT_EQ(clips.size(), 2U);
    EXPECT_EQ(clips[0].path, Path::rect({0, 0, 100, 200}));
    EXPECT_EQ(clips[1].path, Path::rect({0, 0, 30, 40}));
}

TEST(View, TakesEveryRedrawRequestOffWhenDisplayed) {
    View root({0, 0, 100, 100});
    const auto child = std::make_shared<View>(Rect{0, 0, 10, 10});
    root.addSubview(child);
    root.setNeedsDisplay(true);
    RecordingCanvas canvas;
    root.display(canvas, 0.0);
    EXPECT_FALSE(root.needsDisplay());
    EXPECT_FALSE(child->needsDisplay());
}

TEST(View, AsksForARedrawOfWhatIsAddedMovedOrRemoved) {
    View root({0, 0, 100, 100});
    const auto child = std::make_shared<View>(Rect{0, 0, 10, 10});
    root.addSubview(child);
    EXPECT_TRUE(child->needsDisplay());
    EXPECT_FALSE(root.needsDisplay());
    child->setNeedsDisplay(false);

    child->setFrame({5, 5, 10, 10});
    EXPECT_TRUE(child->needsDisplay());
    EXPECT_TRUE(root.needsDisplay());

    root.setNeedsDisplay(false);
    child->removeFromSuperview();
    EXPECT_TRUE(root.needsDisplay());
    EXPECT_EQ(child->superview(), nullptr);
    EXPECT_TRUE(root.subviews().empty());
}

TEST(View, MovesASubviewFromOneSuperviewToAnother) {
    View one({0, 0, 100, 100});
    View other({0, 0, 100, 100});
    const auto child = std::make_shared<View>(Rect{0, 0, 10, 10});
    one.addSubview(child);
    other.addSubview(child);
    EXPECT_TRUE(one.subviews().empty());
    EXPECT_EQ(child->superview(), &other);
}

TEST(View, RaisesASubviewThatIsAddedAgain) {
    View root({0, 0, 100, 100});
    const auto one = std::make_shared<View>(Rect{0, 0, 10, 10});
    const auto other = std::make_shared<View>(Rect{0, 0, 10, 10});
    root.addSubview(one);
    root.addSubview(other);
    EXPECT_EQ(root.hitTest({5, 95}), other.get());
    root.addSubview(one);
    EXPECT_EQ(root.hitTest({5, 95}), one.get());
    EXPECT_EQ(root.subviews().size(), 2U);
}

TEST(View, OutlivesItsSuperview) {
    auto child = std::make_shared<View>(Rect{0, 0, 10, 10});
    {
        View root({0, 0, 100, 100});
        root.addSubview(child);
    }
    EXPECT_EQ(child->superview(), nullptr);
    child->setNeedsDisplay(true);
}

TEST(ViewDeathTest, RefusesToHoldItself) {
    auto outer = std::make_shared<View>(Rect{0, 0, 10, 10});
    auto inner = std::make_shared<View>(Rect{0, 0, 10, 10});
    outer->addSubview(inner);
    EXPECT_DEATH(inner->addSubview(outer), "ancestor != view.get\\(\\)");
    EXPECT_DEATH(inner->addSubview(inner), "ancestor != view.get\\(\\)");
    EXPECT_DEATH(inner->addSubview(nullptr), "view");
}

TEST(View, TellsTheHostOfEveryRedrawRequestInTheTree) {
    View root({0, 0, 100, 100});
    const auto child = std::make_shared<View>(Rect{0, 0, 10, 10});
    root.addSubview(child);
    int calls = 0;
    root.setDisplayHandler([&] { ++calls; });
    child->setNeedsDisplay(true);
    EXPECT_EQ(calls, 1);
    child->setNeedsDisplay(false);
    EXPECT_EQ(calls, 1);
    root.setNeedsDisplay(true);
    EXPECT_EQ(calls, 2);
}

// A handler that set another one, or none, was destroyed while it ran.
TEST(View, LetsADisplayHandlerReplaceItselfWhileItRuns) {
    View root({0, 0, 100, 100});
    std::vector<std::string> log;
    const std::string first(100, 'a'); // too long to lie inside the handler itself
    const std::string second(100, 'b');
    root.setDisplayHandler([&root, &log, first, second] {
        root.setDisplayHandler([&root, &log, second] {
            root.setDisplayHandler(nullptr);
            log.push_back(second);
        });
        log.push_back(first);
    });
    for (int i = 0; i < 3; ++i)
        root.setNeedsDisplay(true);
    EXPECT_EQ(log, (std::vector{first, second}));
}

TEST(View, CallsNoDisplayHandlerThatAnotherOneTookOff) {
    View root({0, 0, 100, 100});
    const auto child = std::make_shared<View>(Rect{0, 0, 10, 10});
    root.addSubview(child);
    child->setWantsLayer(true);
    int calls = 0;
    const auto takeOff = [&] {
        ++calls;
        root.setDisplayHandler(nullptr);
        child->setDisplayHandler(nullptr);
    };
    const std::function<void()> requests[] = {[&] { child->setNeedsDisplay(true); },
                                              [&] { child->layer()->setNeedsDisplay(); },
                                              [&] {
                                                  child->setFrame({0, 0, 20.0 + calls, 20});
                                              }};
    for (const auto& request : requests) {
        calls = 0;
        root.setDisplayHandler(takeOff);
        child->setDisplayHandler(takeOff);
        request();
        EXPECT_EQ(calls, 1);
    }
}

TEST(View, MayBeReleasedByADisplayHandler) {
    View root({0, 0, 100, 100});
    auto child = std::make_shared<View>(Rect{0, 0, 10, 10});
    root.addSubview(child);
    child->setWantsLayer(true);
    View* const view = child.get();
    const std::weak_ptr<View> released = child;
    child->setDisplayHandler([&] {
        root.setDisplayHandler(nullptr);
        if (!child)
            return;
        child.reset();
        view->removeFromSuperview();
    });
    view->setFrame({0, 0, 20, 20});
    EXPECT_TRUE(released.expired());
    EXPECT_TRUE(root.subviews().empty());
}

TEST(View, CollectsTheRectanglesToRedrawInTheSurface) {
    View root({0, 0, 100, 200});
    const auto child = std::make_shared<Mark>(Rect{10, 20, 30, 40}, true);
    const auto grandchild = std::make_shared<View>(Rect{1, 2, 3, 4});
    root.addSubview(child);
    child->addSubview(grandchild);
    RecordingCanvas canvas;
    root.display(canvas, 0.0);
    grandchild->setNeedsDisplay(true);
    EXPECT_EQ(root.dirtyRects(), (std::vector<Rect>{{11, 142, 3, 4}}));
    child->setNeedsDisplay(true);
    EXPECT_EQ(root.dirtyRects(), (std::vector<Rect>{{10, 140, 30, 40}})); // what lies inside is drawn with it
}

// A setter that takes a request back lost the redraw that another setter had asked for.
TEST(View, DrawsWhatWasAskedForAlsoWhenTheRequestIsTakenBack) {
    View root({0, 0, 100, 100});
    const auto bar = std::make_shared<GaugeBar>(Rect{10, 20, 30, 40});
    root.addSubview(bar);
    RecordingCanvas canvas;
    root.display(canvas, 0.0);
    bar->setPercent(95.0);
    bar->setPercent(95.0);
    EXPECT_FALSE(bar->needsDisplay());
    EXPECT_EQ(root.dirtyRects(), (std::vector<Rect>{{10, 40, 30, 40}}));
    root.display(canvas, 0.0);
    EXPECT_TRUE(root.dirtyRects().empty());
}

TEST(View, DrawsOnlyWhatSomeRectanglesOfTheSurfaceTouch) {
    Mark root({0, 0, 100, 100}, true);
    const auto one = std::make_shared<Mark>(Rect{0, 0, 10, 10});
    const auto other = std::make_shared<Mark>(Rect{50, 50, 10, 10});
    root.addSubview(one);
    root.addSubview(other);
    RecordingCanvas canvas;
    root.displayRects(canvas, {{5, 5, 2, 2}, {10, 0, 5, 5}}, 0.0);
    EXPECT_FALSE(one->needsDisplay());
    EXPECT_TRUE(other->needsDisplay());
    EXPECT_EQ(canvas.all<RecordingCanvas::Fill>().size(), 2U);
    EXPECT_EQ(root.dirtyRects(), (std::vector<Rect>{{50, 50, 10, 10}}));
    const auto clips = canvas.all<RecordingCanvas::Clip>();
    ASSERT_FALSE(clips.empty());
    EXPECT_EQ(clips[0].path.elementCount(), 2 * Path::rect({0, 0, 1, 1}).elementCount());
    RecordingCanvas empty;
    root.displayRects(empty, {}, 0.0);
    EXPECT_TRUE(empty.all<RecordingCanvas::Fill>().empty());
    EXPECT_TRUE(other->needsDisplay());
}

TEST(View, IsNeitherDrawnNorFoundWhileHidden) {
    View root({0, 0, 100, 100});
    const auto child = std::make_shared<Mark>(Rect{10, 20, 30, 40});
    const auto inside = std::make_shared<View>(Rect{0, 0, 30, 40});
    child->addSubview(inside);
    root.addSubview(child);
    EXPECT_FALSE(child->isHidden());
    EXPECT_EQ(marksOf(root).size(), 1U);
    int calls = 0;
    root.setDisplayHandler([&] { ++calls; });
    child->setHidden(true);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(root.dirtyRects(), (std::vector<Rect>{{0, 0, 100, 100}})); // where it was
    EXPECT_TRUE(marksOf(root).empty());
    EXPECT_EQ(root.hitTest({15, 75}), &root);
    inside->setNeedsDisplay(true);
    EXPECT_TRUE(root.dirtyRects().empty());
    EXPECT_FALSE(inside->isUsable());
    child->setHidden(true);
    EXPECT_EQ(calls, 2); // by the view inside
    child->setHidden(false);
    EXPECT_EQ(calls, 3);
    EXPECT_FALSE(root.dirtyRects().empty());
    EXPECT_EQ(marksOf(root).size(), 1U);
}

TEST(View, DoesNotAnimateWhileHidden) {
    View root({0, 0, 100, 100});
    const auto child = std::make_shared<View>(Rect{10, 10, 20, 20});
    child->setWantsLayer(true);
    root.addSubview(child);
    BasicAnimation fade;
    fade.keyPath = "backgroundColor";
    fade.beginTime = 10.0;
    child->layer()->addAnimation(fade, "fade");
    EXPECT_TRUE(root.isAnimating(10.1));
    child->setHidden(true);
    EXPECT_FALSE(root.isAnimating(10.1));
}

TEST(View, DrawsWhatMayNotBeUsedPalerOnceHoweverDeepItLies) {
    Mark root({0, 0, 100, 100});
    const auto child = std::make_shared<Mark>(Rect{10, 20, 30, 40});
    const auto inside = std::make_shared<Mark>(Rect{0, 0, 30, 40});
    child->addSubview(inside);
    root.addSubview(child);
    const auto alphas = [&] {
        RecordingCanvas canvas;
        root.display(canvas, 0.0);
        std::vector<double> found;
        for (const auto& fill : canvas.all<RecordingCanvas::Fill>())
            found.push_back(std::get<Color>(fill.paint).alpha);
        return found;
    };
    EXPECT_EQ(alphas(), (std::vector<double>{1.0, 1.0, 1.0}));
    child->setEnabled(false);
    EXPECT_EQ(root.dirtyRects().size(), 1U);
    inside->setEnabled(false);
    EXPECT_EQ(alphas(), (std::vector<double>{1.0, 0.4, 0.4}));
    EXPECT_TRUE(root.isUsable());
    EXPECT_FALSE(inside->isUsable());
    inside->setEnabled(true);
    EXPECT_FALSE(inside->isUsable());
    child->setEnabled(true);
    EXPECT_TRUE(inside->isUsable());
    EXPECT_EQ(alphas(), (std::vector<double>{1.0, 1.0, 1.0}));
}

TEST(View, HasTheSizeItWasMadeWithAsItsNaturalOne) {
    View view({10, 20, 30, 40});
    EXPECT_EQ(view.naturalSize(), (Size{30, 40}));
    view.setFrame({0, 0, 300, 400});
    EXPECT_EQ(view.naturalSize(), (Size{30, 40}));
    view.setNaturalSize(Size{5, 6});
    EXPECT_EQ(view.naturalSize(), (Size{5, 6}));
    view.setNaturalSize(std::nullopt);
    EXPECT_EQ(view.naturalSize(), (Size{30, 40}));
    TextField label;
    label.setStringValue("4");
    const Size narrow = label.naturalSize();
    EXPECT_EQ(narrow, label.fittingSize());
    label.setStringValue("42 %");
    EXPECT_GT(label.naturalSize().width, narrow.width);
    const double height = label.naturalSize().height;
    label.setFont(Font::systemFont(26.0));
    EXPECT_GT(label.naturalSize().height, height);
}

TEST(View, ShowsARingWhereTheKeyboardLed) {
    View root({0, 0, 100, 100});
    const auto button = std::make_shared<FUIButton>(Rect{10, 20, 30, 40});
    const auto light = std::make_shared<FUIIndicator>(Rect{50, 20, 30, 40});
    const auto link = std::make_shared<FUILink>(Rect{50, 70, 30, 20});
    for (const std::shared_ptr<View>& view :
         {std::shared_ptr<View>(button), std::shared_ptr<View>(light), std::shared_ptr<View>(link)}) {
        EXPECT_TRUE(view->acceptsFocus());
        root.addSubview(view);
        const auto strokes = [&] {
            RecordingCanvas canvas;
            root.display(canvas, 0.0);
            return canvas.all<RecordingCanvas::Stroke>();
        };
        EXPECT_TRUE(strokes().empty());
        view->setFocus(Focus::quiet);
        EXPECT_TRUE(root.dirtyRects().empty());
        EXPECT_TRUE(strokes().empty());
        view->setFocus(Focus::visible);
        EXPECT_EQ(root.dirtyRects().size(), 1U);
        const auto ring = strokes();
        if (view == link) {
            ASSERT_EQ(ring.size(), 1U); // thin, for the text comes close to it
            EXPECT_EQ(ring[0].path.lineWidth(), 1.0);
        } else {
            ASSERT_EQ(ring.size(), 2U);
            EXPECT_EQ(ring[0].path.lineWidth(), 2.0);
            EXPECT_EQ(ring[1].path.lineWidth(), 1.0);
            EXPECT_NE(ring[0].paint, ring[1].paint);
        }
        view->setFocus(Focus::none);
        EXPECT_TRUE(strokes().empty());
        view->removeFromSuperview();
    }
}

TEST(View, LosesTheFocusWhenItIsHiddenDisabledOrTakenAway) {
    View root({0, 0, 100, 100});
    const auto box = std::make_shared<View>(Rect{0, 0, 100, 100});
    const auto button = std::make_shared<FUIButton>(Rect{10, 20, 30, 40});
    box->addSubview(button);
    root.addSubview(box);
    const std::function<void()> losses[] = {[&] { box->setHidden(true); }, [&] { box->setEnabled(false); },
                                            [&] { box->removeFromSuperview(); }};
    for (const auto& loss : losses) {
        button->setFocus(Focus::visible);
        loss();
        EXPECT_EQ(button->focus(), Focus::none);
        box->setHidden(false);
        box->setEnabled(true);
    }
}

TEST(View, IsPressedOnlyWhileItIsUsable) {
    FUIIndicator light({0, 0, 10, 10});
    int clicks = 0;
    const auto owner = std::make_shared<int>();
    light.onClicked().listen(owner, [&] { ++clicks; });
    EXPECT_TRUE(light.press());
    EXPECT_EQ(clicks, 1);
    light.setEnabled(false);
    EXPECT_FALSE(light.press());
    light.setEnabled(true);
    light.setHidden(true);
    EXPECT_FALSE(light.press());
    EXPECT_EQ(clicks, 1);
    EXPECT_FALSE(View({0, 0, 10, 10}).press());
}

TEST(View, FindsTheTopmostViewUnderAPointOfTheSurface) {
    View root({50, 50, 100, 200});
    const auto child = std::make_shared<View>(Rect{10, 20, 30, 40});
    const auto above = std::make_shared<Mark>(Rect{20, 20, 30, 40}, true);
    const auto inside = std::make_shared<View>(Rect{0, 0, 5, 5});
    root.addSubview(child);
    root.addSubview(above);
    above->addSubview(inside);
    EXPECT_EQ(root.hitTest({1, 1}), &root);
    EXPECT_EQ(root.hitTest({15, 150}), child.get());
    EXPECT_EQ(root.hitTest({22, 142}), inside.get());
    EXPECT_EQ(root.hitTest({40, 160}), above.get());
    EXPECT_EQ(root.hitTest({100, 100}), nullptr);
    EXPECT_EQ(root.hitTest({-1, 100}), nullptr);
}

TEST(View, DrawsItsLayerOverItsWholeBoundsAndUnderItsOwnFigure) {
    Mark view({0, 0, 30, 40});
    EXPECT_FALSE(view.wantsLayer());
    view.setWantsLayer(true);
    view.layer()->setBackgroundColor(FUIColor::clouds());
    view.setFrame({0, 0, 50, 60});
    RecordingCanvas canvas;
    view.display(canvas, 0.0);
    const auto fills = canvas.all<RecordingCanvas::Fill>();
    ASSERT_EQ(fills.size(), 2U);
    EXPECT_EQ(fills[0].path, Path::rect({0, 0, 50, 60}));
    EXPECT_EQ(fills[1].path, Path::rect({0, 0, 1, 1}));
    view.setWantsLayer(false);
    EXPECT_EQ(view.layer(), nullptr);
}

TEST(View, IsDirtyAndTellsTheHostWhileALayerInItChanges) {
    View root({0, 0, 100, 100});
    const auto child = std::make_shared<View>(Rect{10, 10, 20, 20});
    child->setWantsLayer(true);
    root.addSubview(child);
    RecordingCanvas canvas;
    root.display(canvas, 0.0);
    int calls = 0;
    root.setDisplayHandler([&] { ++calls; });

    BasicAnimation fade;
    fade.keyPath = "backgroundColor";
    fade.fromValue = FUIColor::white();
    fade.toValue = FUIColor::black();
    fade.beginTime = 10.0;
    fade.duration = 1.0;
    child->layer()->addAnimation(fade, "fade");
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(child->needsDisplay()); // a layer asks for itself
    EXPECT_TRUE(root.isAnimating(10.5));
    root.display(canvas, 10.5);
    EXPECT_EQ(root.dirtyRects(), (std::vector<Rect>{{10, 70, 20, 20}}));
    EXPECT_FALSE(root.isAnimating(11.0));
    root.display(canvas, 11.0); // once more when it is over
    EXPECT_TRUE(root.dirtyRects().empty());
}

// Drawing after a resize asked for the next frame, which then changed nothing.
TEST(View, AsksOnceForAResizeAndDrawsItsLayerAtTheNewSize) {
    View view({0, 0, 30, 40});
    view.setWantsLayer(true);
    view.layer()->setBackgroundColor(FUIColor::white());
    RecordingCanvas canvas;
    view.display(canvas);
    int calls = 0;
    view.setDisplayHandler([&] { ++calls; });
    view.setFrame({0, 0, 50, 60});
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(view.layer()->bounds(), (Rect{0, 0, 50, 60}));
    view.display(canvas);
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(view.dirtyRects().empty());
    view.setFrame({10, 10, 50, 60});
    EXPECT_EQ(calls, 2);
}

TEST(View, OutlivesItsLayerAndTheOtherWayRound) {
    std::shared_ptr<Layer> layer;
    {
        View view({0, 0, 30, 40});
        view.setWantsLayer(true);
        layer = view.layer();
        view.setWantsLayer(false);
        layer->setNeedsDisplay();
        view.setWantsLayer(true);
        layer = view.layer();
    }
    layer->setNeedsDisplay();
}

TEST(TextField, DrawsItsTextInItsFontColourAndAlignment) {
    TextField label({0, 0, 100, 20});
    label.setStringValue("42%");
    label.setFont(FUIFont::bold(16));
    label.setTextColor(FUIColor::asbestos());
    label.setAlignment(TextAlignment::right);
    RecordingCanvas canvas;
    label.drawRect(canvas, label.bounds());
    const auto texts = canvas.all<RecordingCanvas::Text>();
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].text, "42%");
    EXPECT_EQ(texts[0].font, *FUIFont::bold(16));
    EXPECT_EQ(texts[0].color, FUIColor::asbestos());
    EXPECT_EQ(texts[0].box, (Rect{0, 0, 100, 20}));
    EXPECT_EQ(texts[0].alignment, TextAlignment::right);
    EXPECT_EQ(label.accessibilityValue(), "42%");
}

TEST(TextField, FallsBackToTheDesktopsFontAndBlack) {
    TextField label({0, 0, 100, 20});
    label.setFont(Font::withName("No such face", 12));
    RecordingCanvas canvas;
    label.drawRect(canvas, label.bounds());
    const auto texts = canvas.all<RecordingCanvas::Text>();
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].font, Font::systemFont(13));
    EXPECT_EQ(texts[0].color, FUIColor::black());
}

TEST(View, HasTheAppearanceOfTheNearestViewAroundItThatHasOne) {
    View root({0, 0, 100, 100});
    const auto card = std::make_shared<View>(Rect{0, 0, 50, 50});
    const auto label = std::make_shared<View>(Rect{0, 0, 10, 10});
    root.addSubview(card);
    card->addSubview(label);
    EXPECT_EQ(label->appearance(), std::nullopt);
    EXPECT_EQ(label->effectiveAppearance(), Appearance::light);
    root.setAppearance(Appearance::dark);
    EXPECT_EQ(label->effectiveAppearance(), Appearance::dark);
    card->setAppearance(Appearance::light);
    EXPECT_EQ(label->effectiveAppearance(), Appearance::light);
    EXPECT_EQ(root.effectiveAppearance(), Appearance::dark);
    card->setAppearance(std::nullopt);
    label->removeFromSuperview();
    EXPECT_EQ(card->effectiveAppearance(), Appearance::dark);
    EXPECT_EQ(label->effectiveAppearance(), Appearance::light);
}

TEST(View, IsDrawnAnewWithAllInItWhenItsAppearanceChanges) {
    View root({0, 0, 100, 100});
    const auto label = std::make_shared<TextField>(Rect{10, 10, 50, 20});
    root.addSubview(label);
    RecordingCanvas canvas;
    root.display(canvas);
    int asked = 0;
    root.setDisplayHandler([&] { ++asked; });
    root.setAppearance(Appearance::dark);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(root.dirtyRects(), (std::vector<Rect>{{0, 0, 100, 100}}));
    root.setAppearance(Appearance::dark);
    EXPECT_EQ(asked, 1);
}

TEST(TextField, IsWhiteByDefaultWhereTheAppearanceIsDark) {
    View root({0, 0, 100, 20});
    const auto label = std::make_shared<TextField>(root.bounds());
    root.addSubview(label);
    label->setStringValue("42%");
    for (const auto& [appearance, color] :
         {std::pair{Appearance::dark, FUIColor::white()}, {Appearance::light, FUIColor::black()}}) {
        root.setAppearance(appearance);
        RecordingCanvas canvas;
        root.display(canvas);
        EXPECT_EQ(canvas.all<RecordingCanvas::Text>().at(0).color, color);
    }
    root.setAppearance(Appearance::dark);
    label->setTextColor(FUIColor::carrot());
    RecordingCanvas canvas;
    root.display(canvas);
    EXPECT_EQ(canvas.all<RecordingCanvas::Text>().at(0).color, FUIColor::carrot());
}

TEST(TextField, AsksForARedrawWhenItChanges) {
    TextField label({0, 0, 100, 20});
    const std::function<void()> changes[] = {
        [&] { label.setStringValue("42%"); }, [&] { label.setFont(FUIFont::bold(16)); },
        [&] { label.setTextColor(FUIColor::asbestos()); }, [&] { label.setAlignment(TextAlignment::right); }};
    for (const auto& change : changes) {
        change();
        EXPECT_TRUE(label.needsDisplay());
        label.setNeedsDisplay(false);
        change();
        EXPECT_FALSE(label.needsDisplay());
    }
}

TEST(TextField, TakesItsTextFromAnArchive) {
    Coder coder(PropertyList::Dictionary{{"frame", PropertyList::List{1, 2, 3, 4}}, {"stringValue", "Disk"}});
    const TextField label(coder);
    EXPECT_EQ(label.frame(), (Rect{1, 2, 3, 4}));
    EXPECT_EQ(label.stringValue(), "Disk");
}

} // namespace

} // namespace sentrel
