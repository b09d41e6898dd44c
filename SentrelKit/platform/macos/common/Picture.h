// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Icon.h>

#import <AppKit/AppKit.h>

#include <utility>

namespace sentrel::platform {

/// The icon whose picture `image` gives, as an image or nil, whenever its bytes are asked for. For Objective-C++ alone.
template <class Image>
[[nodiscard]] Icon icon(Image image) {
    return Icon::tiff([image = std::move(image)]() -> Icon::Bytes {
        @autoreleasepool { // megabytes, which a thread of dispatch would keep for longer
            NSImage* const picture = image();
            @synchronized(picture) { // an image is for one thread at a time
                NSData* const data = [picture TIFFRepresentationUsingCompression:NSTIFFCompressionLZW factor:0];
                const auto* const first = static_cast<const std::uint8_t*>(data.bytes);
                return {first, first + data.length};
            }
        }
    });
}

} // namespace sentrel::platform
