// SPDX-License-Identifier: Apache-2.0
#include <IOKit/IOKitLib.h>

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Machine.h"
#include "tests/darwin/doubles/Objects.h"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

using namespace darwin;
using sentrel::PropertyList;

namespace {

constexpr const char* registryObjects = "registry object";

// Names in use: an entry's, or an iterator's with what it still gives. A name is an entry's as long as the machine is.
struct Names {
    std::mutex lock;
    std::map<io_object_t, RegistryEntry*> entries;
    std::map<io_object_t, std::vector<RegistryEntry*>> iterators;
    io_object_t next = 0x1000;
};

Names& names() {
    static Names& instance = *new Names;
    return instance;
}

io_object_t nameOf(RegistryEntry* entry) {
    const std::lock_guard guard(names().lock);
    for (const auto& [name, known] : names().entries) {
        if (known == entry)
            return name;
    }
    names().entries[++names().next] = entry;
    return names().next;
}

void visit(RegistryEntry& entry, const std::function<void(RegistryEntry&)>& each) {
    each(entry);
    for (const auto& child : entry.children)
        visit(*child, each);
}

// By class, or by the entry's own BSD name. What is asked by is released, as the system does.
std::vector<RegistryEntry*> matching(CFDictionaryRef wanted) {
    const void* key = nullptr;
    const void* value = nullptr;
    CFDictionaryGetKeysAndValues(wanted, &key, &value);
    const bool byClass = text(key) == "IOProviderClass";
    const std::string name = text(value);
    CFRelease(wanted);
    std::vector<RegistryEntry*> found;
    visit(machine().registry, [&](RegistryEntry& entry) {
        const auto bsdName = entry.properties.find("BSD Name");
        if (byClass ? std::find(entry.classes.begin(), entry.classes.end(), name) != entry.classes.end()
                    : bsdName != entry.properties.end() && bsdName->second == PropertyList(name))
            found.push_back(&entry);
    });
    return found;
}

CFMutableDictionaryRef question(const char* key, const char* value) {
    return static_cast<CFMutableDictionaryRef>(const_cast<void*>(created(PropertyList::Dictionary{{key, value}})));
}

CFTypeRef property(const RegistryEntry& entry, const std::string& key) {
    const auto value = entry.properties.find(key);
    return value == entry.properties.end() ? nullptr : created(value->second);
}

} // namespace

io_service_t darwin::taken(RegistryEntry& entry) {
    const io_object_t name = nameOf(&entry);
    ledger::take(registryObjects, name);
    return name;
}

RegistryEntry* darwin::entryNamed(const std::string& bsdName) {
    RegistryEntry* found = nullptr;
    visit(machine().registry, [&](RegistryEntry& entry) {
        const auto name = entry.properties.find("BSD Name");
        if (name != entry.properties.end() && name->second == PropertyList(bsdName))
            found = &entry;
    });
    return found;
}

RegistryEntry* darwin::entryOf(mach_port_t name) {
    const std::lock_guard guard(names().lock);
    const auto entry = names().entries.find(name);
    return entry == names().entries.end() ? nullptr : entry->second;
}

extern "C" {

const mach_port_t kIOMasterPortDefault = MACH_PORT_NULL;

kern_return_t IOObjectRelease(io_object_t object) {
    if (ledger::give(registryObjects, object)) {
        const std::lock_guard guard(names().lock);
        names().iterators.erase(object);
    }
    return KERN_SUCCESS;
}

io_object_t IOIteratorNext(io_iterator_t iterator) {
    ledger::use(registryObjects, iterator);
    RegistryEntry* next = nullptr;
    {
        const std::lock_guard guard(names().lock);
        std::vector<RegistryEntry*>& left = names().iterators[iterator];
        if (left.empty())
            return IO_OBJECT_NULL;
        next = left.front();
        left.erase(left.begin());
    }
    return taken(*next);
}

CFMutableDictionaryRef IOServiceMatching(const char* name) {
    if (failures::due("IOServiceMatching"))
        return nullptr;
    return question("IOProviderClass", name);
}

CFMutableDictionaryRef IOBSDNameMatching(mach_port_t, std::uint32_t, const char* bsdName) {
    return failures::due("IOBSDNameMatching") ? nullptr : question("BSD Name", bsdName);
}

io_service_t IOServiceGetMatchingService(mach_port_t, CFDictionaryRef wanted) {
    if (!wanted)
        return IO_OBJECT_NULL;
    const std::vector<RegistryEntry*> found = matching(wanted);
    if (failures::due("IOServiceGetMatchingService") || found.empty())
        return IO_OBJECT_NULL;
    return taken(*found.front());
}

kern_return_t IOServiceGetMatchingServices(mach_port_t, CFDictionaryRef wanted, io_iterator_t* existing) {
    if (!wanted)
        return KERN_INVALID_ARGUMENT;
    std::vector<RegistryEntry*> found = matching(wanted);
    if (const auto code = failures::due("IOServiceGetMatchingServices"))
        return *code;
    const std::lock_guard guard(names().lock);
    *existing = ++names().next;
    names().iterators[*existing] = std::move(found);
    ledger::take(registryObjects, *existing);
    return KERN_SUCCESS;
}

kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry, CFMutableDictionaryRef* properties,
                                                CFAllocatorRef, IOOptionBits) {
    ledger::use(registryObjects, entry);
    if (const auto code = failures::due("IORegistryEntryCreateCFProperties"))
        return *code;
    *properties = static_cast<CFMutableDictionaryRef>(const_cast<void*>(created(entryOf(entry)->properties)));
    return KERN_SUCCESS;
}

kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t entry, const io_name_t, io_registry_entry_t* parent) {
    ledger::use(registryObjects, entry);
    if (const auto code = failures::due("IORegistryEntryGetParentEntry"))
        return *code;
    RegistryEntry* const above = entryOf(entry)->parent;
    if (!above)
        return KERN_FAILURE;
    *parent = taken(*above);
    return KERN_SUCCESS;
}

boolean_t IOObjectIsEqualTo(io_object_t object, io_object_t anObject) {
    ledger::use(registryObjects, object);
    ledger::use(registryObjects, anObject);
    return entryOf(object) == entryOf(anObject) ? 1 : 0;
}

CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key, CFAllocatorRef, IOOptionBits) {
    ledger::use(registryObjects, entry);
    if (failures::due("IORegistryEntryCreateCFProperty"))
        return nullptr;
    return property(*entryOf(entry), text(key));
}

CFTypeRef IORegistryEntrySearchCFProperty(io_registry_entry_t entry, const io_name_t, CFStringRef key, CFAllocatorRef,
                                          IOOptionBits options) {
    if (failures::due("IORegistryEntrySearchCFProperty"))
        return nullptr;
    RegistryEntry* at = entryOf(entry);
    if (!at)
        return nullptr;
    if ((options & kIORegistryIterateRecursively) == 0)
        return property(*at, text(key));
    const bool upwards = (options & kIORegistryIterateParents) != 0;
    CFTypeRef found = nullptr;
    if (upwards) {
        for (; at && !found; at = at->parent)
            found = property(*at, text(key));
    } else {
        visit(*at, [&](RegistryEntry& below) {
            if (!found)
                found = property(below, text(key));
        });
    }
    return found;
}

CGDirectDisplayID CGMainDisplayID() {
    return 1;
}

io_service_t CGDisplayIOServicePort(CGDirectDisplayID) {
    // The port stays the window server's.
    return machine().display ? nameOf(machine().display) : IO_OBJECT_NULL;
}

} // extern "C"
