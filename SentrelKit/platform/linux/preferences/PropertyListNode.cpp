// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/PropertyListNode.h>

#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>

#include <array>
#include <bit>
#include <cstddef>
#include <glib.h>
#include <limits>
#include <string>
#include <string_view>

namespace sentrel::platform {

namespace {

/// The binary property list of a single date: magic, marker, big-endian double, one-entry offset table, trailer.
/// libplist's own calls for dates hold 32-bit seconds and microseconds; its parser and writer keep the whole double.
constexpr std::size_t dateContent = 9;
constexpr std::array<std::uint8_t, 50> dateTemplate{
    'b', 'p', 'l', 'i', 's', 't', '0', '0', 0x33, 0, 0, 0, 0, 0, 0, 0, 0, // the date
    8,                                                                    // the offset table
    0,   0,   0,   0,   0,   0,   1,   1,   0,    0, 0, 0, 0, 0, 0, 1,    // sizes, number of objects
    0,   0,   0,   0,   0,   0,   0,   0,   0,    0, 0, 0, 0, 0, 0, 17};  // top object, offset of the table

plist_t newDate(double secondsSince2001) {
    auto bytes = dateTemplate;
    const auto bits = std::bit_cast<std::uint64_t>(secondsSince2001);
    for (std::size_t i = 0; i < 8; ++i)
        bytes[dateContent + i] = static_cast<std::uint8_t>(bits >> (8 * (7 - i)));
    plist_t node = nullptr;
    plist_from_bin(reinterpret_cast<const char*>(bytes.data()), static_cast<std::uint32_t>(bytes.size()), &node);
    return node;
}

} // namespace

bool isPropertyListText(std::string_view text) noexcept {
    return text.size() <= static_cast<std::size_t>(std::numeric_limits<gssize>::max()) &&
           g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr);
}

std::optional<PropertyList::Bytes> binaryPropertyList(plist_t node) {
    char* bytes = nullptr;
    std::uint32_t size = 0;
    plist_to_bin(node, &bytes, &size);
    if (!bytes)
        return std::nullopt;
    PropertyList::Bytes copy(bytes, bytes + size);
    plist_to_bin_free(bytes);
    return copy;
}

namespace {

/// Nodes of values, down to the depth that the parser takes back.
plist_t newNode(const PropertyList& value, int depth) {
    if (depth > propertyListDepthLimit)
        return nullptr;
    if (const bool* boolean = value.as<bool>())
        return plist_new_bool(*boolean ? 1 : 0);
    if (const std::int64_t* integer = value.as<std::int64_t>())
        return plist_new_uint(static_cast<std::uint64_t>(*integer));
    if (const double* real = value.as<double>())
        return plist_new_real(*real);
    if (const std::string* text = value.as<std::string>())
        return isPropertyListText(*text) ? plist_new_string(text->c_str()) : nullptr;
    if (const PropertyList::Bytes* bytes = value.as<PropertyList::Bytes>())
        return plist_new_data(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    if (const PropertyList::Date* date = value.as<PropertyList::Date>())
        return newDate(date->seconds - propertyListEpoch);
    if (const PropertyList::List* list = value.as<PropertyList::List>()) {
        PropertyListNode node(plist_new_array());
        for (const PropertyList& item : *list) {
            plist_t child = newNode(item, depth + 1);
            if (!child)
                return nullptr;
            plist_array_append_item(node.get(), child);
        }
        return node.release();
    }
    if (const PropertyList::Dictionary* entries = value.as<PropertyList::Dictionary>()) {
        PropertyListNode node(plist_new_dict());
        for (const auto& [key, item] : *entries) {
            plist_t child = isPropertyListText(key) ? newNode(item, depth + 1) : nullptr;
            if (!child)
                return nullptr;
            plist_dict_set_item(node.get(), key.c_str(), child);
        }
        return node.release();
    }
    return nullptr;
}

} // namespace

PropertyListNode makePropertyListNode(const PropertyList& value) {
    return PropertyListNode(newNode(value, 0));
}

} // namespace sentrel::platform
