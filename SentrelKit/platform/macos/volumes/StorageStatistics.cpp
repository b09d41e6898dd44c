// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/volumes/StorageStatistics.h>

#include <IOKit/storage/IOBlockStorageDriver.h>

namespace sentrel::platform {

std::optional<StorageStatistics> StorageStatistics::above(io_registry_entry_t entry) {
    const CFOwner found(IORegistryEntrySearchCFProperty(entry, kIOServicePlane,
                                                        CFSTR(kIOBlockStorageDriverStatisticsKey), kCFAllocatorDefault,
                                                        kIORegistryIterateRecursively | kIORegistryIterateParents));
    const auto counts = cfCast<CFDictionaryRef>(found.get(), CFDictionaryGetTypeID());
    if (!counts)
        return std::nullopt;
    return StorageStatistics(CFOwner<CFDictionaryRef>::retained(counts));
}

std::optional<std::int64_t> StorageStatistics::count(CFStringRef key) const {
    const auto number = cfCast<CFNumberRef>(CFDictionaryGetValue(counts_.get(), key), CFNumberGetTypeID());
    std::int64_t value = 0;
    if (!number || !CFNumberGetValue(number, kCFNumberSInt64Type, &value))
        return std::nullopt;
    return value;
}

} // namespace sentrel::platform
