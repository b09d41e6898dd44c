// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/PowerService.h>

#include <utility>

namespace sentrel::platform {

/// A battery whose properties were all read when it was looked up.
class BatteryProperties final : public BatteryService {
public:
    /// A battery with these properties and no others.
    explicit BatteryProperties(PropertyList::Dictionary properties) : properties_(std::move(properties)) {}

    std::optional<PropertyList> property(std::string_view key) const override {
        const auto entry = properties_.find(key);
        return entry == properties_.end() ? std::nullopt : std::optional(entry->second);
    }

private:
    PropertyList::Dictionary properties_;
};

} // namespace sentrel::platform
