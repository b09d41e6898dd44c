// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Animations as values: what a layer's property is at a moment is a function of that moment. Main thread.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/drawing/Color.h>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <variant>

namespace sentrel {

/// How far an animation is at a part of its time: a cubic curve from (0, 0) to (1, 1) with two control points. Any
/// thread.
class SENTREL_API TimingFunction {
public:
    /// The curve with its control points at (x1, y1) and (x2, y2). The x are taken to lie between 0 and 1.
    constexpr TimingFunction(double x1, double y1, double x2, double y2) noexcept
        : x1_(x1), y1_(y1), x2_(x2), y2_(y2) {}

    /// Even speed.
    [[nodiscard]] static constexpr TimingFunction linear() noexcept { return {0.0, 0.0, 1.0, 1.0}; }

    /// A slow start and full speed at the end.
    [[nodiscard]] static constexpr TimingFunction easeIn() noexcept { return {0.42, 0.0, 1.0, 1.0}; }

    /// Full speed at the start and a slow end.
    [[nodiscard]] static constexpr TimingFunction easeOut() noexcept { return {0.0, 0.0, 0.58, 1.0}; }

    /// A slow start and a slow end.
    [[nodiscard]] static constexpr TimingFunction easeInEaseOut() noexcept { return {0.42, 0.0, 0.58, 1.0}; }

    /// The share of the way done after a share of the time, which is taken between 0 and 1.
    [[nodiscard]] double at(double time) const noexcept;

    /// Whether the control points are equal.
    friend bool operator==(const TimingFunction&, const TimingFunction&) = default;

private:
    double x1_;
    double y1_;
    double x2_;
    double y2_;
};

/// A turn by `angle` radians about the axis (0, 0, z): counter-clockwise for a positive z where y grows upward,
/// clockwise for a negative one.
struct Rotation {
    double angle = 0.0; ///< radians, not reduced
    double z = 1.0;     ///< only its sign matters

    /// Whether both fields are equal.
    friend bool operator==(const Rotation&, const Rotation&) = default;
};

/// What an animation sets: nothing, a colour, a turn or a number.
using AnimationValue = std::variant<std::monostate, Color, Rotation, double>;

/// What an animated property shows when its animation is over but still attached.
enum class FillMode : std::uint8_t {
    removed,  ///< the layer's own value again
    forwards, ///< the animation's last value
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, FillMode value);

/// A change of one property of a layer over a time. A value; main thread like the layer.
struct SENTREL_API BasicAnimation {
    std::string keyPath;      ///< "backgroundColor" with colours, "transform" with rotations, any other with numbers
    AnimationValue fromValue; ///< absent: the layer's own value
    AnimationValue toValue;   ///< absent: the layer's own value
    double duration = 0.25;   ///< seconds; what is not above 0 is over at once
    TimingFunction timingFunction = TimingFunction::linear(); ///< the way done by a part of the duration
    FillMode fillMode = FillMode::removed;                    ///< what shows when it is over but still attached
    bool removedOnCompletion = true; ///< whether the layer drops it, and so its value, once it is over
    double beginTime = 0.0;          ///< media time, seconds; a layer sets it when the animation is added with 0

    /// Whether it still changes at a media time, in seconds.
    [[nodiscard]] bool runsAt(double now) const noexcept;

    /// Whether it decides the property at a media time, in seconds.
    [[nodiscard]] bool appliesAt(double now) const noexcept;

    /// The property's value at a media time, given the layer's own. Values of different kinds do not mix: then the
    /// layer's own.
    [[nodiscard]] AnimationValue valueAt(double now, const AnimationValue& own) const noexcept;
};

} // namespace sentrel
