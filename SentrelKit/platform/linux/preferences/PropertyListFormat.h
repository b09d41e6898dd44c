// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Property lists as files hold them. What is read comes from other programs: a reader takes any bytes, in time and
/// memory bounded by their number.

#include <SentrelKit/base/util/PropertyList.h>

#include <cstdint>
#include <optional>
#include <span>

namespace sentrel::platform {

/// Moments in property lists count from 1 January 2001 UTC: seconds since 1970 of that moment.
inline constexpr double propertyListEpoch = 978307200;

/// How deep lists and dictionaries may nest.
inline constexpr int propertyListDepthLimit = 128;

/// The one entry of a dictionary that stands for a reference to an object of a keyed archive, as XML spells it.
inline constexpr const char* archiveReferenceKey = "CF$UID";

/// What becomes of the binary form's references to objects of a keyed archive, which no preference can be.
enum class ArchiveReferences : std::uint8_t { refuse, spellOut };

/// The value of a property list, binary or XML. Absent for anything else, for a damaged one and for one beyond the
/// limits.
[[nodiscard]] std::optional<PropertyList> decodePropertyList(std::span<const std::uint8_t> bytes,
                                                             ArchiveReferences references = ArchiveReferences::refuse);

/// The value as a binary property list. Absent for what a property list cannot hold.
[[nodiscard]] std::optional<PropertyList::Bytes> encodePropertyList(const PropertyList& value);

} // namespace sentrel::platform
