// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/drawing/Font.h>

namespace sentrel {

/// The faces that labels are set in. The font files are the host's: it installs or registers them. A face that is not
/// there gives no font, and nothing stands in for it. Sizes are in points. Any thread.
class SENTREL_API FUIFont {
public:
    FUIFont() = delete;

    [[nodiscard]] static std::optional<Font> normal(double size); ///< "Lato-Regular"
    [[nodiscard]] static std::optional<Font> light(double size);  ///< "Lato-Light"
    [[nodiscard]] static std::optional<Font> bold(double size);   ///< "Lato-Bold"
    [[nodiscard]] static std::optional<Font> italic(double size); ///< "Lato-Italic"
    [[nodiscard]] static std::optional<Font> black(double size);  ///< "Lato-Black"
    [[nodiscard]] static std::optional<Font> glyph(double size);  ///< "Flat-UI-Pro-Icons", for the constants of `Glyph`

    /// Makes the faces of a font file known to this process. False if it cannot be read as one. Main thread.
    static bool registerFontFile(const std::string& path);
};

} // namespace sentrel
