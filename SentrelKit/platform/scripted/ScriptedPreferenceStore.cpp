// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPreferenceStore.h>

#include <SentrelKit/platform/support/PropertyListRules.h>

#include <cstdlib>

namespace sentrel::platform {

namespace {

constexpr std::string_view fileScheme = "file://";

// The path of a file address; absent for another one.
std::optional<std::string> filePath(std::string_view address) {
    if (!address.starts_with(fileScheme))
        return std::nullopt;
    address.remove_prefix(fileScheme.size());
    std::string path;
    while (!address.empty()) {
        const bool isEscaped = address.front() == '%' && address.size() > 2;
        constexpr int hexadecimal = 16;
        const std::string digits(address.substr(1, 2));
        path += isEscaped ? static_cast<char>(std::strtol(digits.c_str(), nullptr, hexadecimal)) : address.front();
        address.remove_prefix(isEscaped ? 3 : 1);
    }
    return path;
}

// What is read of a value under its key.
PropertyList keptForm(const PropertyList& value) {
    const auto* const address = value.as<PropertyList::Address>();
    if (!address)
        return value;
    if (std::optional<std::string> path = filePath(address->text))
        return std::move(*path);
    return PropertyList::Bytes(address->text.begin(), address->text.end());
}

} // namespace

std::optional<PropertyList> ScriptedPreferenceSuite::find(std::string_view key) const {
    const LockScope lock(lock_);
    const auto entry = content_.find(key);
    return entry == content_.end() ? std::nullopt : std::optional(entry->second);
}

std::optional<PropertyList> ScriptedPreferenceSuite::object(std::string_view key) const {
    if (calls.fails("object", std::string(key)))
        return std::nullopt;
    const auto kept = find(key);
    return kept ? std::optional(keptForm(*kept)) : std::nullopt;
}

std::optional<PropertyList::Address> ScriptedPreferenceSuite::address(std::string_view key) const {
    if (calls.fails("address", std::string(key)))
        return std::nullopt;
    const auto kept = find(key);
    const auto* address = kept ? kept->as<PropertyList::Address>() : nullptr;
    return address ? std::optional(*address) : std::nullopt;
}

bool ScriptedPreferenceSuite::set(std::string_view key, const PropertyList& value) {
    if (calls.fails("set", std::string(key)) || !canBeKept(value))
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
