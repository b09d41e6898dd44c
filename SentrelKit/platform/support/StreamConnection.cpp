// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/StreamConnection.h>

#include <SentrelKit/base/io/InputStream.h>
#include <SentrelKit/base/io/OutputStream.h>

#include <algorithm>
#include <chrono>

namespace sentrel::platform {

bool StreamConnection::write(std::string_view bytes) {
    OutputStream_write(output_, bytes.data(), static_cast<std::int32_t>(bytes.size()));
    return OutputStream_flush(output_) > 0;
}

std::size_t StreamConnection::read(std::span<char> bytes, std::int64_t milliseconds) {
    const std::int64_t timeout = InputStream_getTimeout(input_);
    InputStream_setTimeout(input_, milliseconds);
    const std::int32_t first = InputStream_read(input_);
    InputStream_setTimeout(input_, timeout);
    if (first < 0)
        return 0;
    bytes[0] = static_cast<char>(first);
    const auto rest = std::min<std::size_t>(bytes.size() - 1, static_cast<std::size_t>(InputStream_buffered(input_)));
    InputStream_readBytes(input_, bytes.data() + 1, static_cast<std::int32_t>(rest));
    return 1 + rest;
}

std::int64_t StreamConnection::milliseconds() const {
    using namespace std::chrono;
    return duration_cast<std::chrono::milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace sentrel::platform
