// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/PropertyListRules.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace sentrel::platform {

namespace {

// A character by the number of bytes that follow its first one: the mark of that byte, and the smallest character that
// needs so many.
struct Form {
    unsigned mask, mark;
    char32_t least;
};
constexpr std::array<Form, 4> forms{
    {{0x80, 0x00, 0x0}, {0xe0, 0xc0, 0x80}, {0xf0, 0xe0, 0x800}, {0xf8, 0xf0, 0x10000}}};

constexpr char32_t lastCharacter = 0x10ffff;
constexpr char32_t firstSurrogate = 0xd800;
constexpr char32_t afterSurrogates = 0xe000;

// The length of the character that a text begins with; 0 if it begins with none.
std::size_t characterLength(std::string_view text) noexcept {
    const unsigned first = static_cast<unsigned char>(text.front());
    const auto* const form = std::find_if(forms.begin(), forms.end(),
                                          [first](const Form& each) { return (first & each.mask) == each.mark; });
    const auto length = static_cast<std::size_t>(form - forms.begin()) + 1;
    if (form == forms.end() || text.size() < length)
        return 0;
    char32_t character = first & ~form->mask;
    for (const char byte : text.substr(1, length - 1)) {
        if ((static_cast<unsigned>(byte) & 0xc0U) != 0x80U)
            return 0;
        character = character << 6U | (static_cast<unsigned>(byte) & 0x3fU);
    }
    const bool isSurrogate = character >= firstSurrogate && character < afterSurrogates;
    return character < form->least || character > lastCharacter || isSurrogate ? 0 : length;
}

bool canBeInside(const PropertyList& value) noexcept {
    return !value.as<PropertyList::Address>() && canBeKept(value);
}

} // namespace

bool isUtf8(std::string_view text) noexcept {
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

bool canBeKept(const PropertyList& value) noexcept {
    if (const auto* text = value.as<std::string>())
        return isUtf8(*text);
    if (const auto* address = value.as<PropertyList::Address>())
        return isUtf8(address->text);
    if (const auto* list = value.as<PropertyList::List>())
        return std::all_of(list->begin(), list->end(), &canBeInside);
    if (const auto* entries = value.as<PropertyList::Dictionary>())
        return std::all_of(entries->begin(), entries->end(),
                           [](const auto& entry) { return isUtf8(entry.first) && canBeInside(entry.second); });
    return !value.empty();
}

} // namespace sentrel::platform
