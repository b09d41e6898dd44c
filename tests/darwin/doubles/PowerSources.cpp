// SPDX-License-Identifier: Apache-2.0
#include <IOKit/ps/IOPowerSources.h>

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Machine.h"
#include "tests/darwin/doubles/Objects.h"

using namespace darwin;
using sentrel::PropertyList;

// A snapshot is a list of descriptions; a handle is the description itself.
extern "C" {

CFTypeRef IOPSCopyPowerSourcesInfo() {
    if (failures::due("IOPSCopyPowerSourcesInfo") || !machine().powerSources)
        return nullptr;
    PropertyList::List descriptions;
    for (const PropertyList::Dictionary& description : *machine().powerSources)
        descriptions.emplace_back(description);
    return created(descriptions);
}

CFArrayRef IOPSCopyPowerSourcesList(CFTypeRef blob) {
    return failures::due("IOPSCopyPowerSourcesList") ? nullptr : static_cast<CFArrayRef>(CFRetain(blob));
}

CFDictionaryRef IOPSGetPowerSourceDescription(CFTypeRef blob, CFTypeRef ps) {
    static_cast<void>(CFGetTypeID(blob)); // both are in use
    static_cast<void>(CFGetTypeID(ps));
    return failures::due("IOPSGetPowerSourceDescription") ? nullptr : static_cast<CFDictionaryRef>(ps);
}

CFDictionaryRef IOPSCopyExternalPowerAdapterDetails() {
    if (failures::due("IOPSCopyExternalPowerAdapterDetails"))
        return nullptr;
    return machine().adapter ? static_cast<CFDictionaryRef>(created(*machine().adapter)) : nullptr;
}

CFRunLoopSourceRef IOPSNotificationCreateRunLoopSource(IOPowerSourceCallbackType callback, void* context) {
    if (failures::due("IOPSNotificationCreateRunLoopSource"))
        return nullptr;
    return static_cast<CFRunLoopSourceRef>(const_cast<void*>(createdSource(callback, context)));
}

} // extern "C"
