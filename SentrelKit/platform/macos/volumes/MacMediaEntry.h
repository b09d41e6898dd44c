// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/MediaEntry.h>
#include <SentrelKit/platform/macos/common/IOObject.h>

#include <memory>

namespace sentrel::platform {

/// An entry of the registry's service plane.
class MacMediaEntry final : public MediaEntry {
public:
    explicit MacMediaEntry(IOObject entry) : entry_(std::move(entry)) {}

    /// Null without an entry.
    [[nodiscard]] static std::shared_ptr<MacMediaEntry> create(IOObject entry);

    /// Whether two entries of this registry are one.
    [[nodiscard]] static bool areSame(const MediaEntry& one, const MediaEntry& other);

    std::optional<DiskStatistics> statistics() override;
    bool isSmartCapable() override;
    std::shared_ptr<MediaEntry> parent() override;
    std::unique_ptr<SmartPlugIn> createSmartPlugIn() override;

private:
    IOObject entry_;
};

} // namespace sentrel::platform
