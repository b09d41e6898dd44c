// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/System.h>

#include <cstdio>

int main() {
    const sentrel::System& system = sentrel::System::shared();
    std::printf("%lld cores\n", static_cast<long long>(system.cpu().logicalCores()));
    return system.cpu().logicalCores() > 0 ? 0 : 1;
}
