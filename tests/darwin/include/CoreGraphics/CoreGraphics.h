// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the macOS backend asks the display services for.

#include <IOKit/IOKitLib.h>

typedef std::uint32_t CGDirectDisplayID;

extern "C" {
CGDirectDisplayID CGMainDisplayID(void);
io_service_t CGDisplayIOServicePort(CGDirectDisplayID display);
}
