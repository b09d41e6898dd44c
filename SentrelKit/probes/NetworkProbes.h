// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Interfaces with their counters, reachability and the public address, of the machine in force unless another session
/// is handed in. The echo host is one for the process.
///
/// Privacy: the library contacts nobody by itself. There is no default echo host; until the host program or the
/// environment names one, no name is resolved, no connection is opened, reachability is the system's own answer, and
/// there is no public address.

#include <SentrelKit/Export.h>
#include <SentrelKit/probes/SystemManager.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace sentrel::probes {

/// One interface. Texts are valid only during the call.
struct NetworkData {
    std::int64_t bytesIn = 0;      ///< received since the interface exists
    std::int64_t bytesOut = 0;     ///< sent since the interface exists
    const char* address = nullptr; ///< numeric text of the first address, IPv4 or IPv6, at most 64 bytes
    const char* mac = nullptr;     ///< "02:1b:63:84:45:e6", or empty
    std::uint32_t index = 0;       ///< the system's number of the interface; one made anew has another
};

/// The facts of one interface that hardly change. Lives on the probe's stack: the text is valid only during the call.
struct NetworkExtra {
    std::int64_t linkSpeed = 0;  ///< bits per second, 0 if unknown
    std::uint8_t isPrimary = 0;  ///< 1 if it is the primary interface
    std::uint8_t isWireless = 0; ///< 1 if it is wireless
    const char* name = nullptr;  ///< network name, adapter product name, "Wifi" or "Ethernet"; at most 255 bytes
};

/// Takes the time stamp of the listing (milliseconds, as Time_milli), the interface's name and its record.
using NetworkDataBlock = std::function<void(std::int64_t, const char*, const NetworkData*)>;
/// Takes the facts of one interface.
using NetworkExtraBlock = std::function<void(const NetworkExtra*)>;

/// The server that tells a caller its public address: an HTTP server whose reply holds a line "IP: <address>".
struct EchoHost {
    std::string name;       ///< host name or IPv4 address
    std::int32_t port = 80; ///< 1 to 65535
};

/// Names the echo host; one without a name is none, whatever the environment says. False, and nothing changes, if the
/// name holds anything but letters, digits, ".", "-" and "_", or the port is not 1 to 65535. Any thread.
SENTREL_API bool setEchoHost(const EchoHost& host);

/// The echo host: as set, else from the environment variables SENTREL_ECHO_HOST and SENTREL_ECHO_PORT (80 without one),
/// which are read once; absent where neither names one. Any thread.
[[nodiscard]] SENTREL_API std::optional<EchoHost> echoHost();

/// 1 if the echo host's name resolves to at least one IPv4 address, else 0. Without an echo host, 1 if the system says
/// that the Internet can be reached, else 0. May wait for the resolver. Any thread.
[[nodiscard]] SENTREL_API int _isConnectedToInternet(SystemManager& session = *System);

/// Asks the echo host: the public address, empty if the reply held none; absent if there is no echo host or no
/// connection. Waits at most 2 seconds to connect to each address of the host, 2 seconds for each piece of the reply,
/// 30 seconds for the reply as a whole, and reads no more than 1 MiB of it. Any thread; callers do not wait for each
/// other. Leaves what it found in the session's `publicAddress` too.
[[nodiscard]] SENTREL_API std::optional<std::string> lookUpPublicAddress(SystemManager& session = *System);

/// As `lookUpPublicAddress`, but gives the session's `publicAddress` itself, null where that is absent.
/// The next look-up, one of a model included, overwrites the text: one caller at a time, and none while a model
/// samples.
[[nodiscard]] SENTREL_API const char* _getPublicAddress(SystemManager& session = *System);

/// Calls the block once for each interface that is Ethernet-like, up, active and has an address, in the system's order.
/// The block runs under no lock: it may call every probe, this one included. Without the system's list one line on the
/// standard error stream says so. Any thread. Source: netlink on Linux, the routing sysctl on macOS.
SENTREL_API void _getNetworkData(const NetworkDataBlock& block, SystemManager& session = *System);

/// Calls the block once with the facts of the named interface; not at all if there is no such interface. If the
/// system's registry cannot be asked, one line on the standard error stream says so. Any thread.
SENTREL_API void _getNetworkExtra(const char* name, const NetworkExtraBlock& block, SystemManager& session = *System);

} // namespace sentrel::probes
