// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>

#include <string_view>

namespace sentrel::platform {

/// What every binary property list begins with.
inline constexpr std::string_view binaryPropertyListMagic = "bplist00";

/// The value of a binary property list. Unpaired surrogates of a text become U+FFFD; of an integer wider than 64 bits
/// the lowest 64 count. Absent for a file that is damaged, refers to itself, nests too deep or unfolds to more than
/// 128 MiB, for objects may be referred to many times.
[[nodiscard]] std::optional<PropertyList> parseBinaryPropertyList(std::span<const std::uint8_t> bytes,
                                                                  ArchiveReferences references);

} // namespace sentrel::platform
