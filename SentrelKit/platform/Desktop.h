// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the desktop does for the library: showing user notifications and opening addresses.

#include <SentrelKit/Export.h>

#include <mutex>
#include <optional>
#include <string>

namespace sentrel::platform {

/// One user notification, as `sentrel::Notification::notify` builds it.
struct UserNotification {
    std::string title;                            ///< the headline, plain (no markup)
    std::optional<std::string> text;              ///< informative text under the title, plain (no markup)
    std::optional<std::string> sound;             ///< sound name; absent is silent
    std::optional<std::string> actionButtonTitle; ///< absent leaves the platform's default: no action button
    bool hasReplyButton = false;                  ///< asks for a field to reply in; left out where the desktop has none
};

/// The desktop of the user who runs the program. Any thread, unless a member says otherwise.
class SENTREL_API Desktop {
public:
    virtual ~Desktop() = default;

    /// The name of the platform's default notification sound.
    [[nodiscard]] virtual std::string defaultSoundName() const = 0;

    /// From now on notifications show even while the host program is in front. Only the first call does anything.
    void presentWhileFrontmost() {
        std::call_once(presents_, [this] { installPresentation(); });
    }

    /// Hands a notification to the desktop and returns at once; a desktop without a notification service drops it.
    virtual void deliver(const UserNotification& notification) = 0;

    /// Opens an address (an absolute URL) in the program that the user chose for it, without a shell. False if no
    /// opener could be started. May block while it starts; call it off the main thread.
    virtual bool openAddress(const std::string& address) = 0;

protected:
    /// Makes notifications show even while the host program is in front. Called once, before the first delivery.
    virtual void installPresentation() = 0;

private:
    std::once_flag presents_;
};

} // namespace sentrel::platform
