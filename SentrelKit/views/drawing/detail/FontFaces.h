// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The faces of fonts as the drawing system finds them. Any thread; `findFace` and `addFontFile` one call at a time.

#include <memory>
#include <string>

namespace sentrel {

struct FontFace;

/// The face of exactly this name; null if there is none.
[[nodiscard]] std::shared_ptr<const FontFace> findFace(const std::string& name);

/// The desktop's sans-serif face, under that name.
[[nodiscard]] std::shared_ptr<const FontFace> makeSystemFace();

/// Makes the faces of a font file known to this process. False if it cannot be read as one.
[[nodiscard]] bool addFontFile(const std::string& path);

} // namespace sentrel
