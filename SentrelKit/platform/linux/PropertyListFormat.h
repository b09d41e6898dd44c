#pragma once

#include <SentrelKit/platform/PropertyList.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace sentrel::platform {

/// The value of a property list in any notation: binary, XML, or the old text notation. Absent for anything else.
[[nodiscard]] std::optional<PropertyList> decodePropertyList(std::span<const std::uint8_t> bytes);

/// The value as a binary property list. Absent for what a property list cannot hold.
[[nodiscard]] std::optional<PropertyList::Bytes> encodePropertyList(const PropertyList& value);

/// The value of a property list in the old text notation: `{ key = value; list = (a, b); data = <0fbd>; }`, in which
/// every plain value is a text, or the bare `key = value;` lines of a strings file. Absent for anything else.
[[nodiscard]] std::optional<PropertyList> parseOldPropertyList(std::string_view text);

} // namespace sentrel::platform
