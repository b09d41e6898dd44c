// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/NetworkService.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

namespace sentrel::platform {

class LinuxNetworkService;

/// An interface in the kernel's device tree: the default route tells whether it is primary, nl80211 the wireless
/// network, the device's own driver the link speed, sysfs the USB product.
class LinuxInterfaceEntry final : public InterfaceEntry {
public:
    LinuxInterfaceEntry(LinuxNetworkService& network, SystemRoot root, std::string name, std::uint32_t index)
        : network_(network), root_(std::move(root)), name_(std::move(name)), index_(index) {}

    std::optional<PropertyList::Dictionary> properties() override;
    PropertyList search(std::string_view key) override;

private:
    [[nodiscard]] std::optional<std::string> networkName();
    [[nodiscard]] PropertyList productName() const;
    [[nodiscard]] PropertyList linkSpeed();
    [[nodiscard]] std::string folder() const { return "/sys/class/net/" + name_; }

    LinuxNetworkService& network_;
    SystemRoot root_;
    std::string name_;
    std::uint32_t index_;
};

/// The speed of a wired link in bits per second as its driver tells it; 0 if it does not know.
[[nodiscard]] std::int64_t wiredLinkSpeed(const std::string& name);

} // namespace sentrel::platform
