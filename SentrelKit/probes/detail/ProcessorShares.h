// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What processors did between two samples, in shares of the time. One thread at a time.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/ProcessorFacts.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace sentrel::probes {

/// The shares from one reading to another; absent if no tick lies between them. A count that stepped back counts as
/// nothing: the kernel takes waiting back when it turns out to be rest.
[[nodiscard]] SENTREL_API std::optional<ProcessorShares> processorShares(const platform::ProcessorTicks& before,
                                                                         const platform::ProcessorTicks& now) noexcept;

/// The same of each processor that is in both readings, by rising number; one without a tick between them is left out.
/// Takes no memory once `shares` has room.
SENTREL_API void coreShares(const std::vector<platform::NumberedTicks>& before,
                            const std::vector<platform::NumberedTicks>& now, std::vector<CoreShares>& shares);

} // namespace sentrel::probes
