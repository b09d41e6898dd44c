// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/processes/DesktopEntries.h>

#include <SentrelKit/platform/linux/common/GLibOwners.h>
#include <SentrelKit/platform/linux/common/KernelText.h>

#include <cstdlib>
#include <glib.h>

namespace sentrel::platform {

namespace {

constexpr std::size_t largestEntry = 1U << 20;

std::optional<std::string> localizedText(GKeyFile* file, const char* key) {
    const TextPointer text(g_key_file_get_locale_string(file, G_KEY_FILE_DESKTOP_GROUP, key, nullptr, nullptr));
    if (!text || !*text)
        return std::nullopt;
    return std::string(text.get());
}

std::string environment(const char* name, const std::string& fallback) {
    const char* value = std::getenv(name);
    return value && *value ? std::string(value) : fallback;
}

// Only absolute folders count, as freedesktop defines base directories.
void append(std::vector<std::string>& folders, std::string_view folder) {
    if (!folder.empty() && folder.front() == '/')
        folders.push_back(std::string(folder) + "/applications");
}

} // namespace

std::optional<DesktopEntry> parseDesktopEntry(std::string_view text) {
    const Owner<GKeyFile, g_key_file_free> file(g_key_file_new());
    if (!g_key_file_load_from_data(file.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr) ||
        !g_key_file_has_group(file.get(), G_KEY_FILE_DESKTOP_GROUP))
        return std::nullopt;
    return DesktopEntry{localizedText(file.get(), G_KEY_FILE_DESKTOP_KEY_NAME),
                        localizedText(file.get(), G_KEY_FILE_DESKTOP_KEY_ICON)};
}

std::vector<std::string> desktopEntryFolders() {
    const std::string home = environment("HOME", "");
    const std::string data = environment("XDG_DATA_HOME", home.empty() ? "" : home + "/.local/share");
    const std::string shared = environment("XDG_DATA_DIRS", "/usr/local/share:/usr/share");

    std::vector<std::string> folders;
    append(folders, data);
    for (std::string_view rest = shared; !rest.empty();)
        append(folders, takeUpTo(rest, ':'));
    append(folders, data.empty() ? "" : data + "/flatpak/exports/share");
    append(folders, "/var/lib/flatpak/exports/share");
    folders.emplace_back("/var/lib/snapd/desktop/applications");
    return folders;
}

std::optional<DesktopEntry> findDesktopEntry(const SystemRoot& root, std::string_view identifier) {
    if (identifier.empty() || identifier.find('/') != std::string_view::npos)
        return std::nullopt;
    std::string file("/");
    file += identifier;
    file += ".desktop";
    for (const std::string& folder : desktopEntryFolders()) {
        if (const std::optional<std::string> text = root.read(folder + file, largestEntry))
            return parseDesktopEntry(*text);
    }
    return std::nullopt;
}

} // namespace sentrel::platform
