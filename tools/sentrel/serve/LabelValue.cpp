// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/LabelValue.h"

#include <glib.h>

#include <cstdio>

namespace tool {

std::string labelValue(std::string_view text) {
    std::string value;
    while (!text.empty()) {
        const char* end = nullptr;
        const bool isValid = g_utf8_validate(text.data(), static_cast<gssize>(text.size()), &end) != 0;
        const auto valid = static_cast<std::size_t>(end - text.data());
        value.append(text.substr(0, valid));
        text.remove_prefix(valid);
        if (isValid)
            break;
        char byte[8];
        std::snprintf(byte, sizeof byte, "\\x%02x", static_cast<unsigned char>(text.front()));
        value.append(byte);
        text.remove_prefix(1);
    }
    return value;
}

} // namespace tool
