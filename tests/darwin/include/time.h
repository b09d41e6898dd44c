// SPDX-License-Identifier: Apache-2.0
// Included again and again by design, as the system's own is.
#include_next <time.h>

#ifndef CLOCK_UPTIME_RAW
#define CLOCK_UPTIME_RAW static_cast<clockid_t>(8)
#include <cstdint>
extern "C" std::uint64_t clock_gettime_nsec_np(clockid_t clock_id);
#endif
