// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace sentrel {

/// One value of the kinds that the system's registries and preference files hold: nothing, bool, signed 64-bit integer,
/// double, text, bytes, date, address, list, dictionary. A plain value: copies are deep, any thread may own one.
class SENTREL_API PropertyList {
public:
    using Bytes = std::vector<std::uint8_t>;                             ///< Bytes without a meaning of their own.
    using List = std::vector<PropertyList>;                              ///< Values in order, of any kinds.
    using Dictionary = std::map<std::string, PropertyList, std::less<>>; ///< Values by key, a text in UTF-8.

    /// A moment, in seconds since 1 January 1970 UTC.
    struct Date {
        double seconds = 0; ///< with any fraction; negative before 1970

        /// The same moment; not-a-number equals nothing.
        friend bool operator==(const Date&, const Date&) = default;
    };

    /// An address (URL) as its absolute text.
    struct Address {
        std::string text; ///< in UTF-8, as "https://example.com/a?b"; not checked

        /// The same text, byte by byte.
        friend bool operator==(const Address&, const Address&) = default;
    };

    PropertyList() = default;                                            ///< Nothing.
    PropertyList(bool value) : value_(value) {}                          ///< A bool.
    PropertyList(int value) : value_(std::int64_t{value}) {}             ///< An integer.
    PropertyList(std::int64_t value) : value_(value) {}                  ///< An integer.
    PropertyList(double value) : value_(value) {}                        ///< A double.
    PropertyList(std::string value) : value_(std::move(value)) {}        ///< A text, in UTF-8.
    PropertyList(std::string_view value) : value_(std::string(value)) {} ///< A text, in UTF-8.
    PropertyList(const char* value) : value_(std::string(value)) {}      ///< A text, in UTF-8; not null.
    PropertyList(Bytes value) : value_(std::move(value)) {}              ///< Bytes.
    PropertyList(Date value) : value_(value) {}                          ///< A moment.
    PropertyList(Address value) : value_(std::move(value)) {}            ///< An address.
    PropertyList(List value) : value_(std::move(value)) {}               ///< A list.
    PropertyList(Dictionary value) : value_(std::move(value)) {}         ///< A dictionary.

    /// True when this holds no value at all.
    [[nodiscard]] bool empty() const noexcept { return std::holds_alternative<std::monostate>(value_); }

    /// The value as exactly kind T (bool, std::int64_t, double, std::string or a type above), or null when it is of
    /// another kind. The pointer is valid until this changes.
    template <class T>
    [[nodiscard]] const T* as() const noexcept {
        return std::get_if<T>(&value_);
    }

    /// As above, to change the value in place.
    template <class T>
    [[nodiscard]] T* as() noexcept {
        return std::get_if<T>(&value_);
    }

    /// The entry of a dictionary, or null when this is no dictionary or has no such key.
    [[nodiscard]] const PropertyList* find(std::string_view key) const noexcept {
        const Dictionary* entries = as<Dictionary>();
        if (!entries)
            return nullptr;
        const auto entry = entries->find(key);
        return entry == entries->end() ? nullptr : &entry->second;
    }

    /// Equal kind and equal content; 1, 1.0 and true differ.
    friend bool operator==(const PropertyList& a, const PropertyList& b) { return a.value_ == b.value_; }

private:
    std::variant<std::monostate, bool, std::int64_t, double, std::string, Bytes, Date, Address, List, Dictionary>
        value_;
};

} // namespace sentrel
