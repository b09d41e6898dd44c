// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/layers/Animation.h>

#include <algorithm>

namespace sentrel {

namespace {

// One coordinate of the curve at its parameter, for end points 0 and 1.
double bezier(double control1, double control2, double t) noexcept {
    const double u = 1.0 - t;
    return 3.0 * u * u * t * control1 + 3.0 * u * t * t * control2 + t * t * t;
}

AnimationValue mix(const AnimationValue& from, const AnimationValue& to, double share,
                   const AnimationValue& own) noexcept {
    if (const auto* start = std::get_if<Color>(&from))
        if (const auto* end = std::get_if<Color>(&to))
            return start->blendedColor(share, *end);
    if (const auto* start = std::get_if<Rotation>(&from))
        if (const auto* end = std::get_if<Rotation>(&to)) {
            const double first = start->z < 0.0 ? -start->angle : start->angle;
            const double last = end->z < 0.0 ? -end->angle : end->angle;
            const double angle = first * (1.0 - share) + last * share;
            return end->z < 0.0 ? Rotation{-angle, -1.0} : Rotation{angle, 1.0};
        }
    if (const auto* start = std::get_if<double>(&from))
        if (const auto* end = std::get_if<double>(&to))
            return *start * (1.0 - share) + *end * share;
    return own;
}

} // namespace

double TimingFunction::at(double time) const noexcept {
    if (!(time > 0.0))
        return 0.0;
    if (time >= 1.0)
        return 1.0;
    // The time grows with the parameter: halve until the parameter is known to the last bit that shows.
    double low = 0.0;
    double high = 1.0;
    for (int i = 0; i < 52; ++i) {
        const double middle = (low + high) / 2.0;
        (bezier(x1_, x2_, middle) < time ? low : high) = middle;
    }
    return bezier(y1_, y2_, (low + high) / 2.0);
}

bool BasicAnimation::runsAt(double now) const noexcept {
    return now < beginTime + duration;
}

bool BasicAnimation::appliesAt(double now) const noexcept {
    return runsAt(now) || (!removedOnCompletion && fillMode == FillMode::forwards);
}

AnimationValue BasicAnimation::valueAt(double now, const AnimationValue& own) const noexcept {
    const bool fromOwn = std::holds_alternative<std::monostate>(fromValue);
    const bool toOwn = std::holds_alternative<std::monostate>(toValue);
    const double time = runsAt(now) ? (now - beginTime) / duration : 1.0;
    return mix(fromOwn ? own : fromValue, toOwn ? own : toValue, timingFunction.at(time), own);
}

} // namespace sentrel
