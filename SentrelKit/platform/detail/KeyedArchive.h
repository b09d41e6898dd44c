// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Values as keyed archives, in the layout of NSKeyedArchiver: what is archived on one system opens on the other.

#include <SentrelKit/base/util/PropertyList.h>

#include <cstdint>
#include <optional>
#include <span>

namespace sentrel::platform {

/// The archive of a value, a binary property list. Absent for nothing and for texts that are not UTF-8. Any thread.
[[nodiscard]] std::optional<PropertyList::Bytes> keyedArchive(const PropertyList& value);

/// The value of an archive: text, number, bytes, date, address, list or dictionary, mutable or not. Absent for anything
/// else, for a damaged archive and for one that refers to itself. Any thread.
[[nodiscard]] std::optional<PropertyList> keyedUnarchive(std::span<const std::uint8_t> archive);

} // namespace sentrel::platform
