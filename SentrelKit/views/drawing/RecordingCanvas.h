// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/drawing/Canvas.h>

#include <optional>
#include <variant>
#include <vector>

namespace sentrel {

/// Keeps the calls as values, in order, so that a test or a tool reads what was drawn. Draws nothing.
class SENTREL_API RecordingCanvas final : public Canvas {
public:
    /// A call of `save`.
    struct Save {};

    /// A call of `restore`.
    struct Restore {};

    /// A call of `concat`.
    struct Concat {
        Transform transform; ///< as it was given
    };

    /// A call of `clip`.
    struct Clip {
        Path path; ///< as it was given
    };

    /// A call of `fill`.
    struct Fill {
        Path path;   ///< as it was given, arcs with their own angles
        Paint paint; ///< as it was given
    };

    /// A call of `stroke`.
    struct Stroke {
        Path path;   ///< as it was given, arcs with their own angles
        Paint paint; ///< as it was given
    };

    /// A call of `drawText`.
    struct Text {
        std::string text;        ///< UTF-8
        Font font;               ///< as it was given
        Color color;             ///< as it was given
        Rect box;                ///< as it was given
        TextAlignment alignment; ///< as it was given
    };

    /// One call of any kind.
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

    /// Every call, in order; good until the next one.
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
