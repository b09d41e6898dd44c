// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/base/io/OutputStream.h>

#include "tests/support/Loopback.h"
#include "tests/support/Stops.h"

#include <csignal>
#include <cstdarg>
#include <string>
#include <thread>

namespace sentrel {
namespace {

constexpr int bufferSize = 1500;

/// A stream for a scope.
class Output {
public:
    explicit Output(int descriptor) : stream_(OutputStream_new(descriptor)) {}
    ~Output() { OutputStream_free(&stream_); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    operator OutputStream*() const { return stream_; }

private:
    OutputStream* stream_;
};

std::int32_t vprint(OutputStream* S, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::int32_t accepted = OutputStream_vprint(S, format, arguments);
    va_end(arguments);
    return accepted;
}

TEST(OutputStream, IsOpenAndEmptyAtFirst) {
    const Output output(7);
    EXPECT_EQ(OutputStream_getDescriptor(output), 7);
    EXPECT_EQ(OutputStream_getTimeout(output), 2000);
    EXPECT_EQ(OutputStream_buffered(output), 0);
    EXPECT_EQ(OutputStream_getBytesWritten(output), 0);
    EXPECT_FALSE(OutputStream_isClosed(output));
    OutputStream_setTimeout(output, 0);
    EXPECT_EQ(OutputStream_getTimeout(output), 0);
}

TEST(OutputStream, FreeSetsTheHandleToNoneAndLeavesTheDescriptorOpen) {
    const Connection connection;
    OutputStream* stream = OutputStream_new(connection.near.get());
    OutputStream_free(&stream);
    EXPECT_EQ(stream, nullptr);
    EXPECT_TRUE(connection.near.send("x"));
}

TEST(OutputStream, BuffersUntilItIsFlushed) {
    const Connection connection;
    const Output output(connection.near.get());
    EXPECT_EQ(OutputStream_print(output, "a %d\n", 1), 4);
    EXPECT_EQ(vprint(output, "%s%d", "b", 2), 2);
    EXPECT_EQ(OutputStream_write(output, "c\0d", 3), 3);
    EXPECT_EQ(OutputStream_buffered(output), 9);
    EXPECT_EQ(OutputStream_getBytesWritten(output), 0);
    EXPECT_EQ(OutputStream_flush(output), 9);
    EXPECT_EQ(OutputStream_buffered(output), 0);
    EXPECT_EQ(OutputStream_getBytesWritten(output), 9);
    EXPECT_EQ(connection.far.receive(9), std::string("a 1\nb2c\0d", 9));
    EXPECT_EQ(OutputStream_flush(output), 0);
}

TEST(OutputStream, WritesNothingForACountBelowOne) {
    const Output output(-1);
    EXPECT_EQ(OutputStream_write(output, "a", 0), 0);
    EXPECT_EQ(OutputStream_write(output, "a", -1), 0);
    EXPECT_EQ(OutputStream_buffered(output), 0);
}

TEST(OutputStream, ClearThrowsTheUnwrittenBytesAway) {
    const Connection connection;
    const Output output(connection.near.get());
    OutputStream_print(output, "lost");
    OutputStream_clear(output);
    OutputStream_print(output, "kept");
    EXPECT_EQ(OutputStream_flush(output), 4);
    EXPECT_EQ(connection.far.receive(4), "kept");
}

// The buffer fills in the middle of every kind of conversion.
TEST(OutputStream, FlushesInTheMiddleOfAConversionWhenItsBufferIsFull) {
    const Connection connection;
    const Output output(connection.near.get());
    std::string expected;
    for (int before = bufferSize - 12; before <= bufferSize; ++before) {
        const std::string filler(static_cast<std::size_t>(before), '.');
        EXPECT_EQ(OutputStream_print(output, "%s", filler.c_str()), before);
        EXPECT_EQ(OutputStream_print(output, "%-6d|%06d|%6c|%.3f|%s", 12, -34, 'x', 1.5, "text"), 31);
        expected += filler + "12    |-00034|     x|1.500|text";
        while (OutputStream_flush(output) > 0) {
        }
    }
    EXPECT_EQ(connection.far.receive(expected.size()), expected);
    EXPECT_EQ(OutputStream_getBytesWritten(output), static_cast<std::int64_t>(expected.size()));
}

TEST(OutputStream, AFullBufferIsFlushedOnlyForTheNextByte) {
    const Connection connection;
    const Output output(connection.near.get());
    EXPECT_EQ(OutputStream_print(output, "%1500s", "x"), bufferSize);
    EXPECT_EQ(OutputStream_buffered(output), bufferSize);
    EXPECT_EQ(OutputStream_getBytesWritten(output), 0);
    EXPECT_EQ(OutputStream_print(output, "y"), 1);
    EXPECT_EQ(OutputStream_buffered(output), 1);
    EXPECT_EQ(OutputStream_getBytesWritten(output), bufferSize);
}

TEST(OutputStream, CarriesManyTimesItsBufferToASlowReader) {
    const Connection connection;
    const Output output(connection.near.get());
    constexpr std::size_t size = 4'000'000;
    std::string received;
    std::thread reader([&] {
        while (received.size() < size) {
            const std::string piece = connection.far.receive(std::min<std::size_t>(4999, size - received.size()));
            if (piece.empty())
                break;
            received += piece;
        }
    });
    EXPECT_EQ(OutputStream_print(output, "%04000000d", 7), static_cast<std::int32_t>(size));
    while (OutputStream_buffered(output) > 0)
        ASSERT_GT(OutputStream_flush(output), 0);
    reader.join();
    EXPECT_EQ(received, std::string(size - 1, '0') + "7");
    EXPECT_EQ(OutputStream_getBytesWritten(output), static_cast<std::int64_t>(size));
}

TEST(OutputStream, DropsWhatAFlushCannotMakeRoomFor) {
    const Connection connection = Connection::local();
    const Output output(connection.near.get());
    OutputStream_setTimeout(output, 0);
    static_cast<void>(connection.fillUp());
    EXPECT_EQ(OutputStream_print(output, "%1400s", "x"), 1400);
    EXPECT_EQ(OutputStream_print(output, "%s%200d", "ab", 5), 100); // the rest is dropped
    EXPECT_EQ(OutputStream_print(output, "c"), 0);
    EXPECT_EQ(OutputStream_write(output, "defg", 4), 0);
    EXPECT_EQ(OutputStream_buffered(output), bufferSize);
    EXPECT_FALSE(OutputStream_isClosed(output));
}

TEST(OutputStream, AFlushThatTimesOutKeepsTheBytes) {
    const Connection connection = Connection::local();
    const Output output(connection.near.get());
    const std::size_t before = connection.fillUp();
    OutputStream_setTimeout(output, 50);
    OutputStream_print(output, "kept");
    const Stopwatch watch;
    EXPECT_EQ(OutputStream_flush(output), 0);
    EXPECT_GE(watch.milliseconds(), 50);
    EXPECT_EQ(OutputStream_buffered(output), 4);
    EXPECT_FALSE(OutputStream_isClosed(output));
    OutputStream_setTimeout(output, 2000);
    std::thread reader([&] { EXPECT_EQ(connection.far.receive(before).size(), before); });
    while (OutputStream_buffered(output) > 0)
        ASSERT_GE(OutputStream_flush(output), 0);
    reader.join();
    EXPECT_EQ(connection.far.receive(4), "kept");
}

TEST(OutputStream, APartialWriteMovesTheRestToTheFront) {
    const Connection connection(100); // room comes and goes by the segment
    const Output output(connection.near.get());
    const int small = 1;
    setsockopt(connection.near.get(), SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
    std::string sent(connection.fillUp(), 'x');
    // Make room a little at a time until a flush writes a part of the buffer.
    std::string content(bufferSize, ' ');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>('a' + i % 26);
    OutputStream_setTimeout(output, 0);
    bool partial = false;
    std::string received;
    for (int round = 0; round < 100000 && !partial; ++round) {
        const auto missing = static_cast<std::size_t>(bufferSize - OutputStream_buffered(output));
        OutputStream_write(output, content.data(), static_cast<std::int32_t>(missing));
        sent += content.substr(0, missing);
        const std::int32_t written = OutputStream_flush(output);
        ASSERT_GE(written, 0);
        partial = written > 0 && OutputStream_buffered(output) > 0;
        if (written == 0)
            received += connection.far.receive(500);
    }
    EXPECT_TRUE(partial);
    while (received.size() < sent.size()) {
        OutputStream_flush(output);
        const std::string piece = connection.far.receive(std::min<std::size_t>(4096, sent.size() - received.size()));
        ASSERT_FALSE(piece.empty());
        received += piece;
    }
    EXPECT_EQ(received, sent);
}

TEST(OutputStream, APeerThatResetsClosesTheStreamWithoutASignal) {
    std::signal(SIGPIPE, SIG_DFL);
    Connection connection;
    const Output output(connection.near.get());
    connection.far.reset();
    OutputStream_print(output, "a");
    EXPECT_EQ(OutputStream_flush(output), -1);
    EXPECT_TRUE(OutputStream_isClosed(output));
    EXPECT_EQ(OutputStream_buffered(output), 1);
    EXPECT_EQ(OutputStream_flush(output), -1);
    EXPECT_EQ(OutputStream_print(output, "b"), -1);
    EXPECT_EQ(vprint(output, "b"), -1);
    EXPECT_EQ(OutputStream_write(output, "b", 1), -1);
    OutputStream_clear(output);
    EXPECT_EQ(OutputStream_flush(output), 0); // nothing is buffered
}

TEST(OutputStream, APeerThatClosesEarlyIsNoticedWithoutASignal) {
    std::signal(SIGPIPE, SIG_DFL);
    Connection connection;
    const Output output(connection.near.get());
    connection.far.close();
    // The first write may still be taken; the answer to it is a reset.
    while (!OutputStream_isClosed(output)) {
        OutputStream_print(output, "a");
        OutputStream_flush(output);
    }
    EXPECT_EQ(OutputStream_print(output, "b"), -1);
}

TEST(OutputStream, AClosedPipeRaisesNoSignal) {
    std::signal(SIGPIPE, SIG_DFL);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    Descriptor reading(ends[0]);
    const Descriptor writing(ends[1]);
    const Output output(writing.get());
    OutputStream_print(output, "first");
    EXPECT_EQ(OutputStream_flush(output), 5);
    EXPECT_EQ(reading.receive(5), "first");
    reading.close();
    OutputStream_print(output, "second");
    EXPECT_EQ(OutputStream_flush(output), -1);
    EXPECT_TRUE(OutputStream_isClosed(output));
    sigset_t waiting;
    sigpending(&waiting);
    EXPECT_EQ(sigismember(&waiting, SIGPIPE), 0);
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(sigismember(&mask, SIGPIPE), 0);
}

TEST(OutputStream, ASignalOfABrokenPipeThatWasWaitingStays) {
    sigset_t pipeSignal;
    sigset_t mask;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &mask);
    pthread_kill(pthread_self(), SIGPIPE);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ::close(ends[0]);
    const Descriptor writing(ends[1]);
    const Output output(writing.get());
    OutputStream_print(output, "x");
    EXPECT_EQ(OutputStream_flush(output), -1);
    sigset_t waiting;
    sigpending(&waiting);
    EXPECT_EQ(sigismember(&waiting, SIGPIPE), 1);
    int taken = 0;
    sigwait(&pipeSignal, &taken);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

TEST(OutputStream, AnImpossibleDescriptorClosesTheStream) {
    const Output output(-1);
    EXPECT_EQ(OutputStream_print(output, "%3000d", 1), bufferSize); // the flush fails, the rest is dropped
    EXPECT_TRUE(OutputStream_isClosed(output));
    EXPECT_EQ(OutputStream_print(output, "x"), -1);
}

TEST(OutputStreamDeathTest, NeedsAStreamAndATimeoutThatIsNotNegative) {
    OutputStream* none = nullptr;
    const Output output(-1);
    EXPECT_BREAKS(OutputStream_free(&none), "S && *S", "OutputStream_free");
    EXPECT_BREAKS(OutputStream_print(none, "x"), "S", "OutputStream_print");
    EXPECT_BREAKS(OutputStream_flush(none), "S", "OutputStream_flush");
    EXPECT_BREAKS(OutputStream_setTimeout(output, -1), "timeout >= 0", "OutputStream_setTimeout");
}

} // namespace
} // namespace sentrel
