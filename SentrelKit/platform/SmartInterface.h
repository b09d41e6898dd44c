// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The conversation with a drive about its health.

#include <SentrelKit/Export.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace sentrel::platform {

/// The 512 bytes that a drive answers to "SMART read data" (ATA command set, "Device SMART data structure").
using SmartData = std::array<std::uint8_t, 512>;

/// A conversation with a drive. Each step may fail. On Linux a drive that sleeps fails every step and is left asleep;
/// on macOS its driver decides. One thread at a time. A step blocks until the drive answers or the system's time-out
/// for it ends.
class SENTREL_API SmartInterface {
public:
    virtual ~SmartInterface() = default;

    /// Turns SMART operations on or off.
    virtual bool enableOperations(bool enable) = 0;
    /// Turns the drive's saving of its attributes on or off.
    virtual bool enableAutosave(bool enable) = 0;
    /// True if the drive reports that a threshold is exceeded; absent on failure.
    [[nodiscard]] virtual std::optional<bool> returnStatus() = 0;
    /// Starts a data collection while the drive goes on working (off-line, not captive): an extended self-test, or what
    /// the system holds for the plain one: the off-line routine (Linux), a short self-test (macOS).
    virtual bool executeOffLineImmediate(bool extendedTest) = 0;
    /// Reads the data block.
    virtual bool readData(SmartData& data) = 0;
    /// True if the block is sound; of the data and of the thresholds.
    [[nodiscard]] virtual bool validateData(const SmartData& data) = 0;
    /// Reads the thresholds of the attributes of an ATA drive. False, with errno set, on failure: ENOTSUP for any other
    /// drive and on macOS.
    virtual bool readThresholds(SmartData& thresholds) = 0;
    /// Reads the health log of an NVMe drive. False, with errno set, on failure: ENOTSUP for any other drive.
    virtual bool readHealthLog(SmartData& log) = 0;
};

/// The driver's side of a drive that can be asked; released, it lets the drive go.
class SENTREL_API SmartPlugIn {
public:
    virtual ~SmartPlugIn() = default;
    /// Null on failure. The interface must not outlive the plug-in.
    [[nodiscard]] virtual std::unique_ptr<SmartInterface> queryInterface() = 0;
};

} // namespace sentrel::platform
