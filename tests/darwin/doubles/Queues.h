// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

/// Dispatch on a virtual clock, which stands until it is told to move on. Everything runs on the thread that moves it,
/// in the order of its deadlines; or, while there are `Threads`, on those.
namespace darwin::queues {

/// Lets so many seconds pass; what falls due runs. While there are threads it does not wait for them, so that the ticks
/// that a timer missed merge into one.
void advance(double seconds);

/// While it lives, threads serve all queues but the main one, which only the main run loop serves then. They run what
/// is due to its end before they go.
class Threads {
public:
    explicit Threads(int count = 3);
    ~Threads();
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;

private:
    std::vector<std::thread> threads_;
};

/// Waits until the threads have run all that is due, and that to its end.
void settle();

/// The queue that the calling thread's closure or tick is on: "main", "background" or a name; empty outside.
[[nodiscard]] const std::string& running();

/// The virtual clock's time, in nanoseconds.
[[nodiscard]] std::int64_t now();

/// How many sources are alive.
[[nodiscard]] int sources();

/// How many of them tick: neither suspended nor cancelled.
[[nodiscard]] int ticking();

/// How many closures and ticks have run since `reset`.
[[nodiscard]] int runs();

/// How many closures wait, those of a later time too.
[[nodiscard]] int waiting();

/// Runs the handler of the newest source at once, as dispatch does where a tick is on its way when a source is
/// suspended or cancelled.
void fireNewest();

/// Memory comes to a level of pressure: the sources that tell of it are called on their queues.
void pressMemory(std::uintptr_t level);

/// Makes this thread the process's first one, or another.
void setMainThread(bool isMain);

/// Runs the finalizers that wait on the queues of objects that are gone.
void finalize();

/// Drops what waits and sets the clock to 0. The calling thread is the process's first one.
void reset();

} // namespace darwin::queues
