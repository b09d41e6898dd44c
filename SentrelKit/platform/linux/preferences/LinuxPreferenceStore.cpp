// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/preferences/LinuxPreferenceStore.h>

#include <SentrelKit/platform/linux/preferences/PreferenceFile.h>

#include <cstdlib>
#include <glib.h>
#include <utility>

namespace sentrel::platform {

namespace {

/// The user's configuration folder; empty when the user has no home.
std::string configurationFolder() {
    // A relative path there is to be ignored, say the rules of base directories.
    if (const char* folder = std::getenv("XDG_CONFIG_HOME"); folder && folder[0] == '/')
        return folder;
    const char* home = std::getenv("HOME");
    if (!home || home[0] != '/')
        home = g_get_home_dir();
    return home && home[0] == '/' ? std::string(home) + "/.config" : std::string();
}

bool canNameAFile(const std::string& suite) {
    constexpr std::size_t longestSuffix = sizeof("..plist.lock");
    constexpr std::size_t longestName = 255;
    return !suite.empty() && suite.size() + longestSuffix <= longestName && suite.find('/') == std::string::npos &&
           suite.find('\0') == std::string::npos;
}

class LinuxPreferenceSuite final : public PreferenceSuite {
public:
    explicit LinuxPreferenceSuite(std::string path) : file_(std::move(path)) {}

    std::optional<PropertyList> object(std::string_view key) const override {
        const auto content = file_.read();
        const auto entry = content->find(key);
        return entry == content->end() ? std::nullopt : std::optional(entry->second);
    }

    std::optional<PropertyList::Address> address(std::string_view key) const override {
        const auto kept = object(key);
        return kept ? addressFromKept(*kept) : std::nullopt;
    }

    bool set(std::string_view key, const PropertyList& value) override {
        if (const auto* address = value.as<PropertyList::Address>())
            return keep(key, keptFromAddress(*address));
        return keep(key, value);
    }

    bool remove(std::span<const std::string> keys) override {
        return file_.change([&](PropertyList::Dictionary& content) {
            bool changed = false;
            for (const std::string& key : keys)
                changed |= content.erase(key) != 0;
            return changed;
        });
    }

    std::vector<std::string> keys() const override {
        const auto content = file_.read();
        std::vector<std::string> keys;
        keys.reserve(content->size());
        for (const auto& entry : *content)
            keys.push_back(entry.first);
        return keys;
    }

private:
    bool keep(std::string_view key, const PropertyList& value) {
        return file_.change([&](PropertyList::Dictionary& content) {
            PropertyList& kept = content[std::string(key)];
            const bool same = kept == value && !value.empty();
            kept = value;
            return !same;
        });
    }

    mutable PreferenceFile file_;
};

} // namespace

std::shared_ptr<PreferenceSuite> LinuxPreferenceStore::suite(const std::string& name) {
    const std::string folder = configurationFolder();
    if (folder.empty() || !canNameAFile(name))
        return nullptr;
    const std::string path = folder + "/" + name + ".plist";
    const LockScope lock(lock_);
    std::shared_ptr<PreferenceSuite>& suite = suites_[path];
    if (!suite)
        suite = std::make_shared<LinuxPreferenceSuite>(path);
    return suite;
}

} // namespace sentrel::platform
