// SPDX-License-Identifier: Apache-2.0
#pragma once

/// User notifications: a banner in the desktop's notification centre, with one call.

#include <SentrelKit/Export.h>

#include <optional>
#include <string>

namespace sentrel {

namespace platform {
class Desktop;
}

/// Functions only.
class SENTREL_API Notification {
public:
    /// Hands one notification to the desktop and returns at once; what becomes of it is not told. Any thread. It shows
    /// even while the host program is in front. Texts are plain, without markup.
    ///
    /// `text` is the informative text under the title. `withSound` names a sound of the platform; absent is silent.
    /// `actionButtonTitle` adds one button. Where the desktop cannot show a button or a reply field, it leaves them
    /// out.
    static void notify(const std::string& title, const std::optional<std::string>& text = std::nullopt,
                       const std::optional<std::string>& withSound = defaultSoundName(),
                       const std::optional<std::string>& actionButtonTitle = std::nullopt, bool hasReplyButton = false);

    /// The same on the desktop of another machine. Without a sound it is silent.
    static void notify(platform::Desktop& desktop, const std::string& title, const std::optional<std::string>& text,
                       const std::optional<std::string>& withSound,
                       const std::optional<std::string>& actionButtonTitle = std::nullopt, bool hasReplyButton = false);

    /// The name of the platform's default notification sound.
    [[nodiscard]] static std::string defaultSoundName();
};

} // namespace sentrel
