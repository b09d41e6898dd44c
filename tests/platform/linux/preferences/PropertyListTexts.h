// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Property lists written by hand, as files hold them.

#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

inline std::optional<PropertyList> decode(std::string_view text) {
    return decodePropertyList({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

inline std::string xml(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n" +
           body + "\n</plist>\n";
}

inline std::string nestedXml(int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "<array>";
    text += "<integer>1</integer>";
    for (int i = 0; i < depth; ++i)
        text += "</array>";
    return text;
}

inline std::string bigEndian(std::uint64_t value, std::size_t size) {
    std::string bytes;
    for (std::size_t i = size; i-- > 0;)
        bytes += i < sizeof value ? static_cast<char>(value >> (8 * i)) : '\0';
    return bytes;
}

struct Trailer {
    std::uint8_t offsetSize = 2;
    std::uint8_t referenceSize = 1;
    std::optional<std::uint64_t> count; ///< instead of the true one
    std::uint64_t top = 0;
    std::optional<std::uint64_t> table; ///< instead of the true one
};

/// A binary property list from its objects.
inline PropertyList::Bytes binary(const std::vector<std::string>& objects, const Trailer& trailer = {}) {
    std::string file = "bplist00";
    std::string table;
    for (const std::string& object : objects) {
        table += bigEndian(file.size(), trailer.offsetSize);
        file += object;
    }
    const std::size_t tableOffset = file.size();
    file += table + std::string(6, '\0') + static_cast<char>(trailer.offsetSize) +
            static_cast<char>(trailer.referenceSize) + bigEndian(trailer.count.value_or(objects.size()), 8) +
            bigEndian(trailer.top, 8) + bigEndian(trailer.table.value_or(tableOffset), 8);
    return {file.begin(), file.end()};
}

} // namespace sentrel::platform
