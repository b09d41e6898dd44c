// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/NetworkService.h>

#include <memory>
#include <optional>
#include <string>

namespace sentrel::platform {

/// The registry's first entry of a named interface: null if there is none, absent if the registry cannot be asked.
[[nodiscard]] std::optional<std::unique_ptr<InterfaceEntry>> findInterfaceEntry(const std::string& name);

} // namespace sentrel::platform
