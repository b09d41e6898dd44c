// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <thread>

namespace sentrel {

/// Keeps one processor busy for a share of the time, from 0 to 1, until the end of the scope.
class CpuSpinner {
public:
    explicit CpuSpinner(double share) : thread_([this, share] { run(share); }) {}
    ~CpuSpinner() {
        stop_.store(true, std::memory_order_relaxed);
        thread_.join();
    }
    CpuSpinner(const CpuSpinner&) = delete;
    CpuSpinner& operator=(const CpuSpinner&) = delete;

private:
    void run(double share) const {
        using Clock = std::chrono::steady_clock;
        using Seconds = std::chrono::duration<double>;
        constexpr double period = 0.02;
        while (!stop_.load(std::memory_order_relaxed)) {
            const Clock::time_point begin = Clock::now();
            while (Clock::now() - begin < Seconds(period * share)) {
            }
            std::this_thread::sleep_for(Seconds(period * (1 - share)));
        }
    }

    std::atomic<bool> stop_{false};
    std::thread thread_;
};

} // namespace sentrel
