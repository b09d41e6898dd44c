// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Core Foundation's values as the library's, and texts the other way. Any thread.

#include <SentrelKit/base/util/PropertyList.h>
#include <SentrelKit/platform/macos/common/CFOwner.h>

#include <optional>
#include <string>
#include <string_view>

namespace sentrel::platform {

/// A text as Core Foundation's; null for what is not UTF-8.
[[nodiscard]] CFOwner<CFStringRef> cfString(std::string_view text);

/// The value as Core Foundation's, whole; null for nothing, for a text that is not UTF-8, and for a list or a
/// dictionary with such a value in it.
[[nodiscard]] CFOwner<CFTypeRef> cfValue(const PropertyList& value);

/// A text in UTF-8; absent for another kind and for null.
[[nodiscard]] std::optional<std::string> textOf(CFTypeRef value);

/// A copy of the value, deep; nothing for null. Entries of a kind that the library has no word for are left out.
[[nodiscard]] PropertyList propertyListOf(CFTypeRef value);

/// The same for a dictionary, whose entries with other keys than texts are left out; empty for another kind.
[[nodiscard]] PropertyList::Dictionary dictionaryOf(CFTypeRef value);

} // namespace sentrel::platform
