#pragma once

#include <SentrelKit/platform/Desktop.h>

namespace sentrel::platform {

class LinuxDesktop final : public Desktop {
public:
    [[nodiscard]] std::string defaultSoundName() const override;
    void presentWhileFrontmost() override;
    void deliver(const UserNotification& notification) override;
    bool openAddress(const std::string& address) override;
};

} // namespace sentrel::platform
