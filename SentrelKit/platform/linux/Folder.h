#pragma once

#include <SentrelKit/platform/linux/SystemRoot.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The names in a folder, "." and ".." left out, in byte order; absent, with errno set, if it cannot be read.
[[nodiscard]] std::optional<std::vector<std::string>> namesIn(const SystemRoot& root, std::string_view folder);

} // namespace sentrel::platform
