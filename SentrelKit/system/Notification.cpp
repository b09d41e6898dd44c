// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Notification.h>

#include <SentrelKit/platform/Desktop.h>
#include <SentrelKit/platform/Platform.h>

namespace sentrel {

void Notification::notify(const std::string& title, const std::optional<std::string>& text,
                          const std::optional<std::string>& withSound,
                          const std::optional<std::string>& actionButtonTitle, bool hasReplyButton) {
    notify(platform::current().desktop(), title, text, withSound, actionButtonTitle, hasReplyButton);
}

void Notification::notify(platform::Desktop& desktop, const std::string& title, const std::optional<std::string>& text,
                          const std::optional<std::string>& withSound,
                          const std::optional<std::string>& actionButtonTitle, bool hasReplyButton) {
    platform::UserNotification notification;
    notification.title = title;
    notification.text = text;
    notification.sound = withSound;
    notification.actionButtonTitle = actionButtonTitle;
    notification.hasReplyButton = hasReplyButton;
    desktop.presentWhileFrontmost();
    desktop.deliver(notification);
}

std::string Notification::defaultSoundName() {
    return platform::current().desktop().defaultSoundName();
}

} // namespace sentrel
