// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/SampleScope.h>

#include <atomic>

namespace sentrel::platform {

namespace {

std::atomic<std::uint64_t> samples{0};
thread_local std::uint64_t sample = 0;

} // namespace

SampleScope::SampleScope() noexcept : isOutermost_(sample == 0) {
    if (isOutermost_)
        sample = samples.fetch_add(1, std::memory_order_relaxed) + 1;
}

SampleScope::~SampleScope() {
    if (isOutermost_)
        sample = 0;
}

std::uint64_t SampleScope::current() noexcept {
    return sample;
}

} // namespace sentrel::platform
