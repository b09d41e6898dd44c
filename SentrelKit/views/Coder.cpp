// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Coder.h>

namespace sentrel {

namespace {

double number(const PropertyList& value) noexcept {
    if (const double* real = value.as<double>())
        return *real;
    if (const std::int64_t* whole = value.as<std::int64_t>())
        return static_cast<double>(*whole);
    return 0.0;
}

} // namespace

Rect Coder::decodeRect(std::string_view key) const {
    const PropertyList* value = archive_.find(key);
    const PropertyList::List* list = value ? value->as<PropertyList::List>() : nullptr;
    if (!list || list->size() != 4)
        return {};
    return {number((*list)[0]), number((*list)[1]), number((*list)[2]), number((*list)[3])};
}

std::string Coder::decodeString(std::string_view key) const {
    const PropertyList* value = archive_.find(key);
    const std::string* text = value ? value->as<std::string>() : nullptr;
    return text ? *text : std::string();
}

} // namespace sentrel
