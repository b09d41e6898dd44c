// SPDX-License-Identifier: Apache-2.0
#include <DiskArbitration/DiskArbitration.h>

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Machine.h"
#include "tests/darwin/doubles/Objects.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <string>

using namespace darwin;
using sentrel::PropertyList;

namespace {

struct Disk {
    std::string name;
    CFTypeRef session;
};

std::map<CFTypeRef, Disk>& disks() {
    static std::map<CFTypeRef, Disk>& all = *new std::map<CFTypeRef, Disk>;
    return all;
}

std::map<CFTypeRef, dispatch_queue_t>& queuesOfSessions() {
    static std::map<CFTypeRef, dispatch_queue_t>& all = *new std::map<CFTypeRef, dispatch_queue_t>;
    return all;
}

// Guards both.
std::mutex& lock() {
    static std::mutex& instance = *new std::mutex;
    return instance;
}

// The opaque types stand for objects of the one kind that the doubles have.
CFTypeRef object(const void* reference) {
    static_cast<void>(CFGetTypeID(reference)); // it is in use
    return reference;
}

DADiskRef createdDisk(const std::string& name, CFTypeRef session) {
    const CFTypeRef disk = createdWithEnd([](CFTypeRef ended) {
        CFTypeRef released = nullptr; // outside the lock
        {
            const std::lock_guard guard(lock());
            released = disks()[ended].session;
            disks().erase(ended);
        }
        CFRelease(released);
    });
    const std::lock_guard guard(lock());
    disks()[disk] = {name, CFRetain(session)};
    return static_cast<DADiskRef>(const_cast<void*>(disk));
}

Disk diskOf(DADiskRef disk) {
    const std::lock_guard guard(lock());
    return disks().at(object(disk));
}

// Up to the entry that stands for the whole of a disk.
RegistryEntry* wholeOf(RegistryEntry* entry) {
    while (entry && entry->properties["Whole"] != PropertyList(true))
        entry = entry->parent;
    return entry;
}

// A completion that stands in the queue.
struct Completion {
    CFTypeRef session; // which nothing keeps
    CFTypeRef disk;
    CFTypeRef dissenter;
    DADiskUnmountCallback call;
    void* context;
};

void runCompletion(void* pointer) {
    const std::unique_ptr<Completion> completion(static_cast<Completion*>(pointer));
    completion->call(static_cast<DADiskRef>(const_cast<void*>(completion->disk)),
                     static_cast<DADissenterRef>(completion->dissenter), completion->context);
    if (completion->dissenter)
        CFRelease(completion->dissenter);
    CFRelease(completion->disk);
    object(completion->session); // goes on with what else came
}

} // namespace

extern "C" {

const CFStringRef kDADiskDescriptionVolumeNameKey = constantString("DAVolumeName");
const CFStringRef kDADiskDescriptionDeviceModelKey = constantString("DADeviceModel");

DASessionRef DASessionCreate(CFAllocatorRef) {
    if (failures::due("DASessionCreate"))
        return nullptr;
    const CFTypeRef session = createdWithEnd([](CFTypeRef ended) {
        const std::lock_guard guard(lock());
        queuesOfSessions().erase(ended);
    });
    return static_cast<DASessionRef>(const_cast<void*>(session));
}

void DASessionSetDispatchQueue(DASessionRef session, dispatch_queue_t queue) {
    const std::lock_guard guard(lock());
    queuesOfSessions()[object(session)] = queue;
}

DADiskRef DADiskCreateFromBSDName(CFAllocatorRef, DASessionRef session, const char* name) {
    if (failures::due("DADiskCreateFromBSDName") || !entryNamed(name))
        return nullptr;
    return createdDisk(name, object(session));
}

DADiskRef DADiskCopyWholeDisk(DADiskRef disk) {
    const Disk part = diskOf(disk);
    RegistryEntry* const whole = wholeOf(entryNamed(part.name));
    if (failures::due("DADiskCopyWholeDisk") || !whole)
        return nullptr;
    return createdDisk(*whole->properties["BSD Name"].as<std::string>(), part.session);
}

io_service_t DADiskCopyIOMedia(DADiskRef disk) {
    RegistryEntry* const entry = entryNamed(diskOf(disk).name);
    return failures::due("DADiskCopyIOMedia") || !entry ? IO_OBJECT_NULL : taken(*entry);
}

CFDictionaryRef DADiskCopyDescription(DADiskRef disk) {
    RegistryEntry* const entry = entryNamed(diskOf(disk).name);
    if (failures::due("DADiskCopyDescription") || !entry)
        return nullptr;
    PropertyList::Dictionary description;
    for (const char* key : {"DAVolumeName", "DADeviceModel"}) {
        if (const auto fact = entry->properties.find(key); fact != entry->properties.end())
            description.insert(*fact);
    }
    return static_cast<CFDictionaryRef>(created(description));
}

void DADiskUnmount(DADiskRef disk, DADiskUnmountOptions options, DADiskUnmountCallback callback, void* context) {
    const Disk unmounted = diskOf(disk);
    const std::lock_guard guard(lock());
    machine().arbitrated.push_back("unmount " + unmounted.name + " " + std::to_string(options));
    const dispatch_queue_t queue = queuesOfSessions()[unmounted.session];
    if (!callback || !queue)
        return;
    CFTypeRef dissenter = nullptr;
    if (machine().dissent)
        dissenter = created(*std::exchange(machine().dissent, std::nullopt));
    dispatch_async_f(queue, new Completion{unmounted.session, CFRetain(disk), dissenter, callback, context},
                     &runCompletion);
}

void DADiskEject(DADiskRef disk, DADiskEjectOptions, DADiskEjectCallback, void*) {
    const std::string name = diskOf(disk).name;
    const std::lock_guard guard(lock());
    machine().arbitrated.push_back("eject " + name);
}

DAReturn DADissenterGetStatus(DADissenterRef) {
    return -119930878; // busy
}

CFStringRef DADissenterGetStatusString(DADissenterRef dissenter) {
    return text(dissenter).empty() ? nullptr : static_cast<CFStringRef>(object(dissenter));
}

} // extern "C"
