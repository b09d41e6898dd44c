// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/system/Net.h>

#include "tests/support/Loopback.h"
#include "tests/support/Stops.h"

#include <atomic>
#include <csignal>
#include <net/if.h>
#include <netdb.h>
#include <string>
#include <thread>

namespace sentrel {
namespace {

constexpr unsigned char someMac[6] = {0x02, 0x1b, 0x63, 0x84, 0x45, 0xe6};

TEST(Net, SetsAndClearsTheNonBlockingFlag) {
    const Connection connection;
    const int fd = connection.far.get();
    EXPECT_TRUE(Net_setNonBlocking(fd));
    EXPECT_NE(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_TRUE(Net_setBlocking(fd));
    EXPECT_EQ(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_RDWR);
}

TEST(Net, WaitsUntilThereIsSomethingToRead) {
    const Connection connection;
    EXPECT_FALSE(Net_canRead(connection.near.get(), 0));
    const Stopwatch watch;
    EXPECT_FALSE(Net_canRead(connection.near.get(), 30));
    EXPECT_GE(watch.milliseconds(), 30);
    std::thread peer([&] { EXPECT_TRUE(connection.far.send("x")); });
    EXPECT_TRUE(Net_canRead(connection.near.get(), 10000));
    peer.join();
    EXPECT_TRUE(Net_canRead(connection.near.get(), 0));
}

TEST(Net, TheEndOfTheDataCanBeRead) {
    Connection connection;
    connection.far.close();
    EXPECT_TRUE(Net_canRead(connection.near.get(), 10000));
    char byte;
    EXPECT_EQ(Net_read(connection.near.get(), &byte, 1, 1000), 0);
}

TEST(Net, WaitsUntilThereIsRoomToWrite) {
    const Connection connection = Connection::local();
    EXPECT_TRUE(Net_canWrite(connection.near.get(), 0));
    const std::size_t size = connection.fillUp();
    EXPECT_FALSE(Net_canWrite(connection.near.get(), 10));
    std::thread peer([&] { EXPECT_EQ(connection.far.receive(size).size(), size); });
    EXPECT_TRUE(Net_canWrite(connection.near.get(), 10000));
    peer.join();
}

TEST(Net, ANegativeTimeoutDoesNotWait) {
    const Connection connection;
    EXPECT_FALSE(Net_canRead(connection.near.get(), -1));
}

TEST(Net, AnImpossibleDescriptorIsNeverReady) {
    Connection connection;
    const int fd = connection.near.get();
    EXPECT_TRUE(Net_close(connection.near.release()));
    EXPECT_FALSE(Net_canRead(fd, 1000));
    EXPECT_EQ(errno, EBADF);
    EXPECT_FALSE(Net_canWrite(fd, 1000));
    EXPECT_FALSE(Net_close(fd));
    EXPECT_FALSE(Net_setNonBlocking(fd));
    EXPECT_FALSE(Net_setBlocking(fd));
    EXPECT_FALSE(Net_shutdown(fd, SHUT_RDWR));
    EXPECT_FALSE(Net_abort(fd));
    char byte = 0;
    EXPECT_EQ(Net_read(fd, &byte, 1, 1000), -1);
    EXPECT_EQ(Net_write(fd, &byte, 1, 1000), -1);
}

TEST(Net, MovesNothingForLength0) {
    EXPECT_EQ(Net_read(-1, nullptr, 0, 1000), 0);
    EXPECT_EQ(Net_write(-1, nullptr, 0, 1000), 0);
}

TEST(Net, ReadGivesWhatIsThere) {
    const Connection connection;
    ASSERT_TRUE(connection.far.send("hello"));
    char buffer[16] = {};
    EXPECT_EQ(Net_read(connection.near.get(), buffer, 3, 0), 3);
    EXPECT_EQ(Net_read(connection.near.get(), buffer + 3, 13, 1000), 2);
    EXPECT_STREQ(buffer, "hello");
}

TEST(Net, ReadWaitsForASlowPeer) {
    const Connection connection;
    std::thread peer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_TRUE(connection.far.send("x"));
    });
    char byte = 0;
    EXPECT_EQ(Net_read(connection.near.get(), &byte, 1, 10000), 1);
    EXPECT_EQ(byte, 'x');
    peer.join();
}

TEST(Net, ATimeoutIs0WithAnErrorThatSaysSo) {
    const Connection connection = Connection::local();
    char byte = 0;
    for (const std::int64_t timeout : {0, 20}) {
        errno = 0;
        EXPECT_EQ(Net_read(connection.near.get(), &byte, 1, timeout), 0);
        EXPECT_EQ(errno, EAGAIN);
    }
    static_cast<void>(connection.fillUp());
    for (const std::int64_t timeout : {0, 20}) {
        errno = 0;
        EXPECT_EQ(Net_write(connection.near.get(), &byte, 1, timeout), 0);
        EXPECT_EQ(errno, EAGAIN);
    }
}

TEST(Net, AResetIsAnError) {
    std::signal(SIGPIPE, SIG_DFL);
    Connection connection;
    connection.far.reset();
    char byte = 0;
    EXPECT_EQ(Net_read(connection.near.get(), &byte, 1, 1000), -1);
    EXPECT_EQ(errno, ECONNRESET);
    EXPECT_EQ(Net_write(connection.near.get(), &byte, 1, 1000), -1);
    EXPECT_EQ(errno, EPIPE);
}

// An interrupted wait left its own error number, and the time-out passed for a broken connection.
TEST(Net, InterruptedWaitsEndInTimeAndStillSayWouldBlock) {
    struct sigaction interrupt {};
    struct sigaction before {};
    interrupt.sa_handler = [](int) {};
    sigaction(SIGUSR1, &interrupt, &before);
    const Connection connection = Connection::local();
    static_cast<void>(connection.fillUp());
    std::atomic<bool> done{false};
    const pthread_t waiting = pthread_self();
    std::thread interrupter([&] {
        while (!done) {
            pthread_kill(waiting, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    const Stopwatch watch;
    char byte = 0;
    errno = 0;
    EXPECT_EQ(Net_write(connection.near.get(), &byte, 1, 40), 0);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(Net_read(connection.near.get(), &byte, 1, 40), 0);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_FALSE(Net_canWrite(connection.near.get(), 40));
    EXPECT_GE(watch.milliseconds(), 120);
    EXPECT_LT(watch.milliseconds(), 10000);
    done = true;
    interrupter.join();
    sigaction(SIGUSR1, &before, nullptr);
}

TEST(Net, ShutsOneDirectionDown) {
    const Connection connection;
    EXPECT_TRUE(Net_shutdown(connection.near.get(), SHUT_WR));
    EXPECT_EQ(connection.far.receive(1), "");
    ASSERT_TRUE(connection.far.send("still"));
    char buffer[8] = {};
    EXPECT_EQ(Net_read(connection.near.get(), buffer, 8, 1000), 5);
}

TEST(Net, AbortResetsTheConnection) {
    Connection connection;
    const std::size_t before = openDescriptors();
    EXPECT_TRUE(Net_abort(connection.near.release()));
    EXPECT_EQ(openDescriptors(), before - 1);
    char byte = 0;
    EXPECT_EQ(::read(connection.far.get(), &byte, 1), -1);
    EXPECT_EQ(errno, ECONNRESET);
}

TEST(Net, AbortClosesEvenWhatCannotBeReset) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const Descriptor reading(ends[0]);
    const std::size_t before = openDescriptors();
    EXPECT_FALSE(Net_abort(ends[1]));
    EXPECT_EQ(errno, ENOTSOCK);
    EXPECT_EQ(openDescriptors(), before - 1);
}

TEST(Net, CloseEndsTheConnectionInOrder) {
    Connection connection;
    EXPECT_TRUE(Net_close(connection.near.release()));
    EXPECT_EQ(connection.far.receive(1), "");
}

TEST(Net, GivesTheNumericTextOfAddresses) {
    char text[64];
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    inet_pton(AF_INET, "192.0.2.7", &v4.sin_addr);
    EXPECT_EQ(Net_getAddrInfo(reinterpret_cast<sockaddr*>(&v4), sizeof v4, text, sizeof text), 0);
    EXPECT_STREQ(text, "192.0.2.7");
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    inet_pton(AF_INET6, "2001:db8::7", &v6.sin6_addr);
    EXPECT_EQ(Net_getAddrInfo(reinterpret_cast<sockaddr*>(&v6), sizeof v6, text, sizeof text), 0);
    EXPECT_STREQ(text, "2001:db8::7");
}

TEST(Net, GivesTheScopeOfALinkLocalAddress) {
    char text[64];
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    inet_pton(AF_INET6, "fe80::1", &address.sin6_addr);
    address.sin6_scope_id = if_nametoindex("lo");
    ASSERT_NE(address.sin6_scope_id, 0U);
    EXPECT_EQ(Net_getAddrInfo(reinterpret_cast<sockaddr*>(&address), sizeof address, text, sizeof text), 0);
    EXPECT_STREQ(text, "fe80::1%lo");
}

TEST(Net, TellsWhyAnAddressHasNoText) {
    char text[64];
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    EXPECT_NE(Net_getAddrInfo(reinterpret_cast<sockaddr*>(&v4), 3, text, sizeof text), 0);
    EXPECT_NE(Net_getAddrInfo(reinterpret_cast<sockaddr*>(&v4), sizeof v4, text, 3), 0);
    v4.sin_family = AF_UNSPEC;
    EXPECT_NE(Net_getAddrInfo(reinterpret_cast<sockaddr*>(&v4), sizeof v4, text, sizeof text), 0);
}

TEST(Net, ResolvesToIPv4Only) {
    const std::size_t before = openDescriptors();
    EXPECT_TRUE(Net_resolve("127.0.0.1"));
    EXPECT_FALSE(Net_resolve("::1"));
    EXPECT_FALSE(Net_resolve(nullptr));
    EXPECT_FALSE(Net_resolve(""));
    EXPECT_FALSE(Net_resolve("a blank.invalid"));
    EXPECT_FALSE(Net_resolve("256.256.256.256.256"));
    EXPECT_EQ(openDescriptors(), before);
}

TEST(Net, WritesHardwareAddresses) {
    char text[18];
    EXPECT_EQ(Net_mac2str(text, someMac), text);
    EXPECT_STREQ(text, "02:1b:63:84:45:e6");
    EXPECT_STREQ(Net_mac2str(text, nullptr), "");
}

TEST(Net, AHardwareAddressThatBeginsWith0IsEmpty) {
    const unsigned char mac[6] = {0x00, 0x1b, 0x63, 0x84, 0x45, 0xe6};
    char text[18];
    EXPECT_STREQ(Net_mac2str(text, mac), ""); // meant so
}

TEST(NetDeathTest, AHardwareAddressNeedsAResult) {
    EXPECT_BREAKS(Net_mac2str(nullptr, someMac), "result", "Net_mac2str");
}

} // namespace
} // namespace sentrel
