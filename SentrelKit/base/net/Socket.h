#pragma once

/// A client's TCP connection. It owns its descriptor, its host name and, from their first use on, one input and one
/// output stream. Every function needs a socket. One thread at a time may use one.

#include <SentrelKit/Export.h>

#include <cstdint>

namespace sentrel {

struct Socket;
struct InputStream;
struct OutputStream;

/// A socket connected to a host (name or numeric address) and port (0 or more); none, with errno telling why, if no
/// connection could be made. Each address of the host is tried for at most 2000 milliseconds.
[[nodiscard]] SENTREL_API Socket* Socket_new(const char* host, std::int32_t port) noexcept;

/// Frees both streams, closes the connection and sets the caller's handle to none. What an output stream still buffers
/// is not written.
SENTREL_API void Socket_free(Socket** S) noexcept;

/// Waits at most `timeout` milliseconds until the connection can be read or written without blocking.
[[nodiscard]] SENTREL_API bool Socket_canRead(Socket* S, std::int64_t timeout) noexcept;
[[nodiscard]] SENTREL_API bool Socket_canWrite(Socket* S, std::int64_t timeout) noexcept;

/// The host and port the socket was made with. The text lives as long as the socket.
[[nodiscard]] SENTREL_API const char* Socket_getHost(Socket* S) noexcept;
[[nodiscard]] SENTREL_API std::int32_t Socket_getPort(Socket* S) noexcept;

/// The socket's streams, with their default time-outs of 2000 milliseconds: always the same ones, owned by the socket.
[[nodiscard]] SENTREL_API InputStream* Socket_getInputStream(Socket* S) noexcept;
[[nodiscard]] SENTREL_API OutputStream* Socket_getOutputStream(Socket* S) noexcept;

/// Whether one of the streams has found the connection closed by an error. Once true, always true.
[[nodiscard]] SENTREL_API bool Socket_isClosed(Socket* S) noexcept;

} // namespace sentrel
