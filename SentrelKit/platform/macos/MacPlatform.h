// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The real machine under macOS: every service.

#include <SentrelKit/platform/Platform.h>

#include <memory>

namespace sentrel::platform {

class MacPlatform final : public Platform {
public:
    MacPlatform();
    ~MacPlatform() override;

    Clock& clock() noexcept override;
    Dispatch& dispatch() noexcept override;
    HostService& host() noexcept override;
    GraphicsService& graphics() noexcept override;
    VolumeService& volumes() noexcept override;
    NetworkService& network() noexcept override;
    PowerService& power() noexcept override;
    ProcessService& processes() noexcept override;
    SensorService& sensors() noexcept override;
    Desktop& desktop() noexcept override;
    PreferenceStore& preferences() noexcept override;

private:
    struct Services;
    std::unique_ptr<Services> services_;
};

} // namespace sentrel::platform
