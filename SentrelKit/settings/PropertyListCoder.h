// SPDX-License-Identifier: Apache-2.0
#pragma once

/// How types are kept among preferences. A host keeps a type of its own by specialising one of the two traits here.

#include <SentrelKit/base/util/PropertyList.h>

#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace sentrel {

/// How a type is archived: as a value of the property-list kinds. Specialise it for a type of your own with
///
///     static PropertyList encode(const T& value);
///     static std::optional<T> decode(const PropertyList& value); // absent if it is no T
///
/// Texts, integers, doubles, booleans, bytes, dates, addresses, lists and text-keyed maps of these are known.
template <class T>
struct PropertyListCoder;

/// The raw values of a type, usually an enumeration, whose values are kept as plain texts or numbers. Specialise it
/// with
///
///     static PropertyList rawValue(T value);
///     static std::optional<T> fromRawValue(const PropertyList& raw); // absent if no value has it
///
/// or, for an enumeration kept by its numbers, derive from `EnumerationCases`.
template <class T>
struct RawValue;

/// Raw values of an enumeration by the list of its cases:
/// `template <> struct sentrel::RawValue<Side> : EnumerationCases<Side::left, Side::right> {};`
template <auto First, decltype(First)... Rest>
struct EnumerationCases {
    using Enumeration = decltype(First); ///< the type of the cases

    /// The number of a case.
    static PropertyList rawValue(Enumeration value) { return static_cast<std::int64_t>(value); }

    /// The case of a number; absent if none has it, and for every other kind.
    static std::optional<Enumeration> fromRawValue(const PropertyList& raw) {
        std::optional<Enumeration> found;
        for (const Enumeration candidate : {First, Rest...})
            if (raw == rawValue(candidate))
                found = candidate;
        return found;
    }
};

/// A type whose raw values are told by `RawValue`.
template <class T>
concept HasRawValue = requires(T value, const PropertyList& raw) {
    { RawValue<T>::rawValue(value) } -> std::convertible_to<PropertyList>;
    { RawValue<T>::fromRawValue(raw) } -> std::convertible_to<std::optional<T>>;
};

/// A kind that a property list holds as it is.
template <class T>
concept PropertyListKind = std::same_as<T, bool> || std::same_as<T, std::int64_t> || std::same_as<T, double> ||
    std::same_as<T, std::string> || std::same_as<T, PropertyList::Bytes> || std::same_as<T, PropertyList::Date> ||
    std::same_as<T, PropertyList::Address> || std::same_as<T, PropertyList::List> ||
    std::same_as<T, PropertyList::Dictionary>;

/// A value of any kind is archived as it is.
template <>
struct PropertyListCoder<PropertyList> {
    /// The value itself.
    static PropertyList encode(const PropertyList& value) { return value; }

    /// The value itself, never absent.
    static std::optional<PropertyList> decode(const PropertyList& value) { return value; }
};

/// The kinds themselves: no kind is converted into another.
template <PropertyListKind T>
struct PropertyListCoder<T> {
    /// The value as its kind.
    static PropertyList encode(const T& value) { return value; }

    /// The value of exactly this kind; absent for every other.
    static std::optional<T> decode(const PropertyList& value) {
        const T* exact = value.as<T>();
        return exact ? std::optional(*exact) : std::nullopt;
    }
};

/// Integers of the other widths: a number that does not fit is none of them.
template <std::integral T>
requires(!PropertyListKind<T>) struct PropertyListCoder<T> {
    /// The integer in 64 signed bits.
    static PropertyList encode(T value) { return static_cast<std::int64_t>(value); }

    /// The integer; absent if T does not hold it, and for every other kind.
    static std::optional<T> decode(const PropertyList& value) {
        const auto* integer = value.as<std::int64_t>();
        return integer && std::in_range<T>(*integer) ? std::optional(static_cast<T>(*integer)) : std::nullopt;
    }
};

/// Lists of anything that can be archived.
template <class T>
requires(!PropertyListKind<std::vector<T>>) struct PropertyListCoder<std::vector<T>> {
    /// The list of the archived elements, in order.
    static PropertyList encode(const std::vector<T>& values) {
        PropertyList::List list;
        for (const auto& value : values)
            list.push_back(PropertyListCoder<T>::encode(value));
        return list;
    }

    /// The list as a whole: absent if any element is not a T.
    static std::optional<std::vector<T>> decode(const PropertyList& value) {
        const auto* list = value.as<PropertyList::List>();
        if (!list)
            return std::nullopt;
        std::vector<T> values;
        for (const PropertyList& item : *list) {
            std::optional<T> element = PropertyListCoder<T>::decode(item);
            if (!element)
                return std::nullopt;
            values.push_back(std::move(*element));
        }
        return values;
    }
};

/// Text-keyed maps of anything that can be archived.
template <class T>
struct PropertyListCoder<std::map<std::string, T>> {
    /// The dictionary of the archived elements.
    static PropertyList encode(const std::map<std::string, T>& values) {
        PropertyList::Dictionary entries;
        for (const auto& [key, value] : values)
            entries.emplace(key, PropertyListCoder<T>::encode(value));
        return entries;
    }

    /// The dictionary as a whole: absent if any element is not a T.
    static std::optional<std::map<std::string, T>> decode(const PropertyList& value) {
        const auto* entries = value.as<PropertyList::Dictionary>();
        if (!entries)
            return std::nullopt;
        std::map<std::string, T> values;
        for (const auto& [key, item] : *entries) {
            std::optional<T> element = PropertyListCoder<T>::decode(item);
            if (!element)
                return std::nullopt;
            values.emplace(key, std::move(*element));
        }
        return values;
    }
};

} // namespace sentrel
