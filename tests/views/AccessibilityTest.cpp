// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Accessibility.h>
#include <SentrelKit/views/FUIButton.h>
#include <SentrelKit/views/FUIIndicator.h>
#include <SentrelKit/views/FUILink.h>
#include <SentrelKit/views/GaugeBar.h>
#include <SentrelKit/views/GaugeCircleChart.h>
#include <SentrelKit/views/LineChart.h>
#include <SentrelKit/views/PieChart.h>
#include <SentrelKit/views/Stack.h>
#include <SentrelKit/views/Thermometer.h>

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

namespace sentrel {

namespace {

std::vector<AccessibleElement> inside(const std::shared_ptr<View>& view) {
    const auto root = std::make_shared<View>(Rect{0, 0, 200, 100});
    root->addSubview(view);
    return accessibleElements(root);
}

TEST(Accessibility, ReadsAGaugeWithItsLabelAsOneFigure) {
    const auto ring = GaugeCircleChart::labelled({10, 20, 50, 60}, "Processor");
    ring->setPercent(42.0);
    const auto elements = inside(ring);
    ASSERT_EQ(elements.size(), 1U);
    EXPECT_EQ(elements[0].role, AccessibilityRole::levelIndicator);
    EXPECT_EQ(elements[0].name, "Processor");
    EXPECT_EQ(elements[0].value, "42 percent");
    EXPECT_EQ(elements[0].level, 42.0);
    EXPECT_EQ(elements[0].frame, (Rect{10, 20, 50, 60}));
    EXPECT_EQ(elements[0].view.lock(), ring);
    EXPECT_FALSE(elements[0].isFocusable);
    EXPECT_TRUE(elements[0].children.empty());
}

TEST(Accessibility, HoldsTheLevelOfAFigureBetween0And100) {
    GaugeBar bar;
    bar.setPercent(120.0);
    EXPECT_EQ(bar.accessibilityLevel(), 100.0);
    bar.setPercent(-3.0);
    EXPECT_EQ(bar.accessibilityLevel(), 0.0);
    bar.setPercent(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(bar.accessibilityLevel(), std::nullopt);
    EXPECT_EQ(View().accessibilityLevel(), std::nullopt);
}

TEST(Accessibility, KnowsWhatEachComponentIs) {
    EXPECT_EQ(View().accessibilityRole(), AccessibilityRole::none);
    EXPECT_EQ(Bar().accessibilityRole(), AccessibilityRole::levelIndicator);
    EXPECT_EQ(CircleChart().accessibilityRole(), AccessibilityRole::levelIndicator);
    EXPECT_EQ(Thermometer().accessibilityRole(), AccessibilityRole::levelIndicator);
    EXPECT_EQ(LineChart().accessibilityRole(), AccessibilityRole::image);
    EXPECT_EQ(PieChart().accessibilityRole(), AccessibilityRole::image);
    EXPECT_EQ(TextField().accessibilityRole(), AccessibilityRole::staticText);
    EXPECT_EQ(FUILink().accessibilityRole(), AccessibilityRole::link);
    EXPECT_EQ(FUIButton().accessibilityRole(), AccessibilityRole::button);
    EXPECT_EQ(FUIIndicator().accessibilityRole(), AccessibilityRole::toggle);
}

TEST(Accessibility, NamesAButtonByItsTitleAndALinkByItsText) {
    const auto stack = std::make_shared<Stack>(Stack::Axis::column, Rect{0, 0, 100, 100});
    const auto title = std::make_shared<TextField>();
    title->setStringValue("Eject");
    const auto button = stack->add(std::make_shared<FUIButton>(Rect{0, 0, 50, 20}));
    button->setTitle(title);
    button->addSubview(title);
    const auto link = stack->add(std::make_shared<FUILink>(Rect{0, 0, 50, 20}));
    link->setStringValue("Help");
    const auto label = stack->add(std::make_shared<TextField>(Rect{0, 0, 50, 20}));
    label->setStringValue("7% used");
    const auto light = stack->add(std::make_shared<FUIIndicator>(Rect{0, 0, 20, 20}));
    light->setIsActive(true);
    const auto elements = accessibleElements(stack);
    ASSERT_EQ(elements.size(), 4U);
    EXPECT_EQ(elements[0].name, "Eject");
    EXPECT_TRUE(elements[0].children.empty());
    EXPECT_TRUE(elements[0].isFocusable);
    EXPECT_EQ(elements[1].name, "Help");
    EXPECT_EQ(elements[1].value, std::nullopt);
    EXPECT_EQ(elements[2].name, "7 percent used");
    EXPECT_EQ(elements[3].value, "on");
    light->setIsActive(false);
    EXPECT_EQ(light->accessibilityValue(), "off");
    button->setAccessibilityName("Eject the disk");
    EXPECT_EQ(accessibleElements(stack)[0].name, "Eject the disk");
    link->setAccessibilityName("Manual");
    EXPECT_EQ(accessibleElements(stack)[1].value, "Help");
}

TEST(Accessibility, GroupsWhatLiesInAViewWithANameAndLeavesOutWhatIsHiddenOrNothing) {
    const auto card = std::make_shared<Stack>(Stack::Axis::column, Rect{0, 0, 100, 100});
    const auto label = card->add(std::make_shared<TextField>(Rect{0, 0, 50, 20}));
    label->setStringValue("Disks");
    EXPECT_EQ(accessibleElements(card).size(), 1U);
    card->setAccessibilityName("Volumes");
    auto elements = accessibleElements(card);
    ASSERT_EQ(elements.size(), 1U);
    EXPECT_EQ(elements[0].role, AccessibilityRole::group);
    ASSERT_EQ(elements[0].children.size(), 1U);
    EXPECT_EQ(elements[0].children[0].name, "Disks");
    label->setHidden(true);
    EXPECT_TRUE(accessibleElements(card)[0].children.empty());
    label->setHidden(false);
    label->setAccessibilityRole(AccessibilityRole::none);
    label->setAccessibilityName("");
    EXPECT_TRUE(accessibleElements(card)[0].children.empty());
    label->setAccessibilityRole(std::nullopt);
    EXPECT_EQ(accessibleElements(card)[0].children.size(), 1U);
}

TEST(Accessibility, KeepsAControlThatLiesInAPicture) {
    const auto ring = GaugeCircleChart::labelled({0, 0, 100, 100}, "Battery");
    ring->addSubview(std::make_shared<FUIIndicator>(Rect{40, 60, 10, 10}));
    const auto elements = inside(ring);
    ASSERT_EQ(elements.size(), 1U);
    ASSERT_EQ(elements[0].children.size(), 1U);
    EXPECT_EQ(elements[0].children[0].role, AccessibilityRole::toggle);
    EXPECT_EQ(elements[0].children[0].frame, (Rect{40, 60, 10, 10}));
}

TEST(Accessibility, PressesAndTellsOfTheFocusAndOfWhatMayNotBeUsed) {
    const auto button = std::make_shared<FUIButton>(Rect{0, 0, 50, 20});
    int actions = 0;
    button->setAction([&](Control&) { ++actions; });
    button->setFocus(Focus::quiet);
    EXPECT_TRUE(inside(button)[0].isFocused);
    EXPECT_TRUE(inside(button)[0].view.lock()->press());
    EXPECT_EQ(actions, 1);
    button->setEnabled(false);
    EXPECT_FALSE(inside(button)[0].isEnabled);
    EXPECT_FALSE(inside(button)[0].isFocusable);
    EXPECT_FALSE(button->press());
    EXPECT_EQ(actions, 1);
}

} // namespace

} // namespace sentrel
