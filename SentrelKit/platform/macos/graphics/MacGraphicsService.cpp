// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/graphics/MacGraphicsService.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/platform/macos/common/IOObject.h>
#include <SentrelKit/platform/macos/common/Values.h>

#include <CoreGraphics/CoreGraphics.h>

namespace sentrel::platform {

std::optional<std::vector<PropertyList::Dictionary>> MacGraphicsService::pciDevices() {
    io_iterator_t found = IO_OBJECT_NULL;
    // The question releases what it matches by.
    if (IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching("IOPCIDevice"), &found) != KERN_SUCCESS)
        return std::nullopt;
    const IOObject iterator(found);
    std::vector<PropertyList::Dictionary> devices;
    while (const IOObject device{IOIteratorNext(iterator.get())}) {
        CFMutableDictionaryRef properties = nullptr;
        if (IORegistryEntryCreateCFProperties(device.get(), &properties, kCFAllocatorDefault, kNilOptions) ==
            KERN_SUCCESS)
            devices.push_back(dictionaryOf(CFOwner(properties).get()));
    }
    return devices;
}

bool MacGraphicsService::activeDeviceID(PropertyList::Bytes& deviceID) {
    // The port is the window server's own: nobody releases it.
    const io_service_t display = CGDisplayIOServicePort(CGMainDisplayID());
    const CFOwner value(IORegistryEntrySearchCFProperty(display, kIOServicePlane, CFSTR("device-id"),
                                                        kCFAllocatorDefault,
                                                        kIORegistryIterateRecursively | kIORegistryIterateParents));
    const auto data = cfCast<CFDataRef>(value.get(), CFDataGetTypeID());
    if (!data)
        return false;
    deviceID.assign(CFDataGetBytePtr(data), CFDataGetBytePtr(data) + CFDataGetLength(data));
    return true;
}

} // namespace sentrel::platform
