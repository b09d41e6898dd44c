// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Sockets.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace sentrel {

/// The number of descriptors that this process has open.
inline std::size_t openDescriptors() {
    std::size_t count = 0;
    DIR* folder = opendir("/dev/fd");
    while (const dirent* entry = folder ? readdir(folder) : nullptr)
        count += entry->d_name[0] != '.';
    closedir(folder);
    return count;
}

/// A descriptor of a test, closed at the end of its scope.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) : fd_(closedOnExec(fd)) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }

    [[nodiscard]] int get() const { return fd_; }
    void close() {
        if (fd_ >= 0)
            ::close(std::exchange(fd_, -1));
    }
    [[nodiscard]] int release() { return std::exchange(fd_, -1); }

    /// Writes everything, waiting as long as it takes; false when the other side is gone.
    [[nodiscard]] bool send(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t count = sendWithoutSignal(fd_, bytes.data(), bytes.size());
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                return false;
            bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }

    /// Reads until `count` bytes are there, the end, an error, or ten seconds without a byte.
    [[nodiscard]] std::string receive(std::size_t count) const {
        std::string bytes(count, '\0');
        std::size_t filled = 0;
        while (filled < count) {
            pollfd watched{fd_, POLLIN, 0};
            if (poll(&watched, 1, 10000) <= 0)
                break;
            const ssize_t got = ::read(fd_, bytes.data() + filled, count - filled);
            if (got <= 0)
                break;
            filled += static_cast<std::size_t>(got);
        }
        bytes.resize(filled);
        return bytes;
    }

    /// Closes by a reset.
    void reset() {
        const linger now{1, 0};
        setsockopt(fd_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
        close();
    }

private:
    int fd_;
};

/// A listening TCP socket on a loopback address and a free port.
class Listener {
public:
    explicit Listener(const std::string& host = "127.0.0.1", int backlog = 16) {
        address6_ = host.find(':') != std::string::npos;
        descriptor_ = Descriptor(socket(address6_ ? AF_INET6 : AF_INET, SOCK_STREAM, 0));
        sockaddr_storage address{};
        socklen_t size = fill(address, host);
        if (bind(descriptor_.get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            listen(descriptor_.get(), backlog) != 0 ||
            getsockname(descriptor_.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
            throw std::runtime_error("cannot listen on " + host + ": " + std::strerror(errno));
        port_ = ntohs(address6_ ? reinterpret_cast<sockaddr_in6*>(&address)->sin6_port
                                : reinterpret_cast<sockaddr_in*>(&address)->sin_port);
    }

    [[nodiscard]] int port() const { return port_; }
    [[nodiscard]] int get() const { return descriptor_.get(); }
    [[nodiscard]] Descriptor accept() const { return Descriptor(::accept(get(), nullptr, nullptr)); }
    void close() { descriptor_.close(); }

private:
    socklen_t fill(sockaddr_storage& address, const std::string& host) const {
        if (address6_) {
            auto* in6 = reinterpret_cast<sockaddr_in6*>(&address);
            in6->sin6_family = AF_INET6;
            inet_pton(AF_INET6, host.c_str(), &in6->sin6_addr);
            return sizeof *in6;
        }
        auto* in = reinterpret_cast<sockaddr_in*>(&address);
        in->sin_family = AF_INET;
        inet_pton(AF_INET, host.c_str(), &in->sin_addr);
        return sizeof *in;
    }

    bool address6_ = false;
    Descriptor descriptor_;
    int port_ = 0;
};

/// A connected TCP pair over loopback: `near` non-blocking, as the library's own sockets are, `far` blocking.
struct Connection {
    /// Segments are as long as the system likes, or at most as given.
    explicit Connection(int longestSegment = 0) {
        const Listener listener;
        near = Descriptor(socket(AF_INET, SOCK_STREAM, 0));
        if (longestSegment > 0)
            setsockopt(near.get(), IPPROTO_TCP, TCP_MAXSEG, &longestSegment, sizeof longestSegment);
        sockaddr_in address{};
        socklen_t size = sizeof address;
        getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size);
        if (connect(near.get(), reinterpret_cast<sockaddr*>(&address), size) != 0)
            throw std::runtime_error("cannot connect");
        far = listener.accept();
        const int on = 1;
        setsockopt(far.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        fcntl(near.get(), F_SETFL, fcntl(near.get(), F_GETFL) | O_NONBLOCK);
    }

    /// The same over a local pair instead of TCP, whose buffers, once full, stay full: no segment is still on its way.
    [[nodiscard]] static Connection local() {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
            throw std::runtime_error("cannot make a pair");
        fcntl(ends[0], F_SETFL, fcntl(ends[0], F_GETFL) | O_NONBLOCK);
        return {Descriptor(ends[0]), Descriptor(ends[1])};
    }

    /// Writes to the near side until nothing more fits. Returns how many bytes that took.
    [[nodiscard]] std::size_t fillUp() const {
        const std::string bytes(65536, 'x');
        std::size_t total = 0;
        // Full is what stays full: the system goes on moving bytes to the other side for a while.
        for (int refused = 0; refused < 3;) {
            const ssize_t count = sendWithoutSignal(near.get(), bytes.data(), refused > 0 ? 1 : bytes.size());
            if (count > 0) {
                total += static_cast<std::size_t>(count);
                refused = 0;
            } else {
                ++refused;
                pollfd watched{near.get(), POLLOUT, 0};
                poll(&watched, 1, 10);
            }
        }
        return total;
    }

    Descriptor near;
    Descriptor far;

private:
    Connection(Descriptor nearSide, Descriptor farSide) : near(std::move(nearSide)), far(std::move(farSide)) {}
};

/// Milliseconds of real time since the object was made.
class Stopwatch {
public:
    [[nodiscard]] long long milliseconds() const {
        const auto passed = std::chrono::steady_clock::now() - start_;
        return std::chrono::duration_cast<std::chrono::milliseconds>(passed).count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace sentrel
