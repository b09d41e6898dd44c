// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/Mem.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/System.h>

#include <cerrno>
#include <cstdlib>

namespace sentrel {

namespace {

void* checked(void* block, const char* function, const char* file, std::int32_t line) noexcept {
    if (!block)
        System_abort("Memory Exception: %s\n raised in %s at %s:%d\n", System_getLastError(), function, file, line);
    return block;
}

} // namespace

void* Mem_alloc(std::int64_t nbytes, const char* function, const char* file, std::int32_t line) noexcept {
    SENTREL_ASSERT(nbytes > 0);
    return checked(std::malloc(static_cast<std::size_t>(nbytes)), function, file, line);
}

void* Mem_calloc(std::int64_t count, std::int64_t nbytes, const char* function, const char* file,
                 std::int32_t line) noexcept {
    SENTREL_ASSERT(count > 0);
    SENTREL_ASSERT(nbytes > 0);
    return checked(std::calloc(static_cast<std::size_t>(count), static_cast<std::size_t>(nbytes)), function, file,
                   line);
}

void* Mem_resize(void* block, std::int64_t nbytes, const char* function, const char* file, std::int32_t line) noexcept {
    SENTREL_ASSERT(nbytes > 0);
    return checked(std::realloc(block, static_cast<std::size_t>(nbytes)), function, file, line);
}

void Mem_free(void* block, const char*, const char*, std::int32_t) noexcept {
    const int error = errno;
    std::free(block);
    errno = error;
}

} // namespace sentrel
