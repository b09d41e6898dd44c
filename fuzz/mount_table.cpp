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
    const std::vector<MountEntry> entries = parseMountTable(table);
    for (const MountEntry& entry : entries) {
        SENTREL_ASSERT(entry.on.starts_with('/'));
        SENTREL_ASSERT(!entry.type.empty());
    }
    const std::vector<bool> visible = visibleMounts(entries);
    const std::vector<VolumeTraits> traits = volumeTraits(entries);
    SENTREL_ASSERT(visible.size() == entries.size() && traits.size() == entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        SENTREL_ASSERT(visible[i] || traits[i].dontBrowse);
        SENTREL_ASSERT(!traits[i].isRoot || entries[i].on == "/");
    }
    static_cast<void>(mountOfPath(entries, table));
    return 0;
}
