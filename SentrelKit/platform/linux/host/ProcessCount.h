// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstdint>
#include <optional>

namespace sentrel::platform {

/// How many processes there are, without walking them: the kernel counts each as a link of /proc (proc_root_getattr),
/// beside the folders that stand there for good. One thread at a time.
class ProcessCount {
public:
    explicit ProcessCount(SystemRoot root) : root_(std::move(root)) {}

    /// Opens /proc unless it is open; false, with errno set, if it cannot be.
    [[nodiscard]] bool open() noexcept;

    /// The number; absent, with errno set, if /proc is not open or does not count its links.
    [[nodiscard]] std::optional<std::uint32_t> read() noexcept;

private:
    // Counts the folders that are no processes. A driver that is loaded may add one, so this is done again now and
    // then.
    [[nodiscard]] bool countStanding() noexcept;

    static constexpr std::uint32_t samplesBetweenCounts = 256;

    SystemRoot root_;
    UniqueFd folder_;
    std::uint64_t standing_ = 0;
    std::uint32_t samples_ = 0;
};

} // namespace sentrel::platform
