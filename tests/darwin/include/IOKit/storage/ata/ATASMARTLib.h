// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The user client of an ATA drive's SMART.

#include <IOKit/IOCFPlugIn.h>

#define kIOPropertySMARTCapableKey "SMART Capable"
#define kIOATASMARTUserClientTypeID                                                                                    \
    CFUUIDGetConstantUUIDWithBytes(NULL, 0x24, 0x51, 0x4B, 0x7A, 0x28, 0x04, 0x11, 0xD6, 0x8A, 0x02, 0x00, 0x30, 0x65, \
                                   0x70, 0x48, 0x66)
#define kIOATASMARTInterfaceID                                                                                         \
    CFUUIDGetConstantUUIDWithBytes(NULL, 0x08, 0xAB, 0xE2, 0x1C, 0x20, 0xD4, 0x11, 0xD6, 0x8D, 0xF6, 0x00, 0x03, 0x93, \
                                   0x5A, 0x76, 0xB2)

typedef struct {
    UInt8 vendorSpecific1[362];
    UInt8 offLineDataCollectionStatus;
    UInt8 selfTestExecutionStatus;
    UInt8 secondsToCompleteOffLineActivity[2];
    UInt8 vendorSpecific2;
    UInt8 offLineDataCollectionCapability;
    UInt8 SMARTCapability[2];
    UInt8 errorLoggingCapability;
    UInt8 vendorSpecific3;
    UInt8 shortTestPollingInterval;
    UInt8 extendedTestPollingInterval;
    UInt8 reserved[12];
    UInt8 vendorSpecific4[125];
    UInt8 checksum;
} ATASMARTData;

typedef struct {
    UInt8 vendorSpecific1[362];
    UInt8 vendorSpecific2[149];
    UInt8 checksum;
} ATASMARTDataThresholds;

typedef struct {
    UInt8 numberOfSectors;
    UInt8 reserved;
} ATASMARTLogEntry;

typedef struct {
    UInt16 SMARTLoggingVersion;
    ATASMARTLogEntry entries[255];
} ATASMARTLogDirectory;

typedef struct {
    void* _reserved;
    HRESULT (*QueryInterface)(void* thisPointer, REFIID iid, LPVOID* ppv);
    ULONG (*AddRef)(void* thisPointer);
    ULONG (*Release)(void* thisPointer);
    UInt16 version;
    UInt16 revision;
    IOReturn (*SMARTEnableDisableOperations)(void* interface, Boolean enable);
    IOReturn (*SMARTEnableDisableAutosave)(void* interface, Boolean enable);
    IOReturn (*SMARTReturnStatus)(void* interface, Boolean* exceededCondition);
    IOReturn (*SMARTExecuteOffLineImmediate)(void* interface, Boolean extendedTest);
    IOReturn (*SMARTReadData)(void* interface, ATASMARTData* data);
    IOReturn (*SMARTValidateReadData)(void* interface, const ATASMARTData* data);
    IOReturn (*SMARTReadDataThresholds)(void* interface, ATASMARTDataThresholds* dataThresholds);
    IOReturn (*SMARTReadLogDirectory)(void* interface, ATASMARTLogDirectory* logData);
    IOReturn (*SMARTReadLogAtAddress)(void* interface, UInt32 logOffset, void* buffer, UInt32 size);
    IOReturn (*SMARTWriteLogAtAddress)(void* interface, UInt32 logOffset, const void* buffer, UInt32 size);
    IOReturn (*GetATAIdentifyData)(void* interface, void* buffer, UInt32 inSize, UInt32* outSize);
} IOATASMARTInterface;
