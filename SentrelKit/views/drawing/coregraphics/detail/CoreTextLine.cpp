// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/coregraphics/detail/CoreTextLine.h>

#include <SentrelKit/platform/macos/common/Values.h>
#include <SentrelKit/views/drawing/detail/Drawable.h>
#include <SentrelKit/views/drawing/detail/FontFaces.h>

#include <array>
#include <memory>
#include <utility>

namespace sentrel {

using platform::CFOwner;

namespace {

constexpr double anySize = 12.0;

// The text in one line; each byte that is no UTF-8 as the character that stands for such.
CFOwner<CFStringRef> lineText(const std::string& text) {
    CFOwner<CFStringRef> whole = platform::cfString(text);
    if (whole)
        return whole;
    std::string valid;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t length = 4; // of the longest character
        while (length > 0 && !platform::cfString(std::string_view(text).substr(at, length)))
            --length;
        valid += length > 0 ? text.substr(at, length) : "\xEF\xBF\xBD";
        at += length > 0 ? length : 1;
    }
    return platform::cfString(valid);
}

template <std::size_t count>
CFOwner<CFDictionaryRef> dictionary(const std::array<const void*, count>& keys,
                                    const std::array<const void*, count>& values) {
    return CFOwner(CFDictionaryCreate(kCFAllocatorDefault, const_cast<const void**>(keys.data()),
                                      const_cast<const void**>(values.data()), count, &kCFTypeDictionaryKeyCallBacks,
                                      &kCFTypeDictionaryValueCallBacks));
}

CFOwner<CTFontRef> sized(const FontFace& face, double size) {
    if (face.descriptor)
        return CFOwner(CTFontCreateWithFontDescriptor(face.descriptor.get(), size, nullptr));
    return CFOwner(CTFontCreateUIFontForLanguage(kCTFontUIFontSystem, size, nullptr));
}

std::optional<std::string> postScriptName(CTFontRef font) {
    return platform::textOf(CFOwner(CTFontCopyPostScriptName(font)).get());
}

// The font that holds a box for every character that no other font has.
bool isLastResort(CTRunRef run) {
    const void* const font = CFDictionaryGetValue(CTRunGetAttributes(run), kCTFontAttributeName);
    const auto name = font ? postScriptName(static_cast<CTFontRef>(font)) : std::nullopt;
    return name == "LastResort" || name == ".LastResort"; // the system's own names begin with a dot
}

} // namespace

std::shared_ptr<const FontFace> findFace(const std::string& name) {
    const CFOwner<CFStringRef> wanted = platform::cfString(name);
    if (!wanted)
        return nullptr;
    const CFOwner<CFDictionaryRef> attributes =
        dictionary<1>({static_cast<const void*>(kCTFontNameAttribute)}, {wanted.get()});
    const CFOwner descriptor(CTFontDescriptorCreateWithAttributes(attributes.get()));
    const CFOwner font(CTFontCreateWithFontDescriptor(descriptor.get(), anySize, nullptr));
    if (postScriptName(font.get()) != name) // another face stands in for one that is not there
        return nullptr;
    return std::make_shared<FontFace>(
        FontFace{.name = name, .descriptor = CFOwner(CTFontCopyFontDescriptor(font.get()))});
}

std::shared_ptr<const FontFace> makeSystemFace() {
    return std::make_shared<const FontFace>(FontFace{.name = "sans-serif"});
}

bool addFontFile(const std::string& path) {
    const CFOwner file(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), false));
    return file && CTFontManagerRegisterFontsForURL(file.get(), kCTFontManagerScopeProcess, nullptr);
}

const std::string& Font::name() const noexcept {
    return face_->name;
}

CoreTextLine::CoreTextLine(const std::string& text, const FontFace& face, double size)
    : font_(sized(face, size)), line_(lineOf(lineText(text).get())) {
    measure();
}

CFOwner<CTLineRef> CoreTextLine::lineOf(CFStringRef text) const {
    const CFOwner<CFDictionaryRef> attributes =
        dictionary<2>({static_cast<const void*>(kCTFontAttributeName),
                       static_cast<const void*>(kCTForegroundColorFromContextAttributeName)},
                      {static_cast<const void*>(font_.get()), static_cast<const void*>(kCFBooleanTrue)});
    const CFOwner styled(CFAttributedStringCreate(kCFAllocatorDefault, text, attributes.get()));
    return CFOwner(CTLineCreateWithAttributedString(styled.get()));
}

void CoreTextLine::measure() {
    width_ = CTLineGetTypographicBounds(line_.get(), &ascent_, &descent_, nullptr);
}

bool CoreTextLine::shorten(double width) {
    const CFOwner<CTLineRef> ellipsis = lineOf(CFSTR("\u2026"));
    CFOwner shorter(CTLineCreateTruncatedLine(line_.get(), width, kCTLineTruncationEnd, ellipsis.get()));
    if (!shorter)
        return false;
    line_ = std::move(shorter);
    measure();
    return true;
}

void CoreTextLine::draw(CGContextRef context, Point corner) const {
    // No part of the context's state: neither saved nor restored with it.
    const CGAffineTransform matrix = CGContextGetTextMatrix(context);
    CGContextSetTextMatrix(context, CGAffineTransformIdentity);
    CGContextSetTextDrawingMode(context, kCGTextFill);
    CFArrayRef runs = CTLineGetGlyphRuns(line_.get());
    for (CFIndex index = 0; index < CFArrayGetCount(runs); ++index) {
        const auto run = static_cast<CTRunRef>(CFArrayGetValueAtIndex(runs, index));
        if (isLastResort(run))
            continue;
        CGContextSetTextPosition(context, corner.x, corner.y + descent_);
        CTRunDraw(run, context, CFRangeMake(0, 0));
    }
    CGContextSetTextMatrix(context, matrix);
}

Size textSize(const std::string& text, const Font& font) {
    if (!isTextSize(font.size()))
        return {};
    return CoreTextLine(text, font.face(), font.size()).size();
}

} // namespace sentrel
