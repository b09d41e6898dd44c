// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/NetlinkSocket.h>

#include "tests/support/linux/NetlinkMessage.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <linux/rtnetlink.h>

namespace sentrel::platform {
namespace {

struct Answer {
    NetlinkProgress progress;
    bool interrupted = false;
    int messages = 0;
    int error = 0;
};

Answer read(const std::string& bytes, std::uint32_t sequence = 1) {
    Answer answer{};
    errno = 0;
    const std::vector<char> copy(bytes.begin(), bytes.end());
    answer.progress = readNetlinkAnswer(copy.data(), copy.size(), sequence, answer.interrupted,
                                        [&](const nlmsghdr&) { ++answer.messages; });
    answer.error = errno;
    return answer;
}

std::string link(std::uint32_t sequence = 1, std::uint16_t flags = NLM_F_MULTI) {
    return NetlinkMessage(RTM_NEWLINK, ifinfomsg{}, sequence, flags).bytes();
}

std::string done(int code = 0) {
    return NetlinkMessage(NLMSG_DONE, code).bytes();
}

std::string error(int code) {
    nlmsgerr body{};
    body.error = code;
    return NetlinkMessage(NLMSG_ERROR, body).bytes();
}

TEST(NetlinkSocket, HandsOverTheMessagesOfAnAnswerUpToItsEnd) {
    const Answer part = read(link() + link());
    EXPECT_EQ(part.progress, NetlinkProgress::more);
    EXPECT_EQ(part.messages, 2);
    const Answer whole = read(link() + done() + link());
    EXPECT_EQ(whole.progress, NetlinkProgress::complete);
    EXPECT_EQ(whole.messages, 1);
}

TEST(NetlinkSocket, PassesOverTheAnswerToAnEarlierRequest) {
    const Answer answer = read(link(6) + link(7), 7);
    EXPECT_EQ(answer.messages, 1);
}

TEST(NetlinkSocket, NotesThatAnAnswerWasInterrupted) {
    EXPECT_TRUE(read(link(1, NLM_F_MULTI | NLM_F_DUMP_INTR)).interrupted);
    EXPECT_FALSE(read(link()).interrupted);
}

TEST(NetlinkSocket, FailsWithTheKernelsErrorNumber) {
    for (const std::string& bytes : {error(-EPERM), done(-EPERM)}) {
        const Answer answer = read(bytes);
        EXPECT_EQ(answer.progress, NetlinkProgress::failed);
        EXPECT_EQ(answer.error, EPERM);
    }
}

TEST(NetlinkSocket, TakesTheAcknowledgementForTheEndOfASingleAnswer) {
    EXPECT_EQ(read(error(0)).progress, NetlinkProgress::complete);
}

TEST(NetlinkSocket, ReadsNothingBeyondACutMessage) {
    const std::string whole = link() + link();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const Answer answer = read(whole.substr(0, size));
        EXPECT_EQ(answer.progress, NetlinkProgress::more) << size;
        EXPECT_LE(answer.messages, 1) << size;
    }
}

TEST(NetlinkSocket, ReadsNothingOfAMessageThatClaimsMoreThanThereIs) {
    for (const std::uint32_t length : {0U, 15U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        std::string bytes = link();
        std::memcpy(bytes.data(), &length, sizeof length);
        const Answer answer = read(bytes + link());
        EXPECT_EQ(answer.messages, 0) << length;
        EXPECT_EQ(answer.progress, NetlinkProgress::more) << length;
    }
}

TEST(NetlinkSocket, AsksTheKernelAgainAfterARefusedRequest) {
    NetlinkSocket socket(NETLINK_ROUTE);
    NetlinkRequest refused(RTM_GETLINK, NLM_F_ACK);
    refused.extra<ifinfomsg>().ifi_index = 0x7FFFFFF0;
    EXPECT_FALSE(socket.ask(
        refused, [] {}, [](const nlmsghdr&) {}));
    EXPECT_EQ(errno, ENODEV);
    NetlinkRequest links(RTM_GETLINK, NLM_F_DUMP);
    links.extra<ifinfomsg>();
    int count = 0;
    EXPECT_TRUE(socket.ask(
        links, [] {}, [&](const nlmsghdr&) { ++count; }));
    EXPECT_GE(count, 1);
}

} // namespace
} // namespace sentrel::platform
