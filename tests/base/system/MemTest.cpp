// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/Mem.h>

#include "tests/support/Stops.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

// The allocators of the sanitizers fail as the C library's does.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}

namespace sentrel {
namespace {

constexpr std::int64_t impossible = INT64_MAX / 2;

TEST(Mem, AllocGivesABlockThatCanBeWritten) {
    auto* block = static_cast<char*>(Mem_alloc(64));
    std::memset(block, 7, 64);
    EXPECT_EQ(block[63], 7);
    Mem_free(block);
}

TEST(Mem, CallocGivesZeroes) {
    auto* block = static_cast<unsigned char*>(Mem_calloc(33, 3));
    for (int i = 0; i < 99; ++i)
        ASSERT_EQ(block[i], 0) << i;
    Mem_free(block);
}

TEST(Mem, ResizeKeepsTheContents) {
    auto* block = static_cast<char*>(Mem_alloc(4));
    std::memcpy(block, "abc", 4);
    block = static_cast<char*>(Mem_resize(block, 100000));
    EXPECT_STREQ(block, "abc");
    Mem_free(block);
}

TEST(Mem, ResizeOfNothingAllocates) {
    void* block = Mem_resize(nullptr, 10);
    EXPECT_NE(block, nullptr);
    Mem_free(block);
}

TEST(Mem, FreeOfNothingDoesNothing) {
    Mem_free(nullptr);
}

TEST(Mem, FreeLeavesTheErrorNumberAlone) {
    void* block = Mem_alloc(1);
    errno = ERANGE;
    Mem_free(block);
    EXPECT_EQ(errno, ERANGE);
}

TEST(MemDeathTest, SizesBelowOneBreakAPrecondition) {
    EXPECT_BREAKS(Mem_alloc(0), "nbytes > 0", "Mem_alloc");
    EXPECT_BREAKS(Mem_alloc(-1), "nbytes > 0", "Mem_alloc");
    EXPECT_BREAKS(Mem_calloc(0, 1), "count > 0", "Mem_calloc");
    EXPECT_BREAKS(Mem_calloc(0, 0), "count > 0", "Mem_calloc");
    EXPECT_BREAKS(Mem_calloc(1, 0), "nbytes > 0", "Mem_calloc");
    EXPECT_BREAKS(Mem_resize(nullptr, 0), "nbytes > 0", "Mem_resize");
}

TEST(MemDeathTest, OutOfMemoryNamesTheCaller) {
    EXPECT_EXIT(static_cast<void>(Mem_alloc(impossible, "taker", "Taker.cpp", 12)), testing::KilledBySignal(SIGABRT),
                "Memory Exception: Cannot allocate memory\n raised in taker at Taker.cpp:12\n");
    EXPECT_EXIT(static_cast<void>(Mem_alloc(impossible)), testing::KilledBySignal(SIGABRT),
                "Memory Exception: Cannot allocate memory\n raised in TestBody at .*MemTest.cpp:[0-9]+\n");
    EXPECT_EXIT(static_cast<void>(Mem_resize(nullptr, impossible)), testing::KilledBySignal(SIGABRT),
                "Memory Exception: Cannot allocate memory\n raised in TestBody at .*MemTest.cpp:[0-9]+\n");
}

TEST(MemDeathTest, ACallocProductThatOverflowsIsOutOfMemory) {
    EXPECT_EXIT(static_cast<void>(Mem_calloc(INT64_MAX, INT64_MAX)), testing::KilledBySignal(SIGABRT),
                "Memory Exception: Cannot allocate memory\n raised in TestBody at .*MemTest.cpp:[0-9]+\n");
    // 2^32 * 2^32 is 0 in 64 bits.
    EXPECT_EXIT(static_cast<void>(Mem_calloc(INT64_C(1) << 32, INT64_C(1) << 32)), testing::KilledBySignal(SIGABRT),
                "Memory Exception");
}

} // namespace
} // namespace sentrel
