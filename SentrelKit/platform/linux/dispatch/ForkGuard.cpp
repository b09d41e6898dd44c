// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/dispatch/ForkGuard.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>

#include <algorithm>
#include <pthread.h>
#include <utility>
#include <vector>

namespace sentrel::platform {

struct ForkHandlers {
    Lock lock;
    std::vector<ForkGuard*> guards SENTREL_GUARDED_BY(lock);

    // Never destroyed: a fork may happen while the process ends.
    static ForkHandlers& shared() {
        static ForkHandlers& handlers = *new ForkHandlers;
        return handlers;
    }

    ForkHandlers() { pthread_atfork(nullptr, nullptr, &inChild); }

    static void inChild() {
        const LockScope scope(shared().lock);
        for (ForkGuard* guard : shared().guards)
            guard->inChild_();
    }
};

ForkGuard::ForkGuard(std::function<void()> inChild) : inChild_(std::move(inChild)) {
    ForkHandlers& handlers = ForkHandlers::shared();
    const LockScope scope(handlers.lock);
    handlers.guards.push_back(this);
}

ForkGuard::~ForkGuard() {
    ForkHandlers& handlers = ForkHandlers::shared();
    const LockScope scope(handlers.lock);
    std::erase(handlers.guards, this);
}

} // namespace sentrel::platform
