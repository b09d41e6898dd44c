// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The real machine under Linux: every service, with the root that its files are read under.

#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <memory>

namespace sentrel::platform {

class LinuxDispatch;

class LinuxPlatform final : public Platform {
public:
    explicit LinuxPlatform(const SystemRoot& root = SystemRoot());
    ~LinuxPlatform() override;

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
