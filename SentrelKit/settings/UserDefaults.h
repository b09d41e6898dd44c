// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/PreferenceStore.h>
#include <SentrelKit/settings/DefaultsKey.h>
#include <SentrelKit/settings/Number.h>
#include <SentrelKit/settings/PropertyListCoder.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace sentrel {

/// Typed access to the preferences that a host and its widgets share. Nothing is cached and nothing fails: a read gives
/// the value as it is kept at that moment, or a fixed fallback when it is missing or of another kind. A change returns
/// whether it was kept, and every process that uses the suite sees it at its next read. Any thread.
///
///     UserDefaults defaults("com.example.settings");
///     defaults["launches"] = defaults["launches"].intValue() + 1;
///
///     const DefaultsKey<bool> compact("compact");
///     if (defaults[compact])
///         defaults[compact] = false;
class SENTREL_API UserDefaults {
public:
    class Proxy;
    template <class T>
    class TypedProxy;

    /// The suite of a name on the platform in force. A suite that cannot be, such as one without a name, reads as empty
    /// and keeps nothing.
    explicit UserDefaults(const std::string& suiteName);

    /// A plain key's readers and setter.
    [[nodiscard]] Proxy operator[](std::string key) const;

    /// A typed key's value, to be read as its T or assigned one.
    template <class T>
    [[nodiscard]] TypedProxy<T> operator[](const DefaultsKey<T>& key) const {
        return TypedProxy<T>(*this, key);
    }

    /// The value as it is kept; absent if there is none.
    [[nodiscard]] std::optional<PropertyList> object(std::string_view key) const;

    /// The value if it is an integer, a double or a boolean, else absent.
    [[nodiscard]] std::optional<Number> numberForKey(std::string_view key) const;

    /// The value if it is an address, or the absolute path of a file as text, else absent.
    [[nodiscard]] std::optional<PropertyList::Address> address(std::string_view key) const;

    /// Keeps a value in its own kind; absent removes the key. Returns whether the change was kept: false if the
    /// suite cannot be written or a property list cannot hold the value.
    bool set(std::string_view key, const std::optional<PropertyList>& value) const;

    /// Whether the key has a value of any kind.
    [[nodiscard]] bool hasKey(std::string_view key) const;

    /// Removes a key; one that is not there is no failure. Returns whether that was kept, as `set` does.
    bool remove(std::string_view key) const;

    /// Removes every key of the suite. Returns whether that was kept, as `set` does.
    bool removeAll() const;

    /// The value of a typed key. Optional types are absent, and the others empty, zero or false, when it is missing or
    /// of another kind. Numbers convert among each other: an integer key reads a kept 1.5 as 1.
    template <class T>
    [[nodiscard]] T get(const DefaultsKey<T>& key) const;

    /// Keeps the value of a typed key; an absent one removes it. Returns whether that was kept, as `set` does.
    template <class T>
    bool set(const DefaultsKey<T>& key, const std::type_identity_t<T>& value) const;

    /// Whether the key has a value of any kind.
    template <class T>
    [[nodiscard]] bool hasKey(const DefaultsKey<T>& key) const {
        return hasKey(key.key());
    }

    /// Removes the key, as `remove` of its name does.
    template <class T>
    bool remove(const DefaultsKey<T>& key) const {
        return remove(key.key());
    }

    /// A kept list as a list of T, as a whole: absent if there is none, or if any element is not a T.
    template <class T>
    [[nodiscard]] std::optional<std::vector<T>> getOptionalArray(std::string_view key) const {
        const auto kept = object(key);
        return kept ? PropertyListCoder<std::vector<T>>::decode(*kept) : std::nullopt;
    }

    /// A kept list as a list of T, as a whole: empty if there is none, or if any element is not a T.
    template <class T>
    [[nodiscard]] std::vector<T> getArray(std::string_view key) const {
        return getOptionalArray<T>(key).value_or(std::vector<T>());
    }

