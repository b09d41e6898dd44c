// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Desktop.h>

#include <string>
#include <vector>

namespace sentrel::platform {

/// A desktop that keeps what it was asked for.
class SENTREL_API ScriptedDesktop final : public Desktop {
public:
    [[nodiscard]] std::string defaultSoundName() const override { return "default"; }
    void deliver(const UserNotification& notification) override {
        delivered.push_back(notification);
        presentedWhileFrontmost.push_back(presentsWhileFrontmost);
    }
    bool openAddress(const std::string& address) override {
        opened.push_back(address);
        return opens;
    }

    std::vector<UserNotification> delivered;   ///< the notifications, in their order
    std::vector<bool> presentedWhileFrontmost; ///< for each delivery, whether it shows while the host is in front
    std::vector<std::string> opened;           ///< the addresses, in their order
    bool presentsWhileFrontmost = false;       ///< whether notifications show while the host is in front
    bool opens = true;                         ///< what openAddress answers

protected:
    void installPresentation() override { presentsWhileFrontmost = true; }
};

} // namespace sentrel::platform
