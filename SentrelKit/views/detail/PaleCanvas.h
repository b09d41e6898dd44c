// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/drawing/Canvas.h>

namespace sentrel {

/// Draws on another canvas in colours of which 40 % are left: what cannot be used. One thread at a time.
class PaleCanvas final : public Canvas {
public:
    /// The other canvas must outlive this one.
    explicit PaleCanvas(Canvas& canvas) noexcept : canvas_(canvas) {}

    void save() override { canvas_.save(); }
    void restore() override { canvas_.restore(); }
    void concat(const Transform& transform) override { canvas_.concat(transform); }
    void clip(const Path& path) override { canvas_.clip(path); }
    void fill(const Path& path, const Paint& paint) override { canvas_.fill(path, pale(paint)); }
    void fillSideBySide(const std::vector<FilledPath>& figures) override;
    void stroke(const Path& path, const Paint& paint) override { canvas_.stroke(path, pale(paint)); }
    void drawText(const std::string& text, const Font& font, const Color& color, Rect box,
                  TextAlignment alignment) override {
        canvas_.drawText(text, font, pale(color), box, alignment);
    }
    [[nodiscard]] std::optional<Transform> toPixels() const override { return canvas_.toPixels(); }

private:
    static Color pale(const Color& color) noexcept { return color.withAlphaComponent(0.4 * color.alpha); }
    static Paint pale(const Paint& paint);

    Canvas& canvas_;
};

} // namespace sentrel
