// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What has files of its own about memory: NUMA nodes and zram devices. Each is looked up once a minute and read again
/// and again. One thread at a time.

#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/MemoryFacts.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>
#include <SentrelKit/platform/linux/host/KeptSearch.h>

#include <optional>
#include <utility>
#include <vector>

namespace sentrel::platform {

/// /sys/devices/system/node/node*/meminfo.
class MemoryNodeFiles {
public:
    explicit MemoryNodeFiles(SystemRoot root) : root_(std::move(root)) {}

    /// Unsupported where the kernel knows of no nodes. One that cannot be read is left out.
    [[nodiscard]] Availability read(std::vector<MemoryNode>& nodes);

private:
    void find();

    SystemRoot root_;
    KeptSearch search_;
    std::vector<KeptFile> files_;
};

/// /sys/block/zram*/mm_stat, of those devices that were given a size.
class ZramDevices {
public:
    explicit ZramDevices(SystemRoot root) : root_(std::move(root)) {}

    /// What all of them keep together; absent where there are none.
    [[nodiscard]] std::optional<MemoryCompression> read();

private:
    void find();

    SystemRoot root_;
    KeptSearch search_;
    std::vector<KeptFile> files_;
};

} // namespace sentrel::platform
