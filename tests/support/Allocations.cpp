// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t count = 0;

} // namespace

namespace sentrel {

std::size_t allocations() noexcept {
    return count;
}

} // namespace sentrel

#if !__has_feature(thread_sanitizer) && !__has_feature(address_sanitizer)
void* operator new(std::size_t size) {
    ++count;
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
#endif
