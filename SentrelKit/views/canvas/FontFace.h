#pragma once

/// A font face as the text renderer knows it. For canvases.

#include <SentrelKit/Export.h>

#include <memory>
#include <string>

struct _PangoFontDescription;

namespace sentrel {

struct FontFace {
    struct Free {
        void operator()(_PangoFontDescription* owned) const noexcept;
    };

    std::string name;
    std::unique_ptr<_PangoFontDescription, Free> description; ///< without a size
};

} // namespace sentrel
