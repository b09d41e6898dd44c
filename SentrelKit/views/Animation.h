#pragma once

/// Animations as values: what a layer's property is at a moment is a function of that moment. Main thread.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/Color.h>

#include <cstdint>
#include <string>
#include <variant>

namespace sentrel {

/// How far an animation is at a part of its time: a cubic curve from (0, 0) to (1, 1) with two control points.
class SENTREL_API TimingFunction {
public:
    constexpr TimingFunction(double x1, double y1, double x2, double y2) noexcept
        : x1_(x1), y1_(y1), x2_(x2), y2_(y2) {}

    [[nodiscard]] static constexpr TimingFunction linear() noexcept { return {0.0, 0.0, 1.0, 1.0}; }
    [[nodiscard]] static constexpr TimingFunction easeIn() noexcept { return {0.42, 0.0, 1.0, 1.0}; }
    [[nodiscard]] static constexpr TimingFunction easeOut() noexcept { return {0.0, 0.0, 0.58, 1.0}; }
    [[nodiscard]] static constexpr TimingFunction easeInEaseOut() noexcept { return {0.42, 0.0, 0.58, 1.0}; }

    /// The share of the way done after a share of the time, which is taken between 0 and 1.
    [[nodiscard]] double at(double time) const noexcept;

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
    double angle = 0.0;
    double z = 1.0;

    friend bool operator==(const Rotation&, const Rotation&) = default;
};

using AnimationValue = std::variant<std::monostate, Color, Rotation>;

/// What an animated property shows when its animation is over but still attached.
enum class FillMode : std::uint8_t {
    removed,  ///< the layer's own value again
    forwards, ///< the animation's last value
};

struct SENTREL_API BasicAnimation {
    std::string keyPath;      ///< "backgroundColor" with colours or "transform" with rotations
    AnimationValue fromValue; ///< absent: the layer's own value
    AnimationValue toValue;   ///< absent: the layer's own value
    double duration = 0.25;   ///< seconds; what is not above 0 is over at once
    TimingFunction timingFunction = TimingFunction::linear();
    FillMode fillMode = FillMode::removed;
    bool removedOnCompletion = true; ///< whether the layer drops it, and so its value, once it is over
    double beginTime = 0.0;          ///< media time; a layer sets it when the animation is added with 0

    /// Whether it still changes at a media time.
    [[nodiscard]] bool runsAt(double now) const noexcept;

    /// Whether it decides the property at a media time.
    [[nodiscard]] bool appliesAt(double now) const noexcept;

    /// The property's value at a media time, given the layer's own. Values of different kinds do not mix: then the
    /// layer's own.
    [[nodiscard]] AnimationValue valueAt(double now, const AnimationValue& own) const noexcept;
};

} // namespace sentrel
