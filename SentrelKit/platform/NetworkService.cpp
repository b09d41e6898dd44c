// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/NetworkService.h>

#include <SentrelKit/base/net/Socket.h>
#include <SentrelKit/base/system/Net.h>
#include <SentrelKit/platform/support/StreamConnection.h>

namespace sentrel::platform {

namespace {

class SocketConnection final : public Connection {
public:
    explicit SocketConnection(Socket* socket)
        : socket_(socket), streams_(Socket_getInputStream(socket), Socket_getOutputStream(socket)) {}
    ~SocketConnection() override { Socket_free(&socket_); }
    SocketConnection(const SocketConnection&) = delete;
    SocketConnection& operator=(const SocketConnection&) = delete;

    bool write(std::string_view bytes) override { return streams_.write(bytes); }
    std::size_t read(std::span<char> bytes, std::int64_t milliseconds) override {
        return streams_.read(bytes, milliseconds);
    }
    [[nodiscard]] std::int64_t milliseconds() const override { return streams_.milliseconds(); }

private:
    Socket* socket_;
    StreamConnection streams_;
};

} // namespace

bool NetworkService::resolves(const std::string& host) {
    return Net_resolve(host.c_str());
}

std::unique_ptr<Connection> NetworkService::connect(const std::string& host, std::int32_t port) {
    Socket* socket = Socket_new(host.c_str(), port);
    return socket ? std::make_unique<SocketConnection>(socket) : nullptr;
}

} // namespace sentrel::platform
