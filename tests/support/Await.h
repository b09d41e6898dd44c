#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace sentrel {

/// Something that happens on another thread, and waiting for it with a generous bound.
class Event {
public:
    void happened() {
        const std::lock_guard lock(mutex_);
        ++count_;
        changed_.notify_all();
    }

    /// True once it has happened so many times; false if that takes longer than a test may take.
    [[nodiscard]] bool await(int times = 1) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return count_ >= times; });
    }

    [[nodiscard]] int count() {
        const std::lock_guard lock(mutex_);
        return count_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int count_ = 0;
};

} // namespace sentrel
