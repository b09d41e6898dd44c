// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// A growable text. The record is made by StringBuffer_new or StringBuffer_create and destroyed by StringBuffer_free;
/// every function needs one. Lengths and positions count bytes. One thread at a time may use a buffer. A text beyond
/// the 32-bit lengths is out of memory, which ends the process.

#include <SentrelKit/Export.h>

#include <cstdarg>
#include <cstdint>

namespace sentrel {

struct StringBuffer; ///< A growable text. Only the functions here look inside.

/// A buffer of capacity 256 that holds a copy of the text; it is empty for none.
[[nodiscard]] SENTREL_API StringBuffer* StringBuffer_new(const char* s) noexcept;

/// An empty buffer of the given capacity; a hint below 1 ends the process with an "AssertException" report.
[[nodiscard]] SENTREL_API StringBuffer* StringBuffer_create(std::int32_t hint) noexcept;

/// Releases the buffer and sets the caller's handle to none.
SENTREL_API void StringBuffer_free(StringBuffer** S) noexcept;

/// Appends text formatted by the platform's printf; nothing for an empty or missing format. The arguments must not lie
/// in the buffer itself.
[[gnu::format(printf, 2, 3)]] SENTREL_API void StringBuffer_append(StringBuffer* S, const char* format, ...) noexcept;

/// As StringBuffer_append, of an argument list.
[[gnu::format(printf, 2, 0)]] SENTREL_API void StringBuffer_vappend(StringBuffer* S, const char* format,
                                                                    va_list arguments) noexcept;

/// Replaces every occurrence of `old` by `with` (missing counts as empty) and returns the number of replacements: 0 for
/// a missing or empty `old`. Meant for old texts whose occurrences cannot overlap; of overlapping ones the first wins.
SENTREL_API std::int32_t StringBuffer_replace(StringBuffer* S, const char* old, const char* with) noexcept;

/// Removes white space at both ends.
SENTREL_API void StringBuffer_trim(StringBuffer* S) noexcept;

/// Cuts the text at a position. One below 0 or beyond the length ends the process with an "AssertException" report.
SENTREL_API void StringBuffer_delete(StringBuffer* S, std::int32_t index) noexcept;

/// The position of the first occurrence of a text; -1 if there is none, and for a missing or empty text.
[[nodiscard]] SENTREL_API std::int32_t StringBuffer_indexOf(StringBuffer* S, const char* s) noexcept;

/// The position of the last occurrence of a text; -1 if there is none, and for a missing or empty text.
[[nodiscard]] SENTREL_API std::int32_t StringBuffer_lastIndexOf(StringBuffer* S, const char* s) noexcept;

/// The text from a position on, valid until the buffer changes. A position below 0 or beyond the length ends the
/// process with an "AssertException" report.
[[nodiscard]] SENTREL_API const char* StringBuffer_substring(StringBuffer* S, std::int32_t index) noexcept;

/// The length of the text in bytes, 0 or more.
[[nodiscard]] SENTREL_API std::int32_t StringBuffer_length(StringBuffer* S) noexcept;

/// Empties the text; the capacity stays.
SENTREL_API void StringBuffer_clear(StringBuffer* S) noexcept;

/// The text itself, owned by the buffer and valid until it changes.
[[nodiscard]] SENTREL_API const char* StringBuffer_toString(StringBuffer* S) noexcept;

} // namespace sentrel
