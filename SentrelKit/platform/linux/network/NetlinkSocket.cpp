// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/NetlinkSocket.h>

#include <SentrelKit/platform/linux/network/NetlinkAttributes.h>

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>

namespace sentrel::platform {

namespace {

// The kernel fills at most this much in one message of a dump (NLMSG_GOODSIZE grows up to 32 KiB with the buffer).
constexpr std::size_t bufferSize = 32768;

// An answer may be interrupted again and again on a machine where interfaces come and go.
constexpr int maximumAttempts = 10;

// The kernel answers at once; this only ends the wait for an answer that was lost.
constexpr timeval answerTimeout{2, 0};

// One visit takes so many notices at most, so that a flood cannot hold a sample up.
constexpr int maximumNotices = 4096;

// Whether a whole message stands at that place. The library's own test takes a length beyond 2^31 for a small one.
bool isWhole(const nlmsghdr* message, int left) noexcept {
    return left >= static_cast<int>(sizeof(nlmsghdr)) && message->nlmsg_len <= static_cast<std::uint32_t>(left) &&
           mnl_nlmsg_ok(message, left);
}

} // namespace

NetlinkRequest::NetlinkRequest(std::uint16_t type, std::uint16_t flags) noexcept {
    nlmsghdr* message = mnl_nlmsg_put_header(bytes_.data());
    message->nlmsg_type = type;
    message->nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | flags);
}

NetlinkSocket::NetlinkSocket(int protocol, std::vector<unsigned> groups)
    : protocol_(protocol), groups_(std::move(groups)) {}

bool NetlinkSocket::isOurs() const noexcept {
    return socket_ && generation_ == ForkGate::generation();
}

bool NetlinkSocket::open() {
    return isOurs() || connect();
}

bool NetlinkSocket::connect() {
    buffer_.resize(bufferSize);
    socket_.reset(mnl_socket_open2(protocol_, SOCK_CLOEXEC));
    bool connected = socket_ && mnl_socket_bind(socket_.get(), 0, MNL_SOCKET_AUTOPID) == 0 &&
                     ::setsockopt(descriptor(), SOL_SOCKET, SO_RCVTIMEO, &answerTimeout, sizeof answerTimeout) == 0;
    for (unsigned group : groups_)
        connected =
            connected && mnl_socket_setsockopt(socket_.get(), NETLINK_ADD_MEMBERSHIP, &group, sizeof group) == 0;
    if (!connected) {
        const int reason = errno;
        socket_.reset();
        errno = reason;
    }
    generation_ = ForkGate::generation();
    return connected;
}

bool NetlinkSocket::ask(NetlinkRequest& request, const std::function<void()>& begin, const Each& each) {
    for (int attempt = 0; attempt < maximumAttempts; ++attempt) {
        if (!open())
            return false;
        request.header().nlmsg_seq = ++sequence_;
        begin();
        Outcome outcome = Outcome::broken;
        if (mnl_socket_sendto(socket_.get(), &request.header(), request.header().nlmsg_len) >= 0)
            outcome = receiveAnswer(each);
        if (outcome == Outcome::broken) {
            // What is left of a broken answer must not stand in the way of the next one.
            const int reason = errno;
            socket_.reset();
            errno = reason;
        }
        if (outcome != Outcome::interrupted)
            return outcome == Outcome::complete;
    }
    errno = EINTR;
    return false;
}

NetlinkSocket::Outcome NetlinkSocket::receiveAnswer(const Each& each) {
    bool interrupted = false;
    for (;;) {
        const ssize_t size = mnl_socket_recvfrom(socket_.get(), buffer_.data(), buffer_.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            return Outcome::broken;
        switch (readNetlinkAnswer(buffer_.data(), static_cast<std::size_t>(size), sequence_, interrupted, each)) {
        case NetlinkProgress::more:
            break;
        case NetlinkProgress::complete:
            return interrupted ? Outcome::interrupted : Outcome::complete;
        case NetlinkProgress::failed:
            return Outcome::refused;
        }
    }
}

NetlinkProgress readNetlinkAnswer(const char* bytes, std::size_t size, std::uint32_t sequence, bool& interrupted,
                                  const NetlinkSocket::Each& each) {
    const auto* message = reinterpret_cast<const nlmsghdr*>(bytes);
    for (auto left = static_cast<int>(size); isWhole(message, left); message = mnl_nlmsg_next(message, &left)) {
        if (message->nlmsg_seq != sequence)
            continue;
        if ((message->nlmsg_flags & NLM_F_DUMP_INTR) != 0)
            interrupted = true;
        if (message->nlmsg_type == NLMSG_DONE) {
            const int* code = headerOf<int>(payloadOf(*message));
            if (!code || *code >= 0)
                return NetlinkProgress::complete;
            errno = -*code;
            return NetlinkProgress::failed;
        }
        if (message->nlmsg_type == NLMSG_ERROR) {
            const auto* answer = headerOf<nlmsgerr>(payloadOf(*message));
            if (answer && answer->error == 0)
                return NetlinkProgress::complete;
            errno = answer ? -answer->error : EBADMSG;
            return NetlinkProgress::failed;
        }
        if (message->nlmsg_type >= NLMSG_MIN_TYPE)
            each(*message);
    }
    return NetlinkProgress::more;
}

bool NetlinkSocket::takeNotices(const Each& each) {
    if (!isOurs()) {
        static_cast<void>(connect());
        return false;
    }
    bool whole = true;
    for (int count = 0; count < maximumNotices; ++count) {
        const ssize_t size = ::recv(descriptor(), buffer_.data(), buffer_.size(), MSG_DONTWAIT);
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0) {
            // ENOBUFS: the kernel dropped notices; those that follow are whole again.
            if (errno == ENOBUFS) {
                whole = false;
                continue;
            }
            return whole && (errno == EAGAIN || errno == EWOULDBLOCK);
        }
        const auto* message = reinterpret_cast<const nlmsghdr*>(buffer_.data());
        for (auto left = static_cast<int>(size); isWhole(message, left); message = mnl_nlmsg_next(message, &left))
            each(*message);
    }
    return false;
}

} // namespace sentrel::platform
