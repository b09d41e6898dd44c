// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/drawing/Color.h>

namespace sentrel {

/// The palette: every component takes its colours from here. Each call returns a new value, its alpha
/// 0.0 for transparent to 1.0 for opaque and not clamped. Any thread.
class SENTREL_API FUIColor {
public:
    FUIColor() = delete;

    [[nodiscard]] static Color wetAsphalt(double alpha = 1.0) noexcept;   ///< `#34495E`
    [[nodiscard]] static Color turquoise(double alpha = 1.0) noexcept;    ///< `#1ABC9C`
    [[nodiscard]] static Color emerald(double alpha = 1.0) noexcept;      ///< `#2ECC71`
    [[nodiscard]] static Color sunflower(double alpha = 1.0) noexcept;    ///< `#F1C40F`
    [[nodiscard]] static Color alizarin(double alpha = 1.0) noexcept;     ///< `#E74C3C`
    [[nodiscard]] static Color peterRiver(double alpha = 1.0) noexcept;   ///< `#3498DB`
    [[nodiscard]] static Color white(double alpha = 1.0) noexcept;        ///< `#FFFFFF`
    [[nodiscard]] static Color black(double alpha = 1.0) noexcept;        ///< `#000000`
    [[nodiscard]] static Color greenSea(double alpha = 1.0) noexcept;     ///< `#16A085`
    [[nodiscard]] static Color nephritis(double alpha = 1.0) noexcept;    ///< `#27AE60`
    [[nodiscard]] static Color belizeHole(double alpha = 1.0) noexcept;   ///< `#2980B9`
    [[nodiscard]] static Color amethyst(double alpha = 1.0) noexcept;     ///< `#9B59B6`
    [[nodiscard]] static Color wisteria(double alpha = 1.0) noexcept;     ///< `#8E44AD`
    [[nodiscard]] static Color midnightBlue(double alpha = 1.0) noexcept; ///< `#2C3E50`
    [[nodiscard]] static Color orange(double alpha = 1.0) noexcept;       ///< `#F39C12`
    [[nodiscard]] static Color carrot(double alpha = 1.0) noexcept;       ///< `#E67E22`
    [[nodiscard]] static Color pumpkin(double alpha = 1.0) noexcept;      ///< `#D35400`
    [[nodiscard]] static Color pomegranate(double alpha = 1.0) noexcept;  ///< `#C0392B`
    [[nodiscard]] static Color clouds(double alpha = 1.0) noexcept;       ///< `#ECF0F1`
    [[nodiscard]] static Color silver(double alpha = 1.0) noexcept;       ///< `#BDC3C7`
    [[nodiscard]] static Color concrete(double alpha = 1.0) noexcept;     ///< `#95A5A6`
    [[nodiscard]] static Color asbestos(double alpha = 1.0) noexcept;     ///< `#7F8C8D`

    // Colours by meaning, each with its own copy of its components.
    [[nodiscard]] static Color brandPrimary() noexcept;   ///< as `wetAsphalt`, opaque
    [[nodiscard]] static Color brandSecondary() noexcept; ///< as `turquoise`, opaque
    [[nodiscard]] static Color brandSuccess() noexcept;   ///< as `emerald`, opaque
    [[nodiscard]] static Color brandWarning() noexcept;   ///< as `sunflower`, opaque
    [[nodiscard]] static Color brandDanger() noexcept;    ///< as `alizarin`, opaque
    [[nodiscard]] static Color brandInfo() noexcept;      ///< as `peterRiver`, opaque
    [[nodiscard]] static Color transparent() noexcept;    ///< white with alpha 0
};

} // namespace sentrel
