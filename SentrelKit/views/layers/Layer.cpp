// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/layers/Layer.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/views/layers/MediaTime.h>

#include <algorithm>

namespace sentrel {

namespace {

std::optional<Color> colorOf(const AnimationValue& value) noexcept {
    const auto* color = std::get_if<Color>(&value);
    return color ? std::optional(*color) : std::nullopt;
}

Transform transformOf(const Rotation& rotation) noexcept {
    return Transform::rotation(rotation.z < 0.0 ? -rotation.angle : rotation.angle);
}

} // namespace

Layer::~Layer() {
    for (const std::shared_ptr<Layer>& layer : sublayers_)
        layer->superlayer_ = nullptr;
}

void Layer::setFrame(Rect frame) {
    change(frame_, frame);
}

void Layer::setAnchorPoint(Point anchor) {
    change(anchorPoint_, anchor);
}

void Layer::setBackgroundColor(std::optional<Color> color) {
    change(backgroundColor_, color);
}

void Layer::setCornerRadius(double radius) {
    change(cornerRadius_, radius);
}

void Layer::addSublayer(std::shared_ptr<Layer> layer) {
    SENTREL_ASSERT(layer);
    for (const Layer* ancestor = this; ancestor; ancestor = ancestor->superlayer_)
        SENTREL_ASSERT(ancestor != layer.get());
    layer->removeFromSuperlayer();
    layer->superlayer_ = this;
    sublayers_.push_back(std::move(layer));
    setNeedsDisplay();
}

void Layer::removeFromSuperlayer() {
    if (!superlayer_)
        return;
    Layer& holder = *std::exchange(superlayer_, nullptr);
    // The last owner may go with the entry: nothing of this layer is touched after that.
    std::erase_if(holder.sublayers_, [this](const std::shared_ptr<Layer>& layer) { return layer.get() == this; });
    holder.setNeedsDisplay();
}

void Layer::addAnimation(BasicAnimation animation, const std::string& key) {
    if (animation.beginTime == 0.0)
        animation.beginTime = mediaTime();
    std::erase_if(animations_, [&key](const auto& entry) { return entry.first == key; });
    animations_.emplace_back(key, std::move(animation));
    setNeedsDisplay();
}

void Layer::removeAnimation(const std::string& key) {
    if (std::erase_if(animations_, [&key](const auto& entry) { return entry.first == key; }) > 0)
        setNeedsDisplay();
}

const BasicAnimation* Layer::animation(const std::string& key) const noexcept {
    const auto entry = std::ranges::find(animations_, key, &std::pair<std::string, BasicAnimation>::first);
    return entry == animations_.end() ? nullptr : &entry->second;
}

bool Layer::isAnimating(double now) const noexcept {
    return std::ranges::any_of(animations_, [now](const auto& entry) { return entry.second.runsAt(now); }) ||
           std::ranges::any_of(sublayers_, [now](const auto& layer) { return layer->isAnimating(now); });
}

bool Layer::needsDisplay() const noexcept {
    return needsDisplay_ || std::ranges::any_of(sublayers_, [](const auto& layer) { return layer->needsDisplay(); });
}

void Layer::setNeedsDisplay() {
    needsDisplay_ = true;
    if (isChanging_)
        hasAsked_ = true;
    else
        callDisplayHandlers();
}

void Layer::changeTogether(const std::function<void()>& changes) {
    {
        struct Changing {
            bool& is;
            bool before = std::exchange(is, true);
            ~Changing() { is = before; }
        } const changing{isChanging_};
        changes();
    }
    if (!isChanging_ && std::exchange(hasAsked_, false))
        callDisplayHandlers();
}

void Layer::callDisplayHandlers() const {
    // A handler may take off this layer's own, or release the layer.
    const std::weak_ptr<const std::function<void()>> own = displayHandler_;
    if (superlayer_)
        superlayer_->callDisplayHandlers();
    if (const auto handler = own.lock())
        (*handler)();
}

void Layer::setDisplayHandler(std::function<void()> handler) {
    displayHandler_ = handler ? std::make_shared<const std::function<void()>>(std::move(handler)) : nullptr;
}

AnimationValue Layer::valueAt(const char* keyPath, double now, const AnimationValue& own) const noexcept {
    // The animation added last decides.
    for (auto entry = animations_.rbegin(); entry != animations_.rend(); ++entry)
        if (entry->second.keyPath == keyPath && entry->second.appliesAt(now))
            return entry->second.valueAt(now, own);
    return own;
}

std::optional<Color> Layer::backgroundColorAt(double now) const noexcept {
    return colorOf(
        valueAt("backgroundColor", now, backgroundColor_ ? AnimationValue(*backgroundColor_) : AnimationValue()));
}

Rotation Layer::rotationAt(double now) const noexcept {
    const AnimationValue value = valueAt("transform", now, Rotation{});
    const auto* rotation = std::get_if<Rotation>(&value);
    return rotation ? *rotation : Rotation{};
}

double Layer::numberAt(const char* keyPath, double now, double own) const noexcept {
    const AnimationValue value = valueAt(keyPath, now, own);
    const auto* number = std::get_if<double>(&value);
    return number ? *number : own;
}

void Layer::display(Canvas& canvas, double now) {
    displayTime_ = now;
    const CanvasState state(canvas);
    const Point anchor{frame_.width * anchorPoint_.x, frame_.height * anchorPoint_.y};
    canvas.concat(Transform::translation(frame_.x + anchor.x, frame_.y + anchor.y)
                      .after(transformOf(rotationAt(now)))
                      .after(Transform::translation(-anchor.x, -anchor.y)));
    if (const std::optional<Color> background = backgroundColorAt(now))
        canvas.fill(Path::roundedRect(bounds(), cornerRadius_, cornerRadius_), *background);
    drawContents(canvas);
    for (const std::shared_ptr<Layer>& layer : sublayers_)
        layer->display(canvas, now);
    std::erase_if(animations_,
                  [now](const auto& entry) { return entry.second.removedOnCompletion && !entry.second.runsAt(now); });
    needsDisplay_ = std::ranges::any_of(animations_, [now](const auto& entry) { return entry.second.runsAt(now); });
}

void Layer::drawContents(Canvas& /*canvas*/) const {}

void ShapeLayer::setPath(Path path) {
    change(path_, std::move(path));
}

void ShapeLayer::setFillColor(std::optional<Color> color) {
    change(fillColor_, color);
}

void ShapeLayer::setStrokeColor(std::optional<Color> color) {
    change(strokeColor_, color);
}

void ShapeLayer::drawAsMask(Canvas& canvas, const Paint& paint) const {
    if (fillColor_)
        canvas.fill(path_, paint);
    if (strokeColor_)
        canvas.stroke(path_, paint);
}

void ShapeLayer::drawContents(Canvas& canvas) const {
    if (fillColor_)
        canvas.fill(path_, *fillColor_);
    if (strokeColor_)
        canvas.stroke(path_, *strokeColor_);
}

void GradientLayer::setColors(std::vector<Color> colors) {
    change(colors_, std::move(colors));
}

void GradientLayer::setStartPoint(Point point) {
    change(startPoint_, point);
}

void GradientLayer::setEndPoint(Point point) {
    change(endPoint_, point);
}

void GradientLayer::setMask(std::shared_ptr<ShapeLayer> mask) {
    change(mask_, std::move(mask));
}

void GradientLayer::drawContents(Canvas& canvas) const {
    const Size size{bounds().width, bounds().height};
    const LinearGradient gradient{{startPoint_.x * size.width, startPoint_.y * size.height},
                                  {endPoint_.x * size.width, endPoint_.y * size.height},
                                  colors_};
    if (!mask_) {
        canvas.fill(Path::rect(bounds()), gradient);
        return;
    }
    canvas.clip(Path::rect(bounds()));
    mask_->drawAsMask(canvas, gradient);
}

} // namespace sentrel
