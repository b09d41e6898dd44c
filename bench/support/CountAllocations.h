// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Allocations.h"

#include <benchmark/benchmark.h>
#include <cstddef>

/// Shows in the column "new" how often each iteration of the scope's rest took memory from the heap, on this thread.
class CountAllocations {
public:
    explicit CountAllocations(benchmark::State& state) : state_(state) {}
    ~CountAllocations() {
        state_.counters["new"] = benchmark::Counter(static_cast<double>(sentrel::allocations() - before_),
                                                    benchmark::Counter::kAvgIterations);
    }
    CountAllocations(const CountAllocations&) = delete;
    CountAllocations& operator=(const CountAllocations&) = delete;

private:
    benchmark::State& state_;
    std::size_t before_ = sentrel::allocations();
};
