// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Desktop.h>

namespace sentrel::platform {

/// The user-notification centre and the workspace.
class MacDesktop final : public Desktop {
public:
    std::string defaultSoundName() const override;
    void deliver(const UserNotification& notification) override;
    bool openAddress(const std::string& address) override;

protected:
    void installPresentation() override;
};

} // namespace sentrel::platform
