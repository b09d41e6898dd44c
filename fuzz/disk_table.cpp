// SPDX-License-Identifier: Apache-2.0
// The kernel's table of block devices, as it might be cut or garbled.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/linux/volumes/DiskTable.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

using namespace sentrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view table(reinterpret_cast<const char*>(data), size);
    std::vector<DiskOperations> disks;
    platform::parseDiskTable(table, disks);
    const auto lines = static_cast<std::size_t>(std::count(table.begin(), table.end(), '\n')) + 1;
    SENTREL_ASSERT(disks.size() <= lines);
    for (const DiskOperations& disk : disks)
        SENTREL_ASSERT(!disk.name.empty() && disk.name.find(' ') == std::string::npos);
    return 0;
}
