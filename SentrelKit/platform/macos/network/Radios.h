// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

/// One wireless interface as the Wi-Fi framework (CoreWLAN) tells it, in that framework's own units and numbers.
struct Radio {
    std::string name;      ///< such as "en0"
    bool isOn = false;     ///< else nothing below is told
    long signal = 0;       ///< rssiValue: dBm; 0 without a network
    double rate = 0;       ///< transmitRate: megabits per second; 0 without a network
    long channel = 0;      ///< channelNumber of wlanChannel; 0 without a channel
    long band = 0;         ///< channelBand (CWChannelBand)
    long channelWidth = 0; ///< channelWidth (CWChannelWidth)
};

/// Every wireless interface, asked for at each call, which may wait for the system's service; absent where the
/// framework is not there. It is loaded by the first call and never linked. Any thread.
[[nodiscard]] std::optional<std::vector<Radio>> radios();

} // namespace sentrel::platform
