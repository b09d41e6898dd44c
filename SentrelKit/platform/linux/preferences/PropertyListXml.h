// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/preferences/PropertyListFormat.h>

#include <string_view>

namespace sentrel::platform {

/// The value of an XML property list in UTF-8. Of an integer beyond 64 signed bits the lowest 64 count. Absent for
/// anything else, entities of the file's own included, and for one that nests too deep.
[[nodiscard]] std::optional<PropertyList> parseXmlPropertyList(std::string_view text);

} // namespace sentrel::platform
