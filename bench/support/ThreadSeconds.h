// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>

/// The processor time of the calling thread, in seconds. What never waits is measured by it: a machine that is busy
/// with other things spoils it least.
inline double threadSeconds() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}