    /// Keeps a value of any type that has a `RawValue`, as that, or a `PropertyListCoder`, as a keyed archive. Absent
    /// removes the key. Returns whether that was kept, as `set` does.
    template <class T>
    bool archive(const DefaultsKey<T>& key, const std::type_identity_t<std::optional<T>>& value) const {
        if (!value)
            return remove(key.key());
        if constexpr (HasRawValue<T>)
            return set(key.key(), PropertyList(RawValue<T>::rawValue(*value)));
        else
            return setArchive(key.key(), PropertyListCoder<T>::encode(*value));
    }

    /// The archived value; absent if there is none, or if what is kept is no T.
    template <class T>
    [[nodiscard]] std::optional<T> unarchive(const DefaultsKey<T>& key) const {
        if constexpr (HasRawValue<T>) {
            const auto kept = object(key.key());
            return kept ? RawValue<T>::fromRawValue(*kept) : std::nullopt;
        } else {
            const auto archived = unarchived(key.key());
            return archived ? PropertyListCoder<T>::decode(*archived) : std::nullopt;
        }
    }

private:
    bool setArchive(std::string_view key, const PropertyList& value) const;
    [[nodiscard]] std::optional<PropertyList> unarchived(std::string_view key) const;

    std::shared_ptr<platform::PreferenceSuite> suite_;
};

/// The readers of one plain key. Each reads at the moment of its call. Any thread.
class SENTREL_API UserDefaults::Proxy {
public:
    /// The readers of a key of a suite.
    Proxy(UserDefaults defaults, std::string key) : defaults_(std::move(defaults)), key_(std::move(key)) {}

    /// The readers of the same key of the same suite.
    Proxy(const Proxy&) = default;
    Proxy& operator=(const Proxy&) = delete;

    /// Keeps a value in its own kind; absent (`std::nullopt`) removes the key. For the result use `UserDefaults::set`.
    const Proxy& operator=(const std::optional<PropertyList>& value) const {
        defaults_.set(key_, value);
        return *this;
    }

    /// The value of any kind; absent when missing.
    [[nodiscard]] std::optional<PropertyList> object() const { return defaults_.object(key_); }

    /// The text; absent when missing or of another kind.
    [[nodiscard]] std::optional<std::string> string() const { return kind<std::string>(); }

    /// The list; absent when missing or of another kind.
    [[nodiscard]] std::optional<PropertyList::List> array() const { return kind<PropertyList::List>(); }

    /// The dictionary; absent when missing or of another kind.
    [[nodiscard]] std::optional<PropertyList::Dictionary> dictionary() const {
        return kind<PropertyList::Dictionary>();
    }

    /// The bytes; absent when missing or of another kind.
    [[nodiscard]] std::optional<PropertyList::Bytes> data() const { return kind<PropertyList::Bytes>(); }

    /// The date; absent when missing or of another kind.
    [[nodiscard]] std::optional<PropertyList::Date> date() const { return kind<PropertyList::Date>(); }

    /// The integer, double or boolean; absent when missing or of another kind.
    [[nodiscard]] std::optional<Number> number() const { return defaults_.numberForKey(key_); }

    /// The number as `Number::integerValue`; absent when missing or no number.
    [[nodiscard]] std::optional<std::int64_t> int_() const;

    /// The number as `Number::doubleValue`; absent when missing or no number.
    [[nodiscard]] std::optional<double> double_() const;

    /// The number as `Number::boolValue`; absent when missing or no number.
    [[nodiscard]] std::optional<bool> bool_() const;

    /// The text; empty when missing or of another kind.
    [[nodiscard]] std::string stringValue() const { return string().value_or(std::string()); }

    /// The list; empty when missing or of another kind.
    [[nodiscard]] PropertyList::List arrayValue() const { return array().value_or(PropertyList::List()); }

    /// The dictionary; empty when missing or of another kind.
    [[nodiscard]] PropertyList::Dictionary dictionaryValue() const {
        return dictionary().value_or(PropertyList::Dictionary());
    }

    /// The bytes; none when missing or of another kind.
    [[nodiscard]] PropertyList::Bytes dataValue() const { return data().value_or(PropertyList::Bytes()); }

