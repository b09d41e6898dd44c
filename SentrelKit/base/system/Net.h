// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// Thin, stateless wrappers around descriptors and name services. None of them raises SIGPIPE. Any thread.

#include <SentrelKit/Export.h>

#include <cstddef>
#include <cstdint>

struct sockaddr;

namespace sentrel {

struct Socket;

/// A connected descriptor to the socket's host and port: close-on-exec, non-blocking, without Nagle's delay. Each
/// address of the host is tried for at most 2000 milliseconds. -1, with the errno of the last failure, when every
/// address failed; -2, with EHOSTUNREACH, when the name could not be resolved or there is no such port.
[[nodiscard]] SENTREL_API int Net_createSocket(Socket* S) noexcept;

/// Closes the descriptor, repeating while interrupted. False, with errno set, on an error.
SENTREL_API bool Net_close(int descriptor) noexcept;

/// Makes the descriptor non-blocking. False, with errno set, on an error.
SENTREL_API bool Net_setNonBlocking(int descriptor) noexcept;

/// Makes the descriptor blocking. False, with errno set, on an error.
SENTREL_API bool Net_setBlocking(int descriptor) noexcept;

/// Waits until the descriptor can be read without blocking (its end and its errors count), for at most `timeout`
/// milliseconds, however often signals interrupt. False when the time has passed, and with errno set on an error.
[[nodiscard]] SENTREL_API bool Net_canRead(int descriptor, std::int64_t timeout) noexcept;

/// Waits until the descriptor can be written without blocking (its errors count), for at most `timeout` milliseconds,
/// however often signals interrupt. False when the time has passed, and with errno set on an error.
[[nodiscard]] SENTREL_API bool Net_canWrite(int descriptor, std::int64_t timeout) noexcept;

/// Reads at most `length` bytes from a non-blocking descriptor. Where that would block, waits at most `timeout`
/// milliseconds and tries once more. Returns the number of bytes read: 0 at the end, and also for a time-out, with
/// errno telling "would block"; -1 with errno set on an error.
[[nodiscard]] SENTREL_API std::int64_t Net_read(int descriptor, void* buffer, std::size_t length,
                                                std::int64_t timeout) noexcept;

/// Writes at most `length` bytes to a non-blocking descriptor. Where that would block, waits at most `timeout`
/// milliseconds and tries once more. Returns the number of bytes written: 0 for a time-out, with errno telling "would
/// block"; -1 with errno set on an error.
[[nodiscard]] SENTREL_API std::int64_t Net_write(int descriptor, const void* buffer, std::size_t length,
                                                 std::int64_t timeout) noexcept;

/// Shuts down reading, writing or both, as the system's `shutdown` names them. False, with errno set, on an error.
SENTREL_API bool Net_shutdown(int descriptor, int direction) noexcept;

/// Closes a connection by a reset: what was not sent yet is thrown away. The descriptor is closed in any case; false,
/// with errno set, if it is no socket that can be reset, or could not be closed.
SENTREL_API bool Net_abort(int descriptor) noexcept;

/// Writes the numeric text of an address (with the scope of a link-local one) into the buffer. 0 on success, else the
/// resolver's error number.
[[nodiscard]] SENTREL_API int Net_getAddrInfo(const sockaddr* address, std::uint32_t addressLength, char* buffer,
                                              std::uint32_t bufferLength) noexcept;

/// Whether the name resolves to at least one IPv4 address.
[[nodiscard]] SENTREL_API bool Net_resolve(const char* host) noexcept;

/// Writes six hardware-address bytes as "%02x:%02x:%02x:%02x:%02x:%02x" into the result, which holds 18 bytes, and
/// returns it. The text is empty when the bytes are missing, and whenever the first one is 0: meant so.
SENTREL_API char* Net_mac2str(char* result, const unsigned char* mac) noexcept;

} // namespace sentrel
