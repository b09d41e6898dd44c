// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/power/PowerSourceNotices.h>

#include <SentrelKit/platform/macos/common/CFOwner.h>
#include <SentrelKit/platform/macos/common/Numbered.h>
#include <SentrelKit/platform/support/Observer.h>

#include <IOKit/ps/IOPowerSources.h>

#include <cerrno>
#include <memory>
#include <utility>

namespace sentrel::platform {

namespace {

// Whom the sources call back for. A loop may be about to call back while its source is taken away.
Numbered<Observer>& observers() {
    static Numbered<Observer>& all = *new Numbered<Observer>;
    return all;
}

void tell(void* context) noexcept { // an exception does not pass through the loop
    if (const std::shared_ptr<Observer> observer = observers().find(context))
        observer->tell();
}

class LoopSource {
public:
    explicit LoopSource(const std::shared_ptr<Observer>& observer)
        : context_(observers().add(observer)), source_(IOPSNotificationCreateRunLoopSource(&tell, context_)) {
        if (source_)
            CFRunLoopAddSource(CFRunLoopGetCurrent(), source_.get(), kCFRunLoopDefaultMode);
    }
    ~LoopSource() {
        observers().take(context_);
        if (source_)
            CFRunLoopSourceInvalidate(source_.get());
    }
    LoopSource(const LoopSource&) = delete;
    LoopSource& operator=(const LoopSource&) = delete;

    explicit operator bool() const noexcept { return static_cast<bool>(source_); }

private:
    void* const context_;
    const CFOwner<CFRunLoopSourceRef> source_;
};

} // namespace

Observation observePowerSources(std::function<void()> changed) {
    auto observer = std::make_shared<Observer>(std::move(changed));
    auto source = std::make_shared<LoopSource>(observer);
    if (!*source) {
        errno = ENOTSUP;
        return {};
    }
    return Observation(std::move(observer), std::move(source));
}

} // namespace sentrel::platform
