// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/UniqueFd.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace sentrel::platform {

/// A file of /sys that holds one whole number and is read at each sample. One thread at a time.
class NumberFile {
public:
    /// Whether the file stays open between the readings: that spares two of three system calls and costs a descriptor.
    enum class Keeping : std::uint8_t { open, closed };

    /// The file at that real path, which need not be there.
    explicit NumberFile(std::string path, Keeping keeping = Keeping::open) noexcept
        : path_(std::move(path)), keeping_(keeping) {}

    /// The number; absent, with errno set, if the file cannot be read or holds none (EINVAL). Takes no memory.
    [[nodiscard]] std::optional<std::int64_t> read() noexcept;

private:
    std::string path_;
    Keeping keeping_;
    UniqueFd file_;
};

} // namespace sentrel::platform
