// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/power/MacPowerService.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/platform/macos/common/IOObject.h>
#include <SentrelKit/platform/macos/common/Values.h>
#include <SentrelKit/platform/macos/power/PowerSourceNotices.h>

#include <IOKit/ps/IOPowerSources.h>

#include <utility>

namespace sentrel::platform {

namespace {

class Sources final : public PowerSourcesInfo {
public:
    explicit Sources(CFOwner<CFTypeRef> info) : info_(std::move(info)), list_(IOPSCopyPowerSourcesList(info_.get())) {}

    std::optional<std::size_t> count() const override {
        if (!list_)
            return std::nullopt;
        return static_cast<std::size_t>(CFArrayGetCount(list_.get()));
    }

    std::optional<PropertyList::Dictionary> description(std::size_t index) const override {
        // A part of the snapshot: nobody releases it.
        const CFDictionaryRef description = IOPSGetPowerSourceDescription(
            info_.get(), CFArrayGetValueAtIndex(list_.get(), static_cast<CFIndex>(index)));
        if (!description)
            return std::nullopt;
        return dictionaryOf(description);
    }

private:
    CFOwner<CFTypeRef> info_;
    CFOwner<CFArrayRef> list_;
};

class Battery final : public BatteryService {
public:
    explicit Battery(IOObject entry) : entry_(std::move(entry)) {}

    std::optional<PropertyList> property(std::string_view key) const override {
        const CFOwner<CFStringRef> name = cfString(key);
        if (!name)
            return std::nullopt;
        const CFOwner value(
            IORegistryEntryCreateCFProperty(entry_.get(), name.get(), kCFAllocatorDefault, kNilOptions));
        PropertyList property = propertyListOf(value.get());
        return property.empty() ? std::nullopt : std::optional(std::move(property));
    }

private:
    IOObject entry_;
};

} // namespace

std::unique_ptr<PowerSourcesInfo> MacPowerService::powerSources() {
    CFOwner info(IOPSCopyPowerSourcesInfo());
    return info ? std::make_unique<Sources>(std::move(info)) : nullptr;
}

std::optional<PropertyList::Dictionary> MacPowerService::externalAdapterDetails() {
    const CFOwner details(IOPSCopyExternalPowerAdapterDetails());
    return details ? std::optional(dictionaryOf(details.get())) : std::nullopt;
}

std::unique_ptr<BatteryService> MacPowerService::batteryService() {
    // The question releases what it matches by.
    IOObject entry(IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceMatching("AppleSmartBattery")));
    return entry ? std::make_unique<Battery>(std::move(entry)) : nullptr;
}

Observation MacPowerService::observe(std::function<void()> changed) {
    return observePowerSources(std::move(changed));
}

} // namespace sentrel::platform
