// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Property lists as libplist holds them, which writes them. It trusts what it reads: nothing is read with it.

#include <SentrelKit/base/util/PropertyList.h>
#include <SentrelKit/platform/linux/common/Owner.h>

#include <cstdint>
#include <optional>
#include <plist/plist.h>
#include <string_view>

namespace sentrel::platform {

/// Owns a tree of nodes.
using PropertyListNode = Owner<void, plist_free>;

/// The binary form of a node.
[[nodiscard]] std::optional<PropertyList::Bytes> binaryPropertyList(plist_t node);

/// A new node of a value. Null for what a property list cannot hold: nothing, an address, texts that are not UTF-8 or
/// hold a zero byte.
[[nodiscard]] PropertyListNode makePropertyListNode(const PropertyList& value);

/// Whether libplist can hold the text as it is.
[[nodiscard]] bool isPropertyListText(std::string_view text) noexcept;

} // namespace sentrel::platform
