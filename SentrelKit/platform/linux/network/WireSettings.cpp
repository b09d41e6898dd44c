// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/WireSettings.h>

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace sentrel::platform {

namespace {

constexpr std::int64_t megabit = 1'000'000;

} // namespace

WireSettings meaningOf(const ethtool_cmd& settings) noexcept {
    WireSettings meaning;
    // A driver that does not know answers with all bits set, or with nothing.
    const std::uint32_t megabits = ethtool_cmd_speed(&settings);
    if (megabits != 0 && megabits != static_cast<std::uint16_t>(SPEED_UNKNOWN) &&
        megabits != static_cast<std::uint32_t>(SPEED_UNKNOWN))
        meaning.speed = megabits * megabit;
    if (settings.duplex == DUPLEX_HALF || settings.duplex == DUPLEX_FULL)
        meaning.duplex = settings.duplex == DUPLEX_FULL ? Duplex::full : Duplex::half;
    return meaning;
}

WireSettings WireQuery::settings(std::string_view name) {
    if (!socket_)
        socket_ = UniqueFd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ethtool_cmd command{};
    command.cmd = ETHTOOL_GSET;
    ifreq request{};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_data = reinterpret_cast<char*>(&command);
    if (!socket_ || ::ioctl(socket_.get(), SIOCETHTOOL, &request) != 0)
        return {};
    return meaningOf(command);
}

} // namespace sentrel::platform
