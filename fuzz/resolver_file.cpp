// SPDX-License-Identifier: Apache-2.0
// The resolver's configuration file.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/linux/network/ResolverFile.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view content(reinterpret_cast<const char*>(data), size);
    for (const std::string& server : sentrel::platform::parseNameServers(content)) {
        SENTREL_ASSERT(!server.empty() && server.find_first_of(std::string_view(" \t\n\0", 4)) == std::string::npos);
        SENTREL_ASSERT(content.find(server) != std::string_view::npos);
    }
    return 0;
}
