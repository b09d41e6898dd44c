// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Mutex/Mutex.h>

#include "tests/support/Sanitizers.h"

#include <cerrno>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <utility>

namespace {

enum class Initialisation { normal, refused, errorChecking };
Initialisation initialisation = Initialisation::normal;

} // namespace

/// Stands before the C library's, so that the tests can see what a Mutex does when the system refuses.
extern "C" int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) noexcept(
    noexcept(pthread_mutex_init(std::declval<pthread_mutex_t*>(), nullptr))) { // as the system declares it
    using Init = int (*)(pthread_mutex_t*, const pthread_mutexattr_t*);
    static const Init next = reinterpret_cast<Init>(dlsym(RTLD_NEXT, "pthread_mutex_init"));
    if (initialisation == Initialisation::refused)
        return ENOMEM;
    if (initialisation == Initialisation::normal)
        return next(mutex, attributes);
    // An error-checking mutex refuses what would deadlock a normal one.
    pthread_mutexattr_t checking;
    pthread_mutexattr_init(&checking);
    pthread_mutexattr_settype(&checking, PTHREAD_MUTEX_ERRORCHECK);
    const int result = next(mutex, &checking);
    pthread_mutexattr_destroy(&checking);
    return result;
}

namespace sentrel {
namespace {

std::unique_ptr<Mutex> makeErrorCheckingMutex() {
    initialisation = Initialisation::errorChecking;
    auto mutex = std::make_unique<Mutex>();
    initialisation = Initialisation::normal;
    return mutex;
}

TEST(Mutex, LocksAndUnlocks) {
    Mutex mutex;
    EXPECT_TRUE(mutex.lock());
    EXPECT_TRUE(mutex.unlock());
}

TEST(Mutex, ReturnsTheClosuresResult) {
    Mutex mutex;
    EXPECT_EQ(mutex.synchronise([] { return 42; }), 42);
    int value = 1;
    mutex.synchronise([&]() -> int& { return value; }) = 2;
    EXPECT_EQ(value, 2);
}

TEST(Mutex, RunsAClosureOnlyIfNobodyHasTheLock) {
    Mutex mutex;
    int ran = 0;
    const auto run = [&] { ++ran; };
    mutex.synchronise([&] { EXPECT_FALSE(mutex.trySynchronise(run)); });
    EXPECT_EQ(ran, 0);
    EXPECT_TRUE(mutex.trySynchronise([&] { EXPECT_FALSE(mutex.trySynchronise(run)); })) << "it holds the lock";
    EXPECT_THROW(mutex.trySynchronise([] { throw std::runtime_error("failed"); }), std::runtime_error);
    EXPECT_TRUE(mutex.trySynchronise(run)) << "the lock was given back";
    EXPECT_EQ(ran, 1);
}

TEST(Mutex, IsHeldWhileTheClosureRunsAndFreeAfterwards) {
    const auto mutex = makeErrorCheckingMutex();
    mutex->synchronise([&]() SENTREL_NO_THREAD_SAFETY_ANALYSIS { EXPECT_FALSE(mutex->lock()); });
    EXPECT_TRUE(mutex->lock());
    EXPECT_TRUE(mutex->unlock());
}

TEST(Mutex, GivesTheLockBackWhenTheClosureThrowsAndPassesTheExceptionOn) {
    const auto mutex = makeErrorCheckingMutex();
    EXPECT_THROW(mutex->synchronise([] { throw std::runtime_error("closure"); }), std::runtime_error);
    EXPECT_TRUE(mutex->lock());
    EXPECT_TRUE(mutex->unlock());
}

TEST(Mutex, ReportsARefusedUnlockWithoutStopping) {
    if (underThreadSanitizer)
        GTEST_SKIP() << "the thread sanitizer reports the very misuse that this test is about";
    const auto mutex = makeErrorCheckingMutex();
    const auto refused = [&]() SENTREL_NO_THREAD_SAFETY_ANALYSIS { EXPECT_FALSE(mutex->unlock()); };
    refused();
}

TEST(Mutex, ReportsARefusedLockWithoutStopping) {
    const auto mutex = makeErrorCheckingMutex();
    const auto refused = [&]() SENTREL_NO_THREAD_SAFETY_ANALYSIS {
        EXPECT_TRUE(mutex->lock());
        EXPECT_FALSE(mutex->lock());
        EXPECT_TRUE(mutex->unlock());
    };
    refused();
}

TEST(MutexDeathTest, StopsTheProcessWhenItCannotBeInitialised) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            initialisation = Initialisation::refused;
            const Mutex mutex;
        },
        "Fatal error: Failed to initialize Mutex: file .*MutexTest.cpp, line [0-9]+");
}

TEST(MutexDeathTest, StopsTheProcessWhenSynchroniseCannotLock) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            const auto mutex = makeErrorCheckingMutex();
            const auto lockTwice = [&]() SENTREL_NO_THREAD_SAFETY_ANALYSIS {
                mutex->lock();
                mutex->synchronise([] {});
            };
            lockTwice();
        },
        "Fatal error: Failed to lock mutex: file .*MutexTest.cpp, line [0-9]+");
}

} // namespace
} // namespace sentrel
