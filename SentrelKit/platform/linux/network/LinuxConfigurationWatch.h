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
    LinuxConfigurationWatch(const SystemRoot& root, EventSource& events);
    ~LinuxConfigurationWatch() override;
    LinuxConfigurationWatch(const LinuxConfigurationWatch&) = delete;
    LinuxConfigurationWatch& operator=(const LinuxConfigurationWatch&) = delete;

    bool setNotificationKeys(const std::vector<std::string>& keys) override;
    [[nodiscard]] Observation schedule(std::shared_ptr<DispatchQueue> queue, std::function<void()> changed) override;
    std::optional<std::string> localHostName() override;
    std::optional<PropertyList> value(std::string_view key) override;

private:
    struct State;

    EventSource& events_;
    const std::shared_ptr<State> state_; // shared with a callback that runs while the watch is released
};

} // namespace sentrel::platform
