// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/Server.h"

#include <microhttpd.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <list>
#include <string_view>
#include <utility>

namespace tool {

namespace {

using Response = std::unique_ptr<MHD_Response, decltype(&MHD_destroy_response)>;
using Addresses = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

constexpr char textType[] = "text/plain; version=0.0.4; charset=utf-8";
constexpr char page[] = "<!doctype html><title>sentrel</title><p><a href=\"/metrics\">Metrics</a> of this machine.\n";

Addresses resolve(const Endpoint& endpoint) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(endpoint.address.c_str(), std::to_string(endpoint.port).c_str(), &hints, &found) != 0)
        found = nullptr;
    return {found, freeaddrinfo};
}

int openSocket(const addrinfo& address) {
    const int socket = ::socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return -1;
    const int on = 1;
    // So that a new start finds the address free while connections of the last one come to their end.
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(socket, address.ai_addr, address.ai_addrlen) == 0 && ::listen(socket, SOMAXCONN) == 0)
        return socket;
    const int error = errno;
    close(socket);
    errno = error;
    return -1;
}

// As long for texts that differ at their beginning as for others.
bool isSame(std::string_view given, std::string_view wanted) {
    std::size_t difference = given.size() ^ wanted.size();
    for (std::size_t i = 0; i < wanted.size(); ++i)
        difference |= static_cast<unsigned char>(wanted[i]) ^
                      (given.empty() ? 0U : static_cast<unsigned char>(given[i % given.size()]));
    return difference == 0;
}

int queue(MHD_Connection* connection, unsigned status, MHD_Response* response, const char* type) {
    const Response owner(response, MHD_destroy_response);
    if (!owner || MHD_add_response_header(owner.get(), MHD_HTTP_HEADER_CONTENT_TYPE, type) != MHD_YES)
        return MHD_NO;
    return MHD_queue_response(connection, status, owner.get());
}

// For parameters that are not written to, whatever their type says.
char* bytesOf(std::string_view text) {
    return const_cast<char*>(text.data());
}

int queueConstant(MHD_Connection* connection, unsigned status, std::string_view text, const char* type) {
    return queue(connection, status,
                 MHD_create_response_from_buffer(text.size(), bytesOf(text), MHD_RESPMEM_PERSISTENT), type);
}

// The text lives as long as an answer of it is under way.
int queueShared(MHD_Connection* connection, std::shared_ptr<const std::string> text) {
    using Holder = std::shared_ptr<const std::string>;
    auto holder = std::make_unique<Holder>(std::move(text));
    const std::string& content = **holder;
    MHD_Response* const response = MHD_create_response_from_buffer_with_free_callback_cls(
        content.size(), bytesOf(content), [](void* owned) { delete static_cast<Holder*>(owned); }, holder.get());
    if (response == nullptr)
        return MHD_NO;
    holder.release();
    return queue(connection, MHD_HTTP_OK, response, textType);
}

} // namespace

// Of the daemon's thread alone.
class Server::Connections {
public:
    void began(MHD_Connection* connection) {
        open_.push_back(connection);
        if (open_.size() > Server::connections)
            // The daemon sees the end of it, as if the other side had hung up, and tells of it.
            shutdown(socketOf(open_.front()), SHUT_RDWR);
    }

    void ended(MHD_Connection* connection) { open_.remove(connection); }

private:
    static int socketOf(MHD_Connection* connection) {
        const MHD_ConnectionInfo* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        return info == nullptr ? -1 : info->connect_fd;
    }

    std::list<MHD_Connection*> open_; // the oldest first
};

std::unique_ptr<Server> Server::listen(const Configuration& configuration, std::string& reason) {
    const Addresses addresses = resolve(configuration.listen);
    const int socket = addresses ? openSocket(*addresses) : -1;
    if (socket < 0) {
        reason = "cannot listen on " + configuration.listen.address + " port " +
                 std::to_string(configuration.listen.port) + ": " +
                 (addresses ? std::strerror(errno) : "no such address");
        return nullptr;
    }
    return std::unique_ptr<Server>(new Server(configuration, socket));
}

Server::Server(const Configuration& configuration, int socket)
    : configuration_(configuration), socket_(socket), connections_(std::make_unique<Connections>()) {}

Server::~Server() {
    if (daemon_ != nullptr)
        MHD_stop_daemon(daemon_);
    else
        close(socket_);
}

