// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Threshold.h>

#include <cmath>

namespace sentrel {

// Whether a figure is where the next change would be told.
bool Threshold::isOnOtherSide(double figure) const noexcept {
    const bool isFallen = limits_.back > limits_.limit;
    if (isCrossed_)
        return isFallen ? figure > limits_.back : figure < limits_.back;
    return isFallen ? figure <= limits_.limit : figure >= limits_.limit;
}

void Threshold::measure(std::optional<double> figure) {
    if (!figure || std::isnan(*figure))
        return;
    if (!isOnOtherSide(*figure)) {
        otherSideSince_.reset();
        return;
    }
    const std::int64_t now = clock_.monotonicNanoseconds();
    if (!otherSideSince_)
        otherSideSince_ = now;
    if (now - *otherSideSince_ < limits_.leastDuration.count())
        return;
    otherSideSince_.reset();
    isCrossed_ = !isCrossed_;
    onCrossed_.fire({isCrossed_, *figure}); // last: it may destroy the threshold
}

} // namespace sentrel
