// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The names and icons that desktop entries (*.desktop files) give to applications. GKeyFile reads them; the search is
/// here because GIO's (GDesktopAppInfo) keeps a thread that wakes at every change of the folders, knows the folders of
/// the environment as it first was and no others, and leaves out what this machine itself could not start.

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// What an entry tells of its application.
struct DesktopEntry {
    std::optional<std::string> name; ///< in the user's language
    std::optional<std::string> icon; ///< a name to look up in the icon theme, or an absolute path

    friend bool operator==(const DesktopEntry&, const DesktopEntry&) = default;
};

/// Parses the content of a desktop entry, for the languages that the environment names. Absent if it is no desktop
/// entry.
[[nodiscard]] std::optional<DesktopEntry> parseDesktopEntry(std::string_view text);

/// The folders that hold desktop entries, the user's own first: `applications` below $XDG_DATA_HOME and $XDG_DATA_DIRS
/// or what stands for them when unset, and the places of the two bundle formats.
[[nodiscard]] std::vector<std::string> desktopEntryFolders();

/// The entry of an id ("org.example.Notes") in the first folder that has one; absent if none has.
[[nodiscard]] std::optional<DesktopEntry> findDesktopEntry(const SystemRoot& root, std::string_view identifier);

} // namespace sentrel::platform
