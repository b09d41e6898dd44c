// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/volumes/MacVolumeService.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/platform/macos/common/IOObject.h>
#include <SentrelKit/platform/macos/common/Values.h>
#include <SentrelKit/platform/macos/volumes/MacDiskSession.h>
#include <SentrelKit/platform/macos/volumes/StorageStatistics.h>
#include <SentrelKit/platform/macos/volumes/VolumeIcon.h>
#include <SentrelKit/platform/macos/volumes/VolumeNotices.h>
#include <SentrelKit/platform/support/Observer.h>

#include <IOKit/storage/IOBlockStorageDriver.h>
#include <sys/mount.h>
#include <sys/param.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sentrel::platform {

namespace {

constexpr std::array<std::string_view, 10> shownTypes{"hfs",   "apfs", "nfs",    "ufs",    "msdos",
                                                      "exfat", "ntfs", "cd9660", "cddafs", "udf"};

FileSystemSpace spaceOf(const struct statfs& record) noexcept {
    return {.blockSize = record.f_bsize,
            .blocks = record.f_blocks,
            .freeBlocks = record.f_bfree,
            .inodes = record.f_files,
            .freeInodes = record.f_ffree};
}

PropertyList::Dictionary propertiesOf(const IOObject& entry) {
    CFMutableDictionaryRef properties = nullptr;
    if (IORegistryEntryCreateCFProperties(entry.get(), &properties, kCFAllocatorDefault, kNilOptions) != KERN_SUCCESS)
        return {};
    return dictionaryOf(CFOwner(properties).get());
}

template <class T>
std::optional<T> valueOf(const PropertyList::Dictionary& properties, std::string_view key) {
    const auto entry = properties.find(key);
    const T* const value = entry == properties.end() ? nullptr : entry->second.template as<T>();
    return value ? std::optional(*value) : std::nullopt;
}

// The kernel's name of the nearest medium at or above one that is whole; empty if there is none.
std::string wholeOf(const IOObject& medium, const PropertyList::Dictionary& own) {
    if (valueOf<bool>(own, "Whole").value_or(false))
        return valueOf<std::string>(own, "BSD Name").value_or("");
    io_registry_entry_t above = IO_OBJECT_NULL;
    if (IORegistryEntryGetParentEntry(medium.get(), kIOServicePlane, &above) != KERN_SUCCESS)
        return {};
    const IOObject parent(above);
    return wholeOf(parent, propertiesOf(parent));
}

// The keys are those of IOKit's IOMedia.h, IOBSD.h and IOStorageDeviceCharacteristics.h.
std::optional<DiskDevice> describe(const IOObject& medium) {
    const PropertyList::Dictionary own = propertiesOf(medium);
    std::optional<std::string> name = valueOf<std::string>(own, "BSD Name");
    if (!name)
        return std::nullopt;
    const CFOwner found(IORegistryEntrySearchCFProperty(medium.get(), kIOServicePlane, CFSTR("Device Characteristics"),
                                                        kCFAllocatorDefault,
                                                        kIORegistryIterateRecursively | kIORegistryIterateParents));
    const PropertyList::Dictionary drive = dictionaryOf(found.get());
    DiskDevice device{.name = std::move(*name), .alias = {}, .whole = wholeOf(medium, own)};
    if (device.whole.empty())
        device.whole = device.name;
    device.model = valueOf<std::string>(drive, "Product Name");
    device.size = valueOf<std::int64_t>(own, "Size");
    device.removable = valueOf<bool>(own, "Removable");
    if (const std::optional<bool> isWritable = valueOf<bool>(own, "Writable"))
        device.readOnly = !*isWritable;
    if (const std::optional<std::string> kind = valueOf<std::string>(drive, "Medium Type"))
        device.rotational = *kind == "Rotational";
    return device;
}

// Those of the registry, to be taken from an iterator; absent if they cannot be had.
std::optional<IOObject> allMedia() {
    io_iterator_t found = IO_OBJECT_NULL;
    // The question releases what it matches by.
    if (IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching("IOMedia"), &found) != KERN_SUCCESS)
        return std::nullopt;
    return IOObject(found);
}

template <class T>
std::optional<T> propertyOf(const IOObject& entry, CFStringRef key) {
    const PropertyList property = propertyListOf(
        CFOwner(IORegistryEntryCreateCFProperty(entry.get(), key, kCFAllocatorDefault, kNilOptions)).get());
    const T* const value = property.as<T>();
    return value ? std::optional(*value) : std::nullopt;
}

