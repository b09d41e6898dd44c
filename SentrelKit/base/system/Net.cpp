// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/Net.h>

#include <SentrelKit/base/net/Socket.h>
#include <SentrelKit/base/system/Assert.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace sentrel {

namespace {

constexpr std::int64_t connectTimeout = 2000; // milliseconds for each address
constexpr std::int32_t highestPort = 65535;

// Close-on-exec from birth, where the system can: no fork of another thread falls between.
#ifdef SOCK_CLOEXEC
constexpr int closeOnExecType = SOCK_CLOEXEC;
#else
constexpr int closeOnExecType = 0;
#endif

enum class Wait { error, timedOut, ready };

Wait waitFor(int descriptor, short events, std::int64_t timeout) noexcept {
    using std::chrono::steady_clock;
    const auto start = steady_clock::now();
    std::int64_t remaining = std::max<std::int64_t>(timeout, 0);
    for (;;) {
        pollfd watched{descriptor, events, 0};
        const int count = poll(&watched, 1, static_cast<int>(std::min<std::int64_t>(remaining, INT_MAX)));
        if (count > 0 && (watched.revents & POLLNVAL) != 0) {
            errno = EBADF;
            return Wait::error;
        }
        if (count > 0)
            return Wait::ready;
        if (count < 0 && errno != EINTR)
            return Wait::error;
        const auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - start);
        remaining = timeout - waited.count();
        if (remaining <= 0)
            return Wait::timedOut;
    }
}

bool wouldBlock(int error) noexcept {
    return error == EAGAIN || error == EWOULDBLOCK;
}

template <typename Call>
auto repeatWhileInterrupted(Call call) noexcept {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

// One try, then, where it would block, one more when the descriptor is ready.
template <typename Try>
std::int64_t transfer(int descriptor, short events, std::int64_t timeout, Try attempt) noexcept {
    const std::int64_t result = repeatWhileInterrupted(attempt);
    if (result != -1 || !wouldBlock(errno))
        return result;
    if (timeout <= 0)
        return 0;
    switch (waitFor(descriptor, events, timeout)) {
    case Wait::ready:
        return repeatWhileInterrupted(attempt);
    case Wait::timedOut:
        errno = EAGAIN; // an interruption may have left another
        return 0;
    case Wait::error:
        return 0;
    }
    return 0;
}

// Writes to what is no socket. The signal of a broken pipe is held back from this thread and taken away again, unless
// one was waiting before.
std::int64_t writeWithoutSignal(int descriptor, const void* buffer, std::size_t length) noexcept {
    sigset_t pipeSignal;
    sigset_t waiting;
    sigset_t mask;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    sigpending(&waiting);
    const bool waitingBefore = sigismember(&waiting, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &mask);
    const std::int64_t result = ::write(descriptor, buffer, length);
    const int error = errno;
    if (result == -1 && error == EPIPE && !waitingBefore) {
        sigpending(&waiting);
        int taken = 0;
        if (sigismember(&waiting, SIGPIPE) == 1)
            sigwait(&pipeSignal, &taken);
    }
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    errno = error;
    return result;
}

std::int64_t writeOnce(int descriptor, const void* buffer, std::size_t length) noexcept {
// Where a socket can be told so, the flag came later than the system: its newer headers have it, its older kernels do
// not.
#if defined(MSG_NOSIGNAL) && !defined(SO_NOSIGPIPE)
    const std::int64_t result = ::send(descriptor, buffer, length, MSG_NOSIGNAL);
    if (result != -1 || errno != ENOTSOCK)
        return result;
#endif
    return writeWithoutSignal(descriptor, buffer, length);
}

bool prepare(int descriptor) noexcept {
    int on = 1;
    return fcntl(descriptor, F_SETFD, FD_CLOEXEC) != -1 && ioctl(descriptor, FIONBIO, &on) != -1 &&
           setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == 0;
}

bool connectWithin(int descriptor, const addrinfo& address, std::int64_t timeout) noexcept {
    if (connect(descriptor, address.ai_addr, address.ai_addrlen) == 0)
        return true;
    if (errno != EINPROGRESS && errno != EINTR)
        return false;
    switch (waitFor(descriptor, POLLIN | POLLOUT, timeout)) {
    case Wait::error:
        return false;
    case Wait::timedOut:
        errno = ETIMEDOUT;
        return false;
    case Wait::ready:
        break;
    }
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0)
        return false;
    errno = error;
    return error == 0;
}

