// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace sentrel {

/// A TCP server on the loopback interface, or on another address, that serves one connection after the other.
class EchoServer {
public:
    /// One connection: reads and writes the socket; the server closes it afterwards.
    using Behaviour = std::function<void(int connection)>;

    explicit EchoServer(Behaviour behaviour, const std::string& address = "127.0.0.1");
    ~EchoServer();
    EchoServer(const EchoServer&) = delete;
    EchoServer& operator=(const EchoServer&) = delete;

    [[nodiscard]] std::int32_t port() const noexcept { return port_; }

    /// What each connection so far has asked, up to the empty line.
    [[nodiscard]] std::vector<std::string> requests();

    /// Sends all of the bytes; false once the other side, or the server, has ended the connection.
    [[nodiscard]] static bool send(int connection, const std::string& bytes);

    /// Answers with exactly these bytes.
    [[nodiscard]] static Behaviour reply(std::string bytes);

private:
    void serve();

    Behaviour behaviour_;
    int listener_ = -1;
    std::int32_t port_ = 0;
    std::mutex mutex_;
    std::vector<std::string> requests_;
    int open_ = -1;
    bool ending_ = false;
    std::thread thread_;
};

} // namespace sentrel
