// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// A client's TCP connection. It owns its descriptor, its host name and, from their first use on, one input and one
/// output stream. Every function needs a socket. One thread at a time may use one.

#include <SentrelKit/Export.h>

#include <cstdint>

namespace sentrel {

struct Socket; ///< A connection. Only the functions here look inside.
struct InputStream;
struct OutputStream;

/// A socket connected to a host (name or numeric address) and port (0 or more); none, with errno telling why, if no
/// connection could be made. Each address of the host is tried for at most 2000 milliseconds.
[[nodiscard]] SENTREL_API Socket* Socket_new(const char* host, std::int32_t port) noexcept;

/// Frees both streams, closes the connection and sets the caller's handle to none. What an output stream still buffers
/// is not written.
SENTREL_API void Socket_free(Socket** S) noexcept;

/// Waits at most `timeout` milliseconds until the connection can be read without blocking (its end and its errors
/// count); false when the time has passed, and with errno set on an error.
[[nodiscard]] SENTREL_API bool Socket_canRead(Socket* S, std::int64_t timeout) noexcept;

/// Waits at most `timeout` milliseconds until the connection can be written without blocking (its errors count); false
/// when the time has passed, and with errno set on an error.
[[nodiscard]] SENTREL_API bool Socket_canWrite(Socket* S, std::int64_t timeout) noexcept;

/// The host that the socket was made with. The text lives as long as the socket.
[[nodiscard]] SENTREL_API const char* Socket_getHost(Socket* S) noexcept;

/// The port that the socket was made with.
[[nodiscard]] SENTREL_API std::int32_t Socket_getPort(Socket* S) noexcept;

/// The stream that reads from the connection, at first with a time-out of 2000 milliseconds: always the same one, owned
/// by the socket.
[[nodiscard]] SENTREL_API InputStream* Socket_getInputStream(Socket* S) noexcept;

/// The stream that writes to the connection, at first with a time-out of 2000 milliseconds: always the same one, owned
/// by the socket.
[[nodiscard]] SENTREL_API OutputStream* Socket_getOutputStream(Socket* S) noexcept;

/// Whether one of the streams has found the connection closed by an error. Once true, always true.
[[nodiscard]] SENTREL_API bool Socket_isClosed(Socket* S) noexcept;

} // namespace sentrel
