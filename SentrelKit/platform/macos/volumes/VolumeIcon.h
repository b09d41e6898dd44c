// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Icon.h>

#include <optional>
#include <string>

namespace sentrel::platform {

/// The workspace's icon for a path; absent for a path that is not UTF-8.
[[nodiscard]] std::optional<Icon> volumeIcon(const std::string& path);

} // namespace sentrel::platform
