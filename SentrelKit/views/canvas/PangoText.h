#pragma once

/// One line of text laid out by Pango.

#include <SentrelKit/views/Font.h>

#include <string>

struct _cairo;
struct _PangoLayout;

namespace sentrel {

/// The calling thread's layout, set to one line of a text at a font size of at least a hair. It is good until the next
/// call on the thread. For a context, its transform is taken into account; null measures only.
[[nodiscard]] _PangoLayout* layoutLine(_cairo* context, const std::string& text, const FontFace& face, double size);

} // namespace sentrel
