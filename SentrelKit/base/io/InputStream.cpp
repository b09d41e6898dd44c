// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/io/InputStream.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/Mem.h>
#include <SentrelKit/base/system/Net.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace sentrel {

struct InputStream {
    std::int32_t descriptor;
    std::int32_t position; // of the next unread byte
    std::int32_t length;   // of the valid bytes
    std::int64_t timeout;  // milliseconds
    std::int32_t closed;
    unsigned char buffer[1500];
};

namespace {

constexpr std::int64_t defaultTimeout = 2000;

// Whether there is an unread byte, after one read if need be.
bool fill(InputStream* S) noexcept {
    if (S->position < S->length)
        return true;
    if (S->closed)
        return false;
    S->position = 0;
    S->length = 0;
    errno = 0;
    const std::int64_t count = Net_read(S->descriptor, S->buffer, sizeof S->buffer, S->timeout);
    if (count < 0)
        S->closed = 1;
    else
        S->length = static_cast<std::int32_t>(count);
    return count > 0;
}

} // namespace

InputStream* InputStream_new(std::int32_t descriptor) noexcept {
    auto* S = static_cast<InputStream*>(Mem_alloc(sizeof(InputStream)));
    S->descriptor = descriptor;
    S->position = 0;
    S->length = 0;
    S->timeout = defaultTimeout;
    S->closed = 0;
    return S;
}

void InputStream_free(InputStream** S) noexcept {
    SENTREL_ASSERT(S && *S);
    Mem_free(*S);
    *S = nullptr;
}

std::int32_t InputStream_getDescriptor(InputStream* S) noexcept {
    SENTREL_ASSERT(S);
    return S->descriptor;
}

void InputStream_setTimeout(InputStream* S, std::int64_t timeout) noexcept {
    SENTREL_ASSERT(S);
    SENTREL_ASSERT(timeout >= 0);
    S->timeout = timeout;
}

std::int64_t InputStream_getTimeout(InputStream* S) noexcept {
    SENTREL_ASSERT(S);
    return S->timeout;
}

bool InputStream_isClosed(InputStream* S) noexcept {
    SENTREL_ASSERT(S);
    return S->closed != 0;
}

std::int32_t InputStream_buffered(InputStream* S) noexcept {
    SENTREL_ASSERT(S);
    return S->length - S->position;
}

std::int32_t InputStream_read(InputStream* S) noexcept {
    SENTREL_ASSERT(S);
    return fill(S) ? S->buffer[S->position++] : -1;
}

char* InputStream_readLine(InputStream* S, char* s, std::int32_t size) noexcept {
    SENTREL_ASSERT(S);
    SENTREL_ASSERT(s);
    if (size < 1)
        return nullptr;
    std::int32_t stored = 0;
    while (stored < size - 1) {
        const std::int32_t byte = InputStream_read(S);
        if (byte <= 0)
            break;
        s[stored++] = static_cast<char>(byte);
        if (byte == '\n')
            break;
    }
    s[stored] = '\0';
    return stored > 0 ? s : nullptr;
}

std::int32_t InputStream_readBytes(InputStream* S, void* b, std::int32_t count) noexcept {
    SENTREL_ASSERT(S);
    SENTREL_ASSERT(b);
    std::int32_t copied = 0;
    while (copied < count && fill(S)) {
        const std::int32_t chunk = std::min(count - copied, S->length - S->position);
        std::memcpy(static_cast<unsigned char*>(b) + copied, S->buffer + S->position, static_cast<std::size_t>(chunk));
        S->position += chunk;
        copied += chunk;
    }
    return S->closed ? -1 : copied;
}

void InputStream_clear(InputStream* S) noexcept {
    SENTREL_ASSERT(S);
    S->position = 0;
    S->length = 0;
}

} // namespace sentrel
