// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/power/PowerFigures.h>

#include <atomic>
#include <utility>

namespace sentrel::platform {

/// Reads the machine's power figures. Remembers that there was a battery: when its device goes, the bay stays, empty,
/// so that hosts hear of a battery that is pulled. Any thread.
class PowerReader {
public:
    explicit PowerReader(SystemRoot root) : root_(std::move(root)) {}

    [[nodiscard]] PowerFigures read();

private:
    const SystemRoot root_;
    std::atomic<bool> hasBay_{false};
};

} // namespace sentrel::platform
