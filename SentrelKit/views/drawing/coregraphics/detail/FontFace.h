// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/macos/common/CFOwner.h>

#include <CoreText/CoreText.h>

#include <string>

namespace sentrel {

/// A font face as Core Text knows it. For canvases.
struct FontFace {
    std::string name;                                    ///< the exact face name
    platform::CFOwner<CTFontDescriptorRef> descriptor{}; ///< without a size; none for the system's own face
};

} // namespace sentrel
