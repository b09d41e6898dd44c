// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/detail/ForkGate.h>

#include <atomic>
#include <cstdint>
#include <ctime>
#include <pthread.h>

namespace sentrel {

namespace {

// Who forks and who is inside stand in one word, so that no thread can slip in between a look at one and a change of
// the other: forking threads in the upper half, threads inside in the lower one.
constexpr std::uint64_t oneInside = 1;
constexpr std::uint64_t oneForking = std::uint64_t{1} << 32;

constexpr std::int64_t lookInterval = 100'000;    // nanoseconds
constexpr std::int64_t waitLimit = 1'000'000'000; // nanoseconds

std::atomic<std::uint64_t> state{0};
std::atomic<unsigned> forks{0};

// How many locks the thread holds or waits for; during its own fork one more, so that it never waits for itself.
thread_local unsigned depth = 0;

std::uint64_t inside(std::uint64_t value) {
    return value % oneForking;
}

std::int64_t now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

void pause() {
    const timespec interval{0, lookInterval};
    nanosleep(&interval, nullptr);
}

void beforeFork() {
    const std::uint64_t self = depth++ > 0 ? 1 : 0;
    state.fetch_add(oneForking, std::memory_order_relaxed);
    const std::int64_t end = now() + waitLimit;
    while (inside(state.load(std::memory_order_acquire)) > self && now() < end)
        pause();
}

void afterForkInParent() {
    --depth;
    state.fetch_sub(oneForking, std::memory_order_relaxed);
}

void afterForkInChild() {
    --depth;
    state.store(depth > 0 ? oneInside : 0, std::memory_order_relaxed);
    forks.fetch_add(1, std::memory_order_relaxed);
}

__attribute__((constructor)) void installHandlers() {
    pthread_atfork(beforeFork, afterForkInParent, afterForkInChild);
}

} // namespace

void ForkGate::enter() noexcept {
    if (depth++ > 0)
        return;
    std::uint64_t seen = state.load(std::memory_order_relaxed);
    for (;;) {
        if (seen >= oneForking) {
            pause();
            seen = state.load(std::memory_order_relaxed);
        } else if (state.compare_exchange_weak(seen, seen + oneInside, std::memory_order_relaxed)) {
            return;
        }
    }
}

void ForkGate::leave() noexcept {
    // Giving back what was never taken is undefined for the lock below; the count at least stays right.
    if (depth == 0)
        return;
    // Released, so that a fork copies all that was done under the lock.
    if (--depth == 0)
        state.fetch_sub(oneInside, std::memory_order_release);
}

unsigned ForkGate::generation() noexcept {
    return forks.load(std::memory_order_relaxed);
}

} // namespace sentrel
