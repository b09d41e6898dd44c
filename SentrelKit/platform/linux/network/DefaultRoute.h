// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The default route: where packets for everywhere else leave.

#include <SentrelKit/platform/linux/network/NetlinkSocket.h>

#include <optional>
#include <string>

namespace sentrel::platform {

struct DefaultRoute {
    std::uint32_t interface = 0; ///< index
    std::uint32_t metric = 0;    ///< the lowest is used
    std::string router;          ///< numeric address; empty on a link that needs none
};

/// What the kernel says of one route, if it is a usable default route of the main table. A route over a link without
/// carrier is not usable, although the kernel keeps it.
[[nodiscard]] std::optional<DefaultRoute> parseDefaultRoute(const nlmsghdr& message);

/// True for a notice that a default route has come or gone, usable or not.
[[nodiscard]] bool concernsDefaultRoute(const nlmsghdr& message) noexcept;

/// Looks for the default route of a family (AF_INET, AF_INET6). False, with errno set, on failure.
[[nodiscard]] bool readDefaultRoute(NetlinkSocket& socket, unsigned char family, std::optional<DefaultRoute>& route);

} // namespace sentrel::platform
