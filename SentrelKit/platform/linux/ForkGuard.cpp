#include <SentrelKit/platform/linux/ForkGuard.h>

#include <SentrelKit/base/system/ThreadSafety.h>

#include <algorithm>
#include <pthread.h>
#include <vector>

namespace sentrel::platform {

struct ForkHandlers {
    Lock lock;
    std::vector<ForkGuard*> guards;

    // Never destroyed: a fork may happen while the process ends.
    static ForkHandlers& shared() {
        static ForkHandlers& handlers = *new ForkHandlers;
        return handlers;
    }

    ForkHandlers() { pthread_atfork(&before, &inParent, &inChild); }

    // The lock is taken in one handler and released in another, which the analysis cannot follow.
    static void before() SENTREL_NO_THREAD_SAFETY_ANALYSIS {
        shared().lock.lock();
        for (ForkGuard* guard : shared().guards)
            guard->beforeFork();
    }
    static void inParent() SENTREL_NO_THREAD_SAFETY_ANALYSIS {
        for (ForkGuard* guard : shared().guards)
            guard->afterForkInParent();
        shared().lock.unlock();
    }
    static void inChild() SENTREL_NO_THREAD_SAFETY_ANALYSIS {
        for (ForkGuard* guard : shared().guards)
            guard->afterForkInChild();
        shared().lock.unlock();
    }
};

ForkGuard::ForkGuard() {
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
