// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/volumes/MacMediaEntry.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/platform/macos/volumes/AtaSmartPlugIn.h>
#include <SentrelKit/platform/macos/volumes/StorageStatistics.h>

#include <IOKit/storage/IOBlockStorageDriver.h>
#include <IOKit/storage/ata/ATASMARTLib.h>

#include <utility>

namespace sentrel::platform {

std::shared_ptr<MacMediaEntry> MacMediaEntry::create(IOObject entry) {
    return entry ? std::make_shared<MacMediaEntry>(std::move(entry)) : nullptr;
}

bool MacMediaEntry::areSame(const MediaEntry& one, const MediaEntry& other) {
    return IOObjectIsEqualTo(static_cast<const MacMediaEntry&>(one).entry_.get(),
                             static_cast<const MacMediaEntry&>(other).entry_.get());
}

std::optional<DiskStatistics> MacMediaEntry::statistics() {
    const std::optional<StorageStatistics> statistics = StorageStatistics::above(entry_.get());
    if (!statistics)
        return std::nullopt;
    return DiskStatistics{.bytesRead = statistics->count(CFSTR(kIOBlockStorageDriverStatisticsBytesReadKey)),
                          .bytesWritten = statistics->count(CFSTR(kIOBlockStorageDriverStatisticsBytesWrittenKey))};
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
