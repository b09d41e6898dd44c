// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the macOS backend uses of disk arbitration.

#include <IOKit/IOKitLib.h>
#include <dispatch/dispatch.h>

typedef struct __DADisk* DADiskRef;
typedef struct __DASession* DASessionRef;
typedef const struct __DADissenter* DADissenterRef;
typedef int DAReturn;
typedef std::uint32_t DADiskUnmountOptions;
typedef std::uint32_t DADiskEjectOptions;
typedef void (*DADiskUnmountCallback)(DADiskRef disk, DADissenterRef dissenter, void* context);
typedef void (*DADiskEjectCallback)(DADiskRef disk, DADissenterRef dissenter, void* context);

enum {
    kDADiskUnmountOptionDefault = 0x00000000,
    kDADiskUnmountOptionForce = 0x00080000,
    kDADiskUnmountOptionWhole = 0x00000001
};
enum { kDADiskEjectOptionDefault = 0x00000000 };

extern "C" {
extern const CFStringRef kDADiskDescriptionVolumeNameKey;
extern const CFStringRef kDADiskDescriptionDeviceModelKey;

DASessionRef DASessionCreate(CFAllocatorRef allocator);
void DASessionSetDispatchQueue(DASessionRef session, dispatch_queue_t queue);
DADiskRef DADiskCreateFromBSDName(CFAllocatorRef allocator, DASessionRef session, const char* name);
DADiskRef DADiskCopyWholeDisk(DADiskRef disk);
io_service_t DADiskCopyIOMedia(DADiskRef disk);
CFDictionaryRef DADiskCopyDescription(DADiskRef disk);
void DADiskUnmount(DADiskRef disk, DADiskUnmountOptions options, DADiskUnmountCallback callback, void* context);
void DADiskEject(DADiskRef disk, DADiskEjectOptions options, DADiskEjectCallback callback, void* context);
DAReturn DADissenterGetStatus(DADissenterRef dissenter);
CFStringRef DADissenterGetStatusString(DADissenterRef dissenter);
}
