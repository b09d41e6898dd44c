// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/KernelText.h>

namespace sentrel::platform {

std::string withoutHexEscapes(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    while (!text.empty()) {
        const auto code =
            text.starts_with("\\x") && text.size() >= 4 ? toNumber<std::uint8_t>(text.substr(2, 2), 16) : std::nullopt;
        plain += code ? static_cast<char>(*code) : text.front();
        text.remove_prefix(code ? 4 : 1);
    }
    return plain;
}

} // namespace sentrel::platform
