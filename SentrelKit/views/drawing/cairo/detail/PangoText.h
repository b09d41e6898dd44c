// SPDX-License-Identifier: Apache-2.0
#pragma once

/// One line of text laid out by Pango.

#include <SentrelKit/views/drawing/Font.h>

#include <string>

struct _cairo;
struct _PangoLayout;

namespace sentrel {

/// The calling thread's layout, set to one line of a text at a font size that `isTextSize`. It is good until the next
/// call on the thread. For a context, its transform is taken into account; null measures only.
[[nodiscard]] _PangoLayout* layoutLine(_cairo* context, const std::string& text, const FontFace& face, double size);

/// Ends the line of a layout in an ellipsis, so that it takes a width in units of its font size, or as near to it as
/// the ellipsis alone comes.
void shortenLine(_PangoLayout* layout, double width);

} // namespace sentrel
