// SPDX-License-Identifier: Apache-2.0
/// A minimal echo host: an HTTP server that answers each caller with its own address, in the line that
/// `probes::_getPublicAddress` looks for.
///
///     echo_server 8080 &
///     SENTREL_ECHO_HOST=localhost SENTREL_ECHO_PORT=8080 your_program
///
/// The port 0 takes a free one. One thread serves all callers, each as soon as its request is there: one who is slow,
/// or says nothing at all, keeps nobody waiting. Where room or descriptors run out, the oldest caller goes.

#include <SentrelKit/base/system/Net.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t mostCallers = 64;
constexpr std::size_t longestRequest = 16384;   // bytes
constexpr std::chrono::seconds patience{5};     // for a whole request
constexpr std::chrono::milliseconds pause{100}; // before the next try to accept when there are no descriptors

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0)
            ::close(number_);
    }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    [[nodiscard]] int get() const { return number_; }

private:
    int number_;
};

/// Makes a socket one that nobody waits at, and that is not handed on to other programs.
void neverBlock(int socket) {
    ::fcntl(socket, F_SETFD, FD_CLOEXEC);
    ::fcntl(socket, F_SETFL, O_NONBLOCK);
}

struct Caller {
    Descriptor connection;
    std::string address;
    Clock::time_point end = Clock::now() + patience;
    std::string request{};
    bool served = false;
};

std::string textOf(const sockaddr_in6& address) {
    std::array<char, 65> text{};
    if (sentrel::Net_getAddrInfo(reinterpret_cast<const sockaddr*>(&address), sizeof address, text.data(),
                                 text.size()) != 0)
        return {};
    const std::string whole = text.data();
    const std::string mapped = "::ffff:"; // an IPv4 caller
    return whole.rfind(mapped, 0) == 0 ? whole.substr(mapped.size()) : whole;
}

/// Answers, as far as the connection takes it at once: a new connection has room for much more than this.
void answer(Caller& caller) {
    const std::string body = "IP: " + caller.address + "\r\n";
    const std::string reply =
        "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: " + std::to_string(body.size()) +
        "\r\nConnection: close\r\n\r\n" + body;
    ::send(caller.connection.get(), reply.data(), reply.size(), MSG_NOSIGNAL);
    caller.served = true;
}

/// Reads what is there of the request, and answers once it is whole.
void serve(Caller& caller) {
    std::array<char, 1024> bytes{};
    const ssize_t count = ::recv(caller.connection.get(), bytes.data(), bytes.size(), 0);
    if (count < 0) {
        caller.served = errno != EAGAIN && errno != EINTR;
        return;
    }
    caller.request.append(bytes.data(), static_cast<std::size_t>(count));
    if (count == 0 || caller.request.find("\r\n\r\n") != std::string::npos || caller.request.size() >= longestRequest)
        answer(caller);
}

/// A listening socket and those who called.
class Server {
public:
    explicit Server(Descriptor listener) : listener_(std::move(listener)) {}

    /// Waits until something happens, and sees to it.
    void turn() {
        std::vector<pollfd> watched;
        for (const Caller& caller : callers_)
            watched.push_back({caller.connection.get(), POLLIN, 0});
        const bool paused = Clock::now() < acceptsAgain_;
        if (!paused)
            watched.push_back({listener_.get(), POLLIN, 0});
        if (::poll(watched.data(), static_cast<nfds_t>(watched.size()), wait(paused)) < 0)
            return;
        for (std::size_t i = 0; i < callers_.size(); ++i)
            if (watched[i].revents != 0)
                serve(callers_[i]);
        const auto isOver = [now = Clock::now()](const Caller& caller) { return caller.served || caller.end <= now; };
        callers_.erase(std::remove_if(callers_.begin(), callers_.end(), isOver), callers_.end());
        if (!paused && watched.back().revents != 0)
            accept();
    }

private:
    /// Milliseconds until the first caller's patience or the pause is over; -1 for ever.
    [[nodiscard]] int wait(bool paused) const {
        std::optional<Clock::time_point> next;
        if (!callers_.empty())
            next = callers_.front().end;
        if (paused)
            next = next ? std::min(*next, acceptsAgain_) : acceptsAgain_;
        if (!next)
            return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*next - Clock::now());
        return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
    }

    void accept() {
        if (callers_.size() == mostCallers)
            callers_.erase(callers_.begin());
        sockaddr_in6 address{};
        socklen_t length = sizeof address;
        const int connection = ::accept(listener_.get(), reinterpret_cast<sockaddr*>(&address), &length);
        if (connection >= 0) {
            neverBlock(connection);
            callers_.push_back({Descriptor(connection), textOf(address)});
        } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
            // The caller stays in line, and the listening socket ready: watching on would only spin.
            if (callers_.empty())
                acceptsAgain_ = Clock::now() + pause;
            else
                callers_.erase(callers_.begin());
        }
    }

    Descriptor listener_;
    std::vector<Caller> callers_; // the oldest first
    Clock::time_point acceptsAgain_{};
};

/// A socket that listens on both kinds of addresses, -1 if it cannot.
int listenOn(std::uint16_t port) {
    const int listener = ::socket(AF_INET6, SOCK_STREAM, 0);
    neverBlock(listener);
    const int yes = 1;
    const int no = 0;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    ::setsockopt(listener, IPPROTO_IPV6, IPV6_V6ONLY, &no, sizeof no);
    sockaddr_in6 place{};
    place.sin6_family = AF_INET6;
    place.sin6_addr = in6addr_any;
    place.sin6_port = htons(port);
    socklen_t length = sizeof place;
    if (::bind(listener, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 ||
        ::listen(listener, SOMAXCONN) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&place), &length) != 0)
        return -1;
    std::printf("echo_server: port %u\n", unsigned{ntohs(place.sin6_port)});
    std::fflush(stdout);
    return listener;
}

std::optional<std::uint16_t> parsePort(std::string_view text) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return port;
}

} // namespace

int main(int argc, char** argv) {
    const std::optional<std::uint16_t> port = argc == 1 ? 80 : argc == 2 ? parsePort(argv[1]) : std::nullopt;
    if (!port) {
        std::fputs("usage: echo_server [port]\n", stderr);
        return 2;
    }
    const int listener = listenOn(*port);
    if (listener < 0) {
        std::perror("echo_server: cannot listen");
        return 1;
    }
    Server server{Descriptor(listener)};
    for (;;)
        server.turn();
}
