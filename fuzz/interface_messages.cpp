// SPDX-License-Identifier: Apache-2.0
// Whatever a kernel may hand over as its interface list.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/support/InterfaceMessages.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

using namespace sentrel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size); // with its end guarded
    unsigned sum = 0;
    InterfaceMessages().read(bytes, [&sum](const InterfaceInfo& interface) {
        SENTREL_ASSERT(interface.name.size() <= 65);
        SENTREL_ASSERT(interface.hardwareAddress.empty() || interface.hardwareAddress.size() == 6);
        for (const char character : interface.name)
            sum += static_cast<unsigned char>(character);
        sum = std::accumulate(interface.hardwareAddress.begin(), interface.hardwareAddress.end(), sum);
        for (const SocketAddress& address : interface.addresses)
            sum = std::accumulate(address.begin(), address.end(), sum);
    });
    static volatile unsigned seen = 0; // every byte that is handed out is read
    seen = seen + sum;
    return 0;
}
