// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/io/InputStream.h>

#include "tests/support/Loopback.h"
#include "tests/support/Stops.h"

#include <atomic>
#include <csignal>
#include <string>
#include <thread>

namespace sentrel {
namespace {

/// A stream for a scope.
class Input {
public:
    explicit Input(int descriptor) : stream_(InputStream_new(descriptor)) {}
    ~Input() { InputStream_free(&stream_); }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    operator InputStream*() const { return stream_; }

    /// The next line by a buffer of the given size; "(none)" for none.
    [[nodiscard]] std::string line(std::int32_t size = 256) const {
        std::string buffer(static_cast<std::size_t>(size), '#');
        const char* line = InputStream_readLine(stream_, buffer.data(), size);
        EXPECT_TRUE(!line || line == buffer.data());
        return line ? line : "(none)";
    }

private:
    InputStream* stream_;
};

TEST(InputStream, IsOpenAndEmptyAtFirst) {
    const Input input(7);
    EXPECT_EQ(InputStream_getDescriptor(input), 7);
    EXPECT_EQ(InputStream_getTimeout(input), 2000);
    EXPECT_EQ(InputStream_buffered(input), 0);
    EXPECT_FALSE(InputStream_isClosed(input));
    InputStream_setTimeout(input, 0);
    EXPECT_EQ(InputStream_getTimeout(input), 0);
}

TEST(InputStream, FreeSetsTheHandleToNoneAndLeavesTheDescriptorOpen) {
    const Connection connection;
    InputStream* stream = InputStream_new(connection.near.get());
    InputStream_free(&stream);
    EXPECT_EQ(stream, nullptr);
    EXPECT_TRUE(connection.near.send("x"));
}

TEST(InputStream, ReadsBytesAsUnsigned) {
    const Connection connection;
    const Input input(connection.near.get());
    ASSERT_TRUE(connection.far.send(std::string("a\xFF\0z", 4)));
    EXPECT_EQ(InputStream_read(input), 'a');
    EXPECT_EQ(InputStream_buffered(input), 3);
    EXPECT_EQ(InputStream_read(input), 255);
    EXPECT_EQ(InputStream_read(input), 0);
    EXPECT_EQ(InputStream_read(input), 'z');
    InputStream_setTimeout(input, 0);
    EXPECT_EQ(InputStream_read(input), -1);
    EXPECT_FALSE(InputStream_isClosed(input));
}

TEST(InputStream, ReadsLinesWithTheirLineFeed) {
    Connection connection;
    const Input input(connection.near.get());
    ASSERT_TRUE(connection.far.send("HTTP/1.1 200 OK\r\n\r\n\nlast"));
    connection.far.close();
    EXPECT_EQ(input.line(), "HTTP/1.1 200 OK\r\n");
    EXPECT_EQ(input.line(), "\r\n");
    EXPECT_EQ(input.line(), "\n");
    EXPECT_EQ(input.line(), "last");
    EXPECT_EQ(input.line(), "(none)");
    EXPECT_FALSE(InputStream_isClosed(input)); // the end alone does not close it
}

TEST(InputStream, ALineLongerThanTheBufferComesInPieces) {
    Connection connection;
    const Input input(connection.near.get());
    ASSERT_TRUE(connection.far.send("abcdefgh\nij\n"));
    EXPECT_EQ(input.line(5), "abcd");
    EXPECT_EQ(input.line(5), "efgh");
    EXPECT_EQ(input.line(5), "\n");
    EXPECT_EQ(input.line(4), "ij\n");
}

TEST(InputStream, ALineLongerThanEveryBufferArrivesWhole) {
    Connection connection;
    const Input input(connection.near.get());
    std::string sent;
    for (int i = 0; i < 20000; ++i)
        sent += std::to_string(i);
    sent += "\nnext\n";
    std::thread peer([&] {
        EXPECT_TRUE(connection.far.send(sent));
        connection.far.close();
    });
    std::string received;
    for (std::string piece; (piece = input.line(700)) != "(none)";)
        received += piece;
    peer.join();
    EXPECT_EQ(received, sent);
}

TEST(InputStream, AZeroByteEndsALineAndIsTakenOff) {
    const Connection connection;
    const Input input(connection.near.get());
    ASSERT_TRUE(connection.far.send(std::string("ab\0cd\n\0\0e\n", 10)));
    EXPECT_EQ(input.line(), "ab");
    EXPECT_EQ(input.line(), "cd\n");
    EXPECT_EQ(input.line(), "(none)");
    EXPECT_EQ(input.line(), "(none)");
    EXPECT_EQ(input.line(), "e\n");
}

TEST(InputStream, ABufferWithoutRoomTakesNothing) {
    const Connection connection;
    const Input input(connection.near.get());
    ASSERT_TRUE(connection.far.send("ab\n"));
    char buffer[2] = {'#', '#'};
    EXPECT_EQ(InputStream_readLine(input, buffer, 0), nullptr);
    EXPECT_EQ(InputStream_readLine(input, buffer, -1), nullptr);
    EXPECT_EQ(buffer[0], '#');
    EXPECT_EQ(InputStream_readLine(input, buffer, 1), nullptr);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(input.line(), "ab\n");
}

TEST(InputStream, APeerThatSendsAByteAtATimeGivesWholeLines) {
    Connection connection;
    const Input input(connection.near.get());
    std::thread peer([&] {
        for (const char c : std::string("one\ntwo\nthree"))
            EXPECT_TRUE(connection.far.send(std::string(1, c)));
        connection.far.close();
    });
    EXPECT_EQ(input.line(), "one\n");
    EXPECT_EQ(input.line(), "two\n");
    EXPECT_EQ(input.line(), "three");
    peer.join();
}

// The peer's next piece comes only after the reader has used up all it had and waits.
TEST(InputStream, ASlowPeerGivesWholeLinesWithinTheTimeout) {
    const Connection connection;
    const Input input(connection.near.get());
    InputStream_setTimeout(input, 10000);
    std::thread peer([&] {
        for (const char* piece : {"sl", "ow", "ly\n"}) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            EXPECT_TRUE(connection.far.send(piece));
        }
    });
    EXPECT_EQ(input.line(), "slowly\n");
    peer.join();
}

TEST(InputStream, ASilentPeerEndsThePieceAtTheTimeout) {
    const Connection connection;
    const Input input(connection.near.get());
    InputStream_setTimeout(input, 40);
    ASSERT_TRUE(connection.far.send("par"));
    const Stopwatch watch;
    EXPECT_EQ(input.line(), "par");
    EXPECT_GE(watch.milliseconds(), 40);
    EXPECT_FALSE(InputStream_isClosed(input));
    ASSERT_TRUE(connection.far.send("tial\n"));
    EXPECT_EQ(input.line(), "tial\n");
}

TEST(InputStream, ATimeoutOf0DoesNotWait) {
    const Connection connection;
    const Input input(connection.near.get());
    InputStream_setTimeout(input, 0);
    const Stopwatch watch;
    EXPECT_EQ(input.line(), "(none)");
    EXPECT_EQ(InputStream_read(input), -1);
    EXPECT_LT(watch.milliseconds(), 1000);
    EXPECT_FALSE(InputStream_isClosed(input));
}

TEST(InputStream, ReadBytesCrossesItsBuffer) {
    Connection connection;
    const Input input(connection.near.get());
    std::string sent(10000, ' ');
    for (std::size_t i = 0; i < sent.size(); ++i)
        sent[i] = static_cast<char>(i * 7);
    std::thread peer([&] {
        EXPECT_TRUE(connection.far.send(sent));
        connection.far.close();
    });
    std::string received(4000, '\0');
    EXPECT_EQ(InputStream_readBytes(input, received.data(), 4000), 4000);
    std::string rest(10000, '\0');
    EXPECT_EQ(InputStream_readBytes(input, rest.data(), 10000), 6000); // fewer at the end
    rest.resize(6000);
    EXPECT_EQ(received + rest, sent);
    peer.join();
}

TEST(InputStream, ReadBytesReturnsFewerAfterATimeout) {
    const Connection connection;
    const Input input(connection.near.get());
    InputStream_setTimeout(input, 20);
    ASSERT_TRUE(connection.far.send("abc"));
    char buffer[8];
    EXPECT_EQ(InputStream_readBytes(input, buffer, 8), 3);
    EXPECT_EQ(InputStream_readBytes(input, buffer, 0), 0);
    EXPECT_EQ(InputStream_readBytes(input, buffer, -5), 0);
}

TEST(InputStream, ReadBytesIsMinusOneOnAClosedStreamEvenIfBytesWereCopied) {
    Connection connection;
    const Input input(connection.near.get());
    ASSERT_TRUE(connection.far.send("abc"));
    EXPECT_EQ(InputStream_read(input), 'a');
    connection.far.reset();
    char buffer[8] = {};
    EXPECT_EQ(InputStream_readBytes(input, buffer, 8), -1); // meant so
    EXPECT_STREQ(buffer, "bc");
    EXPECT_TRUE(InputStream_isClosed(input));
    EXPECT_EQ(InputStream_readBytes(input, buffer, 0), -1);
    EXPECT_EQ(InputStream_read(input), -1);
    EXPECT_EQ(input.line(), "(none)");
}

TEST(InputStream, BufferedBytesOfAClosedStreamCanStillBeRead) {
    Connection connection;
    const Input input(connection.near.get());
    ASSERT_TRUE(connection.far.send(std::string(1500, 'x')));
    ASSERT_EQ(InputStream_read(input), 'x');
    connection.far.reset();
    const std::int32_t buffered = InputStream_buffered(input);
    EXPECT_EQ(input.line(2000), std::string(static_cast<std::size_t>(buffered), 'x'));
    EXPECT_TRUE(InputStream_isClosed(input));
}

TEST(InputStream, ClearThrowsBufferedBytesAway) {
    const Connection connection;
    const Input input(connection.near.get());
    ASSERT_TRUE(connection.far.send("abc"));
    EXPECT_EQ(InputStream_read(input), 'a');
    InputStream_clear(input);
    EXPECT_EQ(InputStream_buffered(input), 0);
    ASSERT_TRUE(connection.far.send("d"));
    EXPECT_EQ(InputStream_read(input), 'd');
}

TEST(InputStream, ReadsOnWhileSignalsInterrupt) {
    struct sigaction interrupt {};
    struct sigaction before {};
    interrupt.sa_handler = [](int) {};
    sigaction(SIGUSR1, &interrupt, &before);
    const Connection connection;
    const Input input(connection.near.get());
    std::atomic<bool> done{false};
    const pthread_t reader = pthread_self();
    std::thread peer([&] {
        for (int i = 0; i < 50; ++i) {
            pthread_kill(reader, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_TRUE(connection.far.send("through\n"));
        while (!done) {
            pthread_kill(reader, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    EXPECT_EQ(input.line(), "through\n");
    // However often they come, the wait ends.
    InputStream_setTimeout(input, 60);
    const Stopwatch watch;
    EXPECT_EQ(InputStream_read(input), -1);
    EXPECT_GE(watch.milliseconds(), 60);
    EXPECT_LT(watch.milliseconds(), 5000);
    EXPECT_FALSE(InputStream_isClosed(input));
    done = true;
    peer.join();
    sigaction(SIGUSR1, &before, nullptr);
}

TEST(InputStream, AnImpossibleDescriptorClosesTheStream) {
    const Input input(-1);
    EXPECT_EQ(InputStream_read(input), -1);
    EXPECT_TRUE(InputStream_isClosed(input));
}

TEST(InputStreamDeathTest, NeedsAStreamABufferAndATimeoutThatIsNotNegative) {
    InputStream* none = nullptr;
    const Input input(-1);
    EXPECT_BREAKS(InputStream_free(&none), "S && *S", "InputStream_free");
    EXPECT_BREAKS(InputStream_read(none), "S", "InputStream_read");
    EXPECT_BREAKS(InputStream_isClosed(none), "S", "InputStream_isClosed");
    EXPECT_BREAKS(InputStream_readLine(input, nullptr, 5), "s", "InputStream_readLine");
    EXPECT_BREAKS(InputStream_setTimeout(input, -1), "timeout >= 0", "InputStream_setTimeout");
}

} // namespace
} // namespace sentrel
