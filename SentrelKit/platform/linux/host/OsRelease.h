// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The system that runs: /etc/os-release (os-release(5)), and what the kernel says of itself in /proc/sys/kernel.

#include <SentrelKit/platform/HostFacts.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <optional>
#include <string_view>

namespace sentrel::platform {

/// Takes name, prettyName, id and version from lines such as `NAME="Debian GNU/Linux"`, quoted as a shell has it.
/// "Linux" and "linux" where it names none, as the format says.
void parseOsRelease(std::string_view content, OperatingSystem& system);

/// Absent, with errno set, where the kernel does not even say its release.
[[nodiscard]] std::optional<OperatingSystem> readOperatingSystem(const SystemRoot& root);

} // namespace sentrel::platform
