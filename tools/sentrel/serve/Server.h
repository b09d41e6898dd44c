// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/serve/Configuration.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

struct MHD_Connection;
struct MHD_Daemon;

namespace tool {

/// Answers GET /metrics with a text, on one thread of its own, which waits for all connections at once. Whoever is slow
/// or silent costs a connection and nothing else: there are at most `connections` of them, and for each one more the
/// oldest is closed, so that somebody who asks is always heard.
class Server {
public:
    static constexpr std::size_t connections = 64; ///< at a time
    static constexpr std::size_t requestBytes =
        16384;                                   ///< of memory a connection: head of the request and of the answer
    static constexpr unsigned silentSeconds = 5; ///< until a connection on which nothing moves is closed

    /// Called on the server's thread for each request.
    using Content = std::function<std::shared_ptr<const std::string>()>;

    /// Takes the address. Absent, with one line on why, if that is not to be had.
    [[nodiscard]] static std::unique_ptr<Server> listen(const Configuration& configuration, std::string& reason);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Answers from now on until the end of the object. False if the system refuses a thread, or the certificate and
    /// the key are none or do not fit. Once.
    [[nodiscard]] bool serve(Content content);

    /// Where the answers are: "http://127.0.0.1:9866/metrics".
    [[nodiscard]] std::string address() const;

private:
    class Connections;

    Server(const Configuration& configuration, int socket);

    [[nodiscard]] bool isAllowed(MHD_Connection* connection) const;
    [[nodiscard]] int answer(MHD_Connection* connection, const std::string& path, const std::string& method);

    const Configuration configuration_;
    int socket_; // the daemon's once it runs
    Content content_;
    std::unique_ptr<Connections> connections_;
    MHD_Daemon* daemon_ = nullptr;
};

} // namespace tool
