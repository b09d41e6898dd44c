// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Disk sessions: device names to block devices, their SMART conversations, unmounting and
/// ejecting.

#include <SentrelKit/platform/DiskSession.h>
#include <SentrelKit/platform/linux/volumes/DeviceControl.h>
#include <SentrelKit/platform/linux/volumes/DiskCounters.h>
#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace sentrel::platform {

/// What all sessions of one machine share; outlives them.
struct DiskMachine {
    DiskMachine(BlockDevices blockDevices, DeviceControl& deviceControl)
        : devices(std::move(blockDevices)), control(deviceControl) {}

    const BlockDevices devices;
    DeviceControl& control;
    Mounts mounts{devices};
    CounterGroup counters;
    /// Counts the listings of mounts. A session asks again for names that it did not know, and lets go of disks that
    /// nobody asked for, when it moves on.
    std::atomic<std::uint64_t> generation{0};
};

[[nodiscard]] std::unique_ptr<DiskSession> makeDiskSession(DiskMachine& machine);

} // namespace sentrel::platform
