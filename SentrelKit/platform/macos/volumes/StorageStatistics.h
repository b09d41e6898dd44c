// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/macos/common/CFOwner.h>

#include <IOKit/IOKitLib.h>

#include <cstdint>
#include <optional>
#include <utility>

namespace sentrel::platform {

/// What the block storage driver that a medium stands on has counted since it was there, as of one moment. Any thread.
class StorageStatistics {
public:
    /// The first statistics on an entry of the registry or above it; absent if there are none.
    [[nodiscard]] static std::optional<StorageStatistics> above(io_registry_entry_t entry);

    /// The count under one of the driver's keys (IOBlockStorageDriver.h); absent if it does not count that.
    [[nodiscard]] std::optional<std::int64_t> count(CFStringRef key) const;

private:
    explicit StorageStatistics(CFOwner<CFDictionaryRef> counts) noexcept : counts_(std::move(counts)) {}

    CFOwner<CFDictionaryRef> counts_;
};

} // namespace sentrel::platform
