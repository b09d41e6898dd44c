// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the macOS backend uses of the device registry, declared as the system does.

#include <CoreFoundation/CoreFoundation.h>
#include <mach/mach.h>

typedef mach_port_t io_object_t;
typedef io_object_t io_iterator_t;
typedef io_object_t io_registry_entry_t;
typedef io_object_t io_service_t;
typedef std::uint32_t IOOptionBits;
typedef char io_name_t[128];

#define IO_OBJECT_NULL (io_object_t(0))
#define kIOServicePlane "IOService"

enum { kNilOptions = 0 };
enum { kIORegistryIterateRecursively = 0x00000001, kIORegistryIterateParents = 0x00000002 };

extern "C" {
extern const mach_port_t kIOMasterPortDefault;

kern_return_t IOObjectRelease(io_object_t object);
io_object_t IOIteratorNext(io_iterator_t iterator);
CFMutableDictionaryRef IOServiceMatching(const char* name);
CFMutableDictionaryRef IOBSDNameMatching(mach_port_t mainPort, std::uint32_t options, const char* bsdName);
io_service_t IOServiceGetMatchingService(mach_port_t mainPort, CFDictionaryRef matching);
kern_return_t IOServiceGetMatchingServices(mach_port_t mainPort, CFDictionaryRef matching, io_iterator_t* existing);
kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry, CFMutableDictionaryRef* properties,
                                                CFAllocatorRef allocator, IOOptionBits options);
kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t entry, const io_name_t plane,
                                            io_registry_entry_t* parent);
boolean_t IOObjectIsEqualTo(io_object_t object, io_object_t anObject);
CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key, CFAllocatorRef allocator,
                                          IOOptionBits options);
CFTypeRef IORegistryEntrySearchCFProperty(io_registry_entry_t entry, const io_name_t plane, CFStringRef key,
                                          CFAllocatorRef allocator, IOOptionBits options);
}
