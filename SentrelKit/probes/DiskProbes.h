// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The mounted volumes worth showing, their space and their disks' counters, SMART health, and ejecting. Source: the
/// platform's VolumeService (disk arbitration and the registry on macOS; the mount table, sysfs and the drives
/// themselves on Linux), of the session in force unless another is handed in. Any thread; all but ejecting happen on
/// the calling thread.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/DiskSession.h>
#include <SentrelKit/probes/SystemManager.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace sentrel::probes {

/// One volume. Lives on the probe's stack: its texts are valid only during the call. Bytes written come before bytes
/// read: meant so.
struct DiskData {
    const char* name;  ///< the file system's label, else `bsdName`; UTF-8, at most 64 bytes
    const char* model; ///< the device's model, "unknown" without one; UTF-8, at most 63 bytes
    const char*
        bsdName; ///< what follows the last "/" of what is mounted, such as "disk1s1" or "sda1"; not always unique
    const char* mountPoint;    ///< absolute path
    const char* fsType;        ///< file-system type name
    std::int64_t bytesWritten; ///< by the whole disk since it appeared; 0 if not known
    std::int64_t bytesRead;    ///< the same for reading
    std::int64_t used;         ///< bytes
    std::int64_t free;         ///< bytes, also those that only privileged users may fill
    std::int64_t total;      ///< bytes; in a listing 0, as `used` and `free`, while the file system gave no answer yet
    std::uint8_t isRoot;     ///< 1 for the root file system, else 0
    const char* source;      ///< the whole of what is mounted, such as "/dev/sda1" or "server:/share"; may be empty
    std::int64_t inodes;     ///< files that there can be; 0 where the file system does not count them, as `total`
    std::int64_t freeInodes; ///< of these
    std::uint8_t answers;    ///< 1 if the file system gave its space when it was last asked, else 0
};

/// A drive's health.
struct SMARTData {
    std::uint8_t capable = 0; ///< 1 once a drive behind the device was found that can be asked
    std::uint8_t healthy = 1; ///< 0 if the drive reports that a threshold is exceeded
    double temperature = 0.0; ///< degrees Celsius; 0 if the drive does not tell
};

/// Receives the listing's time stamp (milliseconds since the epoch, one value for the whole listing) and a volume.
using DiskDataBlock = std::function<void(std::int64_t timestamp, const DiskData* data)>;

/// Calls the block once a shown volume, in mount-table order, before it returns. A device that is mounted twice comes
/// twice; two sources may have one `bsdName`. If the mount table cannot be read or no session opened: no call and no
/// message.
SENTREL_API void _getDiskData(const DiskDataBlock& block, SystemManager& session = *System);

/// Fills used, free and total with the space at the path and returns 1. On failure: 0, a line on the standard error
/// stream, and the record as it was.
SENTREL_API int _getDiskDataFor(const char* path, DiskData* data, SystemManager& session = *System);

/// As `_getDiskDataFor`, then fills bytesRead and bytesWritten where the device's whole disk counts them; a counter
/// that is not found stays as it was. Returns 0 if the space could not be had, else 1. Allocates nothing once warm.
SENTREL_API int _getDiskActivity(const char* bsdName, const char* mountPoint, DiskData* data,
                                 SystemManager& session = *System);

/// Presets the record, asks the drive behind the device, and returns the capable byte. Blocks for as long as the drive
/// takes to answer, seconds if it is in trouble: not for a sampling tick. Needs the right to send the drive commands;
/// without it the drive counts as not capable. A step that fails leaves what follows at its preset: a drive whose
/// status cannot be had stays healthy.
SENTREL_API std::uint8_t _getSMARTData(const char* bsdName, SMARTData* data, SystemManager& session = *System);

/// Starts unmounting every volume of the device's whole disk; `onUnmountCallback` then ejects it. Returns 1 if the
/// unmount was started, else 0. A disk that the running system needs (see `platform::StorageDevice::isSystemDisk`) is
/// refused: 0, a line on the standard error stream, and nothing of it is touched.
SENTREL_API int _ejectDisk(const char* bsdName, SystemManager& session = *System);

/// What follows the unmount, on the session's background queue: a refused one is repeated by force, so that it never
/// stops the eject (meant so), and the disk is told to eject in every case; what that does to a disk in use is the
/// system's affair (Linux leaves it as it is). The dissenter is absent after success; the session is the eject's own
/// and is let go.
SENTREL_API void onUnmountCallback(const std::shared_ptr<platform::StorageDevice>& disk,
                                   const platform::Dissenter* dissenter,
                                   const std::shared_ptr<platform::DiskSession>& session);

} // namespace sentrel::probes
