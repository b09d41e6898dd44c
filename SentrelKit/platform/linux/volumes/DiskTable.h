// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The kernel's table of all block devices, /proc/diskstats, and what sysfs tells of each.

#include <SentrelKit/platform/DiskFacts.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>
#include <SentrelKit/platform/linux/volumes/BlockDevices.h>

#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// Makes the list that of the table (kernel: Documentation/admin-guide/iostats.rst), in its order. A line that does not
/// hold a name and eleven numbers is left out; more numbers may follow. Allocates nothing once warm.
void parseDiskTable(std::string_view table, std::vector<DiskOperations>& disks);

/// Every block device of the table, read anew at each sample through a kept descriptor. One thread at a time.
class DiskTable {
public:
    explicit DiskTable(const SystemRoot& root) : file_(root, "/proc/diskstats") {}

    /// Makes the list that of the table; false, with errno set and the list as it was, on failure. Allocates nothing
    /// once warm.
    [[nodiscard]] bool read(std::vector<DiskOperations>& disks);

private:
    KeptFile file_;
    std::vector<char> buffer_;
};

/// What sysfs tells of the device with the kernel's name. Opens several files.
[[nodiscard]] DiskDevice describeDevice(const BlockDevices& devices, const std::string& kernelName);

} // namespace sentrel::platform
