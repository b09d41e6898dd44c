// SPDX-License-Identifier: Apache-2.0
// The line reader: any bytes, in pieces of any size, into buffers of any size. The lines put together are the bytes
// sent, without the zero bytes that end a line.

#include <SentrelKit/base/io/InputStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

using namespace sentrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2 || size > 60000)
        return 0;
    const auto lineSize = static_cast<std::int32_t>(2 + data[0] * 8);
    const std::size_t pieceSize = 1 + std::size_t{data[1]} * 16;
    const std::string sent(reinterpret_cast<const char*>(data) + 2, size - 2);
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends) != 0)
        std::abort();
    InputStream* stream = InputStream_new(ends[0]);
    InputStream_setTimeout(stream, 0);
    std::string line(static_cast<std::size_t>(lineSize), '#');
    std::string received;
    for (std::size_t position = 0; position < sent.size() || InputStream_buffered(stream) > 0;) {
        const std::string piece = sent.substr(std::min(position, sent.size()), pieceSize);
        if (write(ends[1], piece.data(), piece.size()) != static_cast<ssize_t>(piece.size()))
            std::abort();
        position += piece.size();
        for (;;) {
            const char* got = InputStream_readLine(stream, line.data(), lineSize);
            if (!got && InputStream_buffered(stream) == 0)
                break; // an empty line before a zero byte is none as well, with more behind it
            const std::string text = got ? got : "";
            const std::size_t lineEnd = text.find('\n');
            if (text.size() >= static_cast<std::size_t>(lineSize) ||
                (lineEnd != std::string::npos && lineEnd + 1 != text.size()))
                std::abort();
            received += text;
        }
    }
    std::string expected;
    for (const char c : sent)
        if (c != '\0')
            expected += c;
    if (received != expected || InputStream_isClosed(stream))
        std::abort();
    InputStream_free(&stream);
    close(ends[0]);
    close(ends[1]);
    return 0;
}
