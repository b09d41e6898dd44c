// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/detail/PictureFile.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/views/drawing/coregraphics/CoreGraphicsCanvas.h>

#include <CoreGraphics/CoreGraphics.h>
#include <ImageIO/ImageIO.h>

namespace sentrel {

using platform::CFOwner;

namespace {

CFOwner<CFURLRef> fileAddress(const std::string& path) {
    return CFOwner(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), false));
}

// Contexts have their origin in the lower left corner.
void draw(CGContextRef context, double height, double scale, const PictureContent& content) {
    CGContextTranslateCTM(context, 0.0, height);
    CGContextScaleCTM(context, scale, -scale);
    CoreGraphicsCanvas canvas(context);
    content(canvas);
}

} // namespace

bool drawPixels(void* data, int width, int height, int stride, double scale, const PictureContent& content) {
    const CFOwner<CGColorSpaceRef> colors(CGColorSpaceCreateWithName(kCGColorSpaceSRGB));
    const std::uint32_t layout = static_cast<std::uint32_t>(kCGImageAlphaPremultipliedFirst) |
                                 static_cast<std::uint32_t>(kCGBitmapByteOrder32Host);
    const CFOwner<CGContextRef> context(CGBitmapContextCreate(data, static_cast<std::size_t>(width),
                                                              static_cast<std::size_t>(height), 8,
                                                              static_cast<std::size_t>(stride), colors.get(), layout));
    if (!context)
        return false;
    draw(context.get(), height, scale, content);
    CGContextFlush(context.get());
    return true;
}

bool writePNG(const std::string& path, int width, int height, double scale, const PictureContent& content) {
    const CFOwner<CGColorSpaceRef> colors(CGColorSpaceCreateWithName(kCGColorSpaceSRGB));
    const CFOwner<CGContextRef> context(
        CGBitmapContextCreate(nullptr, static_cast<std::size_t>(width), static_cast<std::size_t>(height), 8, 0,
                              colors.get(), static_cast<std::uint32_t>(kCGImageAlphaPremultipliedLast)));
    const CFOwner<CFURLRef> file = fileAddress(path);
    if (!context || !file)
        return false;
    draw(context.get(), height, scale, content);
    const CFOwner<CGImageRef> image(CGBitmapContextCreateImage(context.get()));
    const CFOwner<CGImageDestinationRef> destination(
        CGImageDestinationCreateWithURL(file.get(), CFSTR("public.png"), 1, nullptr));
    if (!image || !destination)
        return false;
    CGImageDestinationAddImage(destination.get(), image.get(), nullptr);
    return CGImageDestinationFinalize(destination.get());
}

bool writeSVG(const std::string&, Size, const PictureContent&) {
    return false;
}

bool writePDF(const std::string& path, Size size, const PictureContent& content) {
    const CFOwner<CFURLRef> file = fileAddress(path);
    const CGRect page = CGRectMake(0.0, 0.0, size.width, size.height);
    const CFOwner<CGContextRef> context(file ? CGPDFContextCreateWithURL(file.get(), &page, nullptr) : nullptr);
    if (!context)
        return false;
    CGPDFContextBeginPage(context.get(), nullptr);
    draw(context.get(), size.height, 1.0, content);
    CGPDFContextEndPage(context.get());
    CGPDFContextClose(context.get());
    return true;
}

} // namespace sentrel
