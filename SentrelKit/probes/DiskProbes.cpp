// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/DiskProbes.h>

#include <SentrelKit/base/system/System.h>
#include <SentrelKit/base/system/Time.h>
#include <SentrelKit/base/util/Str.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/probes/detail/FailureReports.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace sentrel::probes {

namespace {

constexpr std::size_t nameSize = 65;
constexpr std::size_t textSize = 64; // of the texts in a disk description, terminator included
constexpr const char* unknownModel = "unknown";

constexpr Operation statfsOperation{"statfs", true};
constexpr Operation sessionOperation{"DASessionCreate", false};

// SMART attribute table (ATA command set, "Device SMART data structure"): 30 entries of 12 bytes after a two-byte
// revision; an entry is id, two flag bytes, current value, worst value, six raw bytes, one reserved byte.
constexpr std::size_t attributeTable = 2;
constexpr std::size_t attributeCount = 30;
constexpr std::size_t attributeSize = 12;
constexpr std::size_t attributeRaw = 5;
constexpr std::uint8_t temperatureAttribute = 194;

// Copies a text into a buffer of `size` bytes, cut where a UTF-8 character begins.
void copyText(char* buffer, std::size_t size, std::string_view text) {
    std::size_t length = std::min(text.size(), size - 1);
    const auto continues = [text](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U; };
    if (length < text.size()) {
        while (length > 0 && continues(length))
            --length;
    }
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

void setSpace(DiskData& data, const platform::FileSystemSpace& space) {
    // Unsigned: meant so. What the counts of a broken file system make of it stays defined.
    data.used = static_cast<std::int64_t>((space.blocks - space.freeBlocks) * space.blockSize);
    data.free = static_cast<std::int64_t>(space.freeBlocks * space.blockSize);
    data.total = static_cast<std::int64_t>(space.blocks * space.blockSize);
    data.inodes = static_cast<std::int64_t>(space.inodes);
    data.freeInodes = static_cast<std::int64_t>(space.freeInodes);
    data.answers = space.answers ? 1 : 0;
}

void describe(platform::DiskSession& session, const char* bsdName, char* name, char* model) {
    const std::shared_ptr<platform::StorageDevice> disk = session.disk(bsdName);
    if (!disk)
        return;
    const std::optional<platform::DiskDescription> description = disk->description();
    if (!description)
        return;
    if (description->volumeName)
        copyText(name, textSize, *description->volumeName);
    if (description->deviceModel)
        copyText(model, textSize, *description->deviceModel);
}

void report(platform::DiskSession& disks, const platform::MountedFileSystem& mount, std::int64_t timestamp,
            const DiskDataBlock& block, SystemManager& session) {
    DiskData data{};
    data.bsdName = Str_basename(mount.from.c_str());
    data.source = mount.from.c_str();
    data.mountPoint = mount.on.c_str();
    data.fsType = mount.type.c_str();
    data.isRoot = mount.isRoot ? 1 : 0;
    std::array<char, nameSize> name{};
    std::array<char, textSize> model{};
    copyText(name.data(), name.size(), data.bsdName);
    copyText(model.data(), model.size(), unknownModel);
    data.name = name.data();
    data.model = model.data();
    setSpace(data, mount.space);
    describe(disks, data.bsdName, name.data(), model.data());
    if (_getDiskActivity(data.bsdName, data.mountPoint, &data, session) == 0)
        data.answers = 0;
    block(timestamp, &data);
}

std::shared_ptr<platform::MediaEntry> wholeMedia(const std::shared_ptr<platform::StorageDevice>& disk) {
    const std::shared_ptr<platform::StorageDevice> whole = disk->wholeDisk();
    return whole ? whole->media() : nullptr;
}

// The conversation's steps in their order, up to the first that fails.
bool converse(platform::SmartInterface& drive, SMARTData& data, platform::SmartData& block) {
    if (!drive.enableOperations(true) || !drive.enableAutosave(true))
        return false;
    const std::optional<bool> exceeded = drive.returnStatus();
    if (!exceeded)
        return false;
    data.healthy = *exceeded ? 0 : 1;
    return drive.executeOffLineImmediate(false) && drive.readData(block) && drive.validateData(block);
}

double temperatureOf(const platform::SmartData& block) {
    for (std::size_t entry = 0; entry < attributeCount; ++entry) {
        const std::size_t at = attributeTable + entry * attributeSize;
        if (block[at] == temperatureAttribute)
            return block[at + attributeRaw];
    }
    return 0.0;
}

void askDrive(platform::MediaEntry& entry, SMARTData& data) {
    const std::unique_ptr<platform::SmartPlugIn> plugIn = entry.createSmartPlugIn();
    if (!plugIn)
        return;
    const std::unique_ptr<platform::SmartInterface> drive = plugIn->queryInterface();
    if (!drive)
        return;
    platform::SmartData block{};
    if (converse(*drive, data, block))
        data.temperature = temperatureOf(block);
    drive->enableAutosave(false);
    drive->enableOperations(false);
}

void tellOfFailedSpace(const char* path, int error) {
    if (isToBeTold(statfsOperation, path))
        System_error("Error: statfs failed for '%s' -- %s\n", path, System_getError(error));
}

// A session for one operation; null, after a line on the standard error stream, if there is none.
std::unique_ptr<platform::DiskSession> openOwnSession(platform::VolumeService& volumes) {
    std::unique_ptr<platform::DiskSession> session = volumes.openSession();
    if (session)
        succeeded(sessionOperation);
    else if (isToBeTold(sessionOperation))
        System_error("Error: DASessionCreate -- %s", System_getLastError());
    return session;
}

} // namespace

void _getDiskData(const DiskDataBlock& block, SystemManager& session) {
    platform::VolumeService& service = session.platform().volumes();
    const std::int32_t count = service.countMountedFileSystems();
    if (count < 0)
        return;
    const std::unique_ptr<platform::DiskSession> disks = service.openSession();
    if (!disks)
        return;
    // Entries that the second question no longer fills stay empty, and no empty type is accepted.
    std::vector<platform::MountedFileSystem> mounts(static_cast<std::size_t>(count));
    if (service.listMountedFileSystems(mounts) <= 0)
        return;
    const std::int64_t timestamp = Time_milli(session.platform().clock());
    const platform::AcceptedTypes types = service.acceptedTypes();
    for (const platform::MountedFileSystem& mount : mounts) {
        if (types.accept(mount.type, mount.isRoot, mount.dontBrowse))
            report(*disks, mount, timestamp, block, session);
    }
}

int _getDiskDataFor(const char* path, DiskData* data, SystemManager& session) {
    const std::optional<platform::FileSystemSpace> space = session.platform().volumes().space(path);
    if (!space) {
        const int error = errno;
        tellOfFailedSpace(path, error);
        errno = error;
        return 0;
    }
    // Figures from before are no failure of the question; of the samples they are one.
    if (space->answers)
        succeeded(statfsOperation, path);
    else if (SamplingReports::areUnderWay())
        tellOfFailedSpace(path, ETIMEDOUT);
    setSpace(*data, *space);
    return 1;
}

int _getDiskActivity(const char* bsdName, const char* mountPoint, DiskData* data, SystemManager& session) {
    if (_getDiskDataFor(mountPoint, data, session) == 0)
        return 0;
    const std::shared_ptr<platform::StorageDevice> disk =
        session.daSession ? session.daSession->disk(bsdName) : nullptr;
    if (!disk)
        return 1;
    const std::shared_ptr<platform::MediaEntry> media = wholeMedia(disk);
    const std::optional<platform::DiskStatistics> statistics = media ? media->statistics() : std::nullopt;
    if (statistics) {
        data->bytesRead = statistics->bytesRead.value_or(data->bytesRead);
        data->bytesWritten = statistics->bytesWritten.value_or(data->bytesWritten);
    }
    return 1;
}

std::uint8_t _getSMARTData(const char* bsdName, SMARTData* data, SystemManager& session) {
    *data = SMARTData{};
    const std::unique_ptr<platform::DiskSession> own = openOwnSession(session.platform().volumes());
    if (!own)
        return 0;
    const std::shared_ptr<platform::StorageDevice> disk = own->disk(bsdName);
    std::shared_ptr<platform::MediaEntry> entry = disk ? wholeMedia(disk) : nullptr;
    while (entry && !entry->isSmartCapable())
        entry = entry->parent();
    if (entry) {
        data->capable = 1;
        askDrive(*entry, *data);
    }
    return data->capable;
}

int _ejectDisk(const char* bsdName, SystemManager& session) {
    const std::shared_ptr<platform::DiskSession> own = openOwnSession(session.platform().volumes());
    if (!own)
        return 0;
    const std::shared_ptr<platform::StorageDevice> disk = own->disk(bsdName);
    if (!disk)
        return 0;
    if (disk->isSystemDisk()) {
        System_error("Error: DADiskUnmount refused for '%s', a disk that the system runs from -- %s", bsdName,
                     System_getLastError());
        return 0;
    }
    own->setQueue(session.backgroundQueue);
    const std::shared_ptr<platform::StorageDevice> whole = disk->wholeDisk();
    if (!whole)
        return 0;
    whole->unmount({.whole = true},
                   [own](const std::shared_ptr<platform::StorageDevice>& unmounted,
                         const platform::Dissenter* dissenter) { onUnmountCallback(unmounted, dissenter, own); });
    return 1;
}

void onUnmountCallback(const std::shared_ptr<platform::StorageDevice>& disk, const platform::Dissenter* dissenter,
                       const std::shared_ptr<platform::DiskSession>& session) {
    if (dissenter)
        disk->unmount({.force = true}, nullptr);
    disk->eject();
    session->setQueue(nullptr);
}

} // namespace sentrel::probes
