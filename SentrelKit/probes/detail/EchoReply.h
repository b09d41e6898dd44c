// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The reply of an echo host: the address in its first line that begins with "IP".

#include <cstddef>
#include <cstdint>

namespace sentrel {

namespace platform {
class Connection;
}

namespace probes {

/// What is read of a reply at most.
struct EchoReplyLimits {
    std::int64_t milliseconds = 30'000;     ///< for the whole reply, however slowly it trickles in
    std::int64_t pieceMilliseconds = 2'000; ///< for each piece of it
    std::int64_t bytes = 1 << 20;           ///< of the reply
};

/// Reads the reply line by line up to the first line that begins with "IP", in any case, and puts what follows its
/// first ":", without white space around it, into `address`, at most `size` - 1 bytes. Empty if that line has no ":" or
/// there is no such line. A line counts up to 255 bytes; the rest of a longer one is a line of its own, and a zero byte
/// ends the reply at the start of a line and the line elsewhere.
void readEchoReply(platform::Connection& reply, char* address, std::size_t size, const EchoReplyLimits& limits = {});

} // namespace probes
} // namespace sentrel
