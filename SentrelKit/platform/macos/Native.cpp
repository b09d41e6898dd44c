// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/detail/Native.h>

#include <SentrelKit/platform/macos/MacPlatform.h>

namespace sentrel::platform {

Platform& makeNative() {
    // Never destroyed: background queues may use it until the process is gone.
    static MacPlatform& machine = *new MacPlatform;
    return machine;
}

} // namespace sentrel::platform