    /// The number; 0 when missing or no number.
    [[nodiscard]] Number numberValue() const { return number().value_or(Number()); }

    /// The number as `Number::integerValue`; 0 when missing or no number.
    [[nodiscard]] std::int64_t intValue() const { return numberValue().integerValue(); }

    /// The number as `Number::doubleValue`; 0 when missing or no number.
    [[nodiscard]] double doubleValue() const { return numberValue().doubleValue(); }

    /// The number as `Number::boolValue`; false when missing or no number.
    [[nodiscard]] bool boolValue() const { return numberValue().boolValue(); }

private:
    template <class Kind>
    [[nodiscard]] std::optional<Kind> kind() const {
        const auto kept = object();
        return kept ? PropertyListCoder<Kind>::decode(*kept) : std::nullopt;
    }

    UserDefaults defaults_;
    std::string key_;
};

/// The value of one typed key, read or assigned in place. Any thread.
template <class T>
class UserDefaults::TypedProxy {
public:
    /// The value of a key of a suite.
    TypedProxy(UserDefaults defaults, DefaultsKey<T> key) : defaults_(std::move(defaults)), key_(std::move(key)) {}

    /// The value of the same key of the same suite.
    TypedProxy(const TypedProxy&) = default;
    TypedProxy& operator=(const TypedProxy&) = delete;

    /// The value, as `UserDefaults::get` reads it at this moment.
    [[nodiscard]] T value() const { return defaults_.get(key_); }

    /// The value, as `UserDefaults::get` reads it at this moment.
    operator T() const { return value(); }

    /// Keeps a value. For the result use `UserDefaults::set`.
    const TypedProxy& operator=(const T& value) const {
        defaults_.set(key_, value);
        return *this;
    }

private:
    UserDefaults defaults_;
    DefaultsKey<T> key_;
};

/// How the value of a typed key is read and kept, the optional around it aside.
template <class T>
struct DefaultsValue {
    static constexpr bool isOptional = false; ///< whether T itself can be absent

    /// The value of a key; absent when it is missing, of another kind, or a number that T does not hold.
    static std::optional<T> read(const UserDefaults& defaults, const std::string& key) {
        if constexpr (std::is_same_v<T, PropertyList::Address>) {
            return defaults.address(key);
        } else if constexpr (std::is_arithmetic_v<T>) {
            const auto number = defaults.numberForKey(key);
            return number ? converted(*number) : std::nullopt;
        } else {
            const auto kept = defaults.object(key);
            return kept ? PropertyListCoder<T>::decode(*kept) : std::nullopt;
        }
    }

    /// The value as it is kept.
    static std::optional<PropertyList> encode(const T& value) { return PropertyListCoder<T>::encode(value); }

private:
    static std::optional<T> converted(const Number& number) {
        if constexpr (std::is_same_v<T, bool>)
            return number.boolValue();
        else if constexpr (std::is_integral_v<T>)
            return PropertyListCoder<T>::decode(number.integerValue());
        else
            return number.doubleValue();
    }
};

/// The values that may be absent.
template <class T>
struct DefaultsValue<std::optional<T>> {
    static constexpr bool isOptional = true; ///< whether T itself can be absent

    /// The value of a key; absent when it is missing, of another kind, or a number that T does not hold.
    static std::optional<T> read(const UserDefaults& defaults, const std::string& key) {
        return DefaultsValue<T>::read(defaults, key);
    }

    /// The value as it is kept; absent for none.
    static std::optional<PropertyList> encode(const std::optional<T>& value) {
        return value ? DefaultsValue<T>::encode(*value) : std::nullopt;
    }
};

template <class T>
T UserDefaults::get(const DefaultsKey<T>& key) const {
    auto kept = DefaultsValue<T>::read(*this, key.key());
    if constexpr (DefaultsValue<T>::isOptional)
        return kept;
    else
        return std::move(kept).value_or(T());
}

template <class T>
bool UserDefaults::set(const DefaultsKey<T>& key, const std::type_identity_t<T>& value) const {
    return set(key.key(), DefaultsValue<T>::encode(value));
}

} // namespace sentrel
