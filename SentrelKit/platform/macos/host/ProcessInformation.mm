// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/host/ProcessInformation.h>

#import <Foundation/Foundation.h>

namespace sentrel::platform::ProcessInformation {

std::uint64_t physicalMemory() noexcept {
    @autoreleasepool {
        return NSProcessInfo.processInfo.physicalMemory;
    }
}

double systemUptime() noexcept {
    @autoreleasepool {
        return NSProcessInfo.processInfo.systemUptime;
    }
}

long thermalState() noexcept {
    @autoreleasepool {
        return NSProcessInfo.processInfo.thermalState;
    }
}

} // namespace sentrel::platform::ProcessInformation
