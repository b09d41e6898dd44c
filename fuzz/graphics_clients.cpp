// SPDX-License-Identifier: Apache-2.0
// What a graphics driver tells of a client in /proc/<id>/fdinfo.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/linux/graphics/GraphicsClients.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static sentrel::platform::GraphicsClient client; // used again, as the reader does
    if (!parseGraphicsClient({reinterpret_cast<const char*>(data), size}, client))
        return 0;
    SENTREL_ASSERT(!client.processor.empty() && client.engines.size() <= 32);
    std::set<std::string_view> names;
    for (const sentrel::platform::GraphicsEngine& engine : client.engines)
        SENTREL_ASSERT(!engine.name.empty() && engine.count > 0 && names.insert(engine.name).second);
    return 0;
}
