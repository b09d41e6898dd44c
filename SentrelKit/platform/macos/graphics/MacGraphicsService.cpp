// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/graphics/MacGraphicsService.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/platform/macos/common/IOObject.h>
#include <SentrelKit/platform/macos/common/Values.h>

#include <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace sentrel::platform {

namespace {

std::optional<double> number(const PropertyList::Dictionary& statistics, std::string_view key) {
    const auto entry = statistics.find(key);
    if (entry == statistics.end())
        return std::nullopt;
    if (const auto* whole = entry->second.as<std::int64_t>())
        return static_cast<double>(*whole);
    const auto* real = entry->second.as<double>();
    return real ? std::optional(*real) : std::nullopt;
}

std::optional<std::uint64_t> count(const PropertyList::Dictionary& statistics, std::string_view key) {
    const std::optional<double> value = number(statistics, key);
    return value && *value >= 0 ? std::optional(static_cast<std::uint64_t>(*value)) : std::nullopt;
}

std::string text(const PropertyList::Dictionary& properties, std::string_view key) {
    const auto entry = properties.find(key);
    const auto* value = entry == properties.end() ? nullptr : entry->second.as<std::string>();
    return value ? *value : std::string();
}

// The keys are the drivers' own: each has some of them.
GraphicsProcessor describe(const PropertyList::Dictionary& properties, std::size_t place) {
    GraphicsProcessor processor;
    processor.identifier = "IOAccelerator" + std::to_string(place);
    processor.name = text(properties, "model");
    if (processor.name.empty())
        processor.name = "Unknown";
    processor.driver = text(properties, "CFBundleIdentifier");
    const auto entry = properties.find(std::string_view("PerformanceStatistics"));
    const auto* statistics = entry == properties.end() ? nullptr : entry->second.as<PropertyList::Dictionary>();
    if (!statistics)
        return processor;
    processor.use = number(*statistics, "Device Utilization %");
    processor.memoryUsed = count(*statistics, "vramUsedBytes");
    if (const auto rest = count(*statistics, "vramFreeBytes"); rest && processor.memoryUsed)
        processor.memoryTotal = *processor.memoryUsed + *rest;
    if (const auto megahertz = number(*statistics, "Core Clock(MHz)"))
        processor.clock = *megahertz * 1e6;
    processor.temperature = number(*statistics, "Temperature(C)");
    processor.power = number(*statistics, "Total Power(W)");
    processor.fan = number(*statistics, "Fan Speed(RPM)");
    return processor;
}

} // namespace

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

Availability MacGraphicsService::processors(std::vector<GraphicsProcessor>& processors) {
    io_iterator_t found = IO_OBJECT_NULL;
    // The question releases what it matches by.
    if (IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching("IOAccelerator"), &found) != KERN_SUCCESS)
        return Availability::failed;
    const IOObject iterator(found);
    std::vector<GraphicsProcessor> accelerators;
    while (const IOObject accelerator{IOIteratorNext(iterator.get())}) {
        CFMutableDictionaryRef properties = nullptr;
        if (IORegistryEntryCreateCFProperties(accelerator.get(), &properties, kCFAllocatorDefault, kNilOptions) ==
            KERN_SUCCESS)
            accelerators.push_back(describe(dictionaryOf(CFOwner(properties).get()), accelerators.size()));
    }
    if (accelerators.empty())
        return Availability::unsupported;
    processors = std::move(accelerators);
    return Availability::available;
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
