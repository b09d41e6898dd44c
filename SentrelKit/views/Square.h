// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/Shape.h>
#include <SentrelKit/views/TextField.h>

#include <memory>

namespace sentrel {

/// A rectangle with rounded corners that fills the view; as an outline it keeps a whole line width from each edge. Main
/// thread.
class SENTREL_API Square : public Shape {
public:
    /// A filled rectangle at a frame of its superview's coordinates.
    explicit Square(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit Square(Coder& coder);

    /// The radius of all four corners in points, drawn as at most half a side; 0.0 from the start.
    [[nodiscard]] double cornerRadius() const noexcept { return cornerRadius_; }

    /// Asks for no redraw.
    void setCornerRadius(double radius) noexcept { cornerRadius_ = radius; }

    /// A label that the host keeps with the square, or null. Drawing never reads it.
    [[nodiscard]] std::shared_ptr<TextField> myLabel() const noexcept { return myLabel_.lock(); }

    /// The label is not kept alive. Asks for no redraw.
    void setMyLabel(std::weak_ptr<TextField> label) noexcept;

    void drawRect(Canvas& canvas, Rect rect) override;

private:
    double cornerRadius_ = 0.0;
    std::weak_ptr<TextField> myLabel_;
};

} // namespace sentrel
