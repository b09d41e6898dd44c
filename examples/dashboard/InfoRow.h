// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/Style.h"

#include <SentrelKit/views/View.h>

#include <memory>
#include <optional>
#include <string>

namespace dashboard {

/// A name on the left and its value on the right of one line. Where both have no room, the name is the one that is cut
/// short, down to a third of the line.
class InfoRow final : public sentrel::View {
public:
    explicit InfoRow(const std::string& name = {}, const std::string& value = {});

    void show(const std::string& value) { show(name_, value); }
    void show(const std::string& name, const std::string& value);

    [[nodiscard]] const std::string& value() const { return value_; }

    /// A dot of that colour stands before the name, as in a legend.
    void setDot(const sentrel::Color& color);

    /// The name is what matters: it is written as figures are.
    void setIsProminent() { nameStyle_ = TextStyle::value; }

    /// The value is one that somebody should look after: it is written in red.
    void setIsAlarming(bool isAlarming);

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(sentrel::Canvas& canvas, sentrel::Rect rect) override;
    [[nodiscard]] sentrel::Size fittingSize() const override { return {120, rowHeight}; }
    [[nodiscard]] std::optional<std::string> accessibilityValue() const override { return value_; }

protected:
    [[nodiscard]] sentrel::AccessibilityRole ownAccessibilityRole() const override {
        return sentrel::AccessibilityRole::staticText;
    }
    [[nodiscard]] std::string ownAccessibilityName() const override { return name_; }

private:
    std::string name_;
    std::string value_;
    std::optional<sentrel::Color> dot_;
    bool isAlarming_ = false;
    TextStyle nameStyle_ = TextStyle::name;
};

} // namespace dashboard
