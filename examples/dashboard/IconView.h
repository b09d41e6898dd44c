// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Icon.h>
#include <SentrelKit/views/View.h>

#include <optional>
#include <string>

namespace dashboard {

/// The place of an application's icon. What draws pictures is the toolkit: a host that can looks for these places and
/// puts the icons over them. Elsewhere the name's first letter stands on a tile of the name's colour.
class IconView final : public sentrel::View {
public:
    static constexpr double side = 22; ///< points

    IconView();

    void show(const std::string& name, const std::optional<sentrel::Icon>& icon);

    [[nodiscard]] const std::optional<sentrel::Icon>& icon() const { return icon_; }

    /// Whether the host has the icon's picture and draws it: then there is no tile.
    void setIsDrawnByHost(bool isDrawnByHost);

    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(sentrel::Canvas& canvas, sentrel::Rect rect) override;

private:
    std::string name_;
    std::optional<sentrel::Icon> icon_;
    bool isDrawnByHost_ = false;
};

} // namespace dashboard
