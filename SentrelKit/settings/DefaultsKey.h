// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <string>
#include <utility>

namespace sentrel {

/// The namespace in which a host declares its typed keys as static members of a derived class or beside it.
class DefaultsKeys {};

/// A preference's key with the type of its value.
///
///     const DefaultsKey<std::int64_t> launches("launches");
///     const DefaultsKey<std::optional<std::string>> nickname("nickname");
template <class T>
class DefaultsKey : public DefaultsKeys {
public:
    /// A key of a name, as the preference file holds it.
    explicit DefaultsKey(std::string key) : key_(std::move(key)) {}

    /// The name.
    [[nodiscard]] const std::string& key() const noexcept { return key_; }

private:
    std::string key_;
};

} // namespace sentrel
