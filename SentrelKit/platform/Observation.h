// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What every operation that observes something gives back, and the one contract that holds for all of them.

#include <SentrelKit/Export.h>

#include <memory>

namespace sentrel {

namespace platform {
class Observer;
}

/// Keeps an observer registered until it is released: by `reset`, by its end, or when another is moved into it. An
/// empty one observes nothing; `observe` operations give it, with errno set, where the system refuses.
///
/// - The calls of one observer never overlap. What happens while it is called is told by the thread of that call, right
///   after it; so it may hear of the next thing on another thread than its operation names.
/// - It is called under no lock of the library: it may do everything, such as release its own and other observations,
///   register others, and ask the service that calls it.
/// - After the release returned it is not running and will not be called: a call on another thread is waited for.
/// - From inside its own call it may be released too; only that call then still runs.
/// - Two observers may release each other from inside their calls on two threads. In general: a release does not wait
///   for a call whose thread waits, at a release, for the one that releases. Only that call then still runs.
/// - Who releases holds no lock that the observer takes: nobody can see that from here, and both would wait for ever.
/// - What the observer captured is let go when the release returns, or with the end of a call that it did not wait for.
/// - An exception of an observer passes through to who told it of the change: to the caller of an operation that looks
///   for changes; on a queue or in a loop it ends the process, as any closure's does there. The other observers hear
///   of the change all the same, and this one of the next.
/// - In the child of a fork it may be released and waits for no thread of the parent.
///
/// One object is used by one thread at a time; it may be released on another thread than it was made on.
class SENTREL_API Observation {
public:
    /// Observes nothing.
    Observation() noexcept = default;

    /// For who offers something to observe: what calls the observer, and what its release brings to an end besides,
    /// such as the system's own registration. The source is released after the last call has begun and before the last
    /// call is waited for, possibly inside that call.
    explicit Observation(std::shared_ptr<platform::Observer> observer, std::shared_ptr<void> source = nullptr) noexcept;

    ~Observation() { reset(); }
    /// Takes over what the other observes.
    Observation(Observation&& other) noexcept = default;
    /// Releases what it kept before.
    Observation& operator=(Observation&& other) noexcept;
    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;

    /// Releases the observer; nothing happens to an empty one.
    void reset() noexcept;

    /// Whether it observes something.
    explicit operator bool() const noexcept { return observer_ != nullptr; }

private:
    std::shared_ptr<platform::Observer> observer_;
    std::shared_ptr<void> source_;
};

} // namespace sentrel
