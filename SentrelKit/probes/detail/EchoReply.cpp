// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/EchoReply.h>

#include <SentrelKit/base/util/Str.h>
#include <SentrelKit/platform/Connection.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace sentrel::probes {

namespace {

/// As InputStream_readLine, but a sender that trickles cannot hold a line up for longer than the reply may take.
class ReplyReader {
public:
    ReplyReader(platform::Connection& reply, const EchoReplyLimits& limits)
        : reply_(reply), limits_(limits), deadline_(reply.milliseconds() + limits.milliseconds),
          bytesLeft_(limits.bytes) {}

    bool readLine(char* line, std::size_t size) {
        std::size_t length = 0;
        while (length < size - 1) {
            const int byte = read();
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
    int read() {
        if (bytesLeft_ == 0 || (buffered_.empty() && !fill()))
            return -1;
        --bytesLeft_;
        const char byte = buffered_.front();
        buffered_ = buffered_.subspan(1);
        return static_cast<unsigned char>(byte);
    }

    bool fill() {
        const std::int64_t left = deadline_ - reply_.milliseconds();
        if (left <= 0)
            return false;
        const std::size_t count = reply_.read(buffer_, std::min(left, limits_.pieceMilliseconds));
        buffered_ = std::span<const char>(buffer_).first(count);
        return count > 0;
    }

    platform::Connection& reply_;
    const EchoReplyLimits limits_;
    const std::int64_t deadline_;
    std::int64_t bytesLeft_;
    std::array<char, 1500> buffer_{};
    std::span<const char> buffered_;
};

} // namespace

void readEchoReply(platform::Connection& reply, char* address, std::size_t size, const EchoReplyLimits& limits) {
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
