// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/InterfaceFacts.h>
#include <SentrelKit/platform/linux/common/UniqueFd.h>

#include <optional>
#include <string_view>

struct ethtool_cmd;

namespace sentrel::platform {

/// What a driver tells of the wire that its device hangs on (ethtool). Each is absent if it does not know.
struct WireSettings {
    std::optional<std::int64_t> speed; ///< bits per second
    std::optional<Duplex> duplex;
};

/// The driver's answer in words.
[[nodiscard]] WireSettings meaningOf(const ethtool_cmd& settings) noexcept;

/// Asks drivers, over a socket that is kept. It stands in the network namespace of the thread that asks first. One
/// thread at a time.
class WireQuery {
public:
    /// The settings of a named interface; nothing of one that has no wire.
    [[nodiscard]] WireSettings settings(std::string_view name);

private:
    UniqueFd socket_;
};

} // namespace sentrel::platform
