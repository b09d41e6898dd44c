#include <SentrelKit/platform/linux/PropertyListNode.h>

#include <SentrelKit/platform/linux/PropertyListLimits.h>

#include <array>
#include <bit>
#include <clocale>
#include <cstddef>
#include <cstdlib>
#include <glib.h>
#include <limits>
#include <string>
#include <string_view>

namespace sentrel::platform {

namespace {

constexpr std::string_view binaryMagic = "bplist0";

/// The calling thread in the C locale for a scope: libplist reads decimal fractions by the thread's locale.
class CLocale {
public:
    CLocale() noexcept : previous_(uselocale(cLocale())) {}
    ~CLocale() { uselocale(previous_); }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;

private:
    static locale_t cLocale() noexcept {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }
    locale_t previous_;
};

std::string_view textOf(std::span<const std::uint8_t> bytes) noexcept {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

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

double dateOf(plist_t node) {
    const auto bytes = binaryPropertyList(node);
    if (!bytes || bytes->size() != dateTemplate.size())
        return 0;
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < 8; ++i)
        bits = bits << 8 | (*bytes)[dateContent + i];
    return std::bit_cast<double>(bits);
}

} // namespace

bool isPropertyListText(std::string_view text) noexcept {
    return text.size() <= static_cast<std::size_t>(std::numeric_limits<gssize>::max()) &&
           g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr);
}

PropertyListNode parsePropertyListNode(std::span<const std::uint8_t> bytes) {
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max())
        return nullptr;
    const std::string_view text = textOf(bytes);
    const auto size = static_cast<std::uint32_t>(bytes.size());
    plist_t node = nullptr;
    const CLocale scope;
    if (text.starts_with(binaryMagic)) {
        if (binaryPropertyListWithinLimits(bytes, propertyListDepthLimit))
            plist_from_bin(text.data(), size, &node);
    } else if (xmlPropertyListWithinLimits(text, propertyListDepthLimit)) {
        plist_from_xml(text.data(), size, &node);
    }
    return PropertyListNode(node);
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

std::optional<PropertyList> listFromNode(plist_t node) {
    PropertyList::List list;
    const std::uint32_t count = plist_array_get_size(node);
    list.reserve(count);
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(node, &iterator);
    for (std::uint32_t i = 0; i < count; ++i) {
        plist_t item = nullptr;
        plist_array_next_item(node, iterator, &item);
        auto value = propertyListFromNode(item);
        if (!value)
            break;
        list.push_back(std::move(*value));
    }
    std::free(iterator);
    if (list.size() < count)
        return std::nullopt;
    return std::make_optional<PropertyList>(std::move(list));
}

std::optional<PropertyList> dictionaryFromNode(plist_t node) {
    PropertyList::Dictionary entries;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    bool complete = true;
    while (complete) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &key, &item);
        if (!key)
            break;
        if (auto value = propertyListFromNode(item))
            entries.insert_or_assign(key, std::move(*value));
        else
            complete = false;
        std::free(key);
    }
    std::free(iterator);
    if (!complete)
        return std::nullopt;
    return std::make_optional<PropertyList>(std::move(entries));
}

} // namespace

PropertyListNode makePropertyListNode(const PropertyList& value) {
    return PropertyListNode(newNode(value, 0));
}

std::optional<PropertyList> propertyListFromNode(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return PropertyList(value != 0);
    }
    case PLIST_UINT: {
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return PropertyList(static_cast<std::int64_t>(value));
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return PropertyList(value);
    }
    case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return PropertyList(std::string(text ? text : "", static_cast<std::size_t>(length)));
    }
    case PLIST_DATA: {
        std::uint64_t length = 0;
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(plist_get_data_ptr(node, &length));
        return PropertyList(bytes ? PropertyList::Bytes(bytes, bytes + length) : PropertyList::Bytes());
    }
    case PLIST_DATE:
        return PropertyList(PropertyList::Date{dateOf(node) + propertyListEpoch});
    case PLIST_ARRAY:
        return listFromNode(node);
    case PLIST_DICT:
        return dictionaryFromNode(node);
    default:
        return std::nullopt;
    }
}

} // namespace sentrel::platform
