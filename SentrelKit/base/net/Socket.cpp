// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/net/Socket.h>

#include <SentrelKit/base/io/InputStream.h>
#include <SentrelKit/base/io/OutputStream.h>
#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/Mem.h>
#include <SentrelKit/base/system/Net.h>
#include <SentrelKit/base/util/Str.h>

#include <cerrno>

namespace sentrel {

struct Socket {
    std::int32_t port;
    std::int32_t socket;
    std::int32_t closed; // Socket_isClosed once it has found the socket closed
    char* host;          // owned
    InputStream* input;  // owned, from the first use on
    OutputStream* output;
};

Socket* Socket_new(const char* host, std::int32_t port) noexcept {
    SENTREL_ASSERT(host);
    SENTREL_ASSERT(port >= 0);
    auto* S = static_cast<Socket*>(Mem_calloc(1, sizeof(Socket)));
    S->host = Str_dup(host);
    S->port = port;
    S->socket = Net_createSocket(S);
    if (S->socket < 0) {
        const int error = errno;
        Socket_free(&S);
        errno = error;
    }
    return S;
}

void Socket_free(Socket** S) noexcept {
    SENTREL_ASSERT(S && *S);
    if ((*S)->input)
        InputStream_free(&(*S)->input);
    if ((*S)->output)
        OutputStream_free(&(*S)->output);
    if ((*S)->socket >= 0)
        Net_close((*S)->socket);
    Mem_free((*S)->host);
    Mem_free(*S);
    *S = nullptr;
}

bool Socket_canRead(Socket* S, std::int64_t timeout) noexcept {
    SENTREL_ASSERT(S);
    return Net_canRead(S->socket, timeout);
}

bool Socket_canWrite(Socket* S, std::int64_t timeout) noexcept {
    SENTREL_ASSERT(S);
    return Net_canWrite(S->socket, timeout);
}

const char* Socket_getHost(Socket* S) noexcept {
    SENTREL_ASSERT(S);
    return S->host;
}

std::int32_t Socket_getPort(Socket* S) noexcept {
    SENTREL_ASSERT(S);
    return S->port;
}

InputStream* Socket_getInputStream(Socket* S) noexcept {
    SENTREL_ASSERT(S);
    if (!S->input)
        S->input = InputStream_new(S->socket);
    return S->input;
}

OutputStream* Socket_getOutputStream(Socket* S) noexcept {
    SENTREL_ASSERT(S);
    if (!S->output)
        S->output = OutputStream_new(S->socket);
    return S->output;
}

bool Socket_isClosed(Socket* S) noexcept {
    SENTREL_ASSERT(S);
    if (!S->closed)
        S->closed =
            OutputStream_isClosed(Socket_getOutputStream(S)) || InputStream_isClosed(Socket_getInputStream(S)) ? 1 : 0;
    return S->closed != 0;
}

} // namespace sentrel
