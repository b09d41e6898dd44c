// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Where preferences are kept: named suites of values by key, shared by every process of the user that opens a suite of
/// the same name.

#include <SentrelKit/base/util/PropertyList.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// One suite. Every member may be called from any thread. A change is visible to its own process at once. Each change
/// returns whether it was kept, and one that was not leaves the suite as it was.
///
/// On Linux what was kept stands in the suite's file, which every process reads at its next read. The store of macOS
/// takes every change that it can hold and writes it later, without a word on whether it could; other processes see it
/// soon after.
class SENTREL_API PreferenceSuite {
public:
    virtual ~PreferenceSuite() = default;

    /// The value of a key; absent when there is none, or when the suite cannot be read.
    [[nodiscard]] virtual std::optional<PropertyList> object(std::string_view key) const = 0;

    /// The value of a key as an address, if it is one. Addresses are kept in a form of the platform's choice, which
    /// `object` returns: the path of a file address as text, any other address as bytes.
    [[nodiscard]] virtual std::optional<PropertyList::Address> address(std::string_view key) const = 0;

    /// Keeps a value; an address in the form that `address` reads. Fails for what a property list cannot hold: nothing,
    /// a text that is not UTF-8, an address inside a list or dictionary. macOS: setDouble:forKey:, setInteger:forKey:,
    /// setBool:forKey:, setURL:forKey:, else setObject:forKey:.
    [[nodiscard]] virtual bool set(std::string_view key, const PropertyList& value) = 0;

    /// Removes keys. Removing a key that is not there is no failure.
    [[nodiscard]] virtual bool remove(std::span<const std::string> keys) = 0;

    /// All keys, in no particular order; none when the suite cannot be read. macOS: those of dictionaryRepresentation,
    /// in which what the user set for all programs stands too.
    [[nodiscard]] virtual std::vector<std::string> keys() const = 0;
};

/// The suites of one machine.
class SENTREL_API PreferenceStore {
public:
    virtual ~PreferenceStore() = default;

    /// The suite of a name, the same object for the same name. Null when no suite can have that name. Any thread.
    [[nodiscard]] virtual std::shared_ptr<PreferenceSuite> suite(const std::string& name) = 0;
};

} // namespace sentrel::platform
