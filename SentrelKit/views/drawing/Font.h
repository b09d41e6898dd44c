// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>
#include <SentrelKit/views/drawing/Geometry.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace sentrel {

struct FontFace;

/// A font face at a size, found by its exact face name (its PostScript name). Any thread.
class SENTREL_API Font {
public:
    /// The face of exactly this name at a size in points, or no font: another face never stands in for it.
    [[nodiscard]] static std::optional<Font> withName(const std::string& faceName, double size);

    /// The desktop's sans-serif face, for text whose host chose no font.
    [[nodiscard]] static Font systemFont(double size);

    /// Makes the faces of a font file known to this process. False, and nothing changes, if it cannot be read as one.
    /// Call it on the main thread, before the fonts are asked for.
    static bool registerFile(const std::string& path);

    /// The exact face name that the font was asked for by; "sans-serif" for the desktop's.
    [[nodiscard]] const std::string& name() const noexcept;
    [[nodiscard]] double size() const noexcept { return size_; } ///< points

    /// For a canvas.
    [[nodiscard]] const FontFace& face() const noexcept { return *face_; }

    /// Whether face name and size are equal.
    friend bool operator==(const Font& one, const Font& other) noexcept {
        return one.size_ == other.size_ && one.name() == other.name();
    }

private:
    Font(std::shared_ptr<const FontFace> face, double size) noexcept;

    std::shared_ptr<const FontFace> face_;
    double size_;
};

/// The size of one line of text, in points; none for a font size below 0.1 or above 4096 points. Main thread.
[[nodiscard]] SENTREL_API Size textSize(const std::string& text, const Font& font);

} // namespace sentrel
