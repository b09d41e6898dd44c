// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/BootTime.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

namespace sentrel::platform {

std::optional<std::int64_t> parseBootTime(std::string_view stat) noexcept {
    while (std::optional<std::string_view> line = takeLine(stat)) {
        if (takeUpTo(*line, ' ') == "btime")
            return takeNumber<std::int64_t>(*line);
    }
    return std::nullopt;
}

} // namespace sentrel::platform
