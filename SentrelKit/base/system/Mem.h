// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// Checked allocation. Out of memory is never returned to a caller: it ends the process with a "Memory Exception"
/// report that names the caller. Blocks come from the C allocator. Any thread.

#include <SentrelKit/Export.h>

#include <cstdint>

namespace sentrel {

/// A new uninitialised block of `size` bytes (at least 1), to be released with Mem_free.
[[nodiscard]] SENTREL_API void* Mem_alloc(std::int64_t size, const char* function = __builtin_FUNCTION(),
                                          const char* file = __builtin_FILE(),
                                          std::int32_t line = __builtin_LINE()) noexcept;

/// A new zeroed block of `count` times `size` bytes (each at least 1). A product that no block can have is out of
/// memory.
[[nodiscard]] SENTREL_API void* Mem_calloc(std::int64_t count, std::int64_t size,
                                           const char* function = __builtin_FUNCTION(),
                                           const char* file = __builtin_FILE(),
                                           std::int32_t line = __builtin_LINE()) noexcept;

/// The block resized to `size` bytes (at least 1), its contents kept; a new block where there is none yet. The old
/// pointer is no longer valid.
[[nodiscard]] SENTREL_API void* Mem_resize(void* block, std::int64_t size, const char* function = __builtin_FUNCTION(),
                                           const char* file = __builtin_FILE(),
                                           std::int32_t line = __builtin_LINE()) noexcept;

/// Releases a block; none is ignored. The location is accepted for symmetry and unused. Leaves errno alone.
SENTREL_API void Mem_free(void* block, const char* function = __builtin_FUNCTION(), const char* file = __builtin_FILE(),
                          std::int32_t line = __builtin_LINE()) noexcept;

} // namespace sentrel
