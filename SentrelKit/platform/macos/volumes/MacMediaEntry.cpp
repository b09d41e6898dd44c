// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/volumes/MacMediaEntry.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/platform/macos/volumes/AtaSmartPlugIn.h>

#include <IOKit/storage/IOBlockStorageDriver.h>
#include <IOKit/storage/ata/ATASMARTLib.h>

#include <utility>

namespace sentrel::platform {

namespace {

std::optional<std::int64_t> countAt(CFDictionaryRef statistics, CFStringRef key) {
    const auto number = cfCast<CFNumberRef>(CFDictionaryGetValue(statistics, key), CFNumberGetTypeID());
    std::int64_t value = 0;
    if (!number || !CFNumberGetValue(number, kCFNumberSInt64Type, &value))
        return std::nullopt;
    return value;
}

} // namespace

std::shared_ptr<MacMediaEntry> MacMediaEntry::create(IOObject entry) {
    return entry ? std::make_shared<MacMediaEntry>(std::move(entry)) : nullptr;
}

bool MacMediaEntry::areSame(const MediaEntry& one, const MediaEntry& other) {
    return IOObjectIsEqualTo(static_cast<const MacMediaEntry&>(one).entry_.get(),
                             static_cast<const MacMediaEntry&>(other).entry_.get());
}

std::optional<DiskStatistics> MacMediaEntry::statistics() {
    const CFOwner found(IORegistryEntrySearchCFProperty(entry_.get(), kIOServicePlane,
                                                        CFSTR(kIOBlockStorageDriverStatisticsKey), kCFAllocatorDefault,
                                                        kIORegistryIterateRecursively | kIORegistryIterateParents));
    const auto statistics = cfCast<CFDictionaryRef>(found.get(), CFDictionaryGetTypeID());
    if (!statistics)
        return std::nullopt;
    return DiskStatistics{.bytesRead = countAt(statistics, CFSTR(kIOBlockStorageDriverStatisticsBytesReadKey)),
                          .bytesWritten = countAt(statistics, CFSTR(kIOBlockStorageDriverStatisticsBytesWrittenKey))};
}

bool MacMediaEntry::isSmartCapable() {
    return static_cast<bool>(CFOwner(IORegistryEntryCreateCFProperty(entry_.get(), CFSTR(kIOPropertySMARTCapableKey),
                                                                     kCFAllocatorDefault, kNilOptions)));
}

std::shared_ptr<MediaEntry> MacMediaEntry::parent() {
    io_registry_entry_t above = IO_OBJECT_NULL;
    if (IORegistryEntryGetParentEntry(entry_.get(), kIOServicePlane, &above) != KERN_SUCCESS)
        return nullptr;
    return create(IOObject(above));
}

std::unique_ptr<SmartPlugIn> MacMediaEntry::createSmartPlugIn() {
    return AtaSmartPlugIn::create(entry_.get());
}

} // namespace sentrel::platform
