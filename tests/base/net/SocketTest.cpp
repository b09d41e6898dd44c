// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/net/Socket.h>

#include "tests/support/Loopback.h"
#include "tests/support/Stops.h"
#include <SentrelKit/base/io/InputStream.h>
#include <SentrelKit/base/io/OutputStream.h>
#include <SentrelKit/base/system/Net.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>
#include <unistd.h>

namespace sentrel {
namespace {

/// A socket for a scope.
class Client {
public:
    Client(const std::string& host, int port) : socket_(Socket_new(host.c_str(), port)) {}
    ~Client() {
        if (socket_)
            Socket_free(&socket_);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    operator Socket*() const { return socket_; }
    [[nodiscard]] int descriptor() const { return InputStream_getDescriptor(Socket_getInputStream(socket_)); }

private:
    Socket* socket_;
};

TEST(Socket, ConnectsToAHostAndAPort) {
    for (const std::string host : {"127.0.0.1", "localhost"}) {
        const Listener listener;
        const Client client(host, listener.port());
        ASSERT_TRUE(client) << host;
        EXPECT_EQ(Socket_getHost(client), host);
        EXPECT_EQ(Socket_getPort(client), listener.port());
        EXPECT_FALSE(Socket_isClosed(client));
        EXPECT_GE(listener.accept().get(), 0);
    }
}

TEST(Socket, IsCloseOnExecNonBlockingAndWithoutDelay) {
    const Listener listener;
    const Client client("127.0.0.1", listener.port());
    ASSERT_TRUE(client);
    EXPECT_NE(fcntl(client.descriptor(), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_NE(fcntl(client.descriptor(), F_GETFL) & O_NONBLOCK, 0);
    int on = 0;
    socklen_t size = sizeof on;
    ASSERT_EQ(getsockopt(client.descriptor(), IPPROTO_TCP, TCP_NODELAY, &on, &size), 0);
    EXPECT_NE(on, 0);
}

TEST(Socket, AnswersARequestLineByLine) {
    const Listener listener;
    std::thread server([&] {
        const Descriptor peer = listener.accept();
        EXPECT_EQ(peer.receive(18), "GET / HTTP/1.1\r\n\r\n");
        EXPECT_TRUE(peer.send("HTTP/1.1 200 OK\r\n\r\nIP: 192.0.2.1\r\n"));
    });
    const Client client("127.0.0.1", listener.port());
    ASSERT_TRUE(client);
    OutputStream* output = Socket_getOutputStream(client);
    OutputStream_print(output, "GET %s HTTP/%.1f\r\n\r\n", "/", 1.1);
    EXPECT_EQ(OutputStream_flush(output), 18);
    char line[256];
    InputStream* input = Socket_getInputStream(client);
    EXPECT_STREQ(InputStream_readLine(input, line, sizeof line), "HTTP/1.1 200 OK\r\n");
    EXPECT_STREQ(InputStream_readLine(input, line, sizeof line), "\r\n");
    EXPECT_STREQ(InputStream_readLine(input, line, sizeof line), "IP: 192.0.2.1\r\n");
    EXPECT_EQ(InputStream_readLine(input, line, sizeof line), nullptr);
    server.join();
}

TEST(Socket, ItsStreamsAreAlwaysTheSameOnes) {
    const Listener listener;
    const Client client("127.0.0.1", listener.port());
    ASSERT_TRUE(client);
    InputStream* input = Socket_getInputStream(client);
    OutputStream* output = Socket_getOutputStream(client);
    EXPECT_EQ(Socket_getInputStream(client), input);
    EXPECT_EQ(Socket_getOutputStream(client), output);
    EXPECT_EQ(InputStream_getDescriptor(input), OutputStream_getDescriptor(output));
    EXPECT_EQ(InputStream_getTimeout(input), 2000);
    EXPECT_EQ(OutputStream_getTimeout(output), 2000);
}

TEST(Socket, WaitsForReadingAndWriting) {
    const Listener listener;
    const Client client("127.0.0.1", listener.port());
    ASSERT_TRUE(client);
    const Descriptor peer = listener.accept();
    EXPECT_TRUE(Socket_canWrite(client, 0));
    EXPECT_FALSE(Socket_canRead(client, 10));
    ASSERT_TRUE(peer.send("x"));
    EXPECT_TRUE(Socket_canRead(client, 10000));
}

TEST(Socket, IsClosedOnceAStreamHasFoundItBroken) {
    const Listener listener;
    const Client client("127.0.0.1", listener.port());
    ASSERT_TRUE(client);
    Descriptor peer = listener.accept();
    peer.reset();
    EXPECT_FALSE(Socket_isClosed(client)); // nobody has looked yet
    EXPECT_EQ(InputStream_read(Socket_getInputStream(client)), -1);
    EXPECT_TRUE(Socket_isClosed(client));
    EXPECT_TRUE(Socket_isClosed(client));
}

TEST(Socket, IsClosedOnceItsOutputHasFailed) {
    std::signal(SIGPIPE, SIG_DFL);
    const Listener listener;
    const Client client("127.0.0.1", listener.port());
    ASSERT_TRUE(client);
    Descriptor peer = listener.accept();
    peer.reset();
    OutputStream_print(Socket_getOutputStream(client), "x");
    EXPECT_EQ(OutputStream_flush(Socket_getOutputStream(client)), -1);
    EXPECT_TRUE(Socket_isClosed(client));
}

TEST(Socket, FreeClosesTheConnectionAndSetsTheHandleToNone) {
    const Listener listener;
    const std::size_t before = openDescriptors();
    Socket* socket = Socket_new("127.0.0.1", listener.port());
    ASSERT_TRUE(socket);
    const Descriptor peer = listener.accept();
    OutputStream_print(Socket_getOutputStream(socket), "never written");
    static_cast<void>(Socket_getInputStream(socket));
    Socket_free(&socket);
    EXPECT_EQ(socket, nullptr);
    EXPECT_EQ(peer.receive(1), "");
    EXPECT_EQ(openDescriptors(), before + 1); // the peer
}

TEST(Socket, ARefusedConnectionIsNone) {
    Listener listener;
    const int port = listener.port();
    listener.close();
    const std::size_t before = openDescriptors();
    EXPECT_EQ(Socket_new("127.0.0.1", port), nullptr);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_EQ(openDescriptors(), before);
}

TEST(Socket, ANameThatDoesNotResolveIsNone) {
    const std::size_t before = openDescriptors();
    for (const char* host : {"", "a blank.invalid", "256.256.256.256.256", ":::1"}) {
        errno = 0;
        EXPECT_EQ(Socket_new(host, 80), nullptr) << host;
        EXPECT_EQ(errno, EHOSTUNREACH) << host;
    }
    EXPECT_EQ(openDescriptors(), before);
}

// The resolver cut such a port to 16 bits and connected to another service.
TEST(Socket, APortBeyond16BitsIsNone) {
    const Listener listener;
    EXPECT_EQ(Socket_new("127.0.0.1", listener.port() + 65536), nullptr);
    EXPECT_EQ(errno, EHOSTUNREACH);
}

TEST(Socket, ASilentHostIsGivenUpAfterTwoSeconds) {
    const Listener listener("127.0.0.1", 0);
    // Connections fill the queue that nobody serves; from then on the host answers nothing.
    const Client first("127.0.0.1", listener.port());
    ASSERT_TRUE(first);
    const std::size_t before = openDescriptors();
    const Stopwatch watch;
    EXPECT_EQ(Socket_new("127.0.0.1", listener.port()), nullptr);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(watch.milliseconds(), 2000);
    EXPECT_LT(watch.milliseconds(), 4000);
    EXPECT_EQ(openDescriptors(), before);
}

TEST(Socket, ConnectsWhileSignalsInterrupt) {
    struct sigaction interrupt {};
    struct sigaction before {};
    interrupt.sa_handler = [](int) {};
    sigaction(SIGUSR1, &interrupt, &before);
    const Listener listener("127.0.0.1", 128);
    std::atomic<bool> done{false};
    const pthread_t connecting = pthread_self();
    std::thread interrupter([&] {
        while (!done)
            pthread_kill(connecting, SIGUSR1);
    });
    for (int i = 0; i < 50; ++i) {
        const Client client("127.0.0.1", listener.port());
        EXPECT_TRUE(client) << errno;
    }
    done = true;
    interrupter.join();
    sigaction(SIGUSR1, &before, nullptr);
}

TEST(SocketDeathTest, Preconditions) {
    Socket* none = nullptr;
    EXPECT_BREAKS(Socket_new(nullptr, 80), "host", "Socket_new");
    EXPECT_BREAKS(Socket_new("127.0.0.1", -1), "port >= 0", "Socket_new");
    EXPECT_BREAKS(Socket_free(nullptr), "S && *S", "Socket_free");
    EXPECT_BREAKS(Socket_free(&none), "S && *S", "Socket_free");
    EXPECT_BREAKS(Socket_getHost(none), "S", "Socket_getHost");
    EXPECT_BREAKS(Socket_getPort(none), "S", "Socket_getPort");
    EXPECT_BREAKS(Socket_getInputStream(none), "S", "Socket_getInputStream");
    EXPECT_BREAKS(Socket_getOutputStream(none), "S", "Socket_getOutputStream");
    EXPECT_BREAKS(Socket_isClosed(none), "S", "Socket_isClosed");
    EXPECT_BREAKS(Socket_canRead(none, 0), "S", "Socket_canRead");
    EXPECT_BREAKS(Socket_canWrite(none, 0), "S", "Socket_canWrite");
}

} // namespace
} // namespace sentrel
