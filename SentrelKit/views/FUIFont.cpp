// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUIFont.h>

namespace sentrel {

std::optional<Font> FUIFont::normal(double size) {
    return Font::withName("Lato-Regular", size);
}
std::optional<Font> FUIFont::light(double size) {
    return Font::withName("Lato-Light", size);
}
std::optional<Font> FUIFont::bold(double size) {
    return Font::withName("Lato-Bold", size);
}
std::optional<Font> FUIFont::italic(double size) {
    return Font::withName("Lato-Italic", size);
}
std::optional<Font> FUIFont::black(double size) {
    return Font::withName("Lato-Black", size);
}
std::optional<Font> FUIFont::glyph(double size) {
    return Font::withName("Flat-UI-Pro-Icons", size);
}

bool FUIFont::registerFontFile(const std::string& path) {
    return Font::registerFile(path);
}

} // namespace sentrel
