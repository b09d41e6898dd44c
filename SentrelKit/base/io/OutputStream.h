// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// A buffered writer over a descriptor, in practice a connected non-blocking socket, with a formatting engine that
/// writes straight into the buffer. The stream does not own the descriptor. Every function needs a stream. One thread
/// at a time may use one.
///
/// A stream is closed once a write has failed. When the buffer (1500 bytes) is full, one flush is tried for the next
/// byte; if that moves nothing the byte is dropped. OutputStream_print, OutputStream_vprint and OutputStream_write
/// return -1 if the stream is closed when they are called, else the number of bytes that the buffer took.

#include <SentrelKit/Export.h>

#include <cstdarg>
#include <cstdint>

namespace sentrel {

struct OutputStream; ///< A buffered writer. Only the functions here look inside.

/// A stream with a time-out of 2000 milliseconds.
[[nodiscard]] SENTREL_API OutputStream* OutputStream_new(std::int32_t descriptor) noexcept;

/// Frees the stream and sets the caller's handle to none. Unwritten bytes are lost; the descriptor stays open.
SENTREL_API void OutputStream_free(OutputStream** S) noexcept;

/// The descriptor that the stream was made with.
[[nodiscard]] SENTREL_API std::int32_t OutputStream_getDescriptor(OutputStream* S) noexcept;

/// The number of bytes that are buffered and not yet written, 0 to 1500.
[[nodiscard]] SENTREL_API std::int32_t OutputStream_buffered(OutputStream* S) noexcept;

/// Sets how long one flush waits until it can write: milliseconds, 0 or more. A negative time stops the process.
SENTREL_API void OutputStream_setTimeout(OutputStream* S, std::int64_t timeout) noexcept;

/// How long one flush waits until it can write, in milliseconds.
[[nodiscard]] SENTREL_API std::int64_t OutputStream_getTimeout(OutputStream* S) noexcept;

/// Whether a write has failed. Once true, always true.
[[nodiscard]] SENTREL_API bool OutputStream_isClosed(OutputStream* S) noexcept;

/// The number of bytes written to the descriptor since the stream was made.
[[nodiscard]] SENTREL_API std::int64_t OutputStream_getBytesWritten(OutputStream* S) noexcept;

/// Prints formatted text into the buffer and returns the number of bytes that it took; -1 if the stream is closed. A
/// conversion is "%", flags ("-", "+", " ", "0"), a width, a "." and precision
/// (both digits or "*", which takes an int; "." alone is no precision), and one of:
///
///     c       int             that character
///     d i     int             signed decimal
///     ld li   signed 64-bit   signed decimal
///     u o x   unsigned 64-bit decimal, octal, lower-case hexadecimal
///     p       pointer         lower-case hexadecimal without prefix, precision ignored
///     e f g   double          as the platform's printf, at most 99 places
///     s       text, not none  at most precision bytes of it
///
/// and "%%". The widths do not depend on "l": for unsigned values write lu, lo, lx, which mean the same as u, o, x and
/// which the compiler checks as the engine reads them. Anything else ends the process. The layout differs from printf's
/// where it is meant to: "+" and " " count for every number; a precision, also the default one of e, f and g, turns "0"
/// off and is the least number of characters, filled with zeros; the digit of a zero with precision 0 is still printed.
[[gnu::format(printf, 2, 3)]] SENTREL_API std::int32_t OutputStream_print(OutputStream* S, const char* format,
                                                                          ...) noexcept;

/// As OutputStream_print, of an argument list.
[[gnu::format(printf, 2, 0)]] SENTREL_API std::int32_t OutputStream_vprint(OutputStream* S, const char* format,
                                                                           va_list arguments) noexcept;

/// Puts bytes into the buffer, none for a count below 1, and returns how many it took; -1 if the stream is closed.
SENTREL_API std::int32_t OutputStream_write(OutputStream* S, const void* b, std::int32_t count) noexcept;

/// Writes once what is buffered and returns the number of bytes written, which may be a part of it. 0 if nothing is
/// buffered or the time-out passed, -1 if the stream is closed or nothing could be written.
SENTREL_API std::int32_t OutputStream_flush(OutputStream* S) noexcept;

/// Throws the unwritten bytes away.
SENTREL_API void OutputStream_clear(OutputStream* S) noexcept;

} // namespace sentrel
