#pragma once

/// Property lists as libplist holds them. libplist trusts what it reads and follows the process's locale: every call
/// that parses goes through here.

#include <SentrelKit/platform/PropertyList.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <plist/plist.h>
#include <span>

namespace sentrel::platform {

struct PropertyListNodeRelease {
    void operator()(void* node) const noexcept { plist_free(node); }
};

/// Owns a tree of nodes.
using PropertyListNode = std::unique_ptr<void, PropertyListNodeRelease>;

/// Moments in property lists count from 1 January 2001 UTC: seconds since 1970 of that moment.
inline constexpr double propertyListEpoch = 978307200;

/// How deep lists and dictionaries may nest.
inline constexpr int propertyListDepthLimit = 128;

/// Parses a binary or XML property list. Null for anything else, damaged ones and ones beyond the limits.
[[nodiscard]] PropertyListNode parsePropertyListNode(std::span<const std::uint8_t> bytes);

/// The binary form of a node.
[[nodiscard]] std::optional<PropertyList::Bytes> binaryPropertyList(plist_t node);

/// A new node of a value. Null for what a property list cannot hold: nothing, an address, texts that are not UTF-8 or
/// hold a zero byte.
[[nodiscard]] PropertyListNode makePropertyListNode(const PropertyList& value);

/// The value of a node. Absent for kinds that a preference cannot have.
[[nodiscard]] std::optional<PropertyList> propertyListFromNode(plist_t node);

/// Whether libplist can hold the text as it is.
[[nodiscard]] bool isPropertyListText(std::string_view text) noexcept;

} // namespace sentrel::platform
