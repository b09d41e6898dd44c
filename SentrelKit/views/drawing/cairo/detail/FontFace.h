// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

struct _PangoFontDescription;

namespace sentrel {

/// A font face as the text renderer knows it. For canvases.
struct FontFace {
    /// Frees a description.
    struct Free {
        /// Frees `owned`, which may be null.
        void operator()(_PangoFontDescription* owned) const noexcept;
    };

    std::string name;                                         ///< the exact face name
    std::unique_ptr<_PangoFontDescription, Free> description; ///< without a size
    double capHeight = 0.0; ///< of capital letters, in font sizes; 0 for a face without them
};

} // namespace sentrel