// The drivers count nanoseconds.
std::uint32_t milliseconds(std::int64_t nanoseconds) noexcept {
    return static_cast<std::uint32_t>(nanoseconds / 1'000'000);
}

// What a whole disk has done; false for a part of one, and where its driver does not count that.
bool read(const IOObject& medium, DiskOperations& disk) {
    if (!propertyOf<bool>(medium, CFSTR("Whole")).value_or(false))
        return false;
    std::optional<std::string> name = propertyOf<std::string>(medium, CFSTR("BSD Name"));
    const std::optional<StorageStatistics> statistics = StorageStatistics::above(medium.get());
    if (!name || !statistics)
        return false;
    const auto reads = statistics->count(CFSTR(kIOBlockStorageDriverStatisticsReadsKey));
    const auto writes = statistics->count(CFSTR(kIOBlockStorageDriverStatisticsWritesKey));
    const auto readTime = statistics->count(CFSTR(kIOBlockStorageDriverStatisticsTotalReadTimeKey));
    const auto writeTime = statistics->count(CFSTR(kIOBlockStorageDriverStatisticsTotalWriteTimeKey));
    if (!reads || !writes || !readTime || !writeTime)
        return false;
    disk = {.name = std::move(*name),
            .reads = *reads,
            .writes = *writes,
            .readTime = milliseconds(*readTime),
            .writeTime = milliseconds(*writeTime)};
    return true;
}

} // namespace

Availability MacVolumeService::diskOperations(std::vector<DiskOperations>& disks) {
    const std::optional<IOObject> media = allMedia();
    if (!media)
        return Availability::failed;
    std::size_t count = 0;
    while (const IOObject medium{IOIteratorNext(media->get())}) {
        if (count == disks.size())
            disks.emplace_back();
        if (read(medium, disks[count]))
            ++count;
    }
    disks.resize(count);
    return Availability::available;
}

Availability MacVolumeService::diskDevices(std::vector<DiskDevice>& devices) {
    const std::optional<IOObject> media = allMedia();
    if (!media)
        return Availability::failed;
    std::vector<DiskDevice> described;
    while (const IOObject medium{IOIteratorNext(media->get())}) {
        if (std::optional<DiskDevice> device = describe(medium))
            described.push_back(std::move(*device));
    }
    devices = std::move(described);
    return Availability::available;
}

std::int32_t MacVolumeService::countMountedFileSystems() {
    return ::getfsstat(nullptr, 0, MNT_NOWAIT);
}

std::int32_t MacVolumeService::listMountedFileSystems(std::span<MountedFileSystem> entries) {
    std::vector<struct statfs> records(entries.size());
    const int count = ::getfsstat(records.data(), static_cast<int>(records.size() * sizeof(struct statfs)), MNT_NOWAIT);
    if (count < 0)
        return -1;
    const std::size_t filled = std::min(static_cast<std::size_t>(count), records.size());
    for (std::size_t index = 0; index < filled; ++index) {
        const struct statfs& record = records[index];
        entries[index] = {.type = record.f_fstypename,
                          .from = record.f_mntfromname,
                          .on = record.f_mntonname,
                          .space = spaceOf(record),
                          .isRoot = (record.f_flags & MNT_ROOTFS) != 0,
                          .dontBrowse = (record.f_flags & MNT_DONTBROWSE) != 0};
    }
    return static_cast<std::int32_t>(filled);
}

AcceptedTypes MacVolumeService::acceptedTypes() const noexcept {
    return {.names = shownTypes, .anyRoot = false};
}

std::optional<FileSystemSpace> MacVolumeService::space(const char* path) {
    struct statfs record {};
    if (::statfs(path, &record) != 0)
        return std::nullopt;
    return spaceOf(record);
}

std::unique_ptr<DiskSession> MacVolumeService::openSession() {
    return MacDiskSession::open();
}

Observation MacVolumeService::observe(std::function<void(const VolumeNotification&)> observer) {
    // The notices hold the observers, not the registration: one that comes late finds nobody. An exception does not
    // pass through the notification centre.
    const auto observers = std::make_shared<Observers<VolumeNotification>>();
    return observers->add(std::move(observer),
                          VolumeNotices::add([observers](const VolumeNotification& notice) noexcept {
                              observers->post(notice);
                              observers->tell();
                          }));
}

std::optional<Icon> MacVolumeService::iconForPath(const std::string& path) {
    return volumeIcon(path);
}

} // namespace sentrel::platform
