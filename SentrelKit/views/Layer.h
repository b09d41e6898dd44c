#pragma once

/// Retained layers: a view's layer keeps what it shows and its animations, and draws them for any moment. Coordinates
/// are those of the view. Main thread.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/Animation.h>
#include <SentrelKit/views/Geometry.h>
#include <SentrelKit/views/canvas/Canvas.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sentrel {

class SENTREL_API Layer {
public:
    Layer() = default;
    virtual ~Layer();
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;

    /// The unturned rectangle, in the coordinates of the layer or view above.
    [[nodiscard]] Rect frame() const noexcept { return frame_; }
    void setFrame(Rect frame);
    [[nodiscard]] Rect bounds() const noexcept { return {0.0, 0.0, frame_.width, frame_.height}; }

    /// The pivot of rotations, in units of the frame's size; the middle from the start.
    [[nodiscard]] Point anchorPoint() const noexcept { return anchorPoint_; }
    void setAnchorPoint(Point anchor);

    /// The fill of the whole layer; absent is none.
    [[nodiscard]] std::optional<Color> backgroundColor() const noexcept { return backgroundColor_; }
    void setBackgroundColor(std::optional<Color> color);
    [[nodiscard]] double cornerRadius() const noexcept { return cornerRadius_; } ///< of the background, points
    void setCornerRadius(double radius);

    [[nodiscard]] const std::vector<std::shared_ptr<Layer>>& sublayers() const noexcept { return sublayers_; }

    /// Puts a layer on top, taking it from where it was. It must not hold this layer itself.
    void addSublayer(std::shared_ptr<Layer> layer);
    void removeFromSuperlayer();

    /// Attaches an animation under a key, replacing the one under it. It begins now unless it says otherwise.
    void addAnimation(BasicAnimation animation, const std::string& key);
    void removeAnimation(const std::string& key);

    /// The animation under a key, or null.
    [[nodiscard]] const BasicAnimation* animation(const std::string& key) const noexcept;

    /// Whether this layer or one in it still changes by itself at a media time.
    [[nodiscard]] bool isAnimating(double now) const noexcept;

    /// Whether this layer or one in it shows something else than when it was last displayed; it does until it is
    /// displayed at or after the end of its animations.
    [[nodiscard]] bool needsDisplay() const noexcept;
    void setNeedsDisplay();

    /// Called each time a redraw is asked for, of this layer or one in it. For the view that holds it. It may set and
    /// take off handlers, itself included: one that was taken off is not called any more.
    void setDisplayHandler(std::function<void()> handler);

    /// The background and the turn as they show at a media time.
    [[nodiscard]] std::optional<Color> backgroundColorAt(double now) const noexcept;
    [[nodiscard]] Rotation rotationAt(double now) const noexcept;

    /// Draws the layer and those in it as of a media time.
    void display(Canvas& canvas, double now);

protected:
    /// Draws what the layer holds over its background, in coordinates of its bounds.
    virtual void drawContents(Canvas& canvas) const;

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
    bool needsDisplay_ = true;
};

/// A layer that shows one path.
class SENTREL_API ShapeLayer final : public Layer {
public:
    /// In coordinates of the bounds. Its stroke is drawn with the path's own width, cap, join and miter limit.
    [[nodiscard]] const Path& path() const noexcept { return path_; }
    void setPath(Path path);
    [[nodiscard]] std::optional<Color> fillColor() const noexcept { return fillColor_; } ///< black from the start
    void setFillColor(std::optional<Color> color);
    [[nodiscard]] std::optional<Color> strokeColor() const noexcept { return strokeColor_; } ///< none from the start
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

/// A layer that shows a linear gradient, all over or only where its mask is.
class SENTREL_API GradientLayer final : public Layer {
public:
    [[nodiscard]] const std::vector<Color>& colors() const noexcept { return colors_; } ///< at equal distances
    void setColors(std::vector<Color> colors);

    // Where the first and the last colour stand, in units of the bounds' size.
    [[nodiscard]] Point startPoint() const noexcept { return startPoint_; }
    void setStartPoint(Point point);
    [[nodiscard]] Point endPoint() const noexcept { return endPoint_; }
    void setEndPoint(Point point);

    /// In coordinates of the bounds. Its colours do not matter, only what it covers.
    [[nodiscard]] const std::shared_ptr<ShapeLayer>& mask() const noexcept { return mask_; }
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
