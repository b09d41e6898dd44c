// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/drawing/Canvas.h>

#include <vector>

struct _cairo;
struct _PangoLayout;

namespace sentrel {

/// Draws on any cairo context: an image, a window, an SVG or PDF surface. The context's state is as it was once the
/// canvas is gone. Coordinates that would leave cairo's range of some millions of pixels are drawn at its edge. One
/// thread at a time.
class SENTREL_API CairoCanvas final : public Canvas {
public:
    /// Keeps a reference on the context. Its present transform is the device's: points become what it makes of them.
    explicit CairoCanvas(_cairo* context);

    /// Restores what was saved on it and gives the reference back.
    ~CairoCanvas() override;
    CairoCanvas(const CairoCanvas&) = delete;
    CairoCanvas& operator=(const CairoCanvas&) = delete;

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
    bool trace(const Path& path);
    bool setPaint(const Paint& paint);
    bool setStrokeStyle(const Path& path);
    void drawLine(_PangoLayout* layout, double capHeight, const Color& color, Size box, TextAlignment alignment);

    struct State {
        double scale = 1.0;   ///< the longest step that one unit makes on the device
        bool drawable = true; ///< false under a transform or a clip that cairo cannot take
    };

    _cairo* context_;
    State state_;
    std::vector<State> saved_;
};

} // namespace sentrel