bool Server::serve(Content content) {
    content_ = std::move(content);
    const MHD_AccessHandlerCallback handle = [](void* server, MHD_Connection* connection, const char* path,
                                                const char* method, const char* /*version*/, const char* /*body*/,
                                                size_t* bodySize, void** request) {
        const bool isWithoutBody = std::string_view(method) == MHD_HTTP_METHOD_GET;
        // An answer to the head alone ends the connection, whose next request nobody could tell from a body.
        if (isWithoutBody && *request == nullptr) {
            *request = server;
            return MHD_YES;
        }
        if (*bodySize != 0)
            return MHD_NO;
        return static_cast<MHD_Result>(static_cast<Server*>(server)->answer(connection, path, method));
    };
    const MHD_NotifyConnectionCallback notify = [](void* open, MHD_Connection* connection, void** /*context*/,
                                                   MHD_ConnectionNotificationCode code) {
        auto& all = *static_cast<Connections*>(open);
        code == MHD_CONNECTION_NOTIFY_STARTED ? all.began(connection) : all.ended(connection);
    };
    unsigned flags = MHD_USE_AUTO_INTERNAL_THREAD | MHD_USE_ITC;
    MHD_OptionItem tls[] = {{MHD_OPTION_END, 0, nullptr}, {MHD_OPTION_END, 0, nullptr}, {MHD_OPTION_END, 0, nullptr}};
    if (configuration_.certificate) {
        flags |= MHD_USE_TLS;
        tls[0] = {MHD_OPTION_HTTPS_MEM_CERT, 0, bytesOf(configuration_.certificate->chain)};
        tls[1] = {MHD_OPTION_HTTPS_MEM_KEY, 0, bytesOf(configuration_.certificate->key)};
    }
    daemon_ = MHD_start_daemon(flags, configuration_.listen.port, nullptr, nullptr, handle, this,
                               MHD_OPTION_LISTEN_SOCKET, socket_, MHD_OPTION_CONNECTION_LIMIT,
                               static_cast<unsigned>(2 * connections), MHD_OPTION_CONNECTION_MEMORY_LIMIT, requestBytes,
                               MHD_OPTION_CONNECTION_TIMEOUT, silentSeconds, MHD_OPTION_NOTIFY_CONNECTION, notify,
                               connections_.get(), MHD_OPTION_ARRAY, tls, MHD_OPTION_END);
    return daemon_ != nullptr;
}

std::string Server::address() const {
    sockaddr_storage bound{};
    socklen_t size = sizeof bound;
    char host[NI_MAXHOST] = "";
    char port[NI_MAXSERV] = "";
    getsockname(socket_, reinterpret_cast<sockaddr*>(&bound), &size);
    getnameinfo(reinterpret_cast<sockaddr*>(&bound), size, host, sizeof host, port, sizeof port,
                NI_NUMERICHOST | NI_NUMERICSERV);
    const bool isIPv6 = bound.ss_family == AF_INET6;
    return std::string(configuration_.certificate ? "https://" : "http://") + (isIPv6 ? "[" : "") + host +
           (isIPv6 ? "]:" : ":") + port + "/metrics";
}

bool Server::isAllowed(MHD_Connection* connection) const {
    if (!configuration_.credentials)
        return true;
    char* password = nullptr;
    char* const user = MHD_basic_auth_get_username_password(connection, &password);
    const bool isUser = user != nullptr && isSame(user, configuration_.credentials->user);
    const bool isPassword = password != nullptr && isSame(password, configuration_.credentials->password);
    MHD_free(user);
    MHD_free(password);
    return isUser && isPassword;
}

int Server::answer(MHD_Connection* connection, const std::string& path, const std::string& method) {
    if (!isAllowed(connection)) {
        const Response refusal(MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT),
                               MHD_destroy_response);
        return refusal ? MHD_queue_basic_auth_fail_response(connection, "sentrel", refusal.get()) : MHD_NO;
    }
    if (method != MHD_HTTP_METHOD_GET && method != MHD_HTTP_METHOD_HEAD)
        return queueConstant(connection, MHD_HTTP_METHOD_NOT_ALLOWED, "GET only\n", "text/plain");
    if (path == "/metrics")
        return queueShared(connection, content_());
    if (path == "/")
        return queueConstant(connection, MHD_HTTP_OK, page, "text/html; charset=utf-8");
    return queueConstant(connection, MHD_HTTP_NOT_FOUND, "There is /metrics.\n", "text/plain");
}

} // namespace tool
