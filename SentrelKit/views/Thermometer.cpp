// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Thermometer.h>

#include <SentrelKit/views/layers/Layer.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace sentrel {

namespace {

struct ThermalMark {
    const char* name;
    double angle; // radians, clockwise from the needle's place on the left
};

// By raw value. The angles are not evenly spaced: fair lies past the vertical already.
constexpr std::array<ThermalMark, 4> thermalmap{{{"nominal", 0.2}, {"fair", 1.8}, {"serious", 2.8}, {"critical", 3.1}}};

double angleOf(ThermalState state) noexcept {
    const auto index = static_cast<std::size_t>(state);
    return index < thermalmap.size() ? thermalmap[index].angle : 0.0;
}

// Where scale and needle lie in a view, which has its origin at the lower left.
struct Dial {
    Rect area;        ///< of the gradient
    Point center;     ///< of the ring, in the area
    double radius;    ///< of the ring's middle
    double thickness; ///< of the ring
    Rect needleFrame; ///< about the pivot in its middle
    double reach;     ///< from the pivot to the tip
    double base;      ///< half the needle's thickness at the pivot
};

// The ring is about a point 4 points below the view: only its upper arc shows. The needle's pivot lies 2 points above
// the view's lower edge.
Dial dialAsMade(Size size) noexcept {
    return {{0.0, 0.0, size.width, size.height},
            {size.width / 2.0, -4.0},
            size.height - 2.0,
            2.0,
            {0.0, 2.0 - size.height / 2.0, size.width, size.height},
            size.width / 2.0 - 15.0,
            2.0};
}

// The largest half ring in the middle of the view, in the proportions of one that is 64 points high, but never too thin
// to be seen.
Dial dialThatFits(Size size) noexcept {
    const double height = std::max(std::min(size.width / 2.0, size.height), 0.0);
    const double growth = height / 64.0;
    const double thickness = std::max(2.0 * growth, 1.5);
    const double base = std::max(2.0 * growth, 1.0);
    const double radius = height - thickness / 2.0;
    const double foot = (size.height - height) / 2.0;
    return {{size.width / 2.0 - height, foot, 2.0 * height, height},
            {height, 0.0},
            radius,
            thickness,
            {0.0, foot + base - size.height / 2.0, size.width, size.height},
            (radius - thickness / 2.0) * 0.8,
            base};
}

void lay(GradientLayer& scale, const Dial& dial) {
    Path ring;
    ring.appendArc(dial.center, dial.radius, 0.0, 360.0);
    ring = ring.cgPath();
    ring.setLineWidth(dial.thickness);
    ring.setLineCapStyle(LineCap::butt);
    ring.setLineJoinStyle(LineJoin::round);
    ring.setMiterLimit(1.0);
    auto mask = std::make_shared<ShapeLayer>();
    mask->setPath(ring);
    mask->setFillColor(std::nullopt);
    mask->setStrokeColor(FUIColor::black());
    scale.setFrame(dial.area);
    scale.setMask(std::move(mask));
}

void lay(ShapeLayer& needle, const Dial& dial) {
    const Point pivot{dial.needleFrame.width / 2.0, dial.needleFrame.height / 2.0};
    const double lead = dial.base / 2.0; // of the base before the pivot, and of the tip above the middle of the base
    Path triangle;
    triangle.moveTo({pivot.x - dial.reach, pivot.y + lead});
    triangle.lineTo({pivot.x + lead, pivot.y + dial.base});
    triangle.lineTo({pivot.x + lead, pivot.y - dial.base});
    triangle.close();
    needle.setFrame(dial.needleFrame);
    needle.setPath(triangle.cgPath());
}

} // namespace

Thermometer::Thermometer(Rect frame) : View(frame) {
    prepareLayer();
}

Thermometer::Thermometer(Coder& coder) : View(coder) {
    prepareLayer();
}

Thermometer::~Thermometer() = default;

void Thermometer::prepareLayer() {
    setWantsLayer(true);
    layer()->addSublayer(backgroundLayer());
    layer()->addSublayer(indicatorLayer());
}

const std::shared_ptr<GradientLayer>& Thermometer::backgroundLayer() {
    if (backgroundLayer_)
        return backgroundLayer_;
    backgroundLayer_ = std::make_shared<GradientLayer>();
    backgroundLayer_->setColors({FUIColor::peterRiver(), FUIColor::alizarin()});
    backgroundLayer_->setStartPoint({0.0, 0.0});
    backgroundLayer_->setEndPoint({1.0, 0.0});
    lay(*backgroundLayer_, dialAsMade({bounds().width, bounds().height}));
    return backgroundLayer_;
}

const std::shared_ptr<ShapeLayer>& Thermometer::indicatorLayer() {
    if (indicatorLayer_)
        return indicatorLayer_;
    indicatorLayer_ = std::make_shared<ShapeLayer>();
    indicatorLayer_->setAnchorPoint({0.5, 0.5});
    indicatorLayer_->setFillColor(indicatorColor_);
    lay(*indicatorLayer_, dialAsMade({frame().width, frame().height}));
    return indicatorLayer_;
}

void Thermometer::setScalesToFit(bool scalesToFit) {
    if (std::exchange(scalesToFit_, scalesToFit) != scalesToFit)
        layDial();
}

void Thermometer::layout() {
    if (scalesToFit_)
        layDial();
}

void Thermometer::layDial() {
    const Size size{bounds().width, bounds().height};
    const Dial dial = scalesToFit_ ? dialThatFits(size) : dialAsMade(size);
    lay(*backgroundLayer(), dial);
    lay(*indicatorLayer(), dial);
}

void Thermometer::setIndicatorColor(Color color) {
    indicatorColor_ = color;
    indicatorLayer()->setFillColor(color);
}

void Thermometer::setValue(std::optional<ThermalState> value) {
    const std::optional<ThermalState> previous = std::exchange(value_, value);
    if (value == previous)
        return;
    rotateIndicator(angleOf(previous.value_or(ThermalState::critical)), angleOf(value.value_or(ThermalState::nominal)));
}

void Thermometer::rotateIndicator(double from, double to) {
    BasicAnimation turn;
    turn.keyPath = "transform";
    turn.duration = 0.4;
    turn.timingFunction = TimingFunction::easeIn();
    turn.fromValue = Rotation{from, -1.0};
    turn.toValue = Rotation{to, -1.0};
    turn.fillMode = FillMode::forwards;
    turn.removedOnCompletion = false;
    indicatorLayer()->addAnimation(std::move(turn), "rotationTransform");
}

std::optional<std::string> Thermometer::accessibilityValue() const {
    if (!value_ || static_cast<std::size_t>(*value_) >= thermalmap.size())
        return std::nullopt;
    return thermalmap[static_cast<std::size_t>(*value_)].name;
}

} // namespace sentrel
