// SPDX-License-Identifier: Apache-2.0
// Mount tables of any content: what the kernel writes, and what it never would.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/linux/volumes/MountTable.h>
#include <SentrelKit/platform/linux/volumes/VolumeRules.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

using namespace sentrel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view table(reinterpret_cast<const char*>(data), size);
    std::vector<MountEntry> entries = parseMountTable(table);
    judgeMounts(entries);
    for (const MountEntry& entry : entries) {
        SENTREL_ASSERT(entry.on.starts_with('/'));
        SENTREL_ASSERT(!entry.type.empty());
        SENTREL_ASSERT(entry.isVisible || entry.dontBrowse);
        SENTREL_ASSERT(!entry.isRoot || entry.on == "/");
        SENTREL_ASSERT(!entry.isVolume || !entry.dontBrowse);
    }
    static_cast<void>(mountOfPath(entries, table));
    return 0;
}
