// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Thermometer.h>

#include <SentrelKit/views/layers/Layer.h>

#include <array>
#include <cstddef>

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
    const Rect area = bounds();

    // A ring about a point 4 points below the view: only its upper arc shows.
    Path ring;
    ring.appendArc({area.width / 2.0, -4.0}, area.height - 2.0, 0.0, 360.0);
    ring = ring.cgPath();
    ring.setLineWidth(2.0);
    ring.setLineCapStyle(LineCap::butt);
    ring.setLineJoinStyle(LineJoin::round);
    ring.setMiterLimit(1.0);
    auto mask = std::make_shared<ShapeLayer>();
    mask->setPath(ring);
    mask->setFillColor(std::nullopt);
    mask->setStrokeColor(FUIColor::black());

    backgroundLayer_ = std::make_shared<GradientLayer>();
    backgroundLayer_->setFrame(area);
    backgroundLayer_->setColors({FUIColor::peterRiver(), FUIColor::alizarin()});
    backgroundLayer_->setStartPoint({0.0, 0.0});
    backgroundLayer_->setEndPoint({1.0, 0.0});
    backgroundLayer_->setMask(std::move(mask));
    return backgroundLayer_;
}

const std::shared_ptr<ShapeLayer>& Thermometer::indicatorLayer() {
    if (indicatorLayer_)
        return indicatorLayer_;
    const double width = frame().width;
    const double height = frame().height;

    Path needle;
    needle.moveTo({15.0, height / 2.0 + 1.0}); // the tip, one point above the middle of the base
    needle.lineTo({width / 2.0 + 1.0, height / 2.0 + 2.0});
    needle.lineTo({width / 2.0 + 1.0, height / 2.0 - 2.0});
    needle.close();

    // Shifted down so that the pivot, its middle, lies 2 points above the view's lower edge.
    indicatorLayer_ = std::make_shared<ShapeLayer>();
    indicatorLayer_->setFrame({0.0, 2.0 - height / 2.0, width, height});
    indicatorLayer_->setAnchorPoint({0.5, 0.5});
    indicatorLayer_->setPath(needle.cgPath());
    indicatorLayer_->setFillColor(indicatorColor_);
    return indicatorLayer_;
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
