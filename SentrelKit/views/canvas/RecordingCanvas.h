#pragma once

/// Keeps the calls as values, in order, so that a test or a tool reads what was drawn. Draws nothing.

#include <SentrelKit/views/canvas/Canvas.h>

#include <optional>
#include <variant>
#include <vector>

namespace sentrel {

class SENTREL_API RecordingCanvas final : public Canvas {
public:
    struct Save {};
    struct Restore {};
    struct Concat {
        Transform transform;
    };
    struct Clip {
        Path path;
    };
    struct Fill {
        Path path;
        Paint paint;
    };
    struct Stroke {
        Path path;
        Paint paint;
    };
    struct Text {
        std::string text;
        Font font;
        Color color;
        Rect box;
        TextAlignment alignment;
    };
    using Call = std::variant<Save, Restore, Concat, Clip, Fill, Stroke, Text>;

    void save() override { calls_.emplace_back(Save{}); }
    void restore() override { calls_.emplace_back(Restore{}); }
    void concat(const Transform& transform) override { calls_.emplace_back(Concat{transform}); }
    void clip(const Path& path) override { calls_.emplace_back(Clip{path}); }
    void fill(const Path& path, const Paint& paint) override { calls_.emplace_back(Fill{path, paint}); }
    void stroke(const Path& path, const Paint& paint) override { calls_.emplace_back(Stroke{path, paint}); }
    void drawText(const std::string& text, const Font& font, const Color& color, Rect box,
                  TextAlignment alignment) override {
        calls_.emplace_back(Text{text, font, color, box, alignment});
    }

    [[nodiscard]] const std::vector<Call>& calls() const noexcept { return calls_; }

    /// The calls of one kind, in order.
    template <class Kind>
    [[nodiscard]] std::vector<Kind> all() const {
        std::vector<Kind> found;
        for (const Call& call : calls_)
            if (const Kind* kind = std::get_if<Kind>(&call))
                found.push_back(*kind);
        return found;
    }

private:
    std::vector<Call> calls_;
};

} // namespace sentrel
