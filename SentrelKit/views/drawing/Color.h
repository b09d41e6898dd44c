// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string_view>

namespace sentrel {

/// An RGBA colour in sRGB, components nominally 0.0 to 1.0, not premultiplied. Any thread.
struct SENTREL_API Color {
    double red = 0.0;   ///< 0.0 to 1.0, not clamped
    double green = 0.0; ///< 0.0 to 1.0, not clamped
    double blue = 0.0;  ///< 0.0 to 1.0, not clamped
    double alpha = 1.0; ///< 0.0 for a transparent to 1.0 for an opaque colour, not clamped

    /// The colour of 8-bit components (each divided by 255.0; out of range is passed on, not clamped) and an alpha.
    [[nodiscard]] static Color initWithR(std::int64_t r, std::int64_t g, std::int64_t b, double a) noexcept;

    /// The colour of a number 0xRRGGBB. No colour for one that is negative or greater than 0xFFFFFF.
    [[nodiscard]] static std::optional<Color> initWithHex(std::int64_t hex, float alpha = 1.0F) noexcept;

    /// The colour of a text of three or six hexadecimal digits with or without one "#" before them. A sign is accepted
    /// and counts as a character. No colour for any other text.
    [[nodiscard]] static std::optional<Color> initWithHexString(std::string_view hexString,
                                                                float alpha = 1.0F) noexcept;

    /// The same colour with another alpha.
    [[nodiscard]] Color withAlphaComponent(double newAlpha) const noexcept;

    /// The mixture of (1 - fraction) of this colour and fraction of the other, component by component, alpha included.
    [[nodiscard]] Color blendedColor(double fraction, const Color& other) const noexcept;

    /// Exact equality of all four components; a component that is not a number makes colours differ.
    friend bool operator==(const Color&, const Color&) = default;
};
/// Writes it as "{red, green, blue, alpha}" with its figures.
SENTREL_API std::ostream& operator<<(std::ostream& stream, const Color& value);

} // namespace sentrel
