// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPreferenceStore.h>

namespace sentrel::platform {

std::optional<PropertyList> ScriptedPreferenceSuite::object(std::string_view key) const {
    const LockScope lock(lock_);
    const auto entry = content_.find(key);
    return readable_ && entry != content_.end() ? std::optional(entry->second) : std::nullopt;
}

std::optional<PropertyList::Address> ScriptedPreferenceSuite::address(std::string_view key) const {
    const auto kept = object(key);
    const auto* address = kept ? kept->as<PropertyList::Address>() : nullptr;
    return address ? std::optional(*address) : std::nullopt;
}

bool ScriptedPreferenceSuite::setObject(std::string_view key, const PropertyList& value) {
    return !value.empty() && !value.as<PropertyList::Address>() && set(key, value);
}

bool ScriptedPreferenceSuite::remove(std::span<const std::string> keys) {
    const LockScope lock(lock_);
    if (writable_)
        for (const std::string& key : keys)
            content_.erase(key);
    return writable_;
}

std::vector<std::string> ScriptedPreferenceSuite::keys() const {
    const LockScope lock(lock_);
    std::vector<std::string> keys;
    if (readable_)
        for (const auto& entry : content_)
            keys.push_back(entry.first);
    return keys;
}

void ScriptedPreferenceSuite::setWritable(bool writable) {
    const LockScope lock(lock_);
    writable_ = writable;
}

void ScriptedPreferenceSuite::setReadable(bool readable) {
    const LockScope lock(lock_);
    readable_ = readable;
}

bool ScriptedPreferenceSuite::set(std::string_view key, const PropertyList& value) {
    const LockScope lock(lock_);
    if (writable_)
        content_.insert_or_assign(std::string(key), value);
    return writable_;
}

std::shared_ptr<PreferenceSuite> ScriptedPreferenceStore::suite(const std::string& name) {
    return scripted(name);
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
