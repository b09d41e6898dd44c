// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/volumes/VolumeNotices.h>

#include <SentrelKit/platform/macos/common/Bridge.h>

#import <AppKit/AppKit.h>

#include <utility>

namespace sentrel::platform::VolumeNotices {

namespace {

std::optional<std::string> textAt(NSDictionary* facts, NSString* key) {
    return textOf((__bridge CFTypeRef)facts[key]);
}

std::optional<std::string> pathAt(NSDictionary* facts, NSString* key) {
    const id address = facts[key];
    return [address isKindOfClass:NSURL.class] ? textOf([address path]) : std::nullopt;
}

VolumeNotification noticeOf(VolumeNotification::Kind kind, NSDictionary* facts) {
    @autoreleasepool {
        return {.kind = kind,
                .oldName = textAt(facts, NSWorkspaceVolumeOldLocalizedNameKey),
                .newName = textAt(facts, NSWorkspaceVolumeLocalizedNameKey),
                .path = pathAt(facts, NSWorkspaceVolumeURLKey)};
    }
}

NSNotificationCenter* centre() {
    return NSWorkspace.sharedWorkspace.notificationCenter;
}

} // namespace

std::shared_ptr<void> add(std::function<void(const VolumeNotification&)> tell) {
    @autoreleasepool {
        const auto addOne = [&tell](NSString* name, VolumeNotification::Kind kind) {
            const auto hear = tell; // the block has its own
            return [centre() addObserverForName:name
                                         object:nil
                                          queue:nil
                                     usingBlock:^(NSNotification* notification) {
                                       hear(noticeOf(kind, notification.userInfo));
                                     }];
        };
        NSArray* const tokens = @[
            addOne(NSWorkspaceDidMountNotification, VolumeNotification::Kind::didMount),
            addOne(NSWorkspaceDidUnmountNotification, VolumeNotification::Kind::didUnmount),
            addOne(NSWorkspaceDidRenameVolumeNotification, VolumeNotification::Kind::didRename),
        ];
        return {const_cast<void*>((__bridge_retained CFTypeRef)tokens), [](void* owned) {
                    for (const id token in (__bridge_transfer NSArray*)owned)
                        [centre() removeObserver:token];
                }};
    }
}

} // namespace sentrel::platform::VolumeNotices
