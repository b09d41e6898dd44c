// SPDX-License-Identifier: Apache-2.0
// The reply of an echo host, over a pipe that ends with it.

#include <SentrelKit/base/io/InputStream.h>
#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/support/StreamConnection.h>
#include <SentrelKit/probes/detail/EchoReply.h>

#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::array<int, 2> ends{};
    if (size > 60000 || ::pipe(ends.data()) != 0)
        return 0;
    const bool written = size == 0 || ::write(ends[1], data, size) == static_cast<ssize_t>(size);
    ::close(ends[1]);
    std::array<char, 65> address{};
    address.fill('?');
    sentrel::InputStream* stream = sentrel::InputStream_new(ends[0]);
    sentrel::platform::StreamConnection reply(stream);
    sentrel::probes::readEchoReply(reply, address.data(), address.size());
    sentrel::InputStream_free(&stream);
    ::close(ends[0]);
    SENTREL_ASSERT(written);
    const std::size_t length = ::strnlen(address.data(), address.size());
    SENTREL_ASSERT(length < address.size());
    SENTREL_ASSERT(length == 0 || (!std::isspace(static_cast<unsigned char>(address[0])) &&
                                   !std::isspace(static_cast<unsigned char>(address[length - 1]))));
    return 0;
}
