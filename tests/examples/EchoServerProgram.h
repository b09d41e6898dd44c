// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/ChildProgram.h"
#include "tests/support/Loopback.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace sentrel {

/// The example program on a free port.
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
        Descriptor connection(socket(AF_INET, SOCK_STREAM, 0));
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

    [[nodiscard]] pid_t id() const noexcept { return program_.id(); }

private:
    ChildProgram program_{{ECHO_SERVER, "0"}};
    std::uint16_t port_ = 0;
};

} // namespace sentrel
