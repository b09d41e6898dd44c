// SPDX-License-Identifier: Apache-2.0
#pragma once

/// How the macOS backend asks for a driver's user client.

#include <IOKit/IOKitLib.h>

typedef std::int32_t SInt32;
typedef std::uint16_t UInt16;
typedef std::uint32_t UInt32;
typedef SInt32 HRESULT;
typedef UInt32 ULONG;
typedef void* LPVOID;
typedef kern_return_t IOReturn;
typedef CFUUIDBytes REFIID;

#define S_OK ((HRESULT)0x00000000L)
#define kIOReturnSuccess KERN_SUCCESS

typedef struct {
    void* _reserved;
    HRESULT (*QueryInterface)(void* thisPointer, REFIID iid, LPVOID* ppv);
    ULONG (*AddRef)(void* thisPointer);
    ULONG (*Release)(void* thisPointer);
    UInt16 version;
    UInt16 revision;
    IOReturn (*Probe)(void* thisPointer, CFDictionaryRef propertyTable, io_service_t service, SInt32* order);
    IOReturn (*Start)(void* thisPointer, CFDictionaryRef propertyTable, io_service_t service);
    IOReturn (*Stop)(void* thisPointer);
} IOCFPlugInInterface;

extern "C" {
kern_return_t IOCreatePlugInInterfaceForService(io_service_t service, CFUUIDRef pluginType, CFUUIDRef interfaceType,
                                                IOCFPlugInInterface*** theInterface, SInt32* theScore);
kern_return_t IODestroyPlugInInterface(IOCFPlugInInterface** interface);
}

#define kIOCFPlugInInterfaceID                                                                                         \
    CFUUIDGetConstantUUIDWithBytes(NULL, 0xC2, 0x44, 0xE8, 0x58, 0x10, 0x9C, 0x11, 0xD4, 0x91, 0xD4, 0x00, 0x50, 0xE4, \
                                   0xC6, 0x42, 0x6F)
