// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/desktop/MacDesktop.h>

#include <SentrelKit/platform/macos/common/Bridge.h>

#import <AppKit/AppKit.h>

/// Lets notifications show while the host program is in front.
@interface SentrelNotificationPresenter : NSObject <NSUserNotificationCenterDelegate>
@end

@implementation SentrelNotificationPresenter

- (BOOL)userNotificationCenter:(NSUserNotificationCenter*)center
     shouldPresentNotification:(NSUserNotification*)notification {
    return YES;
}

@end

namespace sentrel::platform {

std::string MacDesktop::defaultSoundName() const {
    return textOf(NSUserNotificationDefaultSoundName).value_or(std::string());
}

void MacDesktop::installPresentation() {
    @autoreleasepool {
        // The centre does not keep its delegate alive.
        static SentrelNotificationPresenter* const presenter = [[SentrelNotificationPresenter alloc] init];
        NSUserNotificationCenter.defaultUserNotificationCenter.delegate = presenter;
    }
}

void MacDesktop::deliver(const UserNotification& notification) {
    @autoreleasepool {
        NSUserNotification* const native = [[NSUserNotification alloc] init];
        native.title = object(notification.title);
        native.informativeText = object(notification.text);
        native.soundName = object(notification.sound);
        if (notification.actionButtonTitle) {
            native.hasActionButton = YES;
            native.actionButtonTitle = object(*notification.actionButtonTitle);
        }
        native.hasReplyButton = notification.hasReplyButton;
        [NSUserNotificationCenter.defaultUserNotificationCenter deliverNotification:native];
    }
}

bool MacDesktop::openAddress(const std::string& address) {
    @autoreleasepool {
        NSString* const text = object(address);
        NSURL* const url = text ? [NSURL URLWithString:text] : nil;
        return url && [NSWorkspace.sharedWorkspace openURL:url];
    }
}

} // namespace sentrel::platform