void closeKeepingError(int descriptor) noexcept {
    const int error = errno;
    Net_close(descriptor);
    errno = error;
}

// The first address that answers; -1 with the errno of the last failure.
int connectToAny(const addrinfo* addresses) noexcept {
    for (const addrinfo* address = addresses; address; address = address->ai_next) {
        const int descriptor = socket(address->ai_family, address->ai_socktype | closeOnExecType, address->ai_protocol);
        if (descriptor == -1)
            continue;
        if (!prepare(descriptor)) {
            closeKeepingError(descriptor); // the other addresses are not tried: meant so
            return -1;
        }
        if (connectWithin(descriptor, *address, connectTimeout))
            return descriptor;
        closeKeepingError(descriptor);
    }
    return -1;
}

bool setStatusFlag(int descriptor, int flag, bool on) noexcept {
    const int flags = fcntl(descriptor, F_GETFL);
    return flags != -1 && fcntl(descriptor, F_SETFL, on ? flags | flag : flags & ~flag) != -1;
}

} // namespace

int Net_createSocket(Socket* S) noexcept {
    SENTREL_ASSERT(S);
    char service[16];
    std::snprintf(service, sizeof service, "%d", Socket_getPort(S));
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_ADDRCONFIG;
    addrinfo* addresses = nullptr;
    // Some resolvers cut a higher port to 16 bits instead of failing.
    if (Socket_getPort(S) > highestPort || getaddrinfo(Socket_getHost(S), service, &hints, &addresses) != 0) {
        errno = EHOSTUNREACH;
        return -2;
    }
    const int descriptor = connectToAny(addresses);
    const int error = errno;
    freeaddrinfo(addresses);
    errno = error;
    return descriptor;
}

bool Net_close(int descriptor) noexcept {
    bool interrupted = false;
    while (::close(descriptor) == -1) {
        if (errno == EBADF && interrupted)
            return true; // the interrupted call had let it go
        if (errno != EINTR)
            return false;
        interrupted = true;
    }
    return true;
}

bool Net_setNonBlocking(int descriptor) noexcept {
    return setStatusFlag(descriptor, O_NONBLOCK, true);
}

bool Net_setBlocking(int descriptor) noexcept {
    return setStatusFlag(descriptor, O_NONBLOCK, false);
}

bool Net_canRead(int descriptor, std::int64_t timeout) noexcept {
    return waitFor(descriptor, POLLIN, timeout) == Wait::ready;
}

bool Net_canWrite(int descriptor, std::int64_t timeout) noexcept {
    return waitFor(descriptor, POLLOUT, timeout) == Wait::ready;
}

std::int64_t Net_read(int descriptor, void* buffer, std::size_t length, std::int64_t timeout) noexcept {
    if (length == 0)
        return 0;
    return transfer(descriptor, POLLIN, timeout,
                    [&]() noexcept -> std::int64_t { return ::read(descriptor, buffer, length); });
}

std::int64_t Net_write(int descriptor, const void* buffer, std::size_t length, std::int64_t timeout) noexcept {
    if (length == 0)
        return 0;
    return transfer(descriptor, POLLOUT, timeout, [&]() noexcept { return writeOnce(descriptor, buffer, length); });
}

bool Net_shutdown(int descriptor, int direction) noexcept {
    return ::shutdown(descriptor, direction) == 0;
}

bool Net_abort(int descriptor) noexcept {
    linger reset{};
    reset.l_onoff = 1;
    reset.l_linger = 0;
    const bool set = setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &reset, sizeof reset) == 0;
    const int error = errno;
    const bool closed = Net_close(descriptor);
    if (closed && !set)
        errno = error;
    return set && closed;
}

int Net_getAddrInfo(const sockaddr* address, std::uint32_t addressLength, char* buffer,
                    std::uint32_t bufferLength) noexcept {
    return getnameinfo(address, addressLength, buffer, bufferLength, nullptr, 0, NI_NUMERICHOST);
}

bool Net_resolve(const char* host) noexcept {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM; // one result an address
    addrinfo* addresses = nullptr;
    if (!host || getaddrinfo(host, nullptr, &hints, &addresses) != 0)
        return false;
    freeaddrinfo(addresses);
    return true;
}

char* Net_mac2str(char* result, const unsigned char* mac) noexcept {
    SENTREL_ASSERT(result);
    if (mac && mac[0] != 0)
        std::snprintf(result, 18, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    else
        result[0] = '\0';
    return result;
}

} // namespace sentrel
