// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/network/MacInterfaceEntry.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/platform/macos/common/IOObject.h>
#include <SentrelKit/platform/macos/common/Values.h>

#include <utility>

namespace sentrel::platform {

namespace {

class MacInterfaceEntry final : public InterfaceEntry {
public:
    explicit MacInterfaceEntry(IOObject entry) : entry_(std::move(entry)) {}

    std::optional<PropertyList::Dictionary> properties() override {
        CFMutableDictionaryRef properties = nullptr;
        if (IORegistryEntryCreateCFProperties(entry_.get(), &properties, kCFAllocatorDefault, kNilOptions) !=
            KERN_SUCCESS)
            return std::nullopt;
        return dictionaryOf(CFOwner(properties).get());
    }

    PropertyList search(std::string_view key) override {
        const CFOwner<CFStringRef> name = cfString(key);
        if (!name)
            return {};
        return propertyListOf(
            CFOwner(IORegistryEntrySearchCFProperty(entry_.get(), kIOServicePlane, name.get(), kCFAllocatorDefault,
                                                    kIORegistryIterateRecursively | kIORegistryIterateParents))
                .get());
    }

private:
    IOObject entry_;
};

} // namespace

std::optional<std::unique_ptr<InterfaceEntry>> findInterfaceEntry(const std::string& name) {
    io_iterator_t found = IO_OBJECT_NULL;
    // The question releases what it matches by.
    if (IOServiceGetMatchingServices(kIOMasterPortDefault,
                                     IOBSDNameMatching(kIOMasterPortDefault, kNilOptions, name.c_str()),
                                     &found) != KERN_SUCCESS)
        return std::nullopt;
    const IOObject iterator(found);
    IOObject first(IOIteratorNext(iterator.get()));
    if (!first)
        return nullptr;
    return std::make_unique<MacInterfaceEntry>(std::move(first));
}

} // namespace sentrel::platform
