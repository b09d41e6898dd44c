// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/cairo/detail/PangoText.h>

#include <SentrelKit/views/drawing/cairo/detail/FontFace.h>
#include <SentrelKit/views/drawing/detail/Drawable.h>
#include <SentrelKit/views/drawing/detail/FontFaces.h>

#include <fontconfig/fontconfig.h>
#include <hb-ot.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-fontmap.h>

#include <array>
#include <memory>

namespace sentrel {

namespace {

struct Unref {
    void operator()(void* object) const noexcept { g_object_unref(object); }
};
struct FreeText {
    void operator()(void* text) const noexcept { g_free(text); }
};
struct DestroyFont {
    void operator()(hb_font_t* font) const noexcept { hb_font_destroy(font); }
};
struct DestroyPattern {
    void operator()(FcPattern* pattern) const noexcept { FcPatternDestroy(pattern); }
};
struct DestroyObjects {
    void operator()(FcObjectSet* objects) const noexcept { FcObjectSetDestroy(objects); }
};
struct DestroyFonts {
    void operator()(FcFontSet* fonts) const noexcept { FcFontSetDestroy(fonts); }
};

// The thread's layout. Outlines are neither hinted nor placed on whole pixels, so that a text looks the same at every
// scale and on every surface.
PangoLayout* threadLayout() {
    thread_local const std::unique_ptr<PangoLayout, Unref> layout = [] {
        const std::unique_ptr<PangoContext, Unref> context(
            pango_font_map_create_context(pango_cairo_font_map_get_default()));
        cairo_font_options_t* options = cairo_font_options_create();
        cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
        cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
        cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
        pango_cairo_context_set_font_options(context.get(), options);
        cairo_font_options_destroy(options);
        pango_context_set_round_glyph_positions(context.get(), FALSE);
        std::unique_ptr<PangoLayout, Unref> made(pango_layout_new(context.get()));
        pango_layout_set_single_paragraph_mode(made.get(), TRUE);
        return made;
    }();
    return layout.get();
}

const char* postScriptName(FcPattern* pattern) noexcept {
    FcChar8* name = nullptr;
    if (FcPatternGetString(pattern, FC_POSTSCRIPT_NAME, 0, &name) != FcResultMatch)
        return "";
    return reinterpret_cast<const char*>(name);
}

// What the text renderer takes when it is asked for this description, at a size; null for nothing.
std::unique_ptr<PangoFont, Unref> rendered(const PangoFontDescription* description) {
    PangoFontDescription* sized = pango_font_description_copy(description);
    pango_font_description_set_absolute_size(sized, 12.0 * PANGO_SCALE);
    std::unique_ptr<PangoFont, Unref> font(pango_context_load_font(pango_layout_get_context(threadLayout()), sized));
    pango_font_description_free(sized);
    return font;
}

// Whether a font is of this very face. The face itself is asked: what the renderer matched it with was made on a thread
// of its own.
bool isOfFace(PangoFont* font, const std::string& name) {
    std::array<char, 128> text{}; // PostScript names have 63 characters at most
    auto size = static_cast<unsigned>(text.size());
    hb_ot_name_get_utf8(hb_font_get_face(pango_font_get_hb_font(font)), HB_OT_NAME_ID_POSTSCRIPT_NAME,
                        HB_LANGUAGE_INVALID, &size, text.data());
    return name == text.data();
}

// The height of a capital letter with a level top, in font sizes; 0 for a font without it. Not every font states it.
double capHeightOf(PangoFont* font) {
    hb_face_t* face = hb_font_get_face(pango_font_get_hb_font(font));
    const std::unique_ptr<hb_font_t, DestroyFont> unscaled(hb_font_create(face)); // in units of its design
    hb_codepoint_t glyph = 0;
    hb_glyph_extents_t extents{};
    if (!hb_font_get_nominal_glyph(unscaled.get(), 'H', &glyph) ||
        !hb_font_get_glyph_extents(unscaled.get(), glyph, &extents))
        return 0.0;
    return static_cast<double>(extents.y_bearing) / hb_face_get_upem(face);
}

// Characters that no font has would show as boxes with their number: they become blank.
void blankUnknownGlyphs(PangoLayout* layout) {
    PangoLayoutIter* runs = pango_layout_get_iter(layout);
    do {
        PangoLayoutRun* run = pango_layout_iter_get_run(runs);
        for (int i = 0; run && i < run->glyphs->num_glyphs; ++i)
            if (run->glyphs->glyphs[i].glyph & PANGO_GLYPH_UNKNOWN_FLAG)
                run->glyphs->glyphs[i].glyph = PANGO_GLYPH_EMPTY;
    } while (pango_layout_iter_next_run(runs));
    pango_layout_iter_free(runs);
}

struct ReleaseAttributes {
    void operator()(PangoAttrList* attributes) const noexcept { pango_attr_list_unref(attributes); }
};

// What a private-use character means is up to its font: one that the asked font lacks is not taken from another, whose
// picture would be of something else.
void keepPrivateUseToItsFont(PangoLayout* layout) {
    const char* const text = pango_layout_get_text(layout);
    std::unique_ptr<PangoAttrList, ReleaseAttributes> attributes;
    for (const char* place = text; *place != '\0'; place = g_utf8_next_char(place)) {
        if (static_cast<unsigned char>(*place) < 0xEE || // the first byte of any of them
            g_unichar_type(g_utf8_get_char(place)) != G_UNICODE_PRIVATE_USE)
            continue;
        if (!attributes)
            attributes.reset(pango_attr_list_new());
        PangoAttribute* const own = pango_attr_fallback_new(FALSE);
        own->start_index = static_cast<guint>(place - text);
        own->end_index = static_cast<guint>(g_utf8_next_char(place) - text);
        pango_attr_list_insert(attributes.get(), own);
    }
    pango_layout_set_attributes(layout, attributes.get());
}

} // namespace

void FontFace::Free::operator()(_PangoFontDescription* owned) const noexcept {
    pango_font_description_free(owned);
}

std::shared_ptr<const FontFace> findFace(const std::string& name) {
    const std::unique_ptr<FcPattern, DestroyPattern> wanted(FcPatternCreate());
    FcPatternAddString(wanted.get(), FC_POSTSCRIPT_NAME, reinterpret_cast<const FcChar8*>(name.c_str()));
    const std::unique_ptr<FcObjectSet, DestroyObjects> objects(
        FcObjectSetBuild(FC_POSTSCRIPT_NAME, FC_FAMILY, FC_STYLE, FC_WEIGHT, FC_SLANT, FC_WIDTH, nullptr));
    const std::unique_ptr<FcFontSet, DestroyFonts> fonts(FcFontList(nullptr, wanted.get(), objects.get()));
    if (!fonts)
        return nullptr;
    for (int i = 0; i < fonts->nfont; ++i) {
        if (name != postScriptName(fonts->fonts[i]))
            continue;
        auto face = std::make_shared<FontFace>();
        face->name = name;
        face->description.reset(pango_fc_font_description_from_pattern(fonts->fonts[i], FALSE));
        const auto font = rendered(face->description.get());
        if (!font || !isOfFace(font.get(), name))
            continue;
        face->capHeight = capHeightOf(font.get());
        return face;
    }
    return nullptr;
}

std::shared_ptr<const FontFace> makeSystemFace() {
    auto face = std::make_shared<FontFace>();
    face->name = "sans-serif";
    face->description.reset(pango_font_description_from_string("sans-serif"));
    if (const auto font = rendered(face->description.get()))
        face->capHeight = capHeightOf(font.get());
    return face;
}

bool addFontFile(const std::string& path) {
    if (!FcConfigAppFontAddFile(nullptr, reinterpret_cast<const FcChar8*>(path.c_str())))
        return false;
    pango_fc_font_map_config_changed(PANGO_FC_FONT_MAP(pango_cairo_font_map_get_default()));
    return true;
}

const std::string& Font::name() const noexcept {
    return face_->name;
}

PangoLayout* layoutLine(cairo_t* context, const std::string& text, const FontFace& face, double size) {
    PangoLayout* layout = threadLayout();
    if (context)
        pango_cairo_update_layout(context, layout);
    PangoFontDescription* description = pango_font_description_copy_static(face.description.get());
    pango_font_description_set_absolute_size(description, size * PANGO_SCALE);
    pango_layout_set_font_description(layout, description);
    pango_font_description_free(description);
    pango_layout_set_width(layout, -1); // all of it
    const auto length = static_cast<gssize>(text.size());
    if (g_utf8_validate(text.data(), length, nullptr)) {
        pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
    } else {
        const std::unique_ptr<char, FreeText> valid(g_utf8_make_valid(text.data(), length));
        pango_layout_set_text(layout, valid.get(), -1);
    }
    keepPrivateUseToItsFont(layout);
    blankUnknownGlyphs(layout);
    return layout;
}

void shortenLine(PangoLayout* layout, double width) {
    pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
    pango_layout_set_width(layout, static_cast<int>(width * PANGO_SCALE));
    blankUnknownGlyphs(layout);
}

Size textSize(const std::string& text, const Font& font) {
    if (!isTextSize(font.size()))
        return {};
    PangoRectangle logical{};
    pango_layout_get_extents(layoutLine(nullptr, text, font.face(), font.size()), nullptr, &logical);
    return {static_cast<double>(logical.width) / PANGO_SCALE, static_cast<double>(logical.height) / PANGO_SCALE};
}

} // namespace sentrel
