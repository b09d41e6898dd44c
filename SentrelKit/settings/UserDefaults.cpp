// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/settings/UserDefaults.h>

#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/detail/KeyedArchive.h>

namespace sentrel {

UserDefaults::UserDefaults(const std::string& suiteName) : suite_(platform::current().preferences().suite(suiteName)) {}

UserDefaults::Proxy UserDefaults::operator[](std::string key) const {
    return {*this, std::move(key)};
}

std::optional<PropertyList> UserDefaults::object(std::string_view key) const {
    return suite_ ? suite_->object(key) : std::nullopt;
}

std::optional<Number> UserDefaults::numberForKey(std::string_view key) const {
    auto kept = object(key);
    return kept ? Number::from(std::move(*kept)) : std::nullopt;
}

std::optional<PropertyList::Address> UserDefaults::address(std::string_view key) const {
    return suite_ ? suite_->address(key) : std::nullopt;
}

bool UserDefaults::set(std::string_view key, const std::optional<PropertyList>& value) const {
    if (!value)
        return remove(key);
    return suite_ && suite_->set(key, *value);
}

bool UserDefaults::hasKey(std::string_view key) const {
    return object(key).has_value();
}

bool UserDefaults::remove(std::string_view key) const {
    const std::string keys[]{std::string(key)};
    return suite_ && suite_->remove(keys);
}

bool UserDefaults::removeAll() const {
    return suite_ && suite_->remove(suite_->keys());
}

bool UserDefaults::setArchive(std::string_view key, const PropertyList& value) const {
    auto archived = platform::keyedArchive(value);
    return archived && set(key, PropertyList(std::move(*archived)));
}

std::optional<PropertyList> UserDefaults::unarchived(std::string_view key) const {
    const auto kept = object(key);
    const auto* archived = kept ? kept->as<PropertyList::Bytes>() : nullptr;
    return archived ? platform::keyedUnarchive(*archived) : std::nullopt;
}

std::optional<std::int64_t> UserDefaults::Proxy::int_() const {
    const auto kept = number();
    return kept ? std::optional(kept->integerValue()) : std::nullopt;
}

std::optional<double> UserDefaults::Proxy::double_() const {
    const auto kept = number();
    return kept ? std::optional(kept->doubleValue()) : std::nullopt;
}

std::optional<bool> UserDefaults::Proxy::bool_() const {
    const auto kept = number();
    return kept ? std::optional(kept->boolValue()) : std::nullopt;
}

} // namespace sentrel
