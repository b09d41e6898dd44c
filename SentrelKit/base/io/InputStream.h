// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// A buffered reader over a descriptor, in practice a connected non-blocking socket. The stream does not own the
/// descriptor. Every function needs a stream. One thread at a time may use one.
///
/// A stream is closed once a read has failed; the end of the data alone does not close it. Bytes already buffered can
/// still be read from a closed stream.

#include <SentrelKit/Export.h>

#include <cstdint>

namespace sentrel {

struct InputStream; ///< A buffered reader. Only the functions here look inside.

/// A stream with a time-out of 2000 milliseconds.
[[nodiscard]] SENTREL_API InputStream* InputStream_new(std::int32_t descriptor) noexcept;

/// Frees the stream and sets the caller's handle to none. The descriptor stays open.
SENTREL_API void InputStream_free(InputStream** S) noexcept;

/// The descriptor that the stream was made with.
[[nodiscard]] SENTREL_API std::int32_t InputStream_getDescriptor(InputStream* S) noexcept;

/// Sets how long one read waits for data: milliseconds, 0 or more. A negative time stops the process.
SENTREL_API void InputStream_setTimeout(InputStream* S, std::int64_t timeout) noexcept;

/// How long one read waits for data, in milliseconds.
[[nodiscard]] SENTREL_API std::int64_t InputStream_getTimeout(InputStream* S) noexcept;

/// Whether a read has failed. Once true, always true.
[[nodiscard]] SENTREL_API bool InputStream_isClosed(InputStream* S) noexcept;

/// The number of bytes that are buffered and still unread, 0 to 1500.
[[nodiscard]] SENTREL_API std::int32_t InputStream_buffered(InputStream* S) noexcept;

/// The next byte, 0 to 255; -1 after a time-out, at the end of the data and on an error.
[[nodiscard]] SENTREL_API std::int32_t InputStream_read(InputStream* S) noexcept;

/// Reads a line into the buffer `s` of `size` bytes and terminates it. The line ends after its line feed, which is
/// kept, when size - 1 bytes are stored, before a zero byte, which is taken off, or when no more data comes: a longer
/// line comes in pieces. Returns `s`, or none if nothing was stored.
SENTREL_API char* InputStream_readLine(InputStream* S, char* s, std::int32_t size) noexcept;

/// Reads up to `count` bytes and returns how many; fewer than `count` after a time-out or at the end. A count below 1
/// reads nothing. The result is -1 whenever the stream is closed at the end of the call, even if bytes were copied:
/// meant so.
SENTREL_API std::int32_t InputStream_readBytes(InputStream* S, void* b, std::int32_t count) noexcept;

/// Throws the buffered bytes away.
SENTREL_API void InputStream_clear(InputStream* S) noexcept;

} // namespace sentrel
