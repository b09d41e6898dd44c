// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ChildProgram.h"
#include "tests/support/Eventually.h"
#include "tests/support/Loopback.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace sentrel {
namespace {

// The program on a free port.
class EchoServerProgram : public testing::Test {
protected:
    EchoServerProgram() {
        const std::string line = program_.readLine().value_or("");
        const std::string start = "echo_server: port ";
        if (line.rfind(start, 0) == 0)
            port_ = static_cast<std::uint16_t>(std::stoi(line.substr(start.size())));
    }

    void SetUp() override { ASSERT_NE(port_, 0); }

    [[nodiscard]] Descriptor call() const {
        Descriptor connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port_);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(connect(connection.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        return connection;
    }

    static bool ask(const Descriptor& connection) { return connection.send("GET / HTTP/1.1\r\nHost: x\r\n\r\n"); }

    // Whether the whole answer comes, with the caller's address in it.
    static bool hearsItsAddress(const Descriptor& connection) {
        return connection.receive(4096).find("\r\n\r\nIP: 127.0.0.1\r\n") != std::string::npos;
    }

    static bool isOpen(const Descriptor& connection) {
        char byte = 0;
        return recv(connection.get(), &byte, 1, MSG_DONTWAIT) < 0 && errno == EAGAIN;
    }

    // From now on the program gets no further descriptor; or as many as it likes again.
    void takeDescriptorsAway() const {
        rlim_t next = 0;
        while (std::filesystem::is_symlink("/proc/" + std::to_string(program_.id()) + "/fd/" + std::to_string(next)))
            ++next;
        limitDescriptors(next);
    }
    void giveDescriptorsBack() const { limitDescriptors(mostDescriptors); }

    // How often the program has gone to sleep of its own accord.
    [[nodiscard]] long sleeps() const {
        std::ifstream status("/proc/" + std::to_string(program_.id()) + "/status");
        const std::string name = "voluntary_ctxt_switches:";
        for (std::string line; std::getline(status, line);)
            if (line.rfind(name, 0) == 0)
                return std::stol(line.substr(name.size()));
        return -1;
    }

private:
    static constexpr rlim_t mostDescriptors = 1024;

    void limitDescriptors(rlim_t count) const {
        const rlimit limit{count, mostDescriptors};
        ASSERT_EQ(prlimit(program_.id(), RLIMIT_NOFILE, &limit, nullptr), 0);
    }

    ChildProgram program_{{ECHO_SERVER, "0"}};
    std::uint16_t port_ = 0;
};

TEST_F(EchoServerProgram, TellsEachCallerItsAddress) {
    for (int i = 0; i < 3; ++i) {
        const Descriptor caller = call();
        ASSERT_TRUE(ask(caller));
        EXPECT_TRUE(hearsItsAddress(caller));
    }
}

// It served one caller after the other, and waited two seconds for each who said nothing.
TEST_F(EchoServerProgram, LetsNobodyWaitForASlowCaller) {
    const Descriptor silent = call();
    const Descriptor slow = call();
    ASSERT_TRUE(slow.send("GET / HT"));
    const Descriptor caller = call();
    ASSERT_TRUE(ask(caller));
    EXPECT_TRUE(hearsItsAddress(caller));
    EXPECT_TRUE(isOpen(silent));
    EXPECT_TRUE(isOpen(slow));
    ASSERT_TRUE(slow.send("TP/1.1\r\n\r\n"));
    EXPECT_TRUE(hearsItsAddress(slow));
}

TEST_F(EchoServerProgram, LetsTheOldestGoWhereTooManyCall) {
    std::vector<Descriptor> silent;
    for (int i = 0; i < 100; ++i)
        silent.push_back(call());
    const Descriptor caller = call();
    ASSERT_TRUE(ask(caller));
    EXPECT_TRUE(hearsItsAddress(caller));
    EXPECT_FALSE(isOpen(silent.front()));
}

TEST_F(EchoServerProgram, LetsTheOldestGoWhereDescriptorsRunOut) {
    const Descriptor silent = call();
    const Descriptor first = call();
    ASSERT_TRUE(ask(first));
    ASSERT_TRUE(hearsItsAddress(first)); // so the silent one was accepted before
    takeDescriptorsAway();
    const Descriptor caller = call();
    ASSERT_TRUE(ask(caller));
    EXPECT_TRUE(hearsItsAddress(caller));
    EXPECT_FALSE(isOpen(silent));
}

// Without a descriptor for the next caller it asked for it again and again, at the cost of a whole processor.
TEST_F(EchoServerProgram, SleepsWhileThereAreNoDescriptorsAndServesAfterwards) {
    takeDescriptorsAway();
    const Descriptor caller = call();
    ASSERT_TRUE(ask(caller));
    const long before = sleeps();
    EXPECT_TRUE(eventually([&] { return sleeps() >= before + 5; }));
    giveDescriptorsBack();
    EXPECT_TRUE(hearsItsAddress(caller));
}

} // namespace
} // namespace sentrel
