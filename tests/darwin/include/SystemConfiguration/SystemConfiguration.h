// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the macOS backend uses of the dynamic store and of reachability.

#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>
#include <sys/socket.h>

typedef const struct __SCDynamicStore* SCDynamicStoreRef;
typedef const struct __SCNetworkReachability* SCNetworkReachabilityRef;
typedef void (*SCDynamicStoreCallBack)(SCDynamicStoreRef store, CFArrayRef changedKeys, void* info);

typedef struct {
    CFIndex version;
    void* info;
    const void* (*retain)(const void* info);
    void (*release)(const void* info);
    CFStringRef (*copyDescription)(const void* info);
} SCDynamicStoreContext;

typedef std::uint32_t SCNetworkReachabilityFlags;

enum : SCNetworkReachabilityFlags {
    kSCNetworkReachabilityFlagsReachable = 1 << 1,
    kSCNetworkReachabilityFlagsConnectionRequired = 1 << 2
};

extern "C" {
SCDynamicStoreRef SCDynamicStoreCreate(CFAllocatorRef allocator, CFStringRef name, SCDynamicStoreCallBack callout,
                                       SCDynamicStoreContext* context);
Boolean SCDynamicStoreSetNotificationKeys(SCDynamicStoreRef store, CFArrayRef keys, CFArrayRef patterns);
Boolean SCDynamicStoreSetDispatchQueue(SCDynamicStoreRef store, dispatch_queue_t queue);
CFStringRef SCDynamicStoreCopyLocalHostName(SCDynamicStoreRef store);
CFTypeRef SCDynamicStoreCopyValue(SCDynamicStoreRef store, CFStringRef key);

SCNetworkReachabilityRef SCNetworkReachabilityCreateWithAddress(CFAllocatorRef allocator,
                                                                const struct sockaddr* address);
Boolean SCNetworkReachabilityGetFlags(SCNetworkReachabilityRef target, SCNetworkReachabilityFlags* flags);
}
