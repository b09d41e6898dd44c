// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Connection.h>

namespace sentrel {
struct InputStream;
struct OutputStream;
} // namespace sentrel

namespace sentrel::platform {

/// A connection made of streams that somebody else owns. It waits in real time, whatever clock is in force.
class StreamConnection final : public Connection {
public:
    /// The streams, which outlive it; none to write to where nothing is written.
    explicit StreamConnection(InputStream* input, OutputStream* output = nullptr) : input_(input), output_(output) {}

    bool write(std::string_view bytes) override;
    std::size_t read(std::span<char> bytes, std::int64_t milliseconds) override;
    [[nodiscard]] std::int64_t milliseconds() const override;

private:
    InputStream* input_;
    OutputStream* output_;
};

} // namespace sentrel::platform
