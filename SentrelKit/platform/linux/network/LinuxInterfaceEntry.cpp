// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/LinuxInterfaceEntry.h>

#include <SentrelKit/platform/linux/network/LinuxNetworkService.h>
#include <SentrelKit/platform/linux/network/WireSettings.h>

namespace sentrel::platform {

namespace {

// The device, its USB interface, the USB device: the product stands no further up than the hubs above them.
constexpr int maximumParents = 6;

} // namespace

std::int64_t wiredLinkSpeed(const std::string& name) {
    WireQuery query;
    return query.settings(name).speed.value_or(0);
}

std::optional<std::string> LinuxInterfaceEntry::networkName() {
    if (auto name = network_.networkName(index_))
        return name;
    // A wireless device whose driver does not speak nl80211.
    if (root_.open(folder() + "/wireless") || root_.open(folder() + "/phy80211"))
        return std::string();
    return std::nullopt;
}

std::optional<PropertyList::Dictionary> LinuxInterfaceEntry::properties() {
    PropertyList::Dictionary properties;
    properties["IOPrimaryInterface"] = network_.isPrimary(index_);
    if (auto name = networkName())
        properties["IO80211SSID"] = std::move(*name);
    return properties;
}

PropertyList LinuxInterfaceEntry::search(std::string_view key) {
    if (key == "USB Product Name")
        return productName();
    if (key == "IOLinkSpeed")
        return linkSpeed();
    return {};
}

PropertyList LinuxInterfaceEntry::productName() const {
    // sysfs shows the interfaces of the network namespace in which it was mounted, which need not be this one.
    if (root_.readLine(folder() + "/ifindex") != std::to_string(index_))
        return {};
    std::string device = folder() + "/device";
    for (int parents = 0; parents < maximumParents; ++parents, device += "/..") {
        if (!root_.open(device + "/idVendor"))
            continue;
        const auto product = root_.readLine(device + "/product");
        return product ? PropertyList(*product) : PropertyList();
    }
    return {};
}

PropertyList LinuxInterfaceEntry::linkSpeed() {
    const std::int64_t wired = wiredLinkSpeed(name_);
    const std::int64_t speed = wired != 0 ? wired : network_.bitRate(index_);
    return speed != 0 ? PropertyList(speed) : PropertyList();
}

} // namespace sentrel::platform
