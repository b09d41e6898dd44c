// SPDX-License-Identifier: Apache-2.0
#include "tests/views/support/Image.h"

#include "tests/views/support/PictureTolerance.h"

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/views/drawing/coregraphics/CoreGraphicsCanvas.h>

#include <CoreGraphics/CoreGraphics.h>
#include <ImageIO/ImageIO.h>

namespace sentrel {

using platform::CFOwner;

// The golden pictures were drawn by Cairo.
const PictureTolerance goldenTolerance = otherDrawingSystem;

namespace {

constexpr std::size_t bytesOfPixel = 4;

CFOwner<CGContextRef> bitmap(std::size_t width, std::size_t height) {
    const CFOwner<CGColorSpaceRef> colors(CGColorSpaceCreateWithName(kCGColorSpaceSRGB));
    return CFOwner<CGContextRef>(CGBitmapContextCreate(nullptr, width, height, 8, width * bytesOfPixel, colors.get(),
                                                       static_cast<std::uint32_t>(kCGImageAlphaPremultipliedLast)));
}

CFOwner<CGImageRef> imageIn(const std::string& path) {
    const CFOwner<CFURLRef> file(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), false));
    const CFOwner<CGImageSourceRef> source(file ? CGImageSourceCreateWithURL(file.get(), nullptr) : nullptr);
    return CFOwner<CGImageRef>(source ? CGImageSourceCreateImageAtIndex(source.get(), 0, nullptr) : nullptr);
}

} // namespace

struct Image::Content {
    CFOwner<CGContextRef> context; ///< none: of no size
};

Image::Image(int width, int height)
    : content_(std::make_unique<Content>(
          Content{bitmap(static_cast<std::size_t>(width), static_cast<std::size_t>(height))})) {}

Image::Image(const std::string& path) : content_(std::make_unique<Content>()) {
    const CFOwner<CGImageRef> image = imageIn(path);
    if (!image)
        return;
    const std::size_t width = CGImageGetWidth(image.get());
    const std::size_t height = CGImageGetHeight(image.get());
    content_->context = bitmap(width, height);
    if (content_->context)
        CGContextDrawImage(content_->context.get(),
                           CGRectMake(0.0, 0.0, static_cast<double>(width), static_cast<double>(height)), image.get());
}

Image::~Image() = default;

int Image::width() const noexcept {
    return content_->context ? static_cast<int>(CGBitmapContextGetWidth(content_->context.get())) : 0;
}

int Image::height() const noexcept {
    return content_->context ? static_cast<int>(CGBitmapContextGetHeight(content_->context.get())) : 0;
}

std::vector<unsigned char> Image::bytes() const {
    if (!content_->context)
        return {};
    CGContextFlush(content_->context.get());
    const auto* data = static_cast<const unsigned char*>(CGBitmapContextGetData(content_->context.get()));
    return {data, data + CGBitmapContextGetBytesPerRow(content_->context.get()) *
                             CGBitmapContextGetHeight(content_->context.get())};
}

std::unique_ptr<Canvas> Image::canvas() const {
    auto canvas = std::make_unique<CoreGraphicsCanvas>(content_->context.get());
    canvas->concat({1.0, 0.0, 0.0, -1.0, 0.0, static_cast<double>(height())}); // contexts begin at the lower left
    return canvas;
}

bool Image::isIntact() const noexcept {
    return content_->context.get() != nullptr;
}

} // namespace sentrel
