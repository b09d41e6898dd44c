// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/InterfaceFacts.h>

#include <arpa/inet.h>
#include <string_view>
#include <sys/socket.h>

namespace sentrel {

std::string InterfaceAddress::text() const {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const char* const written = inet_ntop(isIPv6 ? AF_INET6 : AF_INET, bytes.data(), text.data(), text.size());
    return written ? written : "";
}

std::string InterfaceLink::mac() const {
    if (!hardware)
        return {};
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : *hardware) {
        if (!text.empty())
            text += ':';
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

std::optional<std::int32_t> WirelessLink::channel() const noexcept {
    constexpr std::int64_t megahertz = 1'000'000;
    // Channels count from a starting frequency in steps of 5 MHz, at 60 GHz of 2160 MHz; two stand beside their row.
    struct Band {
        std::int64_t first;
        std::int64_t last;
        std::int64_t start;
        std::int64_t step;
    };
    constexpr std::array<Band, 6> bands = {{{2412, 2472, 2407, 5},
                                            {4910, 4980, 4000, 5},
                                            {5000, 5895, 5000, 5},
                                            {5955, 7115, 5950, 5},
                                            {58320, 70200, 56160, 2160},
                                            {2484, 2484, 2414, 5}}};
    constexpr std::int64_t lowest6 = 5935; // number 2, below the others
    if (!frequency || *frequency % megahertz != 0)
        return std::nullopt;
    const std::int64_t at = *frequency / megahertz;
    if (at == lowest6)
        return 2;
    for (const Band& band : bands) {
        if (at >= band.first && at <= band.last && at > band.start && (at - band.start) % band.step == 0)
            return static_cast<std::int32_t>((at - band.start) / band.step);
    }
    return std::nullopt;
}

} // namespace sentrel
