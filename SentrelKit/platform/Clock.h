// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/WallClock.h>

#include <cstdint>

namespace sentrel::platform {

/// The machine's clocks. Any thread.
class SENTREL_API Clock : public WallClock {
public:
    /// Nanoseconds of a clock that never steps back, for deadlines and animations. Its zero has no meaning.
    [[nodiscard]] virtual std::int64_t monotonicNanoseconds() noexcept = 0;
};

} // namespace sentrel::platform
