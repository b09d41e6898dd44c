// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The names of the files that a chip has in the hwmon class (Documentation/hwmon/sysfs-interface.rst).

#include <SentrelKit/platform/SensorService.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace sentrel::platform {

/// What a file's name says: "temp1_input" is the reading of the first temperature.
struct ChannelFile {
    SensorKind kind = SensorKind::temperature; ///< by what its name begins with
    std::uint32_t number = 0;                  ///< of the channel among those of its kind
    std::string_view item{};                   ///< what follows the underscore; a part of the name
    friend bool operator==(const ChannelFile&, const ChannelFile&) = default;
};

/// Reads a name; absent if it is not of a sensor: "name", "pwm1", "temp_input", "humidity1_input".
[[nodiscard]] std::optional<ChannelFile> parseChannelFile(std::string_view name) noexcept;

/// How many of the kernel's units are one of the library's: 1000 for thousandths of a degree, a volt, an ampere;
/// 1000000 for millionths of a watt, a joule; 1 for revolutions a minute.
[[nodiscard]] double kernelUnits(SensorKind kind) noexcept;

} // namespace sentrel::platform
