// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Retained layers: a view's layer keeps what it shows and its animations, and draws them for any moment. Coordinates
/// are those of the view. Main thread.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/drawing/Geometry.h>
#include <SentrelKit/views/layers/Animation.h>

#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sentrel {

/// A rectangle that keeps a background, layers in it and animations, and asks for a redraw whenever one of them
/// changes. A layer owns those in it; later ones lie above earlier ones. Main thread.
class SENTREL_API Layer {
public:
    /// An empty layer without a size, background or animation.
    Layer() = default;

    /// The layers in it are let go.
    virtual ~Layer();
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;

    /// The unturned rectangle in points, in the coordinates of the layer or view above.
    [[nodiscard]] Rect frame() const noexcept { return frame_; }

    /// Asks for a redraw if that changes anything.
    void setFrame(Rect frame);

    /// The unturned rectangle in the layer's own coordinates: origin 0, size of the frame.
    [[nodiscard]] Rect bounds() const noexcept { return {0.0, 0.0, frame_.width, frame_.height}; }

    /// The pivot of rotations, in units of the frame's size; the middle from the start.
    [[nodiscard]] Point anchorPoint() const noexcept { return anchorPoint_; }

    /// Asks for a redraw if that changes anything.
    void setAnchorPoint(Point anchor);

    /// The fill of the whole layer; absent is none.
    [[nodiscard]] std::optional<Color> backgroundColor() const noexcept { return backgroundColor_; }

    /// Asks for a redraw if that changes anything.
    void setBackgroundColor(std::optional<Color> color);

    /// The radius of the background's corners in points, drawn as at most half a side; 0.0 from the start.
    [[nodiscard]] double cornerRadius() const noexcept { return cornerRadius_; }

    /// Asks for a redraw if that changes anything.
    void setCornerRadius(double radius);

    /// The layers in it, the topmost last.
    [[nodiscard]] const std::vector<std::shared_ptr<Layer>>& sublayers() const noexcept { return sublayers_; }

    /// Puts a layer on top, taking it from where it was, and asks for a redraw. The process ends for null and for a
    /// layer that holds this one.
    void addSublayer(std::shared_ptr<Layer> layer);

    /// Takes the layer out of the one that holds it, if any, which asks for a redraw. That may release the layer.
    void removeFromSuperlayer();

    /// Attaches an animation under a key, replacing the one under it. It begins now unless it says otherwise. Asks
    /// for a redraw.
    void addAnimation(BasicAnimation animation, const std::string& key);

    /// Takes the animation under a key off and asks for a redraw; does nothing without one.
    void removeAnimation(const std::string& key);

    /// The animation under a key, or null; good until the animations change.
    [[nodiscard]] const BasicAnimation* animation(const std::string& key) const noexcept;

    /// Whether this layer or one in it still changes by itself at a media time, in seconds.
    [[nodiscard]] bool isAnimating(double now) const noexcept;

    /// Whether this layer or one in it shows something else than when it was last displayed; it does until it is
    /// displayed at or after the end of its animations.
    [[nodiscard]] bool needsDisplay() const noexcept;

    /// Asks for a redraw.
    void setNeedsDisplay();

    /// Makes changes of this layer that ask for one redraw, at their end, however many of them ask. An exception of
    /// `changes` passes through; what it changed before is asked for with the next such changes.
    void changeTogether(const std::function<void()>& changes);

    /// Called each time a redraw is asked for, of this layer or one in it. For the view that holds it. It may set and
    /// take off handlers, itself included: one that was taken off is not called any more.
    void setDisplayHandler(std::function<void()> handler);

    /// The background as it shows at a media time, in seconds.
    [[nodiscard]] std::optional<Color> backgroundColorAt(double now) const noexcept;

    /// The turn as it shows at a media time, in seconds.
    [[nodiscard]] Rotation rotationAt(double now) const noexcept;

    /// A number that belongs to what the layer shows as it is at a media time, in seconds: its own value unless an
    /// animation on the key path decides.
    [[nodiscard]] double numberAt(const char* keyPath, double now, double own) const noexcept;

    /// Draws the layer and those in it as of a media time, in seconds, and drops the animations that are over.
    void display(Canvas& canvas, double now);

