// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/FUIButton.h>

#include <functional>
#include <memory>
#include <string>

namespace dashboard {

/// A button as large as its title needs.
class Button final : public sentrel::FUIButton {
public:
    Button(const std::string& title, sentrel::Color color, std::function<void()> action);

    void setTitleText(const std::string& title);

protected:
    void layout() override;

private:
    std::shared_ptr<sentrel::TextField> label_;
};

/// A line of text with a switch at its right end. It shows the state that it is told; pressing it tells the new one to
/// the action, and shows that.
class Switch final : public sentrel::Control {
public:
    Switch(std::string name, std::function<void(bool)> action);

    [[nodiscard]] bool isOn() const { return isOn_; }
    void setIsOn(bool isOn);

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(sentrel::Canvas& canvas, sentrel::Rect rect) override;
    [[nodiscard]] sentrel::Size fittingSize() const override { return {200, 32}; }
    void mouseDown(const sentrel::MouseEvent& event) override;
    void mouseUp(const sentrel::MouseEvent& event) override;
    [[nodiscard]] sentrel::Cursor cursor() const override { return sentrel::Cursor::pointingHand; }
    [[nodiscard]] bool acceptsFocus() const override { return true; }
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override { return isOn_ ? "on" : "off"; }

protected:
    bool performPress() override;
    [[nodiscard]] sentrel::AccessibilityRole ownAccessibilityRole() const override {
        return sentrel::AccessibilityRole::toggle;
    }
    [[nodiscard]] std::string ownAccessibilityName() const override { return name_; }

private:
    const std::string name_;
    const std::function<void(bool)> changed_;
    bool isOn_ = false;
};

} // namespace dashboard
