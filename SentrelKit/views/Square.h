#pragma once

/// A rectangle with rounded corners that fills the view; as an outline it keeps a whole line width from each edge. Main
/// thread.

#include <SentrelKit/views/Shape.h>
#include <SentrelKit/views/TextField.h>

#include <memory>

namespace sentrel {

class SENTREL_API Square : public Shape {
public:
    explicit Square(Rect frame = {});
    explicit Square(Coder& coder);

    /// Of all four corners, in points. Setting it requests no redraw.
    [[nodiscard]] double cornerRadius() const noexcept { return cornerRadius_; }
    void setCornerRadius(double radius) noexcept { cornerRadius_ = radius; }

    /// A label that the host keeps with the square. It is not kept alive, and drawing never reads it.
    [[nodiscard]] std::shared_ptr<TextField> myLabel() const noexcept { return myLabel_.lock(); }
    void setMyLabel(std::weak_ptr<TextField> label) noexcept;

    void drawRect(Canvas& canvas, Rect rect) override;

private:
    double cornerRadius_ = 0.0;
    std::weak_ptr<TextField> myLabel_;
};

} // namespace sentrel
