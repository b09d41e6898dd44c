// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Block devices as the kernel describes them under /sys/class/block: names, parts and stacks, counters, models,
/// labels.

#include <SentrelKit/platform/MediaEntry.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The counters in the text of a "stat" file (kernel: Documentation/block/stat.rst; sectors of 512 bytes whatever the
/// disk's own sector size). A field that is missing or no number leaves its counter absent.
[[nodiscard]] DiskStatistics parseBlockStatistics(std::string_view text) noexcept;

/// A property that the device manager keeps of a block device, by the kernel's name of it; absent if it has none.
using DeviceProperty = std::function<std::optional<std::string>(const std::string& kernelName, const char* key)>;

/// The property that udev has.
[[nodiscard]] std::optional<std::string> udevProperty(const std::string& kernelName, const char* key);

/// A value that udev encoded ("\x20" for a blank), decoded and without blanks around it; absent if nothing is left.
[[nodiscard]] std::optional<std::string> udevDecoded(std::string_view value);

class BlockDevices {
public:
    /// The devices of a machine; of captured files the properties come as given, or there are none.
    BlockDevices(SystemRoot root, DeviceProperty property = nullptr);

    /// The kernel's name for a device name: itself, or that of the device-mapper node or foldered device ("cciss!c0d0")
    /// that has it; of the path of a node its own. Absent if there is none.
    [[nodiscard]] std::optional<std::string> kernelName(std::string_view deviceName) const;

    /// The kernel's name of a device number; absent if there is none.
    [[nodiscard]] std::optional<std::string> nameOfNumber(std::uint32_t deviceMajor, std::uint32_t deviceMinor) const;

    /// The disk that a partition lies on; any other device is its own.
    [[nodiscard]] std::string wholeDisk(const std::string& kernelName) const;

    /// The devices that a stacked device (mapper, RAID) is made of; empty for a plain one.
    [[nodiscard]] std::vector<std::string> components(const std::string& kernelName) const;

    /// The hidden devices, one a path, of an NVMe namespace with several paths; empty for any other device.
    [[nodiscard]] std::vector<std::string> nvmePaths(const std::string& kernelName) const;

    /// The whole disk under a stack, as long as each device in it is made of exactly one.
    [[nodiscard]] std::string bottomDisk(const std::string& kernelName) const;

    [[nodiscard]] std::optional<std::string> model(const std::string& kernelName) const;

    /// The label of the file system on the device: udev's word, else read from the device itself.
    [[nodiscard]] std::optional<std::string> label(const std::string& kernelName) const;

    /// True for a SCSI disk, which all ATA drives are under Linux, those behind USB included.
    [[nodiscard]] bool isScsiDisk(const std::string& kernelName) const;

    /// The content of a file of the device's folder, such as "removable".
    [[nodiscard]] std::optional<std::string> attribute(const std::string& kernelName, std::string_view file) const;

    /// The path of a device's node.
    [[nodiscard]] static std::string node(const std::string& kernelName);

    /// The absolute path, before the root is applied, of a file of the device's folder.
    [[nodiscard]] static std::string folder(const std::string& kernelName, std::string_view file = {});

    [[nodiscard]] const SystemRoot& root() const noexcept { return root_; }

private:
    [[nodiscard]] bool exists(const std::string& kernelName) const;
    [[nodiscard]] std::vector<std::string> entries(const std::string& absolute) const;
    [[nodiscard]] std::optional<std::string> linkTarget(const std::string& absolute) const;
    [[nodiscard]] std::optional<std::string> property(const std::string& kernelName, const char* key) const;

    SystemRoot root_;
    DeviceProperty property_;
};

} // namespace sentrel::platform