    /// The media time of the last `display`, in seconds; past every animation before the first.
    [[nodiscard]] double displayTime() const noexcept { return displayTime_; }

protected:
    /// Draws what the layer holds over its background, in coordinates of its bounds.
    virtual void drawContents(Canvas& canvas) const;

    /// Sets a property and asks for a redraw if it is another value.
    template <class T>
    void change(T& property, T value) {
        if (value == property)
            return;
        property = std::move(value);
        setNeedsDisplay();
    }

private:
    void callDisplayHandlers() const;
    [[nodiscard]] AnimationValue valueAt(const char* keyPath, double now, const AnimationValue& own) const noexcept;

    Rect frame_;
    Point anchorPoint_{0.5, 0.5};
    std::optional<Color> backgroundColor_;
    double cornerRadius_ = 0.0;
    Layer* superlayer_ = nullptr;
    std::vector<std::shared_ptr<Layer>> sublayers_;
    std::vector<std::pair<std::string, BasicAnimation>> animations_;
    std::shared_ptr<const std::function<void()>> displayHandler_; // shared with a call that is under way
    double displayTime_ = std::numeric_limits<double>::infinity();
    bool needsDisplay_ = true;
    bool isChanging_ = false; // several changes together,
    bool hasAsked_ = false;   // of which one has asked
};

/// A layer that shows one path. Main thread.
class SENTREL_API ShapeLayer final : public Layer {
public:
    /// The figure, in coordinates of the bounds; empty from the start. Its stroke is drawn with the path's own width,
    /// cap, join and miter limit.
    [[nodiscard]] const Path& path() const noexcept { return path_; }

    /// Asks for a redraw if that changes anything.
    void setPath(Path path);

    /// The fill of the figure; absent is none, black from the start.
    [[nodiscard]] std::optional<Color> fillColor() const noexcept { return fillColor_; }

    /// Asks for a redraw if that changes anything.
    void setFillColor(std::optional<Color> color);

    /// The colour of the outline; absent is none, as from the start.
    [[nodiscard]] std::optional<Color> strokeColor() const noexcept { return strokeColor_; }

    /// Asks for a redraw if that changes anything.
    void setStrokeColor(std::optional<Color> color);

    /// Draws with another paint all that the layer covers: what shows through it as a mask.
    void drawAsMask(Canvas& canvas, const Paint& paint) const;

protected:
    void drawContents(Canvas& canvas) const override;

private:
    Path path_;
    std::optional<Color> fillColor_ = Color{0.0, 0.0, 0.0, 1.0};
    std::optional<Color> strokeColor_;
};

/// A layer that shows a linear gradient, all over or only where its mask is. Main thread.
class SENTREL_API GradientLayer final : public Layer {
public:
    /// The colours, at equal distances; without any, as from the start, nothing shows.
    [[nodiscard]] const std::vector<Color>& colors() const noexcept { return colors_; }

    /// Asks for a redraw if that changes anything.
    void setColors(std::vector<Color> colors);

    /// Where the first colour stands, in units of the bounds' size; (0.5, 0.0) from the start.
    [[nodiscard]] Point startPoint() const noexcept { return startPoint_; }

    /// Asks for a redraw if that changes anything.
    void setStartPoint(Point point);

    /// Where the last colour stands, in units of the bounds' size; (0.5, 1.0) from the start.
    [[nodiscard]] Point endPoint() const noexcept { return endPoint_; }

    /// Asks for a redraw if that changes anything.
    void setEndPoint(Point point);

    /// Where the gradient shows, in coordinates of the bounds, or null for all over. Its colours do not matter, only
    /// what it covers.
    [[nodiscard]] const std::shared_ptr<ShapeLayer>& mask() const noexcept { return mask_; }

    /// Asks for a redraw if it is another one. A change inside the mask asks for none here.
    void setMask(std::shared_ptr<ShapeLayer> mask);

protected:
    void drawContents(Canvas& canvas) const override;

private:
    std::vector<Color> colors_;
    Point startPoint_{0.5, 0.0};
    Point endPoint_{0.5, 1.0};
    std::shared_ptr<ShapeLayer> mask_;
};

} // namespace sentrel
