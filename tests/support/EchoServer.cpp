// SPDX-License-Identifier: Apache-2.0
#include "tests/support/EchoServer.h"

#include "tests/support/Sockets.h"

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace sentrel {

EchoServer::EchoServer(Behaviour behaviour, const std::string& address) : behaviour_(std::move(behaviour)) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    inet_pton(AF_INET, address.c_str(), &place.sin_addr);
    socklen_t length = sizeof place;
    auto* bytes = reinterpret_cast<sockaddr*>(&place);
    listener_ = closedOnExec(::socket(AF_INET, SOCK_STREAM, 0));
    if (::bind(listener_, bytes, length) != 0 || ::listen(listener_, 8) != 0 ||
        ::getsockname(listener_, bytes, &length) != 0)
        throw std::runtime_error("cannot listen");
    port_ = ntohs(place.sin_port);
    thread_ = std::thread([this] { serve(); });
}

EchoServer::~EchoServer() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
        ::shutdown(listener_, SHUT_RDWR);
        if (open_ >= 0)
            ::shutdown(open_, SHUT_RDWR);
    }
    thread_.join();
    ::close(listener_);
}

std::vector<std::string> EchoServer::requests() {
    const std::lock_guard lock(mutex_);
    return requests_;
}

bool EchoServer::send(int connection, const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = sendWithoutSignal(connection, bytes.data() + sent, bytes.size() - sent);
        if (count <= 0)
            return false;
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

EchoServer::Behaviour EchoServer::reply(std::string bytes) {
    return [bytes = std::move(bytes)](int connection) { static_cast<void>(send(connection, bytes)); };
}

void EchoServer::serve() {
    for (;;) {
        const int connection = closedOnExec(::accept(listener_, nullptr, nullptr));
        if (connection < 0)
            return;
        {
            const std::lock_guard lock(mutex_);
            if (ending_) {
                ::close(connection);
                return;
            }
            open_ = connection;
        }
        std::string request;
        std::array<char, 512> bytes{};
        while (request.find("\r\n\r\n") == std::string::npos) {
            const ssize_t count = ::recv(connection, bytes.data(), bytes.size(), 0);
            if (count <= 0)
                break;
            request.append(bytes.data(), static_cast<std::size_t>(count));
        }
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(request);
        }
        behaviour_(connection);
        const std::lock_guard lock(mutex_);
        open_ = -1;
        ::close(connection);
    }
}

} // namespace sentrel
