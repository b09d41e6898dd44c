// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/network/MacConfigurationWatch.h>

#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/macos/common/Values.h>
#include <SentrelKit/platform/support/Observer.h>

#include <dispatch/dispatch.h>

#include <utility>

namespace sentrel::platform {

// Whom the store calls back for. The store retains it, so a callout that comes late finds nobody.
struct MacConfigurationWatch::Callout {
    Lock lock;
    std::shared_ptr<Observer> observer SENTREL_GUARDED_BY(lock);

    void set(std::shared_ptr<Observer> newest) {
        const LockScope scope(lock);
        std::swap(observer, newest); // the one before is released outside the lock
    }

    // An exception of the observer does not pass through the store.
    static void tell(SCDynamicStoreRef, CFArrayRef, void* info) noexcept {
        Callout& callout = **static_cast<std::shared_ptr<Callout>*>(info);
        std::shared_ptr<Observer> observer;
        {
            const LockScope scope(callout.lock);
            observer = callout.observer;
        }
        if (observer)
            observer->tell();
    }
    static const void* retain(const void* info) {
        return new std::shared_ptr<Callout>(*static_cast<const std::shared_ptr<Callout>*>(info));
    }
    static void release(const void* info) { delete static_cast<const std::shared_ptr<Callout>*>(info); }
};

class MacConfigurationWatch::Schedule {
public:
    Schedule(std::shared_ptr<Callout> callout, Store store, std::shared_ptr<DispatchQueue> queue)
        : callout_(std::move(callout)), store_(std::move(store)), queue_(std::move(queue)) {
        SCDynamicStoreSetDispatchQueue(store_->get(), static_cast<dispatch_queue_t>(queue_->nativeHandle()));
    }
    ~Schedule() {
        callout_->set(nullptr);
        SCDynamicStoreSetDispatchQueue(store_->get(), nullptr);
    }
    Schedule(const Schedule&) = delete;
    Schedule& operator=(const Schedule&) = delete;

private:
    const std::shared_ptr<Callout> callout_;
    const Store store_;
    const std::shared_ptr<DispatchQueue> queue_; // kept while the store may call back on it
};

std::unique_ptr<MacConfigurationWatch> MacConfigurationWatch::create(const std::string& name) {
    const CFOwner<CFStringRef> nativeName = cfString(name);
    if (!nativeName)
        return nullptr;
    auto callout = std::make_shared<Callout>();
    SCDynamicStoreContext context{.version = 0,
                                  .info = &callout,
                                  .retain = &Callout::retain,
                                  .release = &Callout::release,
                                  .copyDescription = nullptr};
    CFOwner store(SCDynamicStoreCreate(kCFAllocatorDefault, nativeName.get(), &Callout::tell, &context));
    if (!store)
        return nullptr;
    return std::unique_ptr<MacConfigurationWatch>(new MacConfigurationWatch(std::move(callout), std::move(store)));
}

MacConfigurationWatch::MacConfigurationWatch(std::shared_ptr<Callout> callout, CFOwner<SCDynamicStoreRef> store)
    : callout_(std::move(callout)), store_(std::make_shared<CFOwner<SCDynamicStoreRef>>(std::move(store))) {}

bool MacConfigurationWatch::setNotificationKeys(const std::vector<std::string>& keys) {
    PropertyList::List list(keys.begin(), keys.end());
    const CFOwner<CFTypeRef> native = cfValue(list);
    return native && SCDynamicStoreSetNotificationKeys(store_->get(), static_cast<CFArrayRef>(native.get()), nullptr);
}

Observation MacConfigurationWatch::schedule(std::shared_ptr<DispatchQueue> queue, std::function<void()> changed) {
    auto observer = std::make_shared<Observer>(std::move(changed));
    callout_->set(observer);
    return Observation(std::move(observer), std::make_shared<Schedule>(callout_, store_, std::move(queue)));
}

std::optional<std::string> MacConfigurationWatch::localHostName() {
    return textOf(CFOwner(SCDynamicStoreCopyLocalHostName(store_->get())).get());
}

std::optional<PropertyList> MacConfigurationWatch::value(std::string_view key) {
    const CFOwner<CFStringRef> name = cfString(key);
    PropertyList value =
        name ? propertyListOf(CFOwner(SCDynamicStoreCopyValue(store_->get(), name.get())).get()) : PropertyList();
    return value.empty() ? std::nullopt : std::optional(std::move(value));
}

} // namespace sentrel::platform
