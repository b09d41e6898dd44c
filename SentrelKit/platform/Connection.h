// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace sentrel::platform {

/// A client's TCP connection; released, it is closed. One thread at a time.
class SENTREL_API Connection {
public:
    virtual ~Connection() = default;

    /// Sends all of the bytes, waiting at most 2 seconds whenever the other side takes none. False if that fails.
    virtual bool write(std::string_view bytes) = 0;

    /// Puts what has come into the caller's bytes and tells how many there were, waiting for the first one at most so
    /// many milliseconds. 0 at the end, on an error and when the time has passed.
    virtual std::size_t read(std::span<char> bytes, std::int64_t milliseconds) = 0;

    /// Milliseconds of the clock by which it waits, which never steps back. Its zero has no meaning.
    [[nodiscard]] virtual std::int64_t milliseconds() const = 0;
};

} // namespace sentrel::platform
