// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The lock that samplers and the host's threads share, with an operation that runs a closure under it.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/ThreadSafety.h>

#include <functional>
#include <pthread.h>
#include <type_traits>

namespace sentrel {

/// Where in the source a call stands. As the default argument `SourceLocation::current()` it names the caller.
struct SourceLocation {
    const char* file; ///< as the compiler was told it
    int line;         ///< from 1

    /// The place of the call that takes this as its default argument.
    [[nodiscard]] static constexpr SourceLocation current(const char* file = __builtin_FILE(),
                                                          int line = __builtin_LINE()) noexcept {
        return {file, line};
    }
};

/// A POSIX mutual-exclusion lock with default attributes. It is not recursive: a thread that locks it twice deadlocks.
/// Every member may be called from any thread. A fork waits, for a second at most, until no other thread holds it, so
/// that the child can take it.
class SENTREL_API SENTREL_CAPABILITY("mutex") Mutex {
public:
    /// Stops the process with "Failed to initialize Mutex" if the system refuses.
    explicit Mutex(SourceLocation where = SourceLocation::current()) noexcept;
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Waits for the lock. False, without the lock, if the system refuses.
    bool lock() noexcept SENTREL_ACQUIRE();

    /// Gives the lock back. False if the system refuses.
    bool unlock() noexcept SENTREL_RELEASE();

    /// Runs the closure under the lock and returns its result. An exception of the closure gives the lock back and
    /// passes through. Stops the process with "Failed to lock mutex" if the system refuses the lock.
    template <class Closure>
    std::invoke_result_t<Closure&> synchronise(Closure&& closure, SourceLocation where = SourceLocation::current())
        SENTREL_EXCLUDES(this) SENTREL_NO_THREAD_SAFETY_ANALYSIS {
        if (!lock())
            lockFailed(where);
        const Release release{*this};
        return std::invoke(closure);
    }

    /// Runs the closure under the lock if nobody has that, and tells whether it ran. An exception of the closure gives
    /// the lock back and passes through.
    template <class Closure>
    bool trySynchronise(Closure&& closure) SENTREL_EXCLUDES(this) SENTREL_NO_THREAD_SAFETY_ANALYSIS {
        if (!tryLock())
            return false;
        const Release release{*this};
        std::invoke(closure);
        return true;
    }

private:
    struct Release {
        Mutex& mutex;
        ~Release() SENTREL_NO_THREAD_SAFETY_ANALYSIS { mutex.unlock(); }
    };

    bool tryLock() noexcept SENTREL_TRY_ACQUIRE(true);
    [[noreturn]] static void lockFailed(SourceLocation where) noexcept;

    pthread_mutex_t mutex_{};
};

} // namespace sentrel
