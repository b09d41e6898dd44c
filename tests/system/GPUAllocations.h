// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/system/GPU.h>

#include "tests/support/Allocations.h"

#include <gtest/gtest.h>

namespace sentrel {

/// Expects that no sample after the first takes memory.
inline void expectNoAllocations(GPU& gpu) {
    gpu.update();
    const std::size_t before = allocations();
    for (int sample = 0; sample < 64; ++sample)
        gpu.update();
    if (countsAllocations) {
        EXPECT_EQ(allocations(), before);
    }
}

} // namespace sentrel
