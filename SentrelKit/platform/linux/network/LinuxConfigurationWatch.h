// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/linux/common/EventSource.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

namespace sentrel::platform {

/// Watches the kernel's notices of routes, the resolver's file and the kernel's host name. It waits on descriptors
/// only; a notice calls back if the value behind it has changed. IPv4 is connected while there is a default route or an
/// active Ethernet-like interface has an IPv4 address.
class LinuxConfigurationWatch final : public ConfigurationWatch {
public:
    [[nodiscard]] static std::unique_ptr<LinuxConfigurationWatch> make(const SystemRoot& root, EventSource& events,
                                                                       std::function<void()> changed);
    ~LinuxConfigurationWatch() override;
    LinuxConfigurationWatch(const LinuxConfigurationWatch&) = delete;
    LinuxConfigurationWatch& operator=(const LinuxConfigurationWatch&) = delete;

    bool setNotificationKeys(const std::vector<std::string>& keys) override;
    void schedule() override;
    std::optional<std::string> localHostName() override;
    std::optional<PropertyList> value(std::string_view key) override;

private:
    struct State;

    LinuxConfigurationWatch(EventSource& events, std::shared_ptr<State> state);

    EventSource& events_;
    std::shared_ptr<State> state_; // shared with a callback that runs while the watch is released
    std::vector<std::unique_ptr<DescriptorWatch>> watches_;
};

} // namespace sentrel::platform
