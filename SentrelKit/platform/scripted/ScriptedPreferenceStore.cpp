// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPreferenceStore.h>

namespace sentrel::platform {

std::optional<PropertyList> ScriptedPreferenceSuite::find(std::string_view key) const {
    const LockScope lock(lock_);
    const auto entry = content_.find(key);
    return entry == content_.end() ? std::nullopt : std::optional(entry->second);
}

std::optional<PropertyList> ScriptedPreferenceSuite::object(std::string_view key) const {
    return calls.fails("object", std::string(key)) ? std::nullopt : find(key);
}

std::optional<PropertyList::Address> ScriptedPreferenceSuite::address(std::string_view key) const {
    if (calls.fails("address", std::string(key)))
        return std::nullopt;
    const auto kept = find(key);
    const auto* address = kept ? kept->as<PropertyList::Address>() : nullptr;
    return address ? std::optional(*address) : std::nullopt;
}

bool ScriptedPreferenceSuite::set(std::string_view key, const PropertyList& value) {
    if (calls.fails("set", std::string(key)) || value.empty())
        return false;
    const LockScope lock(lock_);
    content_.insert_or_assign(std::string(key), value);
    return true;
}

bool ScriptedPreferenceSuite::remove(std::span<const std::string> keys) {
    std::string named;
    for (const std::string& key : keys)
        named.append(named.empty() ? "" : " ").append(key);
    if (calls.fails("remove", named))
        return false;
    const LockScope lock(lock_);
    for (const std::string& key : keys)
        content_.erase(key);
    return true;
}

std::vector<std::string> ScriptedPreferenceSuite::keys() const {
    if (calls.fails("keys"))
        return {};
    const LockScope lock(lock_);
    std::vector<std::string> keys;
    for (const auto& entry : content_)
        keys.push_back(entry.first);
    return keys;
}

std::shared_ptr<PreferenceSuite> ScriptedPreferenceStore::suite(const std::string& name) {
    return calls.fails("suite", name) ? nullptr : scripted(name);
}

std::shared_ptr<ScriptedPreferenceSuite> ScriptedPreferenceStore::scripted(const std::string& name) {
    if (name.empty())
        return nullptr;
    const LockScope lock(lock_);
    std::shared_ptr<ScriptedPreferenceSuite>& suite = suites_[name];
    if (!suite)
        suite = std::make_shared<ScriptedPreferenceSuite>();
    return suite;
}

} // namespace sentrel::platform
