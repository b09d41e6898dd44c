// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/EchoReply.h>

#include <SentrelKit/base/io/InputStream.h>
#include <SentrelKit/base/util/Str.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>

namespace sentrel::probes {

namespace {

// The waits are those of real sockets, so their limit is of real time, under a scripted clock too.
std::int64_t monotonicMilliseconds() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

/// As InputStream_readLine, but a sender that trickles cannot hold a line up for longer than the reply may take.
class ReplyReader {
public:
    ReplyReader(InputStream* reply, const EchoReplyLimits& limits)
        : reply_(reply), pieceTimeout_(InputStream_getTimeout(reply)),
          deadline_(monotonicMilliseconds() + limits.milliseconds), bytesLeft_(limits.bytes) {}
    ~ReplyReader() { InputStream_setTimeout(reply_, pieceTimeout_); }
    ReplyReader(const ReplyReader&) = delete;
    ReplyReader& operator=(const ReplyReader&) = delete;

    bool readLine(char* line, std::size_t size) {
        std::size_t length = 0;
        while (length < size - 1) {
            const std::int32_t byte = read();
            if (byte <= 0)
                break;
            line[length++] = static_cast<char>(byte);
            if (byte == '\n')
                break;
        }
        line[length] = '\0';
        return length > 0;
    }

private:
    std::int32_t read() {
        if (bytesLeft_ == 0)
            return -1;
        if (InputStream_buffered(reply_) == 0) {
            const std::int64_t left = deadline_ - monotonicMilliseconds();
            if (left <= 0)
                return -1;
            InputStream_setTimeout(reply_, std::min(left, pieceTimeout_));
        }
        --bytesLeft_;
        return InputStream_read(reply_);
    }

    InputStream* reply_;
    std::int64_t pieceTimeout_;
    std::int64_t deadline_;
    std::int64_t bytesLeft_;
};

} // namespace

void readEchoReply(InputStream* reply, char* address, std::size_t size, const EchoReplyLimits& limits) {
    address[0] = '\0';
    ReplyReader reader(reply, limits);
    std::array<char, 256> line{};
    while (reader.readLine(line.data(), line.size())) {
        if (!Str_startsWith(line.data(), "IP"))
            continue;
        if (const char* colon = std::strchr(line.data(), ':')) {
            Str_copy(address, colon + 1, static_cast<std::int32_t>(size - 1));
            Str_trim(address);
        }
        return;
    }
}

} // namespace sentrel::probes
