// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/LinuxInterfaceEntry.h>

#include <SentrelKit/platform/linux/common/UniqueFd.h>
#include <SentrelKit/platform/linux/network/LinuxNetworkService.h>

#include <algorithm>
#include <cstring>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace sentrel::platform {

namespace {

constexpr std::int64_t megabit = 1'000'000;

// The device, its USB interface, the USB device: the product stands no further up than the hubs above them.
constexpr int maximumParents = 6;

} // namespace

std::int64_t wiredLinkSpeed(const std::string& name) {
    const UniqueFd socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ethtool_cmd command{};
    command.cmd = ETHTOOL_GSET;
    ifreq request{};
    std::copy_n(name.data(), std::min<std::size_t>(name.size(), IFNAMSIZ - 1), request.ifr_name);
    request.ifr_data = reinterpret_cast<char*>(&command);
    if (!socket || ::ioctl(socket.get(), SIOCETHTOOL, &request) != 0)
        return 0;
    const std::uint32_t megabits = ethtool_cmd_speed(&command);
    return megabits == static_cast<std::uint32_t>(SPEED_UNKNOWN) ? 0 : megabits * megabit;
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
