// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/volumes/VolumeIcon.h>

#include <SentrelKit/platform/macos/common/Bridge.h>
#include <SentrelKit/platform/macos/common/Picture.h>

namespace sentrel::platform {

std::optional<Icon> volumeIcon(const std::string& path) {
    @autoreleasepool {
        NSString* const name = object(path);
        NSImage* const image = name ? [NSWorkspace.sharedWorkspace iconForFile:name] : nil;
        return image ? std::optional(icon([image] { return image; })) : std::nullopt;
    }
}

} // namespace sentrel::platform
