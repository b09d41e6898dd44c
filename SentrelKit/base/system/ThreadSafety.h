#pragma once

/// Clang's thread-safety annotations (nothing under other compilers) and the annotated lock of the lower layers.

#include <mutex>

#if defined(__clang__)
#define SENTREL_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define SENTREL_THREAD_ATTRIBUTE(x)
#endif

#define SENTREL_CAPABILITY(name) SENTREL_THREAD_ATTRIBUTE(capability(name))
#define SENTREL_SCOPED_CAPABILITY SENTREL_THREAD_ATTRIBUTE(scoped_lockable)
#define SENTREL_GUARDED_BY(lock) SENTREL_THREAD_ATTRIBUTE(guarded_by(lock))
#define SENTREL_PT_GUARDED_BY(lock) SENTREL_THREAD_ATTRIBUTE(pt_guarded_by(lock))
#define SENTREL_REQUIRES(...) SENTREL_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define SENTREL_ACQUIRE(...) SENTREL_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define SENTREL_RELEASE(...) SENTREL_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define SENTREL_TRY_ACQUIRE(...) SENTREL_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define SENTREL_EXCLUDES(...) SENTREL_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define SENTREL_NO_THREAD_SAFETY_ANALYSIS SENTREL_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace sentrel {

/// The standard mutex with annotations, for the layers below `Mutex`. Works with std::condition_variable_any.
class SENTREL_CAPABILITY("mutex") Lock {
public:
    void lock() SENTREL_ACQUIRE() { mutex_.lock(); }
    void unlock() SENTREL_RELEASE() { mutex_.unlock(); }

private:
    std::mutex mutex_;
};

/// Holds a `Lock` for a scope.
class SENTREL_SCOPED_CAPABILITY LockScope {
public:
    explicit LockScope(Lock& lock) SENTREL_ACQUIRE(lock) : lock_(lock) { lock_.lock(); }
    ~LockScope() SENTREL_RELEASE() { lock_.unlock(); }
    LockScope(const LockScope&) = delete;
    LockScope& operator=(const LockScope&) = delete;

private:
    Lock& lock_;
};

} // namespace sentrel
