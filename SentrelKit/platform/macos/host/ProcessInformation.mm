// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/host/ProcessInformation.h>

#import <Foundation/Foundation.h>

namespace sentrel::platform::ProcessInformation {

std::uint64_t physicalMemory() noexcept {
    return NSProcessInfo.processInfo.physicalMemory;
}

double systemUptime() noexcept {
    return NSProcessInfo.processInfo.systemUptime;
}

long thermalState() noexcept {
    return NSProcessInfo.processInfo.thermalState;
}

} // namespace sentrel::platform::ProcessInformation
