// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/EchoReply.h>

#include <SentrelKit/base/io/InputStream.h>
#include <SentrelKit/base/system/Net.h>
#include <SentrelKit/platform/support/StreamConnection.h>

#include "tests/support/Sockets.h"

#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace sentrel::probes {
namespace {

/// A reply that comes over a socket.
class EchoReply : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends_.data()), 0);
        ASSERT_TRUE(Net_setNonBlocking(ends_[0]));
        stream_ = InputStream_new(ends_[0]);
    }
    void TearDown() override {
        InputStream_free(&stream_);
        ::close(ends_[0]);
        hangUp();
    }

    void send(const std::string& bytes) {
        ASSERT_EQ(sendWithoutSignal(ends_[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    void hangUp() {
        if (ends_[1] >= 0)
            ::close(std::exchange(ends_[1], -1));
    }

    std::string read(const EchoReplyLimits& limits = {}) {
        std::array<char, 65> address{};
        address.fill('?');
        platform::StreamConnection reply(stream_);
        readEchoReply(reply, address.data(), address.size(), limits);
        return address.data();
    }
    std::string readAll(const std::string& reply) {
        send(reply);
        hangUp();
        return read();
    }

    std::array<int, 2> ends_{};
    InputStream* stream_ = nullptr;
};

TEST_F(EchoReply, HoldsTheAddressInItsFirstLineThatBeginsWithIp) {
    EXPECT_EQ(readAll("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n\r\nIP: 198.51.100.4\r\nIP: 203.0.113.7\r\n"),
              "198.51.100.4");
}

TEST_F(EchoReply, MayBeginTheLineInLowerCase) {
    EXPECT_EQ(readAll("ip: 203.0.113.7\r"), "203.0.113.7");
}

TEST_F(EchoReply, IsEmptyIfThatLineHasNoColonEvenIfALaterLineWouldMatch) {
    EXPECT_EQ(readAll("IP 203.0.113.7\r\nIP: 198.51.100.4\r\n"), "");
}

TEST_F(EchoReply, KeepsWhatFollowsTheFirstColon) {
    EXPECT_EQ(readAll("IPv6 address: 2001:db8::7 \t\r\n"), "2001:db8::7");
}

TEST_F(EchoReply, MayHaveNoMatchingLine) {
    EXPECT_EQ(readAll("HTTP/1.1 200 OK\r\n\r\nthe IP: 203.0.113.7\r\n"), "");
}

TEST_F(EchoReply, MayHaveNoBody) {
    EXPECT_EQ(readAll("HTTP/1.1 204 No Content\r\n\r\n"), "");
}

TEST_F(EchoReply, MayBeEmpty) {
    EXPECT_EQ(readAll(""), "");
}

TEST_F(EchoReply, MayEndWithoutALineEnd) {
    EXPECT_EQ(readAll("IP:203.0.113.7"), "203.0.113.7");
}

TEST_F(EchoReply, IsTruncatedToTheField) {
    EXPECT_EQ(readAll("IP:" + std::string(200, '1') + "\r\n"), std::string(64, '1'));
}

TEST_F(EchoReply, CountsTheRestOfALongLineAsALineOfItsOwn) {
    EXPECT_EQ(readAll(std::string(255, 'x') + "IP: 203.0.113.7\r\n"), "203.0.113.7");
}

TEST_F(EchoReply, EndsALineAtAZeroByteAndItselfAtOneThatStartsALine) {
    EXPECT_EQ(readAll(std::string("IP: 203.0.113.7\0 and more\r\n", 27)), "203.0.113.7");
}

TEST_F(EchoReply, EndsItselfAtAZeroByteThatStartsALine) {
    EXPECT_EQ(readAll(std::string("HTTP/1.1 200 OK\r\n\0IP: 203.0.113.7\r\n", 36)), "");
}

TEST_F(EchoReply, IsGivenUpOnceASilentSenderTookTooLong) {
    send("HTTP/1.1 200 OK\r\n");
    InputStream_setTimeout(stream_, 60);
    const auto start = std::chrono::steady_clock::now();
    EchoReplyLimits limits;
    limits.pieceMilliseconds = 60;
    EXPECT_EQ(read(limits), "");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
    EXPECT_EQ(InputStream_getTimeout(stream_), 60);
}

TEST_F(EchoReply, IsGivenUpAtItsLimitHoweverSteadilyItTrickles) {
    std::thread sender([end = ends_[1]] {
        while (sendWithoutSignal(end, "x", 1) == 1)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
    });
    EchoReplyLimits limits;
    limits.milliseconds = 300;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(read(limits), "");
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, std::chrono::milliseconds(299));
    EXPECT_LT(elapsed, std::chrono::milliseconds(2000));
    ::shutdown(ends_[0], SHUT_RDWR);
    sender.join();
}

TEST_F(EchoReply, IsGivenUpAtItsLimitOfBytes) {
    std::thread sender([end = ends_[1]] {
        const std::string header = "X-Header: and another one\r\n";
        while (sendWithoutSignal(end, header.data(), header.size()) > 0) {
        }
    });
    EXPECT_EQ(read(), "");
    ::shutdown(ends_[0], SHUT_RDWR);
    sender.join();
}

} // namespace
} // namespace sentrel::probes
