// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ForkGate.h>
#include <SentrelKit/platform/linux/common/Owner.h>

#include <array>
#include <cstdint>
#include <functional>
#include <libmnl/libmnl.h>
#include <vector>

namespace sentrel::platform {

/// Room for a small request.
class NetlinkRequest {
public:
    /// `flags` beside NLM_F_REQUEST: NLM_F_DUMP, or NLM_F_ACK for a single answer.
    NetlinkRequest(std::uint16_t type, std::uint16_t flags) noexcept;

    /// Adds the fixed structure that the request type begins with, all zero.
    template <class Extra>
    Extra& extra() noexcept {
        return *static_cast<Extra*>(mnl_nlmsg_put_extra_header(&header(), sizeof(Extra)));
    }
    [[nodiscard]] nlmsghdr& header() noexcept { return *reinterpret_cast<nlmsghdr*>(bytes_.data()); }

private:
    alignas(nlmsghdr) std::array<char, 256> bytes_{};
};

/// A kept netlink socket in the network namespace of the thread that first uses it. One thread at a time. Opened when
/// it is needed; opened anew after a failure and in a forked child, which would otherwise take its parent's answers.
class NetlinkSocket {
public:
    using Each = std::function<void(const nlmsghdr&)>;

    /// `protocol` is NETLINK_ROUTE or NETLINK_GENERIC; `groups` are the multicast groups to hear.
    explicit NetlinkSocket(int protocol, std::vector<unsigned> groups = {});

    /// Opens the socket unless it is open. False, with errno set, on failure.
    [[nodiscard]] bool open();

    /// Sends a request and hands over the messages of its answer until the kernel says that it is complete. An answer
    /// that changes while it is given is asked for again; `begin` is called before each attempt. False, with errno
    /// set, on failure.
    [[nodiscard]] bool ask(NetlinkRequest& request, const std::function<void()>& begin, const Each& each);

    /// Hands over the notices that have arrived, without waiting. False if the socket had to be opened or notices were
    /// lost: anything may have changed then.
    [[nodiscard]] bool takeNotices(const Each& each);

    /// For waiting; -1 while the socket is closed.
    [[nodiscard]] int descriptor() const noexcept { return socket_ ? mnl_socket_get_fd(socket_.get()) : -1; }

private:
    enum class Outcome { complete, interrupted, refused, broken };

    [[nodiscard]] bool connect();
    [[nodiscard]] bool isOurs() const noexcept;
    [[nodiscard]] Outcome receiveAnswer(const Each& each);

    int protocol_;
    std::vector<unsigned> groups_;
    Owner<mnl_socket, mnl_socket_close> socket_;
    unsigned generation_ = 0; // of the process that opened it
    std::uint32_t sequence_ = 0;
    std::vector<char> buffer_;
};

/// How far an answer has come.
enum class NetlinkProgress { more, complete, failed };

/// Hands over the messages in received bytes that answer the request of that number, and notes whether the answer was
/// interrupted. Failed comes with errno set.
[[nodiscard]] NetlinkProgress readNetlinkAnswer(const char* bytes, std::size_t size, std::uint32_t sequence,
                                                bool& interrupted, const NetlinkSocket::Each& each);

} // namespace sentrel::platform
