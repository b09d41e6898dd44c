// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the macOS backend asks about power sources.

#include <CoreFoundation/CoreFoundation.h>

typedef void (*IOPowerSourceCallbackType)(void* context);

extern "C" {
CFTypeRef IOPSCopyPowerSourcesInfo(void);
CFArrayRef IOPSCopyPowerSourcesList(CFTypeRef blob);
CFDictionaryRef IOPSGetPowerSourceDescription(CFTypeRef blob, CFTypeRef ps);
CFDictionaryRef IOPSCopyExternalPowerAdapterDetails(void);
CFRunLoopSourceRef IOPSNotificationCreateRunLoopSource(IOPowerSourceCallbackType callback, void* context);
}
