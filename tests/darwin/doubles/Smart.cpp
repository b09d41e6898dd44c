// SPDX-License-Identifier: Apache-2.0
#include <IOKit/storage/ata/ATASMARTLib.h>

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Machine.h"

#include <cstring>
#include <numeric>

using namespace darwin;

namespace {

constexpr const char* interfaces = "plug-in interface";

// Notes a step; whether it succeeds.
IOReturn step(void* interface, const char* function, const std::string& name, const std::string& argument = {}) {
    ledger::use(interfaces, reinterpret_cast<std::uintptr_t>(interface));
    machine().smart.calls.push_back(argument.empty() ? name : name + " " + argument);
    return failures::due(function) || machine().smart.failing == name ? KERN_FAILURE : kIOReturnSuccess;
}

std::string text(Boolean value) {
    return value ? "on" : "off";
}

IOReturn enableOperations(void* interface, Boolean enable) {
    return step(interface, "SMARTEnableDisableOperations", "operations", text(enable));
}

IOReturn enableAutosave(void* interface, Boolean enable) {
    return step(interface, "SMARTEnableDisableAutosave", "autosave", text(enable));
}

IOReturn returnStatus(void* interface, Boolean* exceededCondition) {
    *exceededCondition = machine().smart.isExceeded ? 1 : 0;
    return step(interface, "SMARTReturnStatus", "status");
}

IOReturn executeOffLineImmediate(void* interface, Boolean extendedTest) {
    return step(interface, "SMARTExecuteOffLineImmediate", "collect", extendedTest ? "extended" : "short");
}

IOReturn readData(void* interface, ATASMARTData* data) {
    *data = {};
    if (machine().smart.temperature != 0) {
        data->vendorSpecific1[2] = 194;
        data->vendorSpecific1[7] = machine().smart.temperature;
    }
    const auto* const bytes = reinterpret_cast<const UInt8*>(data);
    data->checksum = static_cast<UInt8>(-std::accumulate(bytes, bytes + 511, 0));
    return step(interface, "SMARTReadData", "read");
}

IOReturn validateReadData(void* interface, const ATASMARTData* data) {
    const auto* const bytes = reinterpret_cast<const UInt8*>(data);
    const IOReturn result = step(interface, "SMARTValidateReadData", "validate");
    return std::accumulate(bytes, bytes + 512, 0) % 256 == 0 ? result : KERN_FAILURE;
}

ULONG release(void* interface) {
    ledger::give(interfaces, reinterpret_cast<std::uintptr_t>(interface));
    machine().smart.calls.emplace_back("release");
    return 0;
}

IOATASMARTInterface& table() {
    static IOATASMARTInterface functions = [] {
        IOATASMARTInterface all{};
        all.Release = &release;
        all.SMARTEnableDisableOperations = &enableOperations;
        all.SMARTEnableDisableAutosave = &enableAutosave;
        all.SMARTReturnStatus = &returnStatus;
        all.SMARTExecuteOffLineImmediate = &executeOffLineImmediate;
        all.SMARTReadData = &readData;
        all.SMARTValidateReadData = &validateReadData;
        return all;
    }();
    return functions;
}

HRESULT queryInterface(void* plugIn, REFIID wanted, LPVOID* given) {
    ledger::use(interfaces, reinterpret_cast<std::uintptr_t>(plugIn));
    const CFUUIDBytes known = CFUUIDGetUUIDBytes(kIOATASMARTInterfaceID);
    if (std::memcmp(&wanted, &known, sizeof(known)) != 0 || !machine().smart.makesInterface ||
        failures::due("QueryInterface"))
        return -1;
    static IOATASMARTInterface* smart = &table();
    ledger::take(interfaces, reinterpret_cast<std::uintptr_t>(&smart));
    *given = &smart;
    return S_OK;
}

IOCFPlugInInterface& plugInTable() {
    static IOCFPlugInInterface functions = [] {
        IOCFPlugInInterface all{};
        all.QueryInterface = &queryInterface;
        return all;
    }();
    return functions;
}

} // namespace

extern "C" {

kern_return_t IOCreatePlugInInterfaceForService(io_service_t service, CFUUIDRef pluginType, CFUUIDRef interfaceType,
                                                IOCFPlugInInterface*** theInterface, SInt32*) {
    ledger::use("registry object", service);
    if (const auto code = failures::due("IOCreatePlugInInterfaceForService"))
        return *code;
    if (pluginType != kIOATASMARTUserClientTypeID || interfaceType != kIOCFPlugInInterfaceID)
        return KERN_INVALID_ARGUMENT;
    static IOCFPlugInInterface* plugIn = &plugInTable();
    ledger::take(interfaces, reinterpret_cast<std::uintptr_t>(&plugIn));
    *theInterface = &plugIn;
    return KERN_SUCCESS;
}

kern_return_t IODestroyPlugInInterface(IOCFPlugInInterface** interface) {
    ledger::give(interfaces, reinterpret_cast<std::uintptr_t>(interface));
    machine().smart.calls.emplace_back("destroy");
    return KERN_SUCCESS;
}

} // extern "C"
