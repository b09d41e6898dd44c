// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/sensors/ChannelFile.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <utility>

namespace sentrel::platform {

std::optional<ChannelFile> parseChannelFile(std::string_view name) noexcept {
    using Prefix = std::pair<std::string_view, SensorKind>;
    static constexpr Prefix prefixes[] = {{"temp", SensorKind::temperature}, {"fan", SensorKind::fan},
                                          {"in", SensorKind::voltage},       {"curr", SensorKind::current},
                                          {"power", SensorKind::power},      {"energy", SensorKind::energy}};
    for (const auto& [prefix, kind] : prefixes) {
        if (!name.starts_with(prefix))
            continue;
        std::string_view item = name.substr(prefix.size());
        const std::optional<std::uint32_t> number = toNumber<std::uint32_t>(takeUpTo(item, '_'));
        if (number && !item.empty())
            return ChannelFile{kind, *number, item};
    }
    return std::nullopt;
}

double kernelUnits(SensorKind kind) noexcept {
    switch (kind) {
    case SensorKind::temperature:
    case SensorKind::voltage:
    case SensorKind::current:
        return 1'000;
    case SensorKind::power:
    case SensorKind::energy:
        return 1'000'000;
    case SensorKind::fan:
        break;
    }
    return 1;
}

} // namespace sentrel::platform
