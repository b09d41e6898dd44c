/// A minimal echo host: an HTTP server that answers each caller with its own address, in the line that
/// `probes::_getPublicAddress` looks for. One caller at a time.
///
///     echo_server 8080 &
///     SENTREL_ECHO_HOST=localhost SENTREL_ECHO_PORT=8080 your_program

#include <SentrelKit/base/system/Net.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

// A caller who does not send its request, or does not read the answer, waits so long at most for itself.
constexpr timeval patience{2, 0};

/// A socket that listens on both kinds of addresses, or -1.
int listenOn(std::uint16_t port) {
    const int listener = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    const int no = 0;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    ::setsockopt(listener, IPPROTO_IPV6, IPV6_V6ONLY, &no, sizeof no);
    sockaddr_in6 place{};
    place.sin6_family = AF_INET6;
    place.sin6_addr = in6addr_any;
    place.sin6_port = htons(port);
    if (::bind(listener, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 || ::listen(listener, 16) != 0)
        return -1;
    return listener;
}

std::string textOf(const sockaddr_in6& address) {
    std::array<char, 65> text{};
    if (sentrel::Net_getAddrInfo(reinterpret_cast<const sockaddr*>(&address), sizeof address, text.data(),
                                 text.size()) != 0)
        return {};
    const std::string whole = text.data();
    const std::string mapped = "::ffff:"; // an IPv4 caller
    return whole.rfind(mapped, 0) == 0 ? whole.substr(mapped.size()) : whole;
}

void skipRequest(int connection) {
    std::string request;
    std::array<char, 1024> bytes{};
    while (request.size() < 16384 && request.find("\r\n\r\n") == std::string::npos) {
        const ssize_t count = ::recv(connection, bytes.data(), bytes.size(), 0);
        if (count <= 0)
            return;
        request.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

void answer(int connection, const sockaddr_in6& caller) {
    ::setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    ::setsockopt(connection, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    skipRequest(connection);
    const std::string body = "IP: " + textOf(caller) + "\r\n";
    const std::string reply =
        "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: " + std::to_string(body.size()) +
        "\r\nConnection: close\r\n\r\n" + body;
    ::send(connection, reply.data(), reply.size(), MSG_NOSIGNAL);
}

} // namespace

int main(int argc, char** argv) {
    const int port = argc == 2 ? std::atoi(argv[1]) : 80;
    const int listener = port >= 1 && port <= 65535 ? listenOn(static_cast<std::uint16_t>(port)) : -1;
    if (listener < 0) {
        std::perror("echo_server: cannot listen (usage: echo_server [port])");
        return 1;
    }
    for (;;) {
        sockaddr_in6 caller{};
        socklen_t length = sizeof caller;
        const int connection = ::accept4(listener, reinterpret_cast<sockaddr*>(&caller), &length, SOCK_CLOEXEC);
        if (connection < 0)
            continue;
        answer(connection, caller);
        ::close(connection);
    }
}
