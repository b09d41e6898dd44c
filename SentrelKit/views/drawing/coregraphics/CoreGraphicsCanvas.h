// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/drawing/Canvas.h>

#include <vector>

struct CGContext;

namespace sentrel {

/// Draws on any Core Graphics context: a window's, a bitmap's, a PDF's. The context's state is as it was once the
/// canvas is gone. One thread at a time. Of a PDF's context nothing tells that it has no pixels: its points count as
/// such.
class SENTREL_API CoreGraphicsCanvas final : public Canvas {
public:
    /// Keeps a reference on the context. Its present transform is the device's: points become what it makes of them.
    explicit CoreGraphicsCanvas(CGContext* context);

    /// Restores what was saved on it and gives the reference back.
    ~CoreGraphicsCanvas() override;
    CoreGraphicsCanvas(const CoreGraphicsCanvas&) = delete;
    CoreGraphicsCanvas& operator=(const CoreGraphicsCanvas&) = delete;

    void save() override;
    void restore() override;
    void concat(const Transform& transform) override;
    void clip(const Path& path) override;
    void fill(const Path& path, const Paint& paint) override;
    void fillSideBySide(const std::vector<FilledPath>& figures) override;
    void stroke(const Path& path, const Paint& paint) override;
    void drawText(const std::string& text, const Font& font, const Color& color, Rect box,
                  TextAlignment alignment) override;
    [[nodiscard]] std::optional<Transform> toPixels() const override;

private:
    struct State {
        double scale = 1.0;   ///< the longest step that one unit makes on the device
        bool drawable = true; ///< false under a transform or a clip that leaves nothing to draw
    };

    [[nodiscard]] State present() const;
    bool trace(const Path& path);
    bool setStrokeStyle(const Path& path);
    void fillGradient(const struct LinearGradient& gradient);

    CGContext* context_;
    State state_;
    std::vector<State> saved_;
};

} // namespace sentrel
