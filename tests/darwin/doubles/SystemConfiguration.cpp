// SPDX-License-Identifier: Apache-2.0
#include <SystemConfiguration/SystemConfiguration.h>

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Ledger.h"
#include "tests/darwin/doubles/Machine.h"
#include "tests/darwin/doubles/Objects.h"
#include "tests/darwin/doubles/Store.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

using namespace darwin;
using sentrel::PropertyList;

namespace {

// One session: what its reference stands for.
struct Session {
    CFTypeRef reference;
    std::string name;
    SCDynamicStoreCallBack callout;
    void* info;
    std::vector<std::string> keys;
    dispatch_queue_t queue = nullptr;
};

std::vector<Session>& sessions() {
    static std::vector<Session>& all = *new std::vector<Session>;
    return all;
}

// Guards the sessions.
std::mutex& lock() {
    static std::mutex& instance = *new std::mutex;
    return instance;
}

// Under the lock.
Session& sessionOf(SCDynamicStoreRef store) {
    static_cast<void>(CFGetTypeID(store)); // it is in use
    return *std::find_if(sessions().begin(), sessions().end(),
                         [store](const Session& session) { return session.reference == store; });
}

// A callout that stands in the queue, with all that it was made of.
struct Callout {
    SCDynamicStoreRef store;
    SCDynamicStoreCallBack call;
    void* info;
};

void runCallout(void* context) {
    const std::unique_ptr<Callout> callout(static_cast<Callout*>(context));
    callout->call(callout->store, nullptr, callout->info);
    CFRelease(callout->store);
}

} // namespace

namespace darwin::store {

void change(const std::string& key) {
    const std::lock_guard guard(lock());
    for (const Session& session : sessions()) {
        if (!session.queue || std::find(session.keys.begin(), session.keys.end(), key) == session.keys.end())
            continue;
        const auto store = static_cast<SCDynamicStoreRef>(CFRetain(session.reference));
        // A callout that is under way keeps the store, and so its context.
        dispatch_async_f(session.queue, new Callout{store, session.callout, session.info}, &runCallout);
    }
}

std::vector<std::string> names() {
    const std::lock_guard guard(lock());
    std::vector<std::string> all;
    for (const Session& session : sessions())
        all.push_back(session.name);
    return all;
}

} // namespace darwin::store

extern "C" {

SCDynamicStoreRef SCDynamicStoreCreate(CFAllocatorRef, CFStringRef name, SCDynamicStoreCallBack callout,
                                       SCDynamicStoreContext* context) {
    if (failures::due("SCDynamicStoreCreate"))
        return nullptr;
    void* const info = const_cast<void*>(context->retain(context->info));
    const CFTypeRef reference = createdWithEnd([info, release = context->release](CFTypeRef ended) {
        {
            const std::lock_guard guard(lock());
            std::erase_if(sessions(), [ended](const Session& session) { return session.reference == ended; });
        }
        release(info);
    });
    const std::lock_guard guard(lock());
    sessions().push_back({reference, text(name), callout, info, {}, nullptr});
    return static_cast<SCDynamicStoreRef>(reference);
}

Boolean SCDynamicStoreSetNotificationKeys(SCDynamicStoreRef store, CFArrayRef keys, CFArrayRef) {
    if (failures::due("SCDynamicStoreSetNotificationKeys"))
        return 0;
    const std::lock_guard guard(lock());
    Session& session = sessionOf(store);
    session.keys.clear();
    for (CFIndex index = 0; index < CFArrayGetCount(keys); ++index)
        session.keys.push_back(text(CFArrayGetValueAtIndex(keys, index)));
    return 1;
}

Boolean SCDynamicStoreSetDispatchQueue(SCDynamicStoreRef store, dispatch_queue_t queue) {
    const std::lock_guard guard(lock());
    Session& session = sessionOf(store);
    if (failures::due("SCDynamicStoreSetDispatchQueue"))
        return 0;
    session.queue = queue;
    return 1;
}

CFStringRef SCDynamicStoreCopyLocalHostName(SCDynamicStoreRef store) {
    const std::lock_guard guard(lock());
    static_cast<void>(sessionOf(store));
    if (failures::due("SCDynamicStoreCopyLocalHostName"))
        return nullptr;
    return machine().localHostName ? static_cast<CFStringRef>(created(*machine().localHostName)) : nullptr;
}

CFTypeRef SCDynamicStoreCopyValue(SCDynamicStoreRef store, CFStringRef key) {
    const std::lock_guard guard(lock());
    static_cast<void>(sessionOf(store));
    if (failures::due("SCDynamicStoreCopyValue"))
        return nullptr;
    const auto value = machine().storeKeys.find(text(key));
    return value == machine().storeKeys.end() ? nullptr : created(value->second);
}

SCNetworkReachabilityRef SCNetworkReachabilityCreateWithAddress(CFAllocatorRef, const struct sockaddr*) {
    return failures::due("SCNetworkReachabilityCreateWithAddress")
               ? nullptr
               : static_cast<SCNetworkReachabilityRef>(createdOther());
}

Boolean SCNetworkReachabilityGetFlags(SCNetworkReachabilityRef target, SCNetworkReachabilityFlags* flags) {
    static_cast<void>(CFGetTypeID(target));
    *flags = static_cast<SCNetworkReachabilityFlags>(machine().reachability);
    return failures::due("SCNetworkReachabilityGetFlags") ? 0 : 1;
}

} // extern "C"
